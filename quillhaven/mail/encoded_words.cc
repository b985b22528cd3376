#include "quillhaven/mail/encoded_words.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "quillhaven/mail/internal/transfer_decoding.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::mail {
namespace {

using platform::StringEncoding;

constexpr std::string_view kOpening = "=?";
constexpr std::string_view kClosing = "?=";

// In a value of up to this many runs each one is replaced wherever it occurs;
// in longer values, which no mailer writes, only where it stands.
constexpr std::size_t kMaximumLiteralRuns = 64;

bool holdsTwoUTF16Units(std::string_view text) {
  return text.size() > 4 || platform::lengthInUTF16Units(text) >= 2;
}

// Returns 'B' or 'Q' for either letter in either case, else 0.
char wordType(std::string_view text) {
  if (text.starts_with('B') || text.starts_with('b')) return 'B';
  if (text.starts_with('Q') || text.starts_with('q')) return 'Q';
  return 0;
}

// One encoded word; the views point into the value.
struct Word {
  std::size_t start;
  std::size_t end;
  StringEncoding charset;
  char type;
  std::string_view text;
};

// Finds the words of a value one after the other.
class WordReader {
 public:
  explicit WordReader(std::string_view value) : value_(value) {}

  std::optional<Word> next() {
    while (true) {
      const std::size_t start =
          platform::internal::findPair(value_, '=', '?', at_);
      if (start == std::string_view::npos) return std::nullopt;
      at_ = start + kOpening.size();
      if (auto word = readWord(start)) return word;
    }
  }

 private:
  // Reads the word whose opening ends at the position; nothing, with the
  // position where the word went wrong, if it is malformed.
  std::optional<Word> readWord(std::size_t start) {
    const std::string_view name = value_.substr(
        at_, std::min(value_.find('?', at_), value_.size()) - at_);
    if (name.empty()) return std::nullopt;
    at_ = std::min(at_ + name.size() + 1, value_.size());
    if (!holdsTwoUTF16Units(value_.substr(at_))) return std::nullopt;
    const char type = wordType(value_.substr(at_));
    if (type == 0) return std::nullopt;
    ++at_;
    if (value_[at_] != '?') return std::nullopt;
    ++at_;

    const std::size_t close =
        platform::internal::findPair(value_, '?', '=', at_);
    const bool isClosed = close != std::string_view::npos;
    if (!isClosed && at_ == value_.size()) return std::nullopt;
    const std::size_t textEnd = isClosed ? close : value_.size();
    const std::string_view text = value_.substr(at_, textEnd - at_);
    at_ = isClosed ? close + kClosing.size() : textEnd;
    return Word{start, at_, encodingFor(name), type, text};
  }

  // The words of a value mostly name one charset.
  StringEncoding encodingFor(std::string_view name) {
    if (name != lastName_) {
      lastName_ = name;
      lastEncoding_ = platform::stringEncodingForIANAName(name);
    }
    return lastEncoding_;
  }

  std::string_view value_;
  std::size_t at_ = 0;
  std::string_view lastName_;
  StringEncoding lastEncoding_ = platform::kStringEncodingInvalid;
};

// Words of one type with all that stands between them.
struct Run {
  std::size_t start;
  std::size_t end;
  StringEncoding charset;  // of the first word
  char type;
  std::string text;  // of all words, still encoded
};

// Puts words together to runs.
class RunReader {
 public:
  explicit RunReader(std::string_view value)
      : words_(value), word_(words_.next()) {}

  std::optional<Run> next() {
    if (!word_) return std::nullopt;
    Run run{word_->start, word_->end, word_->charset, word_->type,
            std::string(word_->text)};
    while ((word_ = words_.next()) && word_->type == run.type) {
      run.text.append(word_->text);
      run.end = word_->end;
    }
    return run;
  }

