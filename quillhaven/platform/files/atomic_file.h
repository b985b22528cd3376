// Replaces and makes files so that readers, and a machine that stops, see the
// old or the new bytes and nothing between.
#ifndef QUILLHAVEN_PLATFORM_FILES_ATOMIC_FILE_H_
#define QUILLHAVEN_PLATFORM_FILES_ATOMIC_FILE_H_

#include <string>
#include <string_view>

namespace quillhaven::platform {

// Makes `bytes` the contents of the file at `path`: writes a temporary file
// ".NAME.XXXXXX" in the same folder, which must exist, with the rights of its
// owner only, brings it to the disk, renames it and brings the folder to the
// disk. A file that is there keeps its rights and, where allowed, its owner; a
// new one gets `mode`. A link to a file stays one. Throws std::system_error,
// and then the file is as it was, but for a disk that refuses the very last
// step; a process that is killed may leave the temporary file behind.
// Thread-safe; of two writers at once one wins.
void writeFileAtomically(const std::string& path, std::string_view bytes,
                         unsigned mode = 0600);

// Makes such a file where nothing is, and returns true; false, without a
// change, when something is there already, be it a link that leads nowhere. Of
// two callers at once exactly one gets true. Throws std::system_error.
// Thread-safe.
[[nodiscard]] bool createFileAtomically(const std::string& path,
                                        std::string_view bytes,
                                        unsigned mode = 0600);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_ATOMIC_FILE_H_
