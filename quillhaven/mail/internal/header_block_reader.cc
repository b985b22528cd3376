#include "quillhaven/mail/internal/header_block_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quillhaven/mail/encoded_words.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::mail::internal {
namespace {

using platform::internal::blankLength;
using platform::internal::byteAt;
using platform::internal::ByteVector;
using platform::internal::equals;
using platform::internal::isBetween;
using platform::internal::kVectorSize;
using platform::internal::newlineLength;
using platform::internal::spaceLength;

bool holdsEncodedWordOpening(std::string_view text) {
  return platform::internal::findPair(text, '=', '?', 0) !=
         std::string_view::npos;
}

// Returns the first position at `from` or later for which `match`, of the bytes
// at positions and of those after them, is set, or the end.
template <typename Match>
std::size_t findWithNext(std::string_view text, std::size_t from, Match match) {
  std::size_t at = from;
  for (; at + kVectorSize < text.size(); at += kVectorSize) {
    const unsigned bits = platform::internal::bitsOf(
        match(platform::internal::loadBytes(text.data() + at),
              platform::internal::loadBytes(text.data() + at + 1)));
    if (bits != 0) return at + static_cast<std::size_t>(std::countr_zero(bits));
  }
  // The end, with letters after it, which match nothing.
  char tail[kVectorSize + 1];
  std::memset(tail, 'x', sizeof tail);
  std::memcpy(tail, text.data() + at, text.size() - at);
  const unsigned bits = platform::internal::bitsOf(
      match(platform::internal::loadBytes(tail),
            platform::internal::loadBytes(tail + 1)));
  return bits == 0 ? text.size()
                   : at + static_cast<std::size_t>(std::countr_zero(bits));
}

// Lanes that hold white space other than " ", or begin a character that may be
// white space.
auto isOddSpace(ByteVector bytes) {
  return isBetween(bytes, 0x09, 0x0D) | equals(bytes, 0xC2) |
         isBetween(bytes, 0xE1, 0xE3);
}

auto isSpaceToCollapse(ByteVector bytes, ByteVector next) {
  return isOddSpace(bytes) |
         (equals(bytes, ' ') & (equals(next, ' ') | isOddSpace(next)));
}

// Lanes with a byte up to carriage return, or beyond ASCII, in one comparison.
auto isControlOrBeyondASCII(ByteVector bytes) {
  return reinterpret_cast<platform::internal::LaneMask>(bytes) <= 0x0D;
}

// True when a value is certainly stored as it stands: ASCII without controls,
// two blanks in a row or "=?".
bool isPlainValue(std::string_view text) {
  unsigned blanks = 0;  // bit 16: whether the byte before is one
  unsigned signs = 0;   // the same for "="
  const auto isPlain = [&](ByteVector bytes) {
    using platform::internal::bitsOf;
    blanks = blanks >> 16 | bitsOf(equals(bytes, ' ')) << 1;
    signs = signs >> 16 | bitsOf(equals(bytes, '=')) << 1;
    const unsigned odd = bitsOf(isControlOrBeyondASCII(bytes));
    return (odd | (blanks & blanks >> 1) |
            (signs & bitsOf(equals(bytes, '?')))) == 0;
  };
  if (text.size() < kVectorSize) {
    char whole[kVectorSize];
    std::memset(whole, 'x', sizeof whole);
    std::memcpy(whole, text.data(), text.size());
    return isPlain(platform::internal::loadBytes(whole));
  }
  for (std::size_t at = 0; at + kVectorSize <= text.size(); at += kVectorSize) {
    if (!isPlain(platform::internal::loadBytes(text.data() + at))) return false;
  }
  blanks = signs = 0;  // the last sixteen bytes, some or all once more
  return isPlain(
      platform::internal::loadBytes(text.data() + text.size() - kVectorSize));
}

// Writes `name` in lower case to `room`, which has kVectorSize bytes more than
// that; false if it has characters beyond ASCII. Bytes before `readableEnd` may
// be read though the name has ended.
bool lowerASCII(std::string_view name, const char* readableEnd, char* room) {
  const char* at = name.data();
  const char* const end = at + name.size();
  unsigned beyond = 0;
  for (; at < end; at += kVectorSize, room += kVectorSize) {
    const auto left = static_cast<std::size_t>(end - at);
    ByteVector bytes;
    if (readableEnd - at >= static_cast<std::ptrdiff_t>(kVectorSize)) {
      bytes = platform::internal::loadBytes(at);
    } else {
      char tail[kVectorSize] = {};
      std::memcpy(tail, at, left);
      bytes = platform::internal::loadBytes(tail);
    }
    const unsigned valid = left >= kVectorSize ? 0xFFFFU : (1U << left) - 1;
    beyond |= platform::internal::bitsOf(bytes >= 0x80) & valid;
    bytes = platform::internal::asciiLowered(bytes);
    std::memcpy(room, &bytes, sizeof bytes);
  }
  return beyond == 0;
}

// The position of the first white space that is more than a lone " ", or the
// end.
std::size_t findWhiteSpaceToCollapse(std::string_view text, std::size_t from) {
  while (true) {
    const std::size_t at = findWithNext(text, from, isSpaceToCollapse);
    if (at == text.size()) return at;
    const std::size_t length = spaceLength(text, at);
    if (length != 0 && (text[at] != ' ' || spaceLength(text, at + 1) != 0)) {
      return at;
    }
    from = at + 1;
  }
}

// Makes every run of white space in `text` one blank; `from` is the first that
// is not one already.
void collapseWhiteSpace(std::string& text, std::size_t from) {
  const std::string_view all = text;
  std::size_t to = from;
  for (std::size_t at = from; at < all.size();) {
    const std::size_t next = findWhiteSpaceToCollapse(all, at);
    std::memmove(&text[to], &text[at], next - at);
    to += next - at;
    at = next;
    while (const std::size_t length = spaceLength(all, at)) at += length;
    if (at != next) text[to++] = ' ';
  }
  text.resize(to);
}

// Which newline character stands at `at`, as a bit.
unsigned newlineBit(std::string_view text, std::size_t at) {
  const unsigned char byte = byteAt(text, at);
  if (byte < 0x80) return 1U << (byte - 0x0A);
  if (byte == 0xC2) return 1U << 4;
  return byteAt(text, at + 2) == 0xA8 ? 1U << 5 : 1U << 6;
}

// What one look at a line tells.
struct LineScan {
  std::size_t end;    // position of the line break, or the end of the text
  std::size_t colon;  // position of the first ":", or `end`
  bool isPlain;       // certainly all of it is as isPlainValue() says
};

// Looks at the line that begins at a position, each byte once.
class LineScanner {
 public:
  LineScanner(std::string_view text, std::size_t at)
      : text_(text), colon_(text.size()) {
    for (; at + kVectorSize < text.size(); at += kVectorSize) {
      if (!goesOn(at, kAllBits, platform::internal::loadBytes(text.data() + at),
                  platform::internal::loadBytes(text.data() + at + 1))) {
        return;
      }
    }
    char tail[kVectorSize + 1] = {};
    std::memcpy(tail, text.data() + at, text.size() - at);
    const unsigned valid = kAllBits >> (kVectorSize - (text.size() - at));
    if (goesOn(at, valid, platform::internal::loadBytes(tail),
               platform::internal::loadBytes(tail + 1))) {
      end_ = text.size();
    }
  }

