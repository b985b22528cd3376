// Bytes that arrive piece by piece and can be very many.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_DATA_H_
#define QUILLHAVEN_PLATFORM_PROCESS_DATA_H_

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace quillhaven::platform {

// A buffer of bytes in one piece. A large one grows without being copied, which
// a std::string cannot do: fetching a gigabyte of memory from the system takes
// as long as reading that much from a pipe. One thread at a time.
class Data {
 public:
  Data() = default;
  explicit Data(std::string_view bytes) { append(bytes); }
  Data(Data&& other) noexcept
      : start_(std::move(other.start_)),
        size_(std::exchange(other.size_, 0)),
        capacity_(std::exchange(other.capacity_, 0)) {}
  Data& operator=(Data&& other) noexcept {
    start_ = std::move(other.start_);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
    return *this;
  }

  // The bytes; they live until the buffer changes or ends.
  [[nodiscard]] std::string_view bytes() const { return {start_.get(), size_}; }
  [[nodiscard]] std::string string() const { return std::string(bytes()); }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }

  // Appends `bytes`, which lie outside this buffer; throws std::bad_alloc.
  void append(std::string_view bytes);

  friend bool operator==(const Data& a, std::string_view b) {
    return a.bytes() == b;
  }
  friend std::ostream& operator<<(std::ostream& stream, const Data& data) {
    return stream << data.bytes();
  }

 private:
  struct Free {
    void operator()(char* start) const { std::free(start); }
  };

  std::unique_ptr<char, Free> start_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_DATA_H_
