// The executable and the libraries of this process.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_LOADED_LIBRARIES_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_LOADED_LIBRARIES_H_

#include <optional>
#include <string>
#include <vector>

namespace quillhaven::platform::internal {

// The paths of all libraries that are loaded now, in the order of loading, as
// the loader knows them. The executable is not among them.
std::vector<std::string> loadedLibraryPaths();

// The path of the library that defines `symbol`, or "/proc/self/exe" if the
// executable does. Looks into each on its own, so it finds what was loaded
// without making its symbols known to others.
std::optional<std::string> objectDefining(const char* symbol);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_LOADED_LIBRARIES_H_
