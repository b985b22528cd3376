// The header table of a message: lower-cased field names and, for each, the
// values of its occurrences in the order of the message.
#ifndef QUILLHAVEN_MAIL_HEADER_TABLE_H_
#define QUILLHAVEN_MAIL_HEADER_TABLE_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace quillhaven::mail {

namespace internal {
class HeaderBlockReader;
}

// Owns its texts in large blocks and refers to them in four bytes each, so that
// a field costs no allocation and a million of them little more than their
// bytes; equal values in a row are kept once. It has room for a gibibyte of
// names and values at least; fields that do not fit are left out. The string
// views it hands out live as long as the table, also when it moves or grows;
// `Values` only until it does. A table that nobody changes may be read by
// several threads.
class HeaderTable {
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // Where a text begins: the number of its block and the byte in that. Texts
  // stand behind their sizes, of one byte, or of kLongText and four more.
  using Place = std::uint32_t;
  static constexpr unsigned kOffsetBits = 18;
  static constexpr Place kOffsetMask = (Place{1} << kOffsetBits) - 1;
  static constexpr unsigned kPlaceBits = 31;
  static constexpr std::uint8_t kLongText = 255;
  // Stands behind a name instead of a value: that is in shared_.
  static constexpr std::uint8_t kSharedValue = 254;

  // Equal values that follow one another, as one.
  struct Run {
    Place text;
    std::uint32_t count;
    std::uint32_t next;  // of the same field; after the last comes the first
  };
  // A field is the place of its name, and its one value stands behind that; or
  // it is kApart and a number in apart_.
  using Field = std::uint32_t;
  static constexpr Field kApart = Field{1} << kPlaceBits;
  // A field with more values than the one behind its name, of which `rest` is
  // the place of the second (with kSecond) or the last run of all after the
  // first. With kElsewhere, nothing stands behind the name, and `rest` is the
  // last run of all.
  struct Apart {
    Place name;
    std::uint32_t rest;
  };
  static constexpr std::uint32_t kSecond = std::uint32_t{1} << kPlaceBits;
  static constexpr Place kElsewhere = Place{1} << kPlaceBits;
  // The one value of the field `from` and of those after it that share theirs
  // with it, up to the next of these.
  struct Shared {
    std::uint32_t from;
    Place value;
  };

  // An array whose elements stay where they are, first a few of them in the
  // table's blocks, at last 1024 at a time on their own.
  template <typename Element>
  class Array {
   public:
    [[nodiscard]] std::uint32_t size() const { return size_; }
    Element& operator[](std::uint32_t index) { return *at(index); }
    const Element& operator[](std::uint32_t index) const { return *at(index); }

    void push(HeaderTable& table, const Element& element) {
      const std::uint32_t place = size_ + kFirst;
      if (place >= kChunk) {
        if (place % kChunk == 0) {
          large_.push_back(std::unique_ptr<Element[]>(new Element[kChunk]));
        }
      } else if ((place & (place - 1)) == 0) {
        small_[smallChunk(place)] = reinterpret_cast<Element*>(
            table.takeAligned(place * sizeof(Element)));
      }
      new (at(size_++)) Element(element);
    }

   private:
    static constexpr std::uint32_t kFirst = 16;  // elements in the first chunk
    static constexpr std::uint32_t kChunk = 1024;

    static std::size_t smallChunk(std::uint32_t place) {
      return static_cast<std::size_t>(std::bit_width(place | kFirst) -
                                      std::bit_width(kFirst));
    }
    [[nodiscard]] Element* at(std::uint32_t index) const {
      const std::uint32_t place = index + kFirst;
      if (place >= kChunk) {
        return large_[place / kChunk - 1].get() + place % kChunk;
      }
      return small_[smallChunk(place)] + (place - std::bit_floor(place));
    }

    std::array<Element*, 6> small_{};  // 16, 32, ... 512 elements
    std::vector<std::unique_ptr<Element[]>> large_;
    std::uint32_t size_ = 0;
  };

 public:
  // The values of one field in order, at least one; a range of string views.
  class Values {
   public:
    class Iterator {
     public:
      using value_type = std::string_view;
      using difference_type = std::ptrdiff_t;
      using iterator_category = std::input_iterator_tag;
      using reference = std::string_view;
      using pointer = void;

      std::string_view operator*() const { return text_; }
      Iterator& operator++() {
        if (--left_ > 0 || at_ == rest_) return *this;
        if ((rest_ & kSecond) != 0) {
          at_ = rest_;
          text_ = table_->textAt(rest_ & ~kSecond);
          left_ = 1;
          return *this;
        }
        at_ = table_->runs_[at_ == kNone ? rest_ : at_].next;
        const Run& run = table_->runs_[at_];
        text_ = table_->textAt(run.text);
        left_ = run.count;
        return *this;
      }
      bool operator==(const Iterator& other) const {
        return left_ == other.left_ && at_ == other.at_;
      }
      bool operator!=(const Iterator& other) const { return !(*this == other); }

