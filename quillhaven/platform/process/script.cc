#include "quillhaven/platform/process/script.h"

#include <algorithm>
#include <initializer_list>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/process/internal/shell_command.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBlanksAndLineBreaks = " \t\r\n";

// Reads a source from its start.
class SourceReader {
 public:
  explicit SourceReader(std::string_view source) : rest_(source) {}

  void skip(std::string_view characters) {
    const std::size_t size = rest_.find_first_not_of(characters);
    rest_.remove_prefix(size == std::string_view::npos ? rest_.size() : size);
  }

  // Takes these words with blanks between them, or nothing of them.
  bool takeWords(std::initializer_list<std::string_view> words) {
    SourceReader ahead = *this;
    for (const std::string_view word : words) {
      ahead.skip(kBlanks);
      if (!ahead.takeWord(word)) return false;
    }
    *this = ahead;
    return true;
  }

  // Takes a string in quotes and returns what it stands for.
  std::optional<std::string> takeString() {
    skip(kBlanks);
    if (!rest_.starts_with('"')) return std::nullopt;
    rest_.remove_prefix(1);
    std::string text;
    while (!rest_.empty()) {
      char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"') return text;
      if (c == '\\') {
        const auto meant = takeEscape();
        if (!meant) return std::nullopt;
        c = *meant;
      }
      text.push_back(c);
    }
    return std::nullopt;
  }

  [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }

 private:
  bool takeWord(std::string_view word) {
    const std::size_t size =
        std::min(rest_.find_first_of(" \t\r\n\""), rest_.size());
    if (!equalsIgnoringASCIICase(rest_.substr(0, size), word)) return false;
    rest_.remove_prefix(size);
    return true;
  }

  // The character that a backslash and the next one stand for.
  std::optional<char> takeEscape() {
    if (rest_.empty()) return std::nullopt;
    const char c = rest_.front();
    rest_.remove_prefix(1);
    switch (c) {
      case '"':
      case '\\':
        return c;
      case 'n':
        return '\n';
      case 'r':
        return '\r';
      case 't':
        return '\t';
      default:
        return std::nullopt;
    }
  }

  std::string_view rest_;
};

}  // namespace

bool AppleEventDescriptor::booleanValue() const {
  return equalsIgnoringASCIICase(text_, "true");
}

std::optional<Script> Script::fromSource(std::string_view source) {
  Script script;
  SourceReader reader(source);
  reader.skip(kBlanksAndLineBreaks);
  if (!reader.takeWords({"do", "shell", "script"})) return std::nullopt;
  auto command = reader.takeString();
  if (!command) return std::nullopt;
  script.command_ = std::move(*command);

  while (true) {
    if (!script.isPrivileged_ &&
        reader.takeWords({"with", "administrator", "privileges"})) {
      script.isPrivileged_ = true;
    } else if (!script.prompt_ && reader.takeWords({"with", "prompt"})) {
      script.prompt_ = reader.takeString();
      if (!script.prompt_) return std::nullopt;
    } else {
      break;
    }
  }
  reader.skip(kBlanksAndLineBreaks);
  if (!reader.isAtEnd()) return std::nullopt;
  return script;
}

ScriptOutcome Script::execute(const Elevation& elevation) const {
  return isPrivileged_
             ? internal::runShellCommandElevated(command_, prompt_, elevation)
             : internal::runShellCommand(command_);
}

}  // namespace quillhaven::platform
