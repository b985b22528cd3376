// Desktop entries (freedesktop.org, version 1.5): key files
// that say how a program is started.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_DESKTOP_ENTRY_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_DESKTOP_ENTRY_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

typedef struct _GKeyFile GKeyFile;  // NOLINT: GLib's own declaration

namespace quillhaven::platform::internal {

// The group "Desktop Entry" of one file. One thread at a time.
class DesktopEntry {
 public:
  // An application without any further key.
  DesktopEntry();

  // Returns the entry that `bytes` hold, or nothing when they are no key file
  // or have no such group. Comments, translations and other groups are kept.
  [[nodiscard]] static std::optional<DesktopEntry> fromBytes(
      std::string_view bytes);

  // The value of a key with its escapes resolved; nothing when there is none or
  // one of another type or one that is not UTF-8.
  [[nodiscard]] std::optional<std::string> string(const char* key) const;
  [[nodiscard]] std::optional<bool> boolean(const char* key) const;
  [[nodiscard]] std::optional<std::int64_t> integer(const char* key) const;

  void setString(const char* key, const std::string& value);
  void setBoolean(const char* key, bool value);
  void setInteger(const char* key, std::int64_t value);

  [[nodiscard]] std::string bytes() const;

 private:
  struct Free {
    void operator()(GKeyFile* file) const;
  };
  std::unique_ptr<GKeyFile, Free> file_;  // never null
};

// Returns the words of the key "Exec": program and arguments, quotes resolved,
// "%%" as "%"; other field codes stay. None when a quote is not closed.
[[nodiscard]] std::vector<std::string> wordsOfCommand(
    const std::string& command);

// Returns one word of a command, in quotes.
[[nodiscard]] std::string quotedForCommand(std::string_view word);

// Returns `command` with `argument`, a word without anything to quote, at its
// end, or without it wherever it stands.
[[nodiscard]] std::string commandAdding(const std::string& command,
                                        std::string_view argument);
[[nodiscard]] std::string commandRemoving(const std::string& command,
                                          std::string_view argument);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_DESKTOP_ENTRY_H_
