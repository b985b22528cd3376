// A child for tests: does what its first argument says.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <thread>

namespace {

// Lists the open descriptors.
void listOpen() {
  std::string text;
  for (int fd = 0; fd < 1024; ++fd) {
    if (::fcntl(fd, F_GETFD) >= 0) text += std::to_string(fd) + " ";
  }
  std::puts(text.c_str());
}

// Fills both streams at once, each with the letter of its own.
void writeBoth(std::size_t size) {
  const auto fill = [size](int fd, char letter) {
    const std::string piece(std::size_t{1} << 16, letter);
    for (std::size_t left = size; left > 0;) {
      const std::size_t wanted = left < piece.size() ? left : piece.size();
      const ssize_t written = ::write(fd, piece.data(), wanted);
      if (written <= 0) return;
      left -= static_cast<std::size_t>(written);
    }
  };
  std::thread output(fill, STDOUT_FILENO, 'o');
  fill(STDERR_FILENO, 'e');
  output.join();
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view wanted = count > 1 ? arguments[1] : "";
  if (wanted == "open") {
    listOpen();
  } else if (wanted == "both" && count == 3) {
    writeBoth(std::stoul(arguments[2]));
  } else {
    return 99;
  }
}
