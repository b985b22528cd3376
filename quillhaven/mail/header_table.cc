#include "quillhaven/mail/header_table.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

namespace quillhaven::mail {
namespace {

// Up to this many names are found through the small index.
constexpr std::size_t kMostNamesInSmallIndex = 48;
constexpr std::size_t kFirstBlockSize = std::size_t{1} << 12;

std::uint64_t wordAt(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// A hash that a message cannot be written against: its seed is random.
std::uint32_t hashOf(std::string_view name) {
  static const std::uint64_t seed =
      std::uint64_t{std::random_device{}()} << 32 | std::random_device{}();
  std::uint64_t hash = seed ^ name.size();
  const auto mix = [&hash](std::uint64_t word) {
    const auto product =
        static_cast<unsigned __int128>(hash ^ word) * 0x9E3779B97F4A7C15U;
    hash = static_cast<std::uint64_t>(product) ^
           static_cast<std::uint64_t>(product >> 64) ^ seed;
  };
  if (name.size() < 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, name.data(), name.size());
    mix(word);
    return static_cast<std::uint32_t>(hash);
  }
  for (std::size_t at = 0; at + 8 < name.size(); at += 8) {
    mix(wordAt(name.data() + at));
  }
  mix(wordAt(name.data() + name.size() - 8));  // may overlap the word before
  return static_cast<std::uint32_t>(hash);
}

}  // namespace

HeaderTable::HeaderTable(const HeaderTable& other) { *this = other; }

HeaderTable& HeaderTable::operator=(const HeaderTable& other) {
  HeaderTable copy;
  for (std::size_t i = 0; i < other.size(); ++i) {
    for (const std::string_view value : other.valuesAt(i)) {
      copy.append(other.nameAt(i), value);
    }
  }
  return *this = std::move(copy);
}

void HeaderTable::swap(HeaderTable& other) noexcept {
  std::swap(blocks_, other.blocks_);
  std::swap(room_, other.room_);
  std::swap(runs_, other.runs_);
  std::swap(apart_, other.apart_);
  std::swap(shared_, other.shared_);
  std::swap(fields_, other.fields_);
  std::swap(smallSlots_, other.smallSlots_);
  std::swap(slots_, other.slots_);
}

std::optional<HeaderTable::Values> HeaderTable::find(
    std::string_view name) const {
  const std::uint32_t index = indexOf(name);
  if (index == kNone) return std::nullopt;
  return valuesAt(index);
}

void HeaderTable::append(std::string_view name, std::string_view value) {
  if (isFull()) return;
  const std::uint32_t hash = hashOf(name);
  const bool isNew = indexOf(name, hash) == kNone;
  add(isNew ? store(name) : Stored{kNotStored, name}, hash, isNew,
      {kNotStored, value});
}

std::size_t HeaderTable::Values::size() const {
  if (rest_ == kNone) return 1;
  if ((rest_ & kSecond) != 0) return 2;
  std::size_t count = firstRun_ == kNone ? 1 : 0;
  std::uint32_t run = rest_;
  do {
    run = table_->runs_[run].next;
    count += table_->runs_[run].count;
  } while (run != rest_);
  return count;
}

char* HeaderTable::takeAligned(std::size_t size) {
  constexpr std::size_t kAlignment = alignof(std::uint32_t);
  static_assert(alignof(Run) == kAlignment && alignof(Field) == kAlignment &&
                alignof(Apart) == kAlignment && alignof(Shared) == kAlignment);
  const auto unaligned =
      static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(room_.start)) %
      kAlignment;
  const std::size_t padding = unaligned == 0 ? 0 : kAlignment - unaligned;
  if (padding + size <= room_.size) return take(padding + size) + padding;
  addBlock(size + kAlignment);  // as aligned as its first text leaves it
  return takeAligned(size);
}

