#include "quillhaven/platform/base/localization.h"

#include <libintl.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "quillhaven/platform/base/ascii.h"

namespace quillhaven::platform {
namespace {

constexpr const char* kDomain = "quillhaven-utilities";

// True when the catalogue of one of our languages is in `folder`.
bool holdsCatalogues(const std::filesystem::path& folder) {
  std::string_view languages = QUILLHAVEN_LANGUAGES;
  while (!languages.empty()) {
    const std::string_view language = languages.substr(0, languages.find(':'));
    std::error_code ignored;
    if (std::filesystem::exists(
            folder / language / "LC_MESSAGES" / (std::string(kDomain) + ".mo"),
            ignored)) {
      return true;
    }
    languages.remove_prefix(std::min(language.size() + 1, languages.size()));
  }
  return false;
}

std::filesystem::path defaultFolder() {
  const char* const chosen = ::secure_getenv("QUILLHAVEN_LOCALE_DIR");
  if (chosen != nullptr && *chosen != '\0') return chosen;

  // An installation that was moved, or a program where it was built.
  std::error_code ignored;
  const auto programFolder =
      std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
  if (programFolder.is_absolute()) {
    const auto shared = std::filesystem::path("share") / "locale";
    for (const auto& folder :
         {programFolder.parent_path() / shared, programFolder / shared}) {
      if (holdsCatalogues(folder)) return folder;
    }
  }
  return QUILLHAVEN_INSTALLED_LOCALE_DIR;
}

void bindTo(const std::filesystem::path& folder) {
  std::error_code ignored;
  const auto absolute = std::filesystem::absolute(folder, ignored);
  ::bindtextdomain(kDomain, absolute.c_str());
  ::bind_textdomain_codeset(kDomain, "UTF-8");
}

void bindOnce() {
  static const bool isBound = [] {
    bindTo(defaultFolder());
    return true;
  }();
  static_cast<void>(isBound);
}

// The translation or `key`; lives as long as the catalogue, that is for ever.
const char* lookUp(const char* key) {
  // gettext answers the empty key with the head of the catalogue.
  if (*key == '\0') return key;
  bindOnce();
  return ::dgettext(kDomain, key);
}

struct Placeholder {
  std::size_t size;               // bytes, the percent sign included
  std::optional<std::size_t> at;  // index of its argument, if it names one
  char conversion;                // '@', 'i', 'd' or '%'
};

// Reads the placeholder that `text` begins with, if it does.
std::optional<Placeholder> readPlaceholder(std::string_view text) {
  std::size_t size = 1;  // the percent sign
  std::optional<std::size_t> at;
  while (size < text.size() && isASCIIDigit(text[size])) ++size;
  if (size > 1) {
    std::size_t position = 0;
    const auto read =
        std::from_chars(text.data() + 1, text.data() + size, position);
    if (read.ec != std::errc() || position == 0) return std::nullopt;
    if (size == text.size() || text[size] != '$') return std::nullopt;
    ++size;
    at = position - 1;
  }
  if (size == text.size()) return std::nullopt;
  const char conversion = text[size];
  const bool isPercent = conversion == '%' && !at;
  if (!isPercent &&
      std::string_view("@id").find(conversion) == std::string_view::npos) {
    return std::nullopt;
  }
  return Placeholder{size + 1, at, conversion};
}

// Fills placeholders in, one after the other.
class Arguments {
 public:
  explicit Arguments(std::span<const FormatArgument> arguments)
      : arguments_(arguments) {}

  // Appends what `placeholder` stands for; false if that is nothing.
  bool append(std::string& text, const Placeholder& placeholder) {
    if (placeholder.conversion == '%') {
      text.push_back('%');
      return true;
    }
    const std::size_t at = placeholder.at ? *placeholder.at : next_++;
    if (at >= arguments_.size()) return false;
    if (const auto* number = std::get_if<std::int32_t>(&arguments_[at])) {
      text.append(std::to_string(*number));
      return true;
    }
    if (placeholder.conversion != '@') return false;
    text.append(std::get<std::string_view>(arguments_[at]));
    return true;
  }

 private:
  const std::span<const FormatArgument> arguments_;
  std::size_t next_ = 0;  // of a placeholder that names no argument
};

}  // namespace

std::string localizedString(const char* key) { return lookUp(key); }

std::string localizedStringWithFormat(
    const char* key, std::initializer_list<FormatArgument> arguments) {
  return stringWithFormat(lookUp(key), {arguments.begin(), arguments.size()});
}

std::string stringWithFormat(std::string_view format,
                             std::span<const FormatArgument> arguments) {
  Arguments values(arguments);
  std::string text;
  text.reserve(format.size());
  while (true) {
    const std::size_t plain = std::min(format.find('%'), format.size());
    text.append(format.substr(0, plain));
    format.remove_prefix(plain);
    if (format.empty()) return text;

    const auto placeholder = readPlaceholder(format);
    const std::size_t size = placeholder ? placeholder->size : 1;
    if (!placeholder || !values.append(text, *placeholder)) {
      text.append(format.substr(0, size));
    }
    format.remove_prefix(size);
  }
}

void setTranslationsFolder(std::string_view folder) {
  bindOnce();
  bindTo(folder);
}

}  // namespace quillhaven::platform
