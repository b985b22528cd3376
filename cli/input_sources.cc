#include "cli/input_sources.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace quillhaven::cli {
namespace {

constexpr std::size_t kPieceSize = std::size_t{64} * 1024;
constexpr std::size_t kKeptBufferSize = std::size_t{16} * 1024 * 1024;

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, FolderCloser>;

Input problem(std::string path, std::string reason) {
  return {Input::Kind::kProblem, std::move(path), std::move(reason)};
}

Input otherProblem(std::string path, std::string reason) {
  return {Input::Kind::kOtherProblem, std::move(path), std::move(reason)};
}

// What an entry of a folder is; links count as what they lead to, except that
// one to a folder is nothing.
enum class EntryKind { kFile, kFolder, kOther };

EntryKind entryKind(int folder, const dirent& entry) {
  if (entry.d_type == DT_REG) return EntryKind::kFile;
  if (entry.d_type == DT_DIR) return EntryKind::kFolder;
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) {
    return EntryKind::kOther;
  }
  struct stat status;
  if (::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return EntryKind::kOther;
  }
  if (S_ISDIR(status.st_mode)) return EntryKind::kFolder;
  if (S_ISLNK(status.st_mode) &&
      ::fstatat(folder, entry.d_name, &status, 0) != 0) {
    return EntryKind::kOther;
  }
  return S_ISREG(status.st_mode) ? EntryKind::kFile : EntryKind::kOther;
}

