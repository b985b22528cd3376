#include "quillhaven/platform/files/internal/property_list_binary.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/platform/files/internal/property_list_limits.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

constexpr std::size_t kTrailerSize = 32;
// Dates count from 2001-01-01T00:00:00Z.
constexpr std::chrono::seconds kReferenceDate{978307200};
constexpr char kUniqueIdentifierKey[] = "CF$UID";

enum ObjectKind : unsigned {
  kSingle = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCIIText = 0x5,
  kUTF16Text = 0x6,
  kUniqueIdentifier = 0x8,
  kArray = 0xA,
  kOrderedSet = 0xB,
  kSet = 0xC,
  kDictionary = 0xD,
};

// Reads one file: a header, objects, the table of their offsets, a trailer.
// Objects name others by number, so a file can hold cycles and values used any
// number of times; the depth and the budget bound both. One thread at a time.
class Reader {
 public:
  explicit Reader(std::string_view bytes)
      : bytes_(bytes), budget_(bytes.size()) {}

  std::optional<PropertyList> read();

 private:
  // The part of an object behind its first byte and its count.
  struct Object {
    unsigned kind = 0;
    std::size_t count = 0;  // or the four low bits of the first byte
    std::size_t at = 0;
  };

  bool readTrailer();
  // The big-endian number of `size` bytes, 1 to 8, at `at`; both lie inside.
  std::uint64_t number(std::size_t at, std::size_t size) const;
  bool isInside(std::size_t at, std::size_t size) const {
    return at <= objectsEnd_ && size <= objectsEnd_ - at;
  }
  std::optional<Object> object(std::uint64_t index) const;
  // The number that entry `entry` of the references at `at` holds.
  std::uint64_t reference(std::size_t at, std::size_t entry) const {
    return number(at + entry * referenceSize_, referenceSize_);
  }

  std::optional<PropertyList> value(std::uint64_t index, std::size_t depth);
  std::optional<PropertyList> scalar(const Object& object);
  std::optional<PropertyList> integer(const Object& object) const;
  std::optional<PropertyList> real(const Object& object) const;
  std::optional<PropertyList> date(const Object& object) const;
  std::optional<std::string> text(const Object& object);
  std::optional<PropertyList> array(const Object& object, std::size_t depth);
  std::optional<PropertyList> dictionary(const Object& object,
                                         std::size_t depth);

  std::string_view bytes_;
  std::size_t objectsEnd_ = 0;  // where the offset table begins
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t root_ = 0;
  PropertyListBudget budget_;
};

std::optional<PropertyList> Reader::read() {
  if (!readTrailer()) return std::nullopt;
  return value(root_, 0);
}

bool Reader::readTrailer() {
  if (bytes_.size() < kBinaryPropertyListMark.size() + 1 + kTrailerSize) {
    return false;
  }
  const std::size_t trailer = bytes_.size() - kTrailerSize;
  offsetSize_ = static_cast<unsigned char>(bytes_[trailer + 6]);
  referenceSize_ = static_cast<unsigned char>(bytes_[trailer + 7]);
  objectCount_ = number(trailer + 8, 8);
  root_ = number(trailer + 16, 8);
  const std::uint64_t table = number(trailer + 24, 8);
  if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 ||
      referenceSize_ > 8 || table > trailer ||
      objectCount_ > (trailer - table) / offsetSize_) {
    return false;
  }
  objectsEnd_ = static_cast<std::size_t>(table);
  return true;
}

std::uint64_t Reader::number(std::size_t at, std::size_t size) const {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = value << 8 | static_cast<unsigned char>(bytes_[at + i]);
  }
  return value;
}

std::optional<Reader::Object> Reader::object(std::uint64_t index) const {
  if (index >= objectCount_) return std::nullopt;
  const std::uint64_t offset = number(
      objectsEnd_ + static_cast<std::size_t>(index) * offsetSize_, offsetSize_);
  if (offset < kBinaryPropertyListMark.size() || offset >= objectsEnd_) {
    return std::nullopt;
  }
  Object object;
  object.at = static_cast<std::size_t>(offset);
  const auto first = static_cast<unsigned char>(bytes_[object.at++]);
  object.kind = first >> 4;
  object.count = first & 0xF;
  const bool isCounted =
      object.kind >= kData && object.kind != kUniqueIdentifier;
  if (!isCounted || object.count != 0xF) return object;

  // A count of 15 or more follows as an integer object.
  if (!isInside(object.at, 1)) return std::nullopt;
  const auto marker = static_cast<unsigned char>(bytes_[object.at++]);
  const std::size_t size = std::size_t{1} << (marker & 0xF);
  if (marker >> 4 != kInteger || size > 8 || !isInside(object.at, size)) {
    return std::nullopt;
  }
  const std::uint64_t count = number(object.at, size);
  if (count > bytes_.size()) return std::nullopt;
  object.count = static_cast<std::size_t>(count);
  object.at += size;
  return object;
}

// Every container on the way counts as a level, so a cycle ends soon.
std::optional<PropertyList> Reader::value(std::uint64_t index,
                                          std::size_t depth) {
  const auto found = object(index);
  if (!found || !budget_.takeValue()) return std::nullopt;
  switch (found->kind) {
    case kArray:
    case kOrderedSet:
    case kSet:
      return array(*found, depth + 1);
    case kDictionary:
      return dictionary(*found, depth + 1);
    default:
      return scalar(*found);
  }
}

