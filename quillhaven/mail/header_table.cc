#include "quillhaven/mail/header_table.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace quillhaven::mail {
namespace {

// Up to this many names are compared one by one; more go through the index.
constexpr std::size_t kMostNamesWithoutIndex = 32;
constexpr std::size_t kLargestBlockSize = std::size_t{1} << 20;

// A hash that a message cannot be written against: its seed is random.
std::uint64_t hashOf(std::string_view name) {
  static const std::uint64_t seed =
      (std::uint64_t{std::random_device{}()} << 32 | std::random_device{}()) |
      1;
  std::uint64_t hash = seed ^ name.size();
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29;
    hash *= seed;
    hash ^= hash >> 32;
  };
  std::size_t at = 0;
  for (; at + 8 <= name.size(); at += 8) {
    std::uint64_t word;
    std::memcpy(&word, name.data() + at, sizeof word);
    mix(word);
  }
  std::uint64_t last = 0;
  std::memcpy(&last, name.data() + at, name.size() - at);
  mix(last);
  return hash;
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

std::optional<HeaderTable::Values> HeaderTable::find(
    std::string_view name) const {
  const std::uint32_t index = indexOf(name);
  if (index == kNone) return std::nullopt;
  return valuesAt(index);
}

void HeaderTable::append(std::string_view name, std::string_view value) {
  const std::string_view stored = store(value);
  appendStored(indexOf(name) == kNone ? store(name) : name, false, stored);
}

char* HeaderTable::take(std::size_t size) {
  if (size > roomSize_) {
    const std::size_t blockSize = std::max(size, nextBlockSize_);
    nextBlockSize_ = std::min(nextBlockSize_ * 2, kLargestBlockSize);
    // Without a value initialiser: most of it is written once only.
    blocks_.push_back(std::unique_ptr<char[]>(new char[blockSize]));
    room_ = blocks_.back().get();
    roomSize_ = blockSize;
  }
  char* const taken = room_;
  room_ += size;
  roomSize_ -= size;
  return taken;
}

void HeaderTable::giveBack(std::size_t size) {
  room_ -= size;
  roomSize_ += size;
}

std::string_view HeaderTable::store(std::string_view text) {
  if (text.empty()) return {};
  char* const room = take(text.size());
  std::memcpy(room, text.data(), text.size());
  return {room, text.size()};
}

std::string_view HeaderTable::appendStored(std::string_view name,
                                           bool nameIsStored,
                                           std::string_view storedValue) {
  const auto entry = static_cast<std::uint32_t>(entries_.size());
  entries_.push_back({storedValue.data(),
                      static_cast<std::uint32_t>(storedValue.size()), kNone});
  const std::uint32_t known = indexOf(name);
  if (known != kNone) {
    if (nameIsStored) giveBack(name.size());
    Field& field = fields_[known];
    entries_[field.last].next = entry;
    field.last = entry;
    ++field.count;
    return nameAt(known);
  }
  fields_.push_back(
      {name.data(), static_cast<std::uint32_t>(name.size()), entry, entry, 1});
  addToIndex(static_cast<std::uint32_t>(fields_.size() - 1));
  return nameAt(fields_.size() - 1);
}

std::uint32_t HeaderTable::indexOf(std::string_view name) const {
  if (slots_.empty()) {
    for (std::uint32_t i = 0; i < fields_.size(); ++i) {
      if (nameAt(i) == name) return i;
    }
    return kNone;
  }
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = hashOf(name) & mask; slots_[slot] != kNone;
       slot = (slot + 1) & mask) {
    if (nameAt(slots_[slot]) == name) return slots_[slot];
  }
  return kNone;
}

void HeaderTable::addToIndex(std::uint32_t field) {
  if (fields_.size() <= kMostNamesWithoutIndex) return;
  std::uint32_t first = field;
  // At most three quarters full; a new index takes in all names.
  if (fields_.size() * 4 > slots_.size() * 3) {
    slots_ = {};  // the old one is freed first: it may be large
    std::size_t size = 4 * kMostNamesWithoutIndex;
    while (fields_.size() * 4 > size * 3) size *= 2;
    slots_.assign(size, kNone);
    first = 0;
  }
  const std::size_t mask = slots_.size() - 1;
  for (std::uint32_t i = first; i <= field; ++i) {
    std::size_t slot = hashOf(nameAt(i)) & mask;
    while (slots_[slot] != kNone) slot = (slot + 1) & mask;
    slots_[slot] = i;
  }
}

}  // namespace quillhaven::mail
