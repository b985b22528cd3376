// Finds the messages that a command line names (files, folders, lists of paths)
// one after the other, and reads them.
#ifndef QUILLHAVEN_CLI_INPUT_SOURCES_H_
#define QUILLHAVEN_CLI_INPUT_SOURCES_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::cli {

// As a path: standard input.
inline constexpr std::string_view kStandardInputPath = "-";

// One message to read, or a reason why there is none.
struct Input {
  enum class Kind {
    kFile,
    kStandardInput,
    kProblem,       // a message that cannot be read
    kOtherProblem,  // a folder or list that cannot be read
  };
  Kind kind = Kind::kFile;
  std::string path;     // as named, for folders with what follows inside
  std::string problem;  // of a problem: its reason, for people
};

// How people know the input: its path, or "standard input".
[[nodiscard]] std::string_view displayName(const Input& input);

// Reads a list of paths, each ended by a separator, piece by piece. One thread
// at a time.
class PathList {
 public:
  // Longer entries are no paths; most likely the separator is not the one
  // meant.
  static constexpr std::size_t kMaximumEntrySize = std::size_t{64} * 1024;

  // `path` is a file or "-".
  PathList(std::string path, char separator);

  // Returns the next entry that is not empty, or nothing at the end. Its path
  // is not examined; an entry or list that cannot be read is a problem.
  std::optional<Input> next();

 private:
  std::optional<Input> entry(std::string path);

  std::string path_;
  char separator_;
  platform::UniqueFd owned_;
  int fd_ = -1;
  std::string buffer_;
  std::size_t at_ = 0;
  std::string problem_;  // not empty: to be told once
  bool ended_ = false;
};

// Walks the tree under a folder in the order of the names in each folder, byte
// by byte. Takes regular files and links to them, leaves out names with a
// leading dot, follows no link to a folder. Holds the names of one folder a
// level. One thread at a time.
class FolderWalk {
 public:
  explicit FolderWalk(std::string path);

  // Returns the next file or problem, or nothing at the end. A tree without any
  // file is a problem.
  std::optional<Input> next();

 private:
  struct Entry {
    std::string name;
    bool isFolder;
  };
  struct Level {
    std::string prefix;  // path of the folder with "/" at its end
    std::vector<Entry> entries;
    std::size_t at;
  };

  std::optional<Input> enter(std::string path);

  std::string path_;
  std::vector<Level> levels_;
  bool entered_ = false;
  bool isEmpty_ = true;
};

// Everything that a command line names: first its paths, then those of a list.
// A path is a file, a folder to walk or "-". One thread at a time.
class InputSources {
 public:
  explicit InputSources(std::vector<std::string> paths,
                        std::optional<PathList> list = std::nullopt,
                        bool listIsStandardInput = false);

  // Returns the next input, or nothing once there are no more.
  std::optional<Input> next();

  // The number of inputs when it is known without walking or reading.
  [[nodiscard]] std::optional<std::size_t> count() const;

 private:
  std::optional<Input> nextNamed();

  std::vector<std::string> paths_;
  std::size_t at_ = 0;
  std::optional<PathList> list_;
  bool listIsStandardInput_;
  std::optional<FolderWalk> walk_;
};

// Reads whole inputs into a buffer that the next input uses again. A step
// returns why it failed, for people, or nothing. One thread at a time.
class WholeReader {
 public:
  // Opens a file or standard input; `input` is not a problem.
  std::optional<std::string> open(const Input& input);

  // The size of an opened file in bytes; 0 where it is not known before
  // reading.
  [[nodiscard]] std::size_t expectedSize() const { return expectedSize_; }

  // Reads all that is left and closes. Fails at `maximum` bytes or more.
  std::optional<std::string> read(std::size_t maximum);

  // What was read; valid until the next call of another operation.
  [[nodiscard]] std::string_view bytes() const {
    return std::string_view(buffer_).substr(0, size_);
  }

  // Gives back the buffer if it is unusually large.
  void shrink();

 private:
  platform::UniqueFd owned_;
  int fd_ = -1;
  std::size_t expectedSize_ = 0;
  bool isRegular_ = false;
  std::string buffer_;  // its size is the room for reading
  std::size_t size_ = 0;
};

// Reads up to `size` bytes, waiting for the first; returns their number, 0 at
// the end, or nothing with errno set.
std::optional<std::size_t> readSome(int fd, char* bytes, std::size_t size);

// Returns the text for people of an errno.
[[nodiscard]] std::string errorText(int error);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_INPUT_SOURCES_H_
