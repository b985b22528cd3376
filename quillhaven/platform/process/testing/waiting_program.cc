// A program for tests to look at: says that it runs, and ends when its standard
// input does.
#include <sys/prctl.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

int main(int argc, char** argv) {
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "--rename" && argc > 2) ::prctl(PR_SET_NAME, argv[2]);
  if (mode == "--overwrite-arguments") {
    // With the last NUL, as programs do that show a status there.
    const char* const end = argv[argc - 1] + std::strlen(argv[argc - 1]) + 1;
    std::memset(argv[0], 'x', static_cast<std::size_t>(end - argv[0]));
  }
  if (::write(STDOUT_FILENO, "r", 1) != 1) return 1;
  char byte;
  while (::read(STDIN_FILENO, &byte, 1) > 0) {
  }
  return 0;
}