 private:
  WordReader words_;
  std::optional<Word> word_;
};

std::optional<std::string> decodedBRun(const Run& run) {
  auto bytes = internal::decodedBase64(run.text);
  // A run that is no Base64 vanishes. Deliberate.
  if (!bytes) return std::string();
  if (run.charset == platform::kStringEncodingUTF8) {
    if (!platform::isValidUTF8(*bytes)) return std::nullopt;
    return bytes;
  }
  if (auto text = platform::textFromBytes(*bytes, run.charset)) return text;
  if (const auto others = alternativeTextEncodingsForEncoding(run.charset)) {
    for (const StringEncoding other : *others) {
      if (auto text = platform::textFromBytes(*bytes, other)) return text;
    }
  }
  return std::nullopt;
}

// The text of a run, or nothing when it stays as it is.
std::optional<std::string> decodedRun(Run run) {
  if (run.type == 'B') return decodedBRun(run);
  return internal::decodedQWords(std::move(run.text), run.charset);
}

std::string replacingEverywhere(std::string_view text, std::string_view span,
                                std::string_view replacement) {
  std::size_t at = text.find(span);
  std::string out;
  out.reserve(text.size());
  std::size_t copied = 0;
  for (; at != std::string::npos; at = text.find(span, copied)) {
    out.append(text, copied, at - copied).append(replacement);
    copied = at + span.size();
  }
  out.append(text.substr(copied));
  return out;
}

// Replaces each run everywhere, one after the other; nothing when there are too
// many for that. A run is so also replaced within a later one of the same
// words, which then is not found any more and stays. Deliberate: stored
// subjects were made so.
std::optional<std::string> decodingRunsEverywhere(std::string_view value) {
  struct Replacement {
    std::string_view span;
    std::string text;
  };
  std::vector<Replacement> replacements;
  std::size_t count = 0;
  RunReader runs(value);
  while (auto run = runs.next()) {
    if (++count > kMaximumLiteralRuns) return std::nullopt;
    const std::string_view span =
        value.substr(run->start, run->end - run->start);
    if (auto text = decodedRun(*std::move(run))) {
      replacements.push_back({span, *std::move(text)});
    }
  }
  if (replacements.empty()) return std::string(value);
  std::string out;
  std::string_view before = value;
  for (const Replacement& r : replacements) {
    out = replacingEverywhere(before, r.span, r.text);
    before = out;
  }
  return out;
}

std::string decodingRunsInPlace(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  std::size_t copied = 0;
  RunReader runs(value);
  while (auto run = runs.next()) {
    const std::size_t start = run->start;
    const std::size_t end = run->end;
    const auto text = decodedRun(*std::move(run));
    if (!text) continue;
    out.append(value, copied, start - copied).append(*text);
    copied = end;
  }
  out.append(value.substr(copied));
  return out;
}

}  // namespace

bool isMimeEncodedString(std::string_view text) {
  platform::Scanner scanner(text);
  scanner.skipping(&platform::CharacterSet::whitespaceAndNewlines());
  while (!scanner.isAtEnd()) {
    if (!scanner.scanString(kOpening)) {
      scanner.scanUpToString(kOpening);
      continue;
    }
    const auto name = scanner.scanUpToString("?");
    if (!name || platform::stringEncodingForIANAName(*name) ==
                     platform::kStringEncodingInvalid) {
      continue;
    }
    if (!scanner.scanString("?") || !holdsTwoUTF16Units(scanner.rest()) ||
        wordType(scanner.rest()) == 0) {
      continue;
    }
    scanner.setPosition(scanner.position() + 1);
    if (scanner.scanString("?") && scanner.scanUpToString(kClosing)) {
      return true;
    }
  }
  return false;
}

std::optional<std::string> stringWithMimeEncodedString(
    std::optional<std::string_view> text) {
  if (!text) return std::nullopt;
  if (platform::internal::findPair(*text, '=', '?', 0) ==
      std::string_view::npos) {
    return std::string(*text);
  }
  if (auto decoded = decodingRunsEverywhere(*text)) return decoded;
  return decodingRunsInPlace(*text);
}

std::optional<std::vector<StringEncoding>> alternativeTextEncodingsForEncoding(
    StringEncoding encoding) {
  if (encoding != platform::kStringEncodingEUC_CN &&
      encoding != platform::kStringEncodingGB_2312_80) {
    return std::nullopt;
  }
  return std::vector<StringEncoding>{
      platform::kStringEncodingGBK_95, platform::kStringEncodingGB_18030_2000,
      platform::kStringEncodingBig5, platform::kStringEncodingBig5_E,
      platform::kStringEncodingBig5_HKSCS_1999};
}

}  // namespace quillhaven::mail
