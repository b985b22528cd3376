#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {

std::string_view withoutStoreLine(std::string_view message) {
  const std::size_t end = message.find('\n');
  if (end == std::string_view::npos) return message;
  const std::string_view line = message.substr(0, end);
  const bool isLength =
      line.find_first_not_of("0123456789 \t\r") == std::string_view::npos &&
      line.find_first_of("0123456789") != std::string_view::npos;
  if (!isLength && !line.starts_with("From ")) return message;
  return message.substr(end + 1);
}

}  // namespace quillhaven::benchmarks
