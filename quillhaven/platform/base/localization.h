// Texts in the user's language: keys in English, looked up with gettext, and
// the placeholders in them.
#ifndef QUILLHAVEN_PLATFORM_BASE_LOCALIZATION_H_
#define QUILLHAVEN_PLATFORM_BASE_LOCALIZATION_H_

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace quillhaven::platform {

// What a placeholder stands for. The view lives only during the call.
using FormatArgument = std::variant<std::string_view, std::int32_t>;

// Returns the translation of `key`, the English text, or the key itself where
// the catalogue of the user's language has none. The language is that of the
// process: the host calls setlocale(), the library never does. A key is a
// literal, here or in localizationKey(), so that scripts/translations finds it.
// Thread-safe.
[[nodiscard]] std::string localizedString(const char* key);

// The same, with placeholders filled in after the lookup:
//   localizedStringWithFormat("Keychain Error (%i)", {status})
[[nodiscard]] std::string localizedStringWithFormat(
    const char* key, std::initializer_list<FormatArgument> arguments);

// Returns `key`. Marks a literal in a table that is looked up later.
constexpr const char* localizationKey(const char* key) { return key; }

// Returns `format` with its placeholders replaced: "%@" by the next argument,
// "%i" or "%d" by the next one if it is a number, "%2$@" and "%2$i" by the
// second, "%%" by a percent sign. One that has no such argument, and any other
// text, stays as it is. What is filled in is not looked at again.
[[nodiscard]] std::string stringWithFormat(
    std::string_view format, std::span<const FormatArgument> arguments);

// Takes the catalogues from `folder`, which holds LANGUAGE/LC_MESSAGES/
// quillhaven-utilities.mo. Without a call it is the first of these: the
// environment's QUILLHAVEN_LOCALE_DIR (not in set-user-ID programs);
// ../share/locale or share/locale beside the program if they hold a catalogue;
// the folder that the library was configured to be installed to. Thread-safe.
void setTranslationsFolder(std::string_view folder);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_LOCALIZATION_H_