void HeaderTable::addBlock(std::size_t size) {
  constexpr std::size_t kLargestBlockSize = std::size_t{1} << kOffsetBits;
  const std::size_t usual =
      std::min(kFirstBlockSize << std::min<std::size_t>(blocks_.size(), 10),
               kLargestBlockSize);
  // The first byte of all is no text: its place is that of the empty one.
  const std::size_t start = blocks_.empty() ? 1 : 0;
  const std::size_t blockSize = std::max(start + size, usual);
  // Without a value initialiser: most of it is written once only.
  blocks_.push_back(std::unique_ptr<char[]>(new char[blockSize]));
  const auto number = static_cast<Place>(blocks_.size() - 1);
  room_ = {blocks_.back().get() + start, blockSize - start,
           (number << kOffsetBits) + static_cast<Place>(start)};
}

HeaderTable::Stored HeaderTable::store(std::string_view text) {
  if (text.empty()) return kEmpty;
  Place place;
  char* const room = takeText(text.size(), 0, place);
  std::memcpy(room, text.data(), text.size());
  return {place, {room, text.size()}};
}

std::uint32_t HeaderTable::expect(std::string_view name) const {
  const std::uint32_t hash = hashOf(name);
  if (!slots_.empty()) __builtin_prefetch(&slots_[slotOf(hash)]);
  return hash;
}

