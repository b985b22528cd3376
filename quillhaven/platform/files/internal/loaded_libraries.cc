#include "quillhaven/platform/files/internal/loaded_libraries.h"

#include <dlfcn.h>
#include <link.h>

#include <memory>

namespace quillhaven::platform::internal {
namespace {

constexpr char kExecutable[] = "/proc/self/exe";

struct CloseLibrary {
  void operator()(void* handle) const { ::dlclose(handle); }
};
using LibraryPtr = std::unique_ptr<void, CloseLibrary>;

// The base address of the object that holds `address`.
void* baseAround(const void* address) {
  Dl_info info{};
  return ::dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

// A handle finds the symbols of what its library depends on as well, so whose
// symbol it is remains to be asked.
bool defines(void* handle, const char* symbol) {
  const void* const found = ::dlsym(handle, symbol);
  link_map* map = nullptr;
  return found != nullptr && ::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 &&
         map->l_ld != nullptr && baseAround(found) == baseAround(map->l_ld);
}

}  // namespace

std::vector<std::string> loadedLibraryPaths() {
  std::vector<std::string> paths;
  ::dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* collected) {
        const std::string path = info->dlpi_name;
        if (!path.empty()) {
          static_cast<std::vector<std::string>*>(collected)->push_back(path);
        }
        return 0;
      },
      &paths);
  return paths;
}

std::optional<std::string> objectDefining(const char* symbol) {
  const LibraryPtr executable(::dlopen(nullptr, RTLD_LAZY));
  if (executable && defines(executable.get(), symbol)) return kExecutable;
  for (std::string& path : loadedLibraryPaths()) {
    const LibraryPtr library(::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD));
    if (library && defines(library.get(), symbol)) return std::move(path);
  }
  return std::nullopt;
}

}  // namespace quillhaven::platform::internal
