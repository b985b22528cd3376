#include "quillhaven/platform/process/internal/proc_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

namespace quillhaven::platform::internal {
namespace {

// The kernel lists about 2,000 processes or 10,000 descriptors into this.
constexpr std::size_t kListingSize = std::size_t{256} * 1024;

std::optional<std::int32_t> numberFrom(std::string_view name) {
  std::int32_t number = 0;
  const char* const end = name.data() + name.size();
  const auto read = std::from_chars(name.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number < 0) return {};
  return number;
}

// Appends the numbers among the entries that one call of getdents64 listed.
void appendNumbers(const char* listing, std::size_t size,
                   std::vector<std::int32_t>& numbers) {
  for (std::size_t at = 0; at < size;) {
    const char* const entry = listing + at;
    unsigned short length = 0;
    std::memcpy(&length, entry + offsetof(dirent64, d_reclen), sizeof length);
    const auto number = numberFrom(entry + offsetof(dirent64, d_name));
    if (number) numbers.push_back(*number);
    at += length;
  }
}

}  // namespace

NumberedPath::NumberedPath(std::int32_t number, std::string_view rest) {
  char* const end = bytes_.data() + bytes_.size();
  char* at = std::to_chars(bytes_.data(), end, number).ptr;
  if (!rest.empty()) {
    *at++ = '/';
    at = std::copy(rest.begin(), rest.end(), at);
  }
  *at = '\0';
}

UniqueFd openBelow(int folder, const char* path, int flags) {
  return UniqueFd(::openat(folder, path, O_RDONLY | O_CLOEXEC | flags));
}

std::string_view readStart(int folder, const char* path, char* buffer,
                           std::size_t size) {
  const UniqueFd file = openBelow(folder, path);
  if (!file.valid()) return {};
  ssize_t count;
  do {
    count = ::read(file.get(), buffer, size);
  } while (count < 0 && errno == EINTR);
  return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
}

std::optional<std::string> readWhole(int folder, const char* path) {
  constexpr std::size_t kLeastRoom = std::size_t{64} * 1024;
  const UniqueFd file = openBelow(folder, path);
  if (!file.valid()) return std::nullopt;
  std::string bytes;
  std::size_t used = 0;
  while (true) {
    if (bytes.size() - used < kLeastRoom) {
      bytes.resize(std::max(2 * bytes.size(), kLeastRoom));
    }
    const ssize_t count =
        ::read(file.get(), bytes.data() + used, bytes.size() - used);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    used += static_cast<std::size_t>(count);
  }
  bytes.resize(used);
  return bytes;
}

std::optional<std::vector<std::int32_t>> numbersIn(int folder) {
  // Not for its life on the stack: a host's threads may have little of it.
  const auto listing = std::make_unique_for_overwrite<char[]>(kListingSize);
  std::vector<std::int32_t> numbers;
  while (true) {
    const ssize_t count = ::getdents64(folder, listing.get(), kListingSize);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    appendNumbers(listing.get(), static_cast<std::size_t>(count), numbers);
  }
  // The kernel lists in this order; a folder made by hand has any.
  if (!std::is_sorted(numbers.begin(), numbers.end())) {
    std::sort(numbers.begin(), numbers.end());
  }
  return numbers;
}

std::string_view readLink(int folder, const char* path, char* buffer,
                          std::size_t size) {
  const ssize_t count = ::readlinkat(folder, path, buffer, size);
  return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
}

}  // namespace quillhaven::platform::internal