HeaderTable::Stored HeaderTable::valueBehind(std::uint32_t number,
                                             Place name) const {
  const char* const start = bytesAt(name);
  const std::string_view nameText = textAt(start);
  const char* const behind = nameText.data() + nameText.size();
  if (static_cast<std::uint8_t>(*behind) != kSharedValue) {
    return {name + static_cast<Place>(behind - start), textAt(behind)};
  }
  // The last one from no later field.
  std::uint32_t low = 0;
  std::uint32_t high = shared_.size() - 1;
  while (low < high) {
    const std::uint32_t middle = high - (high - low) / 2;
    if (shared_[middle].from <= number) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  const Place value = shared_[low].value;
  return {value, textAt(value)};
}

// Puts the value behind the name, or a sign that it is an earlier one.
HeaderTable::StoredField HeaderTable::storeField(Stored name, bool nameIsNew,
                                                 Stored value) {
  const char* const behind = name.text.data() + name.text.size();
  bool isTogether = nameIsNew && behind == room_.start && room_.size > 0;
  if (isTogether && value.text.empty()) {
    *take(1) = 0;
    value = kEmpty;
  } else if (isTogether && value.place != kNotStored) {
    *take(1) = static_cast<char>(kSharedValue);
  } else if (value.place == kNotStored) {
    value = store(value.text);
    isTogether = isTogether &&
                 value.text.data() == behind + sizeOfPrefix(value.text.size());
  }
  return {name, value, isTogether};
}

void HeaderTable::addStored(const StoredField& field, std::uint32_t hash) {
  const std::uint32_t known = indexOf(field.name.text, hash);
  if (known == kNone) {
    addNew(field, hash);
  } else {
    addTo(known, field.value);
  }
}

void HeaderTable::addNew(const StoredField& field, std::uint32_t hash) {
  const auto& [name, value, isTogether] = field;
  const std::uint32_t number = fields_.size();
  if (isTogether) {
    const char* const behind = name.text.data() + name.text.size();
    if (static_cast<std::uint8_t>(*behind) == kSharedValue) {
      const std::uint32_t count = shared_.size();
      if (count == 0 || shared_[count - 1].value != value.place) {
        shared_.push(*this, {number, value.place});
      }
    }
    fields_.push(*this, name.place);
  } else {
    const std::uint32_t run = runs_.size();
    runs_.push(*this, {value.place, 1, run});
    fields_.push(*this, kApart | apart_.size());
    apart_.push(*this, {kElsewhere | name.place, run});
  }
  addToIndex(number, hash);
}

HeaderTable::StoredField HeaderTable::add(Stored name, std::uint32_t hash,
                                          bool nameIsNew, Stored value) {
  const std::uint32_t known = indexOf(name.text, hash);
  if (known == kNone) {
    const StoredField field = storeField(name, nameIsNew, value);
    addNew(field, hash);
    return field;
  }
  if (nameIsNew) giveBackText(name.text.size());
  const std::string_view text = nameAt(known);
  return {{kNone, text}, addTo(known, value)};
}

HeaderTable::Stored HeaderTable::storeUnlessSame(Stored value, Stored before) {
  if (before.place == value.place || before.text == value.text) return before;
  return value.place == kNotStored ? store(value.text) : value;
}

HeaderTable::Stored HeaderTable::addTo(std::uint32_t number, Stored value) {
  Field& field = fields_[number];
  if ((field & kApart) == 0) {
    value = storeUnlessSame(value, valueBehind(number, field));
    apart_.push(*this, {field, kSecond | value.place});
    field = kApart | (apart_.size() - 1);
    return value;
  }
  Apart& apart = apart_[field & ~kApart];
  if ((apart.rest & kSecond) != 0) {
    const std::uint32_t run = runs_.size();
    runs_.push(*this, {apart.rest & ~kSecond, 1, run});
    apart.rest = run;
  }
  Run& last = runs_[apart.rest];
  const Stored before = {last.text, textAt(last.text)};
  value = storeUnlessSame(value, before);
  if (value.place == before.place) {
    ++last.count;
    return value;
  }
  apart.rest = runs_.size();
  runs_.push(*this, {value.place, 1, last.next});
  last.next = apart.rest;
  return value;
}

std::uint32_t HeaderTable::indexOf(std::string_view name) const {
  return indexOf(name, hashOf(name));
}

std::uint32_t HeaderTable::indexOf(std::string_view name,
                                   std::uint32_t hash) const {
  if (slots_.empty()) {
    const std::size_t mask = smallSlots_.size() - 1;
    for (std::size_t slot = hash & mask; smallSlots_[slot] != 0;
         slot = (slot + 1) & mask) {
      const std::uint32_t index = smallSlots_[slot] - 1U;
      if (nameAt(index) == name) return index;
    }
    return kNone;
  }
  const unsigned numberBits = bitsOfNumbers();
  const std::uint32_t mask = (std::uint32_t{1} << numberBits) - 1;
  for (std::size_t slot = slotOf(hash); slots_[slot] != kNone;
       slot = slot + 1 == slots_.size() ? 0 : slot + 1) {
    // Names whose other bits differ need not be looked at.
    if (((slots_[slot] ^ hash << numberBits) & ~mask) != 0) continue;
    const std::uint32_t index = slots_[slot] & mask;
    if (nameAt(index) == name) return index;
  }
  return kNone;
}

void HeaderTable::addToIndex(std::uint32_t field, std::uint32_t hash) {
  const std::size_t count = fields_.size();
  if (count <= kMostNamesInSmallIndex) {
    const std::size_t mask = smallSlots_.size() - 1;
    std::size_t slot = hash & mask;
    while (smallSlots_[slot] != 0) slot = (slot + 1) & mask;
    smallSlots_[slot] = static_cast<std::uint8_t>(field + 1);
  } else if (count * 4 <= slots_.size() * 3) {  // at most three quarters full
    addToSlots(field, hash);
  } else {
    growSlots();
  }
}

void HeaderTable::addToSlots(std::uint32_t field, std::uint32_t hash) {
  const unsigned numberBits = bitsOfNumbers();
  std::size_t slot = slotOf(hash);
  while (slots_[slot] != kNone) slot = slot + 1 == slots_.size() ? 0 : slot + 1;
  slots_[slot] = field | hash << numberBits;
}

// Makes a larger index and takes in all names. Its sizes are the powers of two
// and those halfway between.
void HeaderTable::growSlots() {
  const std::size_t before = slots_.size();
  const std::size_t size = before == 0 ? 2 * smallSlots_.size()
                           : std::has_single_bit(before) ? before / 2 * 3
                                                         : before / 3 * 4;
  std::vector<std::uint32_t>().swap(slots_);  // freed first: it may be large
  slots_.assign(size, kNone);
  // Their slots lie all over the memory: they are asked for some names ahead.
  constexpr std::uint32_t kAhead = 16;
  std::array<std::uint32_t, kAhead> hashes{};
  const std::uint32_t count = fields_.size();
  for (std::uint32_t i = 0; i < count + kAhead; ++i) {
    std::uint32_t& hash = hashes[i % kAhead];
    if (i >= kAhead) addToSlots(i - kAhead, hash);
    if (i < count) hash = expect(nameAt(i));
  }
}

}  // namespace quillhaven::mail
