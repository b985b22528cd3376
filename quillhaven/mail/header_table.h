// The header table of a message: lower-cased field names and, for each, the
// values of its occurrences in the order of the message.
#ifndef QUILLHAVEN_MAIL_HEADER_TABLE_H_
#define QUILLHAVEN_MAIL_HEADER_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace quillhaven::mail {

namespace internal {
class HeaderBlockReader;
}

// Owns its texts in a few large blocks, so that a field costs no allocation and
// a million of them little more than their bytes. The string views it hands out
// live as long as the table, also when it moves or grows; `Values` only until
// it does. A table that nobody changes may be read by several threads.
class HeaderTable {
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;
  struct Entry {
    const char* text;
    std::uint32_t size;
    std::uint32_t next;  // the next entry of the same field, or kNone
  };
  using Entries = std::deque<Entry>;
  struct Field {
    const char* name;
    std::uint32_t nameSize;
    std::uint32_t first;  // entries
    std::uint32_t last;
    std::uint32_t count;
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

      std::string_view operator*() const {
        return {(*entries_)[at_].text, (*entries_)[at_].size};
      }
      Iterator& operator++() {
        at_ = (*entries_)[at_].next;
        return *this;
      }
      bool operator==(const Iterator& other) const { return at_ == other.at_; }
      bool operator!=(const Iterator& other) const { return at_ != other.at_; }

     private:
      friend class Values;
      Iterator(const Entries* entries, std::uint32_t at)
          : entries_(entries), at_(at) {}
      const Entries* entries_;
      std::uint32_t at_;
    };

    [[nodiscard]] Iterator begin() const { return {entries_, field_->first}; }
    [[nodiscard]] Iterator end() const { return {entries_, kNone}; }
    [[nodiscard]] std::size_t size() const { return field_->count; }
    [[nodiscard]] std::string_view front() const { return *begin(); }
    [[nodiscard]] std::string_view back() const {
      return *Iterator(entries_, field_->last);
    }

   private:
    friend class HeaderTable;
    Values(const Entries* entries, const Field* field)
        : entries_(entries), field_(field) {}
    const Entries* entries_;
    const Field* field_;
  };

  HeaderTable() = default;
  HeaderTable(const HeaderTable& other);
  HeaderTable& operator=(const HeaderTable& other);
  HeaderTable(HeaderTable&&) noexcept = default;
  HeaderTable& operator=(HeaderTable&&) noexcept = default;
  ~HeaderTable() = default;

  // Returns the values stored under exactly `name`, or nothing. Names are
  // lower-cased in the table; this call does not lower-case its argument.
  [[nodiscard]] std::optional<Values> find(std::string_view name) const;

  // The distinct names, numbered from 0 in the order of their first occurrence.
  [[nodiscard]] std::size_t size() const { return fields_.size(); }
  [[nodiscard]] bool empty() const { return fields_.empty(); }
  [[nodiscard]] std::string_view nameAt(std::size_t index) const {
    return {fields_[index].name, fields_[index].nameSize};
  }
  [[nodiscard]] Values valuesAt(std::size_t index) const {
    return {&entries_, &fields_[index]};
  }

  // Adds `value` at the end of the array under `name`; both are copied.
  void append(std::string_view name, std::string_view value);

 private:
  friend class internal::HeaderBlockReader;

  // Returns room for `size` bytes that lives as long as the table; giveBack()
  // frees the unused end of the room given out last.
  char* take(std::size_t size);
  void giveBack(std::size_t size);
  std::string_view store(std::string_view text);

  // Adds a value that store() or take() holds already, and returns the name as
  // the table keeps it. With `nameIsStored`, the name was put into the room
  // given out last, which is freed if the name is known.
  std::string_view appendStored(std::string_view name, bool nameIsStored,
                                std::string_view storedValue);

  // Returns the number of the field called `name`, or kNone.
  [[nodiscard]] std::uint32_t indexOf(std::string_view name) const;
  void addToIndex(std::uint32_t field);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* room_ = nullptr;  // unused end of the last block
  std::size_t roomSize_ = 0;
  std::size_t nextBlockSize_ = 2048;
  Entries entries_;
  std::deque<Field> fields_;
  std::vector<std::uint32_t> slots_;  // open addressing; empty for few fields
};

}  // namespace quillhaven::mail

#endif  // QUILLHAVEN_MAIL_HEADER_TABLE_H_