     private:
      friend class Values;
      Iterator(const HeaderTable* table, std::string_view text,
               std::uint32_t left, std::uint32_t at, std::uint32_t rest)
          : table_(table), text_(text), left_(left), at_(at), rest_(rest) {}
      const HeaderTable* table_;
      std::string_view text_;
      std::uint32_t left_;  // of the run; 0 in the last one is the end
      std::uint32_t at_;    // kNone: behind the name; else the run, or rest_
      std::uint32_t rest_;
    };

    [[nodiscard]] Iterator begin() const {
      const std::uint32_t count =
          firstRun_ == kNone ? 1 : table_->runs_[firstRun_].count;
      return {table_, front(), count, firstRun_, rest_};
    }
    [[nodiscard]] Iterator end() const { return {table_, {}, 0, rest_, rest_}; }
    // Counts them, in time proportional to how often the value changes.
    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] std::string_view front() const { return first_; }
    [[nodiscard]] std::string_view back() const {
      if (rest_ == kNone) return front();
      return table_->textAt((rest_ & kSecond) != 0 ? rest_ & ~kSecond
                                                   : table_->runs_[rest_].text);
    }

   private:
    friend class HeaderTable;
    Values(const HeaderTable* table, std::string_view first,
           std::uint32_t firstRun, std::uint32_t rest)
        : table_(table), first_(first), firstRun_(firstRun), rest_(rest) {}
    const HeaderTable* table_;
    std::string_view first_;
    std::uint32_t firstRun_;  // kNone: the first one stands behind the name
    std::uint32_t rest_;      // as in Apart, or kNone
  };

  HeaderTable() = default;
  HeaderTable(const HeaderTable& other);
  HeaderTable& operator=(const HeaderTable& other);
  HeaderTable(HeaderTable&& other) noexcept { swap(other); }
  HeaderTable& operator=(HeaderTable&& other) noexcept {
    HeaderTable taken(std::move(other));
    swap(taken);
    return *this;
  }
  ~HeaderTable() = default;

  // Returns the values stored under exactly `name`, or nothing. Names are
  // lower-cased in the table; this call does not lower-case its argument.
  [[nodiscard]] std::optional<Values> find(std::string_view name) const;

  // The distinct names, numbered from 0 in the order of their first occurrence.
  [[nodiscard]] std::size_t size() const { return fields_.size(); }
  [[nodiscard]] bool empty() const { return fields_.size() == 0; }
  [[nodiscard]] std::string_view nameAt(std::size_t index) const {
    const Field field = fields_[static_cast<std::uint32_t>(index)];
    return textAt((field & kApart) == 0
                      ? field
                      : apart_[field & ~kApart].name & ~kElsewhere);
  }
  [[nodiscard]] Values valuesAt(std::size_t index) const {
    const auto number = static_cast<std::uint32_t>(index);
    const Field field = fields_[number];
    if ((field & kApart) == 0) {
      return {this, valueBehind(number, field).text, kNone, kNone};
    }
    const Apart& apart = apart_[field & ~kApart];
    if ((apart.name & kElsewhere) == 0) {
      return {this, valueBehind(number, apart.name).text, kNone, apart.rest};
    }
    const std::uint32_t first = runs_[apart.rest].next;
    return {this, textAt(runs_[first].text), first, apart.rest};
  }

  // Adds `value` at the end of the array under `name`; both are copied.
  void append(std::string_view name, std::string_view value);

 private:
  friend class internal::HeaderBlockReader;

  // One field takes a few at most.
  static constexpr std::size_t kMostBlocks =
      (std::size_t{1} << (kPlaceBits - kOffsetBits)) - 16;

  void swap(HeaderTable& other) noexcept;

  // True when no further field fits.
  [[nodiscard]] bool isFull() const { return blocks_.size() >= kMostBlocks; }

  // Returns room for `size` bytes that lives as long as the table.
  char* take(std::size_t size) {
    if (size > room_.size) addBlock(size);
    char* const taken = room_.start;
    room_ = {taken + size, room_.size - size,
             room_.place + static_cast<Place>(size)};
    return taken;
  }
  char* takeAligned(std::size_t size);
  void addBlock(std::size_t size);

  // A text as the table keeps it.
  struct Stored {
    Place place;
    std::string_view text;
  };
  static constexpr std::size_t sizeOfPrefix(std::size_t size) {
    return size < kSharedValue ? 1 : 1 + sizeof(std::uint32_t);
  }
  // Gives out room for a text of `size` bytes, which the caller writes, at once
  // and with up to `spare` bytes of anything behind it. giveBackText() frees it
  // again, if nothing was taken since. A text that gets a block of its own,
  // because it is larger than others, must not leave any room in it: `spare` is
  // for texts of kMostWithSpare bytes.
  static constexpr std::size_t kMostWithSpare = 1000;
  char* takeText(std::size_t size, std::size_t spare, Place& place) {
    const std::size_t prefix = sizeOfPrefix(size);
    if (prefix + size + spare > room_.size) addBlock(prefix + size + spare);
    place = room_.place;
    char* const start = take(prefix + size);
    if (size < kSharedValue) {
      *start = static_cast<char>(size);
      return start + 1;
    }
    *start = static_cast<char>(kLongText);
    const auto longSize = static_cast<std::uint32_t>(size);
    std::memcpy(start + 1, &longSize, sizeof longSize);
    return start + 1 + sizeof longSize;
  }
  void giveBackText(std::size_t size) {
    const std::size_t taken = sizeOfPrefix(size) + size;
    room_ = {room_.start - taken, room_.size + taken,
             room_.place - static_cast<Place>(taken)};
  }
  Stored store(std::string_view text);
  // The empty text; behind a name it takes a byte, and nothing elsewhere.
  static constexpr Stored kEmpty = {0, {}};
  [[nodiscard]] std::string_view textAt(Place place) const {
    return place == kEmpty.place ? std::string_view() : textAt(bytesAt(place));
  }
  [[nodiscard]] const char* bytesAt(Place place) const {
    return blocks_[place >> kOffsetBits].get() + (place & kOffsetMask);
  }
  [[nodiscard]] static std::string_view textAt(const char* start) {
    const auto size = static_cast<std::uint8_t>(*start);
    if (size != kLongText) return {start + 1, size};
    std::uint32_t longSize;
    std::memcpy(&longSize, start + 1, sizeof longSize);
    return {start + 1 + sizeof longSize, longSize};
  }

  [[nodiscard]] bool hasLargeIndex() const { return !slots_.empty(); }
  // Returns the hash of a name that will be added soon, and asks for its place
  // in the index.
  [[nodiscard]] std::uint32_t expect(std::string_view name) const;

  // The value that stands behind the name of a field.
  [[nodiscard]] Stored valueBehind(std::uint32_t number, Place name) const;

  // A field as the table keeps it.
  struct StoredField {
    Stored name;
    Stored value;
    bool isTogether = false;  // by valueBehind()
  };
  // Adds a value under a name with that hash. With `nameIsNew`, the name was
  // stored last, and is freed if the name is known. A value that is not stored
  // yet is kNotStored and `text`.
  static constexpr Place kNotStored = kNone;
  StoredField add(Stored name, std::uint32_t hash, bool nameIsNew,
                  Stored value);
  // The same in two steps, between which other fields may be stored.
  StoredField storeField(Stored name, bool nameIsNew, Stored value);
  void addStored(const StoredField& field, std::uint32_t hash);
  void addNew(const StoredField& field, std::uint32_t hash);
  // Adds a value to a known field, and returns it as it is stored there.
  Stored addTo(std::uint32_t number, Stored value);
  // Returns `value` as it is stored, or `before` if that is the same text.
  Stored storeUnlessSame(Stored value, Stored before);

  // Returns the number of the field called `name`, or kNone.
  [[nodiscard]] std::uint32_t indexOf(std::string_view name) const;
  [[nodiscard]] std::uint32_t indexOf(std::string_view name,
                                      std::uint32_t hash) const;
  [[nodiscard]] std::size_t slotOf(std::uint32_t hash) const {
    return static_cast<std::size_t>(std::uint64_t{hash} * slots_.size() >> 32);
  }
  [[nodiscard]] unsigned bitsOfNumbers() const {
    return static_cast<unsigned>(std::bit_width(slots_.size()));
  }
  void addToSlots(std::uint32_t field, std::uint32_t hash);
  void growSlots();
  void addToIndex(std::uint32_t field, std::uint32_t hash);

  std::vector<std::unique_ptr<char[]>> blocks_;
  // The unused end of the last block.
  struct Room {
    char* start = nullptr;
    std::size_t size = 0;
    Place place = 0;  // of `start`
  };
  Room room_;
  Array<Run> runs_;
  Array<Apart> apart_;
  Array<Shared> shared_;
  Array<Field> fields_;
  // Open addressing over the numbers of the fields: for few fields those plus
  // one, 0 being free; else in slots_, kNone being free, where the bits that no
  // number needs hold the last ones of the name's hash. Its first ones give the
  // place.
  std::array<std::uint8_t, 64> smallSlots_{};
  std::vector<std::uint32_t> slots_;
};

}  // namespace quillhaven::mail

#endif  // QUILLHAVEN_MAIL_HEADER_TABLE_H_