std::optional<PropertyList> Reader::scalar(const Object& object) {
  switch (object.kind) {
    case kSingle:
      if (object.count != 0x8 && object.count != 0x9) return std::nullopt;
      return PropertyList(object.count == 0x9);
    case kInteger:
      return integer(object);
    case kReal:
      return real(object);
    case kDate:
      return date(object);
    case kData:
      if (!isInside(object.at, object.count) ||
          !budget_.takeBytes(object.count)) {
        return std::nullopt;
      }
      return PropertyList::Data{
          std::string(bytes_.substr(object.at, object.count))};
    case kUniqueIdentifier:
      if (object.count > 7 || !isInside(object.at, object.count + 1)) {
        return std::nullopt;
      }
      return PropertyList::Dictionary{
          {kUniqueIdentifierKey, number(object.at, object.count + 1)}};
    default:
      if (auto string = text(object)) return PropertyList(std::move(*string));
      return std::nullopt;
  }
}

// Up to four bytes are unsigned, eight are signed, sixteen hold what lies above
// that.
std::optional<PropertyList> Reader::integer(const Object& object) const {
  if (object.count > 4) return std::nullopt;
  const std::size_t size = std::size_t{1} << object.count;
  if (!isInside(object.at, size)) return std::nullopt;
  if (size < 8) return PropertyList(number(object.at, size));
  const std::uint64_t low = number(object.at + size - 8, 8);
  const auto signedLow = static_cast<std::int64_t>(low);
  if (size == 8) return PropertyList(signedLow);
  const std::uint64_t high = number(object.at, 8);
  if (high == 0) return PropertyList(low);
  if (high + 1 == 0 && signedLow < 0) return PropertyList(signedLow);
  return std::nullopt;
}

std::optional<PropertyList> Reader::real(const Object& object) const {
  if (object.count == 2 && isInside(object.at, 4)) {
    const auto bits = static_cast<std::uint32_t>(number(object.at, 4));
    return PropertyList(static_cast<double>(std::bit_cast<float>(bits)));
  }
  if (object.count == 3 && isInside(object.at, 8)) {
    return PropertyList(std::bit_cast<double>(number(object.at, 8)));
  }
  return std::nullopt;
}

std::optional<PropertyList> Reader::date(const Object& object) const {
  if (object.count != 3 || !isInside(object.at, 8)) return std::nullopt;
  const auto seconds = std::bit_cast<double>(number(object.at, 8));
  constexpr double kMaximum = 9e12;  // 64 bits of microseconds, with room
  if (!(std::abs(seconds) <= kMaximum)) return std::nullopt;
  return PropertyList::Date(
      kReferenceDate + std::chrono::microseconds(std::llround(seconds * 1e6)));
}

std::optional<std::string> Reader::text(const Object& object) {
  const bool isASCII = object.kind == kASCIIText;
  if (!isASCII && object.kind != kUTF16Text) return std::nullopt;
  const std::size_t size = isASCII ? object.count : 2 * object.count;
  if (!isInside(object.at, size) || !budget_.takeBytes(size)) {
    return std::nullopt;
  }
  if (isASCII) {
    const std::string_view characters = bytes_.substr(object.at, size);
    if (asciiPrefixLength(characters) != size) return std::nullopt;
    return std::string(characters);
  }
  std::string text;
  text.reserve(size);
  char16_t pendingHighSurrogate = 0;
  for (std::size_t at = object.at; at < object.at + size; at += 2) {
    appendUTF16Unit(text, static_cast<char16_t>(number(at, 2)),
                    pendingHighSurrogate);
  }
  flushUTF16(text, pendingHighSurrogate);
  return text;
}

std::optional<PropertyList> Reader::array(const Object& object,
                                          std::size_t depth) {
  if (depth > kMaximumPropertyListDepth ||
      object.count > bytes_.size() / referenceSize_ ||
      !isInside(object.at, object.count * referenceSize_)) {
    return std::nullopt;
  }
  PropertyList::Array values;
  for (std::size_t i = 0; i < object.count; ++i) {
    auto element = value(reference(object.at, i), depth);
    if (!element) return std::nullopt;
    values.push_back(std::move(*element));
  }
  return PropertyList(std::move(values));
}

// All references to keys come first, then all to values.
std::optional<PropertyList> Reader::dictionary(const Object& object,
                                               std::size_t depth) {
  if (depth > kMaximumPropertyListDepth ||
      object.count > bytes_.size() / 2 / referenceSize_ ||
      !isInside(object.at, 2 * object.count * referenceSize_)) {
    return std::nullopt;
  }
  PropertyList::Dictionary values;
  for (std::size_t i = 0; i < object.count; ++i) {
    const auto keyObject = this->object(reference(object.at, i));
    if (!keyObject) return std::nullopt;
    auto key = text(*keyObject);
    if (!key) return std::nullopt;
    auto element = value(reference(object.at, object.count + i), depth);
    if (!element) return std::nullopt;
    values.insert_or_assign(std::move(*key), std::move(*element));
  }
  return PropertyList(std::move(values));
}

}  // namespace

std::optional<PropertyList> propertyListFromBinary(std::string_view bytes) {
  return Reader(bytes).read();
}

}  // namespace quillhaven::platform::internal