  [[nodiscard]] LineScan result() const {
    return {end_, std::min(colon_, end_), isPlain_};
  }

 private:
  static constexpr unsigned kAllBits = 0xFFFF;

  // Takes in the bytes at `at` that are marked in `valid`, with those after
  // each; true when the line goes on.
  bool goesOn(std::size_t at, unsigned valid, ByteVector bytes,
              ByteVector next) {
    using platform::internal::bitsOf;
    // Controls, newlines among them, and all beyond ASCII.
    unsigned odd = bitsOf(isControlOrBeyondASCII(bytes)) & valid;
    unsigned pairs = bitsOf((equals(bytes, ' ') & equals(next, ' ')) |
                            (equals(bytes, '=') & equals(next, '?'))) &
                     valid;
    if (colon_ == text_.size()) {
      const unsigned colons = bitsOf(equals(bytes, ':')) & valid;
      if (colons != 0) colon_ = at + lowestBit(colons);
    }
    for (; odd != 0; odd &= odd - 1) {
      const std::size_t position = at + lowestBit(odd);
      if (newlineLength(text_, position) == 0) {
        isPlain_ = false;
        continue;
      }
      end_ = position;
      if ((pairs & ((odd & (0U - odd)) - 1)) != 0) isPlain_ = false;
      return false;
    }
    if (pairs != 0) isPlain_ = false;
    return true;
  }

