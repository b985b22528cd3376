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
constexpr std::size_t kLargestBlockSize = std::size_t{1} << 18;

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
  const std::uint32_t hash = hashOf(name);
  const bool isNew = indexOf(name, hash) == kNone;
  add(isNew ? store(name) : name, hash, isNew, value, false);
}

char* HeaderTable::takeAligned(std::size_t size) {
  constexpr std::size_t kAlignment = alignof(Run);
  static_assert(alignof(Field) == kAlignment);
  const auto unaligned =
      static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(room_.start)) %
      kAlignment;
  const std::size_t padding = unaligned == 0 ? 0 : kAlignment - unaligned;
  // A new block is aligned.
  return padding + size <= room_.size ? take(padding + size) + padding
                                      : (addBlock(size), take(size));
}

void HeaderTable::addBlock(std::size_t size) {
  const std::size_t usual =
      std::min(kFirstBlockSize << std::min<std::size_t>(blocks_.size(), 10),
               kLargestBlockSize);
  const std::size_t blockSize = std::max(size, usual);
  // Without a value initialiser: most of it is written once only.
  blocks_.push_back(std::unique_ptr<char[]>(new char[blockSize]));
  room_ = {blocks_.back().get(), blockSize};
}

std::string_view HeaderTable::store(std::string_view text) {
  if (text.empty()) return {};
  char* const room = take(text.size());
  std::memcpy(room, text.data(), text.size());
  return {room, text.size()};
}

std::uint32_t HeaderTable::expect(std::string_view name) const {
  const std::uint32_t hash = hashOf(name);
  if (!slots_.empty()) __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
  return hash;
}

HeaderTable::Stored HeaderTable::add(std::string_view name, std::uint32_t hash,
                                     bool nameIsStored, std::string_view value,
                                     bool valueIsStored) {
  const std::uint32_t known = indexOf(name, hash);
  const auto size = static_cast<std::uint32_t>(value.size());
  if (known == kNone) {
    if (!valueIsStored) value = store(value);
    const std::uint32_t added = fields_.size();
    fields_.push(*this,
                 {name.data(), value.data(),
                  static_cast<std::uint32_t>(name.size()), size, 1, kNone});
    addToIndex(added, hash);
    return {name, value};
  }

  if (nameIsStored) giveBack(name.size());
  Field& field = fields_[known];
  const bool hasOneRun = field.next == kNone;
  const std::uint32_t lastRun = hasOneRun ? kNone : runs_[field.next].last;
  const std::string_view last = Values(&runs_, &field).back();
  if (last == value) {
    ++(hasOneRun ? field.count : runs_[lastRun].count);
    return {nameAt(known), last};
  }
  if (!valueIsStored) value = store(value);
  const std::uint32_t run = runs_.size();
  (hasOneRun ? field.next : runs_[lastRun].next) = run;
  runs_.push(*this, {value.data(), size, 1, kNone, run});
  runs_[field.next].last = run;
  return {nameAt(known), value};
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
  const auto mask = static_cast<std::uint32_t>(slots_.size() - 1);
  for (std::size_t slot = hash & mask; slots_[slot] != kNone;
       slot = (slot + 1) & mask) {
    // Names whose other bits differ need not be looked at.
    if (((slots_[slot] ^ hash) & ~mask) != 0) continue;
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
    return;
  }
  const auto add = [this](std::uint32_t index, std::uint32_t itsHash) {
    const auto mask = static_cast<std::uint32_t>(slots_.size() - 1);
    std::size_t slot = itsHash & mask;
    while (slots_[slot] != kNone) slot = (slot + 1) & mask;
    slots_[slot] = index | (itsHash & ~mask);
  };
  // At most three quarters full; a new index takes in all names.
  if (count * 4 <= slots_.size() * 3) {
    add(field, hash);
    return;
  }
  slots_ = {};  // the old one is freed first: it may be large
  std::size_t size = 2 * smallSlots_.size();
  while (count * 4 > size * 3) size *= 2;
  slots_.assign(size, kNone);
  for (std::uint32_t i = 0; i <= field; ++i) add(i, hashOf(nameAt(i)));
}

}  // namespace quillhaven::mail
