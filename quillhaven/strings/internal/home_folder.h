// The user's home folder.
#ifndef QUILLHAVEN_STRINGS_INTERNAL_HOME_FOLDER_H_
#define QUILLHAVEN_STRINGS_INTERNAL_HOME_FOLDER_H_

#include <string>

namespace quillhaven::strings::internal {

// Returns $HOME where that is absolute, else the folder of the user database,
// without slashes at its end; empty for the root folder or without any.
[[nodiscard]] std::string homeFolder();

}  // namespace quillhaven::strings::internal

#endif  // QUILLHAVEN_STRINGS_INTERNAL_HOME_FOLDER_H_