  static std::size_t lowestBit(unsigned bits) {
    return static_cast<std::size_t>(std::countr_zero(bits));
  }

  std::string_view text_;
  std::size_t end_ = 0;
  std::size_t colon_;
  bool isPlain_ = true;
};

LineScan scanLine(std::string_view text, std::size_t at) {
  return LineScanner(text, at).result();
}

// True when a value of this text counts: two UTF-16 units or more.
bool isLongEnough(std::string_view text) {
  return text.size() > 4 || platform::lengthInUTF16Units(text) >= 2;
}

}  // namespace

std::size_t skipToNextNewline(std::string_view text, std::size_t at) {
  // "\n" or "\r\n", and then a letter or the like: nearly every line.
  const std::size_t usual =
      at + static_cast<std::size_t>(byteAt(text, at) == '\r');
  if (byteAt(text, usual) == '\n') {
    const unsigned char next = byteAt(text, usual + 1);
    if (next > 0x0D && next < 0x80) return usual + 1;
  }
  unsigned seen = 0;
  while (const std::size_t length = newlineLength(text, at)) {
    const unsigned bit = newlineBit(text, at);
    if ((seen & bit) != 0) break;
    seen |= bit;
    at += length;
  }
  return at;
}

HeaderLine readHeaderLine(std::string_view text, std::size_t at) {
  HeaderLine line;
  const auto first = static_cast<unsigned char>(text[at]);
  const std::size_t blank =
      first > ' ' && first < 0x80 ? 0 : blankLength(text, at);
  if (blank != 0) {
    std::size_t start = at + blank;
    while (const std::size_t length = blankLength(text, start)) start += length;
    const LineScan scan = scanLine(text, start);
    line.kind = HeaderLine::Kind::kContinuation;
    line.end = scan.end;
    line.hasValue = scan.end > at + blank;
    line.isPlain = scan.isPlain;
    line.value =
        platform::internal::trimmedBlanks(text.substr(start, scan.end - start));
    return line;
  }
  const LineScan scan = scanLine(text, at);
  line.end = scan.end;
  if (scan.end == at) {
    line.kind = HeaderLine::Kind::kBlank;
    return line;
  }
  if (scan.colon == at) {
    line.kind = HeaderLine::Kind::kUnnamed;
    return line;
  }
  line.kind = HeaderLine::Kind::kField;
  line.name = text.substr(at, scan.colon - at);
  if (scan.colon == scan.end) return line;
  std::size_t start = scan.colon + 1;
  while (const std::size_t length = blankLength(text, start)) start += length;
  line.value = text.substr(start, scan.end - start);
  line.hasValue = isLongEnough(line.value);
  line.isPlain = scan.isPlain;
  return line;
}

PendingValue::PendingValue(std::size_t sizeOfText)
    : carriedBytesLeft_(std::max(sizeOfText, kLeastCarriedBytes)) {}

void PendingValue::set(const HeaderLine& line) {
  exists_ = true;
  ++version_;
  isOwned_ = isStored_ = isCarried_ = false;
  isPlain_ = isNormal_ = line.isPlain;
  owed_ = 0;
  view_ = line.value;
}