bool isFolder(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string errorText(int error) {
  // In English like all diagnostics, whatever language the program speaks.
  const char* const text = ::strerrordesc_np(error);
  return text != nullptr ? text : std::generic_category().message(error);
}

std::optional<std::size_t> readSome(int fd, char* bytes, std::size_t size) {
  while (true) {
    const ssize_t count = ::read(fd, bytes, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EAGAIN) {  // another program made the stream non-blocking
      pollfd waiting{fd, POLLIN, 0};
      ::poll(&waiting, 1, -1);
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

std::string_view displayName(const Input& input) {
  if (input.kind == Input::Kind::kStandardInput) return "standard input";
  return input.path;
}

PathList::PathList(std::string path, char separator)
    : path_(std::move(path)), separator_(separator) {
  if (path_ == kStandardInputPath) {
    path_ = "standard input";
    fd_ = STDIN_FILENO;
    return;
  }
  owned_.reset(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  fd_ = owned_.get();
  if (fd_ < 0) problem_ = errorText(errno);
}

std::optional<Input> PathList::next() {
  bool tooLong = false;  // the entry being read; its bytes are dropped
  std::size_t searched = at_;
  while (problem_.empty()) {
    const std::size_t end = buffer_.find(separator_, searched);
    if (end != std::string::npos || ended_) {
      if (end == std::string::npos && at_ == buffer_.size() && !tooLong) break;
      const std::size_t size = std::min(end, buffer_.size()) - at_;
      std::string path = buffer_.substr(at_, size);
      at_ = searched = std::min(buffer_.size(), at_ + size + 1);
      if (tooLong || path.size() > kMaximumEntrySize) {
        return otherProblem(path_, "an entry is too long to be a path");
      }
      if (!path.empty()) return entry(std::move(path));
      continue;
    }

    buffer_.erase(0, at_);
    at_ = 0;
    if (buffer_.size() > kMaximumEntrySize) {
      tooLong = true;
      buffer_.clear();
    }
    searched = buffer_.size();
    buffer_.resize(searched + kPieceSize);
    const auto count = readSome(fd_, buffer_.data() + searched, kPieceSize);
    if (!count) problem_ = errorText(errno);
    buffer_.resize(searched + count.value_or(0));
    ended_ = count.value_or(0) == 0;
  }
  if (problem_.empty()) return std::nullopt;
  ended_ = true;
  buffer_.clear();
  at_ = 0;
  return otherProblem(path_, std::exchange(problem_, {}));
}

// No file has a NUL in its name; a list that has was written for -0.
std::optional<Input> PathList::entry(std::string path) {
  if (path.find('\0') == std::string::npos) {
    return Input{Input::Kind::kFile, std::move(path), {}};
  }
  return otherProblem(path_,
                      "an entry holds a NUL character; give -0 for a list "
                      "whose entries end in NUL");
}

FolderWalk::FolderWalk(std::string path) : path_(std::move(path)) {}

std::optional<Input> FolderWalk::next() {
  if (!std::exchange(entered_, true)) {
    if (auto failure = enter(path_)) return failure;
  }
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.at == level.entries.size()) {
      levels_.pop_back();
      continue;
    }
    const Entry& entry = level.entries[level.at++];
    std::string path = level.prefix + entry.name;
    if (!entry.isFolder) {
      isEmpty_ = false;
      return Input{Input::Kind::kFile, std::move(path), {}};
    }
    if (auto failure = enter(std::move(path))) return failure;
  }
  if (!std::exchange(isEmpty_, false)) return std::nullopt;
  return otherProblem(path_, "no messages in this directory");
}

// Lists the folder at `path` as the level to go on with.
std::optional<Input> FolderWalk::enter(std::string path) {
  const FolderPtr folder(::opendir(path.c_str()));
  if (!folder) {
    isEmpty_ = false;  // one reason is enough
    return otherProblem(std::move(path), errorText(errno));
  }
  Level level{path.ends_with('/') ? path : path + "/", {}, 0};
  errno = 0;
  while (const dirent* entry = ::readdir(folder.get())) {
    if (entry->d_name[0] == '.') continue;
    const EntryKind kind = entryKind(::dirfd(folder.get()), *entry);
    if (kind == EntryKind::kOther) continue;
    level.entries.push_back({entry->d_name, kind == EntryKind::kFolder});
    errno = 0;
  }
  const int error = errno;
  std::sort(level.entries.begin(), level.entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  levels_.push_back(std::move(level));
  if (error == 0) return std::nullopt;
  return otherProblem(std::move(path), errorText(error));
}

InputSources::InputSources(std::vector<std::string> paths,
                           std::optional<PathList> list,
                           bool listIsStandardInput)
    : paths_(std::move(paths)),
      list_(std::move(list)),
      listIsStandardInput_(listIsStandardInput) {}

std::optional<Input> InputSources::next() {
  while (true) {
    if (walk_) {
      if (auto input = walk_->next()) return input;
      walk_.reset();
    }
    std::optional<Input> input = nextNamed();
    if (!input || input->kind != Input::Kind::kFile) return input;
    if (input->path == kStandardInputPath) {
      if (listIsStandardInput_) {
        return problem(std::move(input->path),
                       "standard input is the list of paths");
      }
      input->kind = Input::Kind::kStandardInput;
      return input;
    }
    if (!isFolder(input->path)) return input;
    walk_.emplace(std::move(input->path));
  }
}

std::optional<Input> InputSources::nextNamed() {
  if (at_ < paths_.size()) {
    return Input{Input::Kind::kFile, std::move(paths_[at_++]), {}};
  }
  return list_ ? list_->next() : std::nullopt;
}

std::optional<std::size_t> InputSources::count() const {
  if (list_ || std::any_of(paths_.begin(), paths_.end(), isFolder)) {
    return std::nullopt;
  }
  return paths_.size();
}

std::optional<std::string> WholeReader::open(const Input& input) {
  size_ = 0;
  if (input.kind == Input::Kind::kStandardInput) {
    owned_.reset();
    fd_ = STDIN_FILENO;
  } else {
    owned_.reset(::open(input.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    fd_ = owned_.get();
    if (fd_ < 0) return errorText(errno);
  }
  struct stat status;
  if (::fstat(fd_, &status) != 0) return errorText(errno);
  isRegular_ = S_ISREG(status.st_mode);
  expectedSize_ = isRegular_ ? static_cast<std::size_t>(status.st_size) : 0;
  return std::nullopt;
}

std::optional<std::string> WholeReader::read(std::size_t maximum) {
  std::optional<std::string> failure;
  const auto tooLarge = [maximum] {
    return "too large (" + std::to_string(maximum) + " bytes or more)";
  };
  if (expectedSize_ >= maximum) failure = tooLarge();
  while (!failure) {
    const std::size_t room = std::max(expectedSize_, size_ + kPieceSize);
    if (buffer_.size() < room) {
      buffer_.resize(std::max(room, expectedSize_ == 0 ? 2 * size_ : 0));
    }
    const auto count =
        readSome(fd_, buffer_.data() + size_, buffer_.size() - size_);
    if (!count) {
      failure = errorText(errno);
      break;
    }
    size_ += *count;
    if (size_ >= maximum) failure = tooLarge();
    if (*count == 0 || (isRegular_ && size_ == expectedSize_)) break;
  }
  owned_.reset();
  fd_ = -1;
  return failure;
}

void WholeReader::shrink() {
  if (buffer_.size() <= kKeptBufferSize) return;
  std::string().swap(buffer_);
  size_ = 0;
}

}  // namespace quillhaven::cli
