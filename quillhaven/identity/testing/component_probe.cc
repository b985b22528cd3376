// A component of the product for tests: tells what the library finds out about
// the process it runs in. Its arguments are done in order:
//   load PATH   loads a library and keeps its symbols to itself
//   main, current, defaults   prints a path
//   log         writes the version lines
#include <dlfcn.h>

#include <cstdio>
#include <string_view>

#include "quillhaven/identity/bundle_info.h"
#include "quillhaven/identity/product_defaults.h"

int main(int argc, char** argv) {
  using namespace quillhaven;
  for (int i = 1; i < argc; ++i) {
    const std::string_view task = argv[i];
    if (task == "load") {
      if (::dlopen(argv[++i], RTLD_NOW | RTLD_LOCAL) == nullptr) return 1;
    } else if (task == "main") {
      std::puts(platform::Bundle::mainBundle().bundlePath().c_str());
    } else if (task == "current") {
      std::puts(identity::currentBundle().bundlePath().c_str());
    } else if (task == "defaults") {
      std::puts(identity::currentUserDefaults().path().c_str());
    } else if (task == "log") {
      identity::logVersionInfo(identity::currentBundle());
    } else {
      return 2;
    }
    std::fflush(stdout);
  }
  return 0;
}