void PendingValue::extend(const HeaderLine& line, std::string_view text,
                          std::size_t at) {
  if (!exists_) return;
  settled();
  if (isCarried_ && !spend(view_.size())) return;
  const std::string_view trimmed = line.value;
  std::size_t capacity = view_.size() + trimmed.size() + 1;
  if (capacity <= kUsualCapacity) {
    capacity = kUsualCapacity;
  } else if (capacity > owned_.capacity()) {
    // Room for all the lines that follow, which add no more than they hold.
    while (at < text.size() && blankLength(text, at) != 0) {
      const std::size_t end = platform::internal::findNewline(text, at);
      capacity += end - at;
      at = skipToNextNewline(text, end);
    }
  }
  own(capacity);
  isPlain_ = isPlain_ && line.isPlain && !view_.ends_with(' ');
  const bool isWord = !line.isPlain &&
                      trimmed.find('?') != std::string_view::npos &&
                      isMimeEncodedString(trimmed);
  if (!isWord) owned_.push_back(' ');
  owned_.append(trimmed);
  view_ = owned_;
  ++version_;
  isNormal_ = isPlain_;
  isCarried_ = false;
}

std::string_view PendingValue::settled() {
  for (; owed_ > 0 && !isNormal_; --owed_) normaliseNow();
  if (owed_ > 0) isCarried_ = true;
  owed_ = 0;
  return view_;
}

void PendingValue::moveTo(std::string_view stored) {
  isOwned_ = false;
  isStored_ = true;
  view_ = stored;
}

void PendingValue::own(std::size_t capacity) {
  if (isOwned_) {
    owned_.reserve(capacity);
  } else {
    owned_.clear();
    owned_.reserve(capacity);
    owned_.append(view_);
  }
  isOwned_ = true;
  isStored_ = false;
  view_ = owned_;
}

bool PendingValue::spend(std::size_t bytes) {
  if (bytes > carriedBytesLeft_) return false;
  carriedBytesLeft_ -= bytes;
  return true;
}

void PendingValue::normaliseNow() {
  if (view_.empty() || isPlainValue(view_)) {
    isCarried_ = isNormal_ = isPlain_ = true;
    return;
  }
  const bool hasWords = holdsEncodedWordOpening(view_);
  if (hasWords && isCarried_ && !spend(view_.size())) {
    isNormal_ = true;
    return;
  }
  isCarried_ = isNormal_ = true;
  if (hasWords) {
    std::string decoded = *stringWithMimeEncodedString(view_);
    if (decoded != view_) {
      owned_ = std::move(decoded);
      isOwned_ = true;
      isStored_ = false;
      ++version_;
      view_ = owned_;
      isNormal_ = false;
    }
  }
  const std::size_t from = findWhiteSpaceToCollapse(view_, 0);
  if (from == view_.size()) return;
  own(view_.size());
  ++version_;
  collapseWhiteSpace(owned_, from);
  view_ = owned_;
  isNormal_ = !hasWords;
}

std::size_t HeaderBlockReader::read(std::string_view text, std::size_t at,
                                    HeaderTable& table) {
  HeaderBlockReader reader(text, table);
  at = reader.read(text, at);
  reader.addPending();
  return at;
}

std::size_t HeaderBlockReader::read(std::string_view text, std::size_t at) {
  while (at < text.size()) {
    const HeaderLine line = readHeaderLine(text, at);
    if (line.kind == HeaderLine::Kind::kContinuation) {
      at = skipToNextNewline(text, line.end);
      if (line.hasValue) value_.extend(line, text, at);
      continue;
    }
    flush();
    if (line.kind == HeaderLine::Kind::kBlank) return at;
    if (line.kind == HeaderLine::Kind::kField) readField(line);
    at = skipToNextNewline(text, line.end);
  }
  return at;
}

void HeaderBlockReader::readField(const HeaderLine& line) {
  if (table_.isFull()) {
    name_ = {};
  } else {
    storeName(line.name);
  }
  if (line.hasValue) value_.set(line);
}

