// The header table of a message: lower-cased field names and, for each, the
// values of its occurrences in the order of the message.
#ifndef QUILLHAVEN_MAIL_HEADER_TABLE_H_
#define QUILLHAVEN_MAIL_HEADER_TABLE_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
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

// Owns its texts in a few large blocks, so that a field costs no allocation and
// a million of them little more than their bytes; equal values in a row are
// kept once. The string views it hands out live as long as the table, also when
// it moves or grows; `Values` only until it does. A table that nobody changes
// may be read by several threads.
class HeaderTable {
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;
  // Equal values of a field that follow one another, as one.
  struct Run {
    const char* text;
    std::uint32_t size;
    std::uint32_t count;
    std::uint32_t next;  // the next run of the same field, or kNone
    std::uint32_t last;  // in a field's second run: its last one
  };
  // An array whose elements stay where they are. Its memory comes from the
  // table's blocks, first for a few elements, at last for 1024 at a time.
  template <typename Element>
  class Array {
   public:
    [[nodiscard]] std::uint32_t size() const { return size_; }
    Element& operator[](std::uint32_t index) { return *at(index); }
    const Element& operator[](std::uint32_t index) const { return *at(index); }

    void push(HeaderTable& table, const Element& element) {
      const std::uint32_t place = size_ + kFirst;
      if (place >= kChunk) {
        if (place % kChunk == 0) large_.push_back(takeChunk(table, kChunk));
      } else if ((place & (place - 1)) == 0) {
        small_[smallChunk(place)] = takeChunk(table, place);
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
    static Element* takeChunk(HeaderTable& table, std::uint32_t count) {
      return reinterpret_cast<Element*>(
          table.takeAligned(count * sizeof(Element)));
    }
    [[nodiscard]] Element* at(std::uint32_t index) const {
      const std::uint32_t place = index + kFirst;
      if (place >= kChunk) return large_[place / kChunk - 1] + place % kChunk;
      return small_[smallChunk(place)] + (place - std::bit_floor(place));
    }

    std::array<Element*, 6> small_{};  // 16, 32, ... 512 elements
    std::vector<Element*> large_;
    std::uint32_t size_ = 0;
  };
  using Runs = Array<Run>;
  // A field with its first run, which most fields have no more than.
  struct Field {
    const char* name;
    const char* text;
    std::uint32_t nameSize;
    std::uint32_t size;   // of the text
    std::uint32_t count;  // in the first run
    std::uint32_t next;   // the second run, or kNone

    [[nodiscard]] Run first() const { return {text, size, count, next, kNone}; }
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

      std::string_view operator*() const { return {run_.text, run_.size}; }
      Iterator& operator++() {
        if (--run_.count == 0) {
          run_ = run_.next == kNone ? Run{} : (*runs_)[run_.next];
        }
        return *this;
      }
      bool operator==(const Iterator& other) const {
        return run_.count == other.run_.count && run_.next == other.run_.next;
      }
      bool operator!=(const Iterator& other) const { return !(*this == other); }

     private:
      friend class Values;
      Iterator(const Runs* runs, const Run& run) : runs_(runs), run_(run) {}
      const Runs* runs_;
      Run run_;  // with the count of values left in it; {} at the end
    };

    [[nodiscard]] Iterator begin() const { return {runs_, field_->first()}; }
    [[nodiscard]] Iterator end() const { return {runs_, Run{}}; }
    // Counts them, in time proportional to how often the value changes.
    [[nodiscard]] std::size_t size() const {
      std::size_t count = field_->count;
      for (std::uint32_t run = field_->next; run != kNone;
           run = (*runs_)[run].next) {
        count += (*runs_)[run].count;
      }
      return count;
    }
    [[nodiscard]] std::string_view front() const { return *begin(); }
    [[nodiscard]] std::string_view back() const {
      const Run last = field_->next == kNone
                           ? field_->first()
                           : (*runs_)[(*runs_)[field_->next].last];
      return {last.text, last.size};
    }

   private:
    friend class HeaderTable;
    Values(const Runs* runs, const Field* field) : runs_(runs), field_(field) {}
    const Runs* runs_;
    const Field* field_;
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
    const Field& field = fields_[static_cast<std::uint32_t>(index)];
    return {field.name, field.nameSize};
  }
  [[nodiscard]] Values valuesAt(std::size_t index) const {
    return {&runs_, &fields_[static_cast<std::uint32_t>(index)]};
  }

  // Adds `value` at the end of the array under `name`; both are copied.
  void append(std::string_view name, std::string_view value);

 private:
  friend class internal::HeaderBlockReader;

  void swap(HeaderTable& other) noexcept;

  // Returns room for `size` bytes that lives as long as the table; giveBack()
  // frees the unused end of the room given out last.
  char* take(std::size_t size) {
    if (size > room_.size) addBlock(size);
    char* const taken = room_.start;
    room_ = {taken + size, room_.size - size};
    return taken;
  }
  void giveBack(std::size_t size) {
    room_ = {room_.start - size, room_.size + size};
  }
  char* takeAligned(std::size_t size);
  void addBlock(std::size_t size);
  std::string_view store(std::string_view text);

  // A name and a value as the table keeps them.
  struct Stored {
    std::string_view name;
    std::string_view value;
  };
  // Returns the hash of a name that will be added soon.
  [[nodiscard]] std::uint32_t expect(std::string_view name) const;

  // Adds a value under a name with that hash. With `nameIsStored`, the name was
  // put into the room given out last, which is freed if the name is known; with
  // `valueIsStored`, the table holds the value's text already.
  Stored add(std::string_view name, std::uint32_t hash, bool nameIsStored,
             std::string_view value, bool valueIsStored);

  // Returns the number of the field called `name`, or kNone.
  [[nodiscard]] std::uint32_t indexOf(std::string_view name) const;
  [[nodiscard]] std::uint32_t indexOf(std::string_view name,
                                      std::uint32_t hash) const;
  void addToIndex(std::uint32_t field, std::uint32_t hash);

  std::vector<std::unique_ptr<char[]>> blocks_;
  // The unused end of the last block.
  struct Room {
    char* start = nullptr;
    std::size_t size = 0;
  };
  Room room_;
  Runs runs_;
  Array<Field> fields_;
  // Open addressing over the numbers of the fields: for few fields those plus
  // one, 0 being free; else in slots_, kNone being free, where the bits that no
  // number needs hold those of the name's hash.
  std::array<std::uint8_t, 64> smallSlots_{};
  std::vector<std::uint32_t> slots_;
};

}  // namespace quillhaven::mail

#endif  // QUILLHAVEN_MAIL_HEADER_TABLE_H_
