#include "quillhaven/system/argument_vector.h"

#include <cstdint>
#include <cstring>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::system {
namespace {

// Removes the path of the executable and the NULs behind it. Nothing is left
// when the buffer ends before the first argument begins.
std::string_view afterExecutablePath(std::string_view bytes) {
  const std::size_t pathEnd = bytes.find('\0');
  if (pathEnd == std::string_view::npos) return {};
  const std::size_t start = bytes.find_first_not_of('\0', pathEnd);
  return start == std::string_view::npos ? std::string_view()
                                         : bytes.substr(start);
}

}  // namespace

std::optional<std::vector<std::string>> parseArgumentVector(
    std::string_view buffer) {
  std::int32_t count = 0;
  if (buffer.size() < sizeof count) return std::nullopt;
  std::memcpy(&count, buffer.data(), sizeof count);
  if (count < 0) {
    platform::fatalError("an argument count must not be negative");
  }

  // The count is no reason to reserve: it may be any number.
  std::vector<std::string> arguments;
  std::string_view rest = afterExecutablePath(buffer.substr(sizeof count));
  for (std::int32_t i = 0; i < count; ++i) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    arguments.push_back(platform::repairedUTF8(rest.substr(0, end)));
    rest.remove_prefix(end + 1);
  }
  return arguments;
}

}  // namespace quillhaven::system
