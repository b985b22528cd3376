#include "quillhaven/mail/internal/transfer_decoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::mail::internal {
namespace {

using platform::hexDigitValue;
using platform::StringEncoding;
using platform::internal::ByteVector;
using platform::internal::kVectorSize;

constexpr std::uint8_t kPadding = 64;
constexpr std::uint8_t kIgnored = 128;

// The value of every Base64 character; 64 and above are none.
constexpr std::array<std::uint8_t, 256> base64Values() {
  std::array<std::uint8_t, 256> values{};
  values.fill(kIgnored);
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] =
        static_cast<std::uint8_t>(i);
  }
  values['='] = kPadding;
  return values;
}

constexpr std::array<std::uint8_t, 256> kBase64Values = base64Values();

std::uint32_t base64Value(char c) {
  return kBase64Values[static_cast<unsigned char>(c)];
}

// The length of a soft line break ("=" and a line break) at `at`, or 0.
std::size_t softBreakLength(std::string_view text, std::size_t at) {
  if (at + 1 >= text.size() || text[at] != '=') return 0;
  const char first = text[at + 1];
  if (first != '\n' && first != '\r') return 0;
  const char pair = first == '\n' ? '\r' : '\n';
  return at + 2 < text.size() && text[at + 2] == pair ? 3 : 2;
}

// Whether soft line breaks are still in the text.
enum class SoftBreaks { kPresent, kTakenOut };

std::size_t skipSoftBreaks(std::string_view text, std::size_t at,
                           SoftBreaks softBreaks) {
  if (softBreaks == SoftBreaks::kTakenOut) return at;
  while (const std::size_t length = softBreakLength(text, at)) at += length;
  return at;
}

bool isKnown(StringEncoding charset) {
  return charset == platform::kStringEncodingUTF8 ||
         platform::ianaNameForStringEncoding(charset).has_value();
}

struct Escape {
  char byte;
  std::size_t end;
};

// The escape whose "=" stands at `at`; soft breaks between its characters do
// not count.
std::optional<Escape> escapeAt(std::string_view text, std::size_t at,
                               SoftBreaks softBreaks) {
  const std::size_t high = skipSoftBreaks(text, at + 1, softBreaks);
  if (high >= text.size() || hexDigitValue(text[high]) < 0) return std::nullopt;
  const std::size_t low = skipSoftBreaks(text, high + 1, softBreaks);
  if (low >= text.size() || hexDigitValue(text[low]) < 0) return std::nullopt;
  return Escape{static_cast<char>(hexDigitValue(text[high]) * 16 +
                                  hexDigitValue(text[low])),
                low + 1};
}

// Gathers the bytes of escapes and the ASCII text around them and converts them
// where a character beyond ASCII, or the end, follows.
class QuotedPrintableOutput {
 public:
  // `capacity` bounds what is appended in all.
  QuotedPrintableOutput(std::size_t capacity, StringEncoding charset)
      : isUTF8_(charset == platform::kStringEncodingUTF8),
        charset_(charset),
        run_(capacity + kVectorSize, '\0'),
        end_(run_.data()) {}

  // Appends the first `count` of sixteen bytes of ASCII text.
  void appendASCII(ByteVector bytes, std::size_t count) {
    std::memcpy(end_, &bytes, sizeof bytes);
    end_ += count;
  }
  void appendASCII(char c) { *end_++ = c; }

  void appendEscaped(char byte) {
    *end_++ = byte;
    runHasEscape_ = true;
  }

  [[nodiscard]] bool appendBeyondASCII(std::string_view character) {
    if (isUTF8_) {
      end_ = std::copy(character.begin(), character.end(), end_);
      return true;
    }
    // Runs come one by one; growing with them would need more in the end.
    if (text_.empty()) text_.reserve(run_.size());
    if (!closeRun()) return false;
    text_.append(character);
    return true;
  }

  // The text, or nothing when some bytes did not convert.
  [[nodiscard]] std::optional<std::string> finish() {
    if (!isUTF8_) {
      if (!closeRun()) return std::nullopt;
      return std::move(text_);
    }
    // UTF-8 needs no second buffer: it is checked once. Text beyond ASCII
    // between escapes is whole characters and changes nothing about that.
    run_.resize(sizeOfRun());
    if (runHasEscape_ && !platform::isValidUTF8(run_)) return std::nullopt;
    return std::move(run_);
  }

 private:
  [[nodiscard]] std::size_t sizeOfRun() const {
    return static_cast<std::size_t>(end_ - run_.data());
  }

  bool closeRun() {
    const std::string_view run(run_.data(), sizeOfRun());
    if (run.empty()) return true;
    // Text without escapes is text already.
    const bool converted =
        !runHasEscape_ ? (text_.append(run), true)
                       : platform::appendTextFromBytes(text_, run, charset_);
    end_ = run_.data();
    runHasEscape_ = false;
    return converted;
  }

  bool isUTF8_;
  StringEncoding charset_;
  std::string text_;
  std::string run_;  // all room; filled up to end_
  char* end_;
  bool runHasEscape_ = false;
};

