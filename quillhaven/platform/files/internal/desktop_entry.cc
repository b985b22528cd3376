#include "quillhaven/platform/files/internal/desktop_entry.h"

#include <glib.h>

#include <cstddef>
#include <utility>

namespace quillhaven::platform::internal {
namespace {

constexpr char kGroup[] = "Desktop Entry";
constexpr std::string_view kBlanks = " \t\r\n";

struct GFree {
  void operator()(void* memory) const { ::g_free(memory); }
};
using GText = std::unique_ptr<char, GFree>;

struct GErrorFree {
  void operator()(GError* error) const { ::g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

// Calls `get` with a place for an error; nothing when it leaves one there.
template <typename Get>
auto unlessError(const Get& get) -> std::optional<decltype(get(nullptr))> {
  GError* error = nullptr;
  auto value = get(&error);
  const GErrorPtr owner(error);
  if (error != nullptr) return std::nullopt;
  return value;
}

}  // namespace

void DesktopEntry::Free::operator()(GKeyFile* file) const {
  ::g_key_file_unref(file);
}

DesktopEntry::DesktopEntry() : file_(::g_key_file_new()) {
  setString("Type", "Application");
}

std::optional<DesktopEntry> DesktopEntry::fromBytes(std::string_view bytes) {
  DesktopEntry entry;
  entry.file_.reset(::g_key_file_new());
  if (bytes.empty()) return std::nullopt;
  const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS |
                                                G_KEY_FILE_KEEP_TRANSLATIONS);
  const bool isRead =
      ::g_key_file_load_from_data(entry.file_.get(), bytes.data(), bytes.size(),
                                  flags, nullptr) != FALSE;
  if (!isRead || ::g_key_file_has_group(entry.file_.get(), kGroup) == FALSE) {
    return std::nullopt;
  }
  return entry;
}

std::optional<std::string> DesktopEntry::string(const char* key) const {
  const GText value(::g_key_file_get_string(file_.get(), kGroup, key, nullptr));
  if (!value) return std::nullopt;
  return value.get();
}

std::optional<bool> DesktopEntry::boolean(const char* key) const {
  return unlessError([&](GError** error) {
    return ::g_key_file_get_boolean(file_.get(), kGroup, key, error) != FALSE;
  });
}

std::optional<std::int64_t> DesktopEntry::integer(const char* key) const {
  return unlessError([&](GError** error) -> std::int64_t {
    return ::g_key_file_get_int64(file_.get(), kGroup, key, error);
  });
}

void DesktopEntry::setString(const char* key, const std::string& value) {
  ::g_key_file_set_string(file_.get(), kGroup, key, value.c_str());
}

void DesktopEntry::setBoolean(const char* key, bool value) {
  ::g_key_file_set_boolean(file_.get(), kGroup, key, value ? TRUE : FALSE);
}

void DesktopEntry::setInteger(const char* key, std::int64_t value) {
  ::g_key_file_set_int64(file_.get(), kGroup, key, value);
}

std::string DesktopEntry::bytes() const {
  gsize size = 0;
  const GText data(::g_key_file_to_data(file_.get(), &size, nullptr));
  return {data.get(), size};
}

std::vector<std::string> wordsOfCommand(const std::string& command) {
  gint count = 0;
  gchar** words = nullptr;
  if (::g_shell_parse_argv(command.c_str(), &count, &words, nullptr) == FALSE) {
    return {};
  }
  struct FreeWords {
    void operator()(gchar** list) const { ::g_strfreev(list); }
  };
  const std::unique_ptr<gchar*, FreeWords> owner(words);
  std::vector<std::string> result;
  for (gint i = 0; i < count; ++i) {
    std::string& word = result.emplace_back();
    for (const char* c = words[i]; *c != '\0'; ++c) {
      if (c[0] == '%' && c[1] == '%') ++c;
      word.push_back(*c);
    }
  }
  return result;
}

std::string quotedForCommand(std::string_view word) {
  std::string quoted = "\"";
  for (const char c : word) {
    if (std::string_view("\"`$\\").find(c) != std::string_view::npos) {
      quoted.push_back('\\');
    } else if (c == '%') {
      quoted.push_back('%');
    }
    quoted.push_back(c);
  }
  quoted.push_back('"');
  return quoted;
}

std::string commandAdding(const std::string& command,
                          std::string_view argument) {
  return std::string(command).append(" ").append(argument);
}

std::string commandRemoving(const std::string& command,
                            std::string_view argument) {
  std::string result;
  for (std::size_t at = 0; at < command.size();) {
    // A word with the blanks before it; blanks in quotes are part of it.
    const std::size_t start = command.find_first_not_of(kBlanks, at);
    std::size_t end = start;
    char quote = '\0';
    while (end < command.size()) {
      const char c = command[end];
      if (quote == '\0' && kBlanks.find(c) != std::string_view::npos) break;
      if (c == '\\' && quote != '\'') {
        ++end;
      } else if (quote == '\0' && (c == '"' || c == '\'')) {
        quote = c;
      } else if (c == quote) {
        quote = '\0';
      }
      ++end;
    }
    end = std::min(end, command.size());
    const std::string_view word =
        start < command.size()
            ? std::string_view(command).substr(start, end - start)
            : std::string_view();
    if (word != argument) result.append(command, at, end - at);
    at = end;
  }
  return result;
}

}  // namespace quillhaven::platform::internal