void HeaderBlockReader::flush() {
  if (name_.text.empty() || table_.isFull()) return;
  if (value_.exists()) value_.normalise();
  HeaderTable::Stored value = {HeaderTable::kNotStored, value_.settled()};
  const bool isCarried = value_.isStored();
  if (isCarried && value.text.size() > carryingLeft_) {
    value = HeaderTable::kEmpty;
  } else if (isCarried) {
    carryingLeft_ -= value.text.size();
    value.place = valuePlace_;
  }
  const auto stored = table_.hasLargeIndex()
                          ? addLater(value)
                          : table_.add(name_, nameHash_, nameIsNew_, value);
  name_ = stored.name;
  nameIsNew_ = false;
  if (value_.exists() && !isCarried) {
    value_.moveTo(stored.value.text);
    valuePlace_ = stored.value.place;
  }
}

// Has a field with the name read last added soon: its place in a large index is
// out of the caches, and comes in while further fields are read.
HeaderTable::StoredField HeaderBlockReader::addLater(
    HeaderTable::Stored value) {
  if (pending_.empty()) pending_.reserve(kMostPending);
  const auto stored = table_.storeField(name_, nameIsNew_, value);
  pending_.push_back({stored, nameHash_});
  if (pending_.size() == kMostPending) addPending();
  return stored;
}

void HeaderBlockReader::addPending() {
  for (const PendingField& pending : pending_) {
    table_.addStored(pending.field, pending.hash);
  }
  pending_.clear();
}

// Puts the name of a field into the table's room, in lower case. The place
// where the table will look for it comes into the cache while the next line is
// read.
void HeaderBlockReader::storeName(std::string_view name) {
  bool isStored = false;
  if (name.size() <= HeaderTable::kMostWithSpare) {
    HeaderTable::Place place;
    char* const room = table_.takeText(name.size(), kVectorSize, place);
    isStored = lowerASCII(name, textEnd_, room);
    if (isStored) {
      name_ = {place, {room, name.size()}};
    } else {
      table_.giveBackText(name.size());
    }
  }
  if (!isStored) name_ = table_.store(platform::lowercased(name));
  nameIsNew_ = true;
  nameHash_ = table_.expect(name_.text);
}

PartHeader readPartHeader(std::string_view block, std::size_t at,
                          PartHeaderExtent extent) {
  PartHeader header;
  PendingValue value(block.size());
  std::string_view name;
  std::size_t nameLine = std::string_view::npos;
  std::size_t valueLine = std::string_view::npos;
  std::size_t typeVersion = 0;
  std::size_t encodingVersion = 0;
  const auto flush = [&] {
    if (name.empty()) return;
    value.normalise();
    const bool isType = platform::equalsIgnoringASCIICase(name, "content-type");
    if (!isType &&
        !platform::equalsIgnoringASCIICase(name, "content-transfer-encoding")) {
      return;
    }
    std::optional<std::string>& field =
        isType ? header.contentType : header.contentTransferEncoding;
    // A value repeated by line after line is copied once.
    std::size_t& version = isType ? typeVersion : encodingVersion;
    const std::string_view text = value.settled();
    if (!field || version != value.version()) field = std::string(text);
    version = value.version();
    if (isType) {
      header.contentTypeLine =
          nameLine == valueLine ? nameLine : std::string_view::npos;
    }
  };

  while (at < block.size()) {
    const HeaderLine line = readHeaderLine(block, at);
    const std::size_t start = at;
    if (line.kind == HeaderLine::Kind::kContinuation) {
      at = skipToNextNewline(block, line.end);
      if (line.hasValue) value.extend(line, block, at);
      continue;
    }
    flush();
    if (line.kind == HeaderLine::Kind::kBlank) break;
    if (line.kind == HeaderLine::Kind::kField) {
      if (extent == PartHeaderExtent::kFirstField && !name.empty()) break;
      name = line.name;
      nameLine = start;
      if (line.hasValue) {
        value.set(line);
        valueLine = start;
      }
    }
    at = skipToNextNewline(block, line.end);
  }
  header.end = at;
  return header;
}

}  // namespace quillhaven::mail::internal