std::optional<std::string> decodeQuotedPrintableAs(std::string_view text,
                                                   StringEncoding charset,
                                                   SoftBreaks softBreaks) {
  QuotedPrintableOutput out(text.size(), charset);
  for (std::size_t at = 0; at < text.size();) {
    if (text.size() - at >= kVectorSize) {
      const ByteVector bytes = platform::internal::loadBytes(text.data() + at);
      const unsigned special = platform::internal::bitsOf(
          platform::internal::equals(bytes, '=') | (bytes >= 0x80));
      const std::size_t count =
          special == 0 ? kVectorSize
                       : static_cast<std::size_t>(std::countr_zero(special));
      out.appendASCII(bytes, count);
      at += count;
      if (special == 0) continue;
    }
    const auto c = static_cast<unsigned char>(text[at]);
    if (c >= 0x80) {
      const std::size_t size = platform::codePointAt(text, at).size;
      if (!out.appendBeyondASCII(text.substr(at, size))) return std::nullopt;
      at += size;
    } else if (c != '=') {
      out.appendASCII(text[at++]);
    } else if (const std::size_t end = skipSoftBreaks(text, at, softBreaks);
               end != at) {
      at = end;
    } else if (const auto escape = escapeAt(text, at, softBreaks)) {
      out.appendEscaped(escape->byte);
      at = escape->end;
    } else {
      out.appendASCII('=');
      ++at;
    }
  }
  return out.finish();
}

}  // namespace

std::optional<std::string> decodedBase64(std::string_view text) {
  std::string bytes(text.size() / 4 * 3 + 3, '\0');
  char* out = bytes.data();
  std::uint32_t group = 0;  // the values of the group so far
  unsigned count = 0;       // how many they are
  unsigned padding = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (count == 0 && at + 4 <= text.size()) {
      const std::uint32_t a = base64Value(text[at]);
      const std::uint32_t b = base64Value(text[at + 1]);
      const std::uint32_t c = base64Value(text[at + 2]);
      const std::uint32_t d = base64Value(text[at + 3]);
      if ((a | b | c | d) < kPadding) {
        const std::uint32_t whole = a << 18 | b << 12 | c << 6 | d;
        out[0] = static_cast<char>(whole >> 16);
        out[1] = static_cast<char>(whole >> 8);
        out[2] = static_cast<char>(whole);
        out += 3;
        at += 4;
        continue;
      }
    }
    const std::uint32_t value = base64Value(text[at++]);
    if (value == kIgnored) continue;
    if (value == kPadding) {
      if (count == 0) continue;  // where a group would begin
      if (count == 1) return std::nullopt;
      ++padding;
    } else {
      if (padding != 0) return std::nullopt;
      group = group << 6 | value;
      ++count;
    }
    if (count + padding < 4) continue;
    group <<= 6 * padding;
    for (unsigned i = 0; i + 1 < count; ++i) {
      *out++ = static_cast<char>(group >> (16 - 8 * i));
    }
    group = count = padding = 0;
  }
  if (count != 0) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

std::string decodedQuotedPrintable(std::string_view text,
                                   StringEncoding charset) {
  std::string withoutPercent;
  std::string_view source = text;
  SoftBreaks softBreaks = SoftBreaks::kPresent;
  std::optional<std::string> decoded;
  if (isKnown(charset)) {
    decoded = decodeQuotedPrintableAs(source, charset, softBreaks);
  } else {
    // Either may lie within an escape: soft breaks go first, then every "%".
    withoutPercent.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
      if (const std::size_t length = softBreakLength(text, at)) {
        at += length;
      } else if (const char c = text[at++]; c != '%') {
        withoutPercent.push_back(c);
      }
    }
    source = withoutPercent;
    softBreaks = SoftBreaks::kTakenOut;
  }
  if (!decoded) {
    decoded = decodeQuotedPrintableAs(source, platform::kStringEncodingASCII,
                                      softBreaks);
  }
  return decoded ? *std::move(decoded) : std::string(text);
}

std::optional<std::string> decodedQWords(std::string text,
                                         StringEncoding charset) {
  const bool keepsPercent = isKnown(charset);
  const bool isASCII = platform::asciiPrefixLength(text) == text.size();
  // The bytes take the place of the text that they are read from. The same as
  // characters of Mac OS Roman are only kept if the text has some of its own.
  std::string characters;
  std::size_t size = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (c == '%' && !keepsPercent) continue;
    if (c == '_') c = ' ';
    if (c == '=' && at + 2 < text.size() && hexDigitValue(text[at + 1]) >= 0 &&
        hexDigitValue(text[at + 2]) >= 0) {
      c = static_cast<char>(hexDigitValue(text[at + 1]) * 16 +
                            hexDigitValue(text[at + 2]));
      at += 2;
      if (!isASCII) {
        static_cast<void>(
            platform::appendTextFromBytes(characters, std::string_view(&c, 1),
                                          platform::kStringEncodingMacRoman));
      }
    } else if (!isASCII) {
      characters.push_back(c);
    }
    text[size++] = c;
  }
  text.resize(size);
  if (!isASCII) {
    text =
        platform::bytesFromText(characters, platform::kStringEncodingMacRoman)
            .value_or(characters);
  }
  text.resize(std::min(text.size(), text.find('\0')));
  return textOfDecodedBytes(std::move(text), charset);
}

std::optional<std::string> textOfDecodedBytes(std::string bytes,
                                              StringEncoding charset) {
  if (charset == platform::kStringEncodingUTF8 &&
      platform::isValidUTF8(bytes)) {
    return bytes;
  }
  if (auto text = platform::textFromBytes(bytes, charset)) return text;
  if (platform::asciiPrefixLength(bytes) != bytes.size()) return std::nullopt;
  return bytes;
}

}  // namespace quillhaven::mail::internal
