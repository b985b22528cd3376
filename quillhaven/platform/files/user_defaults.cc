#include "quillhaven/platform/files/user_defaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/atomic_file.h"
#include "quillhaven/platform/files/bundle.h"
#include "quillhaven/platform/files/folders.h"
#include "quillhaven/platform/files/internal/file_reading.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kEnding = ".plist";
constexpr std::string_view kFolderName = "/quillhaven";
// Leaves room in a file name for the endings of temporary and other files.
constexpr std::size_t kMaximumNameSize = 200;

const Logger& logger() {
  static const Logger instance("com.quillhaven.QuillhavenUtilities",
                               "UserDefaults");
  return instance;
}

[[noreturn]] void fail(int error, const std::string& path) {
  throw std::system_error(error, std::generic_category(), path);
}

bool isFileName(std::string_view name) {
  return !name.empty() && name.size() <= kMaximumNameSize &&
         !name.starts_with('.') &&
         name.find_first_of(std::string_view("/\0", 2)) ==
             std::string_view::npos;
}

bool equal(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev;
}

bool isLink(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

// True when an open file is as it was: not replaced or removed, which takes a
// link from it, not renamed, which gives it a new time of change, not written.
bool isUnchanged(const struct stat& now, const struct stat& before) {
  return now.st_nlink == before.st_nlink && now.st_size == before.st_size &&
         equal(now.st_mtim, before.st_mtim) &&
         equal(now.st_ctim, before.st_ctim);
}

bool isTrueText(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return false;
  text.remove_prefix(start);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  const std::size_t end = text.find_first_not_of('0');
  return end != std::string_view::npos &&
         std::string_view("YyTt123456789").find(text[end]) !=
             std::string_view::npos;
}

bool isTrue(const PropertyList& value) {
  return std::visit(
      [](const auto& held) {
        using Type = std::decay_t<decltype(held)>;
        if constexpr (std::is_arithmetic_v<Type>) {
          return held != Type{};
        } else if constexpr (std::is_same_v<Type, std::string>) {
          return isTrueText(held);
        } else {
          return false;
        }
      },
      value.value());
}

// Holds the lock between processes, and between threads as well: each opens the
// file anew.
class ChangeLock {
 public:
  explicit ChangeLock(const std::string& path)
      : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                   0600)) {
    if (!fd_.valid()) fail(errno, path);
    while (::flock(fd_.get(), LOCK_EX) != 0) {
      if (errno != EINTR) fail(errno, path);
    }
  }

 private:
  UniqueFd fd_;  // closing it lets go
};

}  // namespace

class UserDefaults::Suite {
 public:
  Suite(std::string_view name, const std::string& folder) {
    if (folder.empty()) return;
    path_ = folder;
    path_.append("/").append(name).append(kEnding);
    lockPath_ = folder;
    lockPath_.append("/").append(name).append(".lock");
  }

  const std::string& path() const { return path_; }

  // Returns what `read` makes of the value, which is null if there is none.
  template <typename Read>
  auto withValue(std::string_view key, const Read& read) {
    const std::lock_guard guard(lock_);
    refresh();
    const auto found = values_.find(key);
    return read(found == values_.end() ? nullptr : &found->second);
  }

  PropertyList::Dictionary values() {
    const std::lock_guard guard(lock_);
    refresh();
    return values_;
  }

  // The errno of a file that is there and may not be read, else 0.
  int error() {
    const std::lock_guard guard(lock_);
    refresh();
    return error_;
  }

  void change(const std::function<void(PropertyList::Dictionary&)>& change);

 private:
  void refresh();
  void reload();
  bool openCurrent();
  [[nodiscard]] bool isAtPath() const;
  void readOpened();
  void keepDamagedAside() const;

  std::string path_;
  std::string lockPath_;
  std::mutex lock_;
  // All guarded by lock_.
  UniqueFd fd_;            // the file that values_ come from
  struct stat status_ {};  // of it when it was read
  bool isBehindLink_ = false;
  PropertyList::Dictionary values_;
  int error_ = 0;
  bool isDamaged_ = false;
  struct stat reported_ {};  // of the last file that was reported as damaged
};

void UserDefaults::Suite::refresh() {
  struct stat now {};
  const bool isCurrent = fd_.valid() && ::fstat(fd_.get(), &now) == 0 &&
                         isUnchanged(now, status_) &&
                         (!isBehindLink_ || isAtPath());
  if (!isCurrent) reload();
}

void UserDefaults::Suite::reload() {
  values_.clear();
  isDamaged_ = false;
  const int before = std::exchange(error_, 0);
  // A file that is replaced all the time is as good as any of its versions.
  constexpr int kMaximumAttempts = 100;
  for (int i = 0; i < kMaximumAttempts && !openCurrent(); ++i) {
  }
  if (fd_.valid()) {
    readOpened();
  } else if (error_ != 0 && error_ != before) {
    logger().log(LogType::kError,
                 "Cannot read \"" + path_ + "\": " + std::strerror(error_));
  }
}

// Opens the file at the path; false when another took its place meanwhile,
// whose change would go unseen.
bool UserDefaults::Suite::openCurrent() {
  fd_.reset();
  if (path_.empty()) return true;
  error_ = internal::openRegularFile(path_, fd_);
  if (error_ == ENOENT) error_ = 0;
  if (error_ != 0) fd_.reset();
  if (!fd_.valid()) return true;
  // A link may come to lead to another file, of which this one tells nothing.
  isBehindLink_ = isLink(path_);
  return ::fstat(fd_.get(), &status_) == 0 && isAtPath();
}

bool UserDefaults::Suite::isAtPath() const {
  struct stat atPath {};
  return ::stat(path_.c_str(), &atPath) == 0 && isSameFile(atPath, status_);
}

void UserDefaults::Suite::readOpened() {
  std::string bytes;
  const int error =
      internal::readWhole(fd_.get(), kMaximumPropertyListSize, bytes);
  if (error != 0 && error != EFBIG) {
    error_ = error;
    fd_.reset();
    return;
  }
  auto propertyList =
      error == 0 ? propertyListFromBytes(bytes) : std::optional<PropertyList>();
  auto* const dictionary =
      propertyList
          ? std::get_if<PropertyList::Dictionary>(&propertyList->value())
          : nullptr;
  if (dictionary != nullptr) {
    values_ = std::move(*dictionary);
    return;
  }
  isDamaged_ = true;
  if (isSameFile(status_, reported_) && isUnchanged(status_, reported_)) return;
  reported_ = status_;
  logger().log(LogType::kError,
               "\"" + path_ + "\" holds no property list of defaults");
}

// Links the damaged file under a name that is free, so that replacing it takes
// only its old name. Behind a link, that is beside the file it leads to.
void UserDefaults::Suite::keepDamagedAside() const {
  std::error_code error;
  const std::string path = std::filesystem::canonical(path_, error).string();
  if (error) fail(error.value(), path_);
  const std::string base = path + ".damaged";
  std::string aside = base;
  for (int number = 2; ::link(path.c_str(), aside.c_str()) != 0; ++number) {
    if (errno != EEXIST) fail(errno, path);
    aside = base + "-" + std::to_string(number);
  }
  logger().log(LogType::kError,
               "Kept the damaged \"" + path_ + "\" as \"" + aside + "\"");
}

void UserDefaults::Suite::change(
    const std::function<void(PropertyList::Dictionary&)>& change) {
  if (path_.empty()) fail(ENOENT, "user defaults");
  const std::string folder = path_.substr(0, path_.find_last_of('/'));
  if (const int error = makeFolder(folder)) fail(error, folder);
  const ChangeLock changeLock(lockPath_);
  PropertyList::Dictionary values;
  bool isDamaged = false;
  {
    const std::lock_guard guard(lock_);
    // Not what a look at the open file takes for current: with the folder
    // around it replaced, its values would take the place of the new ones.
    reload();
    if (error_ != 0) fail(error_, path_);
    values = values_;
    isDamaged = isDamaged_;
  }
  const PropertyList::Dictionary before = values;
  change(values);
  if (values == before) return;

  const auto xml = xmlFromPropertyList(std::move(values));
  if (!xml) fail(EFBIG, path_);
  if (!isValidUTF8(*xml)) fail(EILSEQ, path_);
  if (isDamaged) keepDamagedAside();
  writeFileAtomically(path_, *xml);
}

UserDefaults& UserDefaults::standard() {
  static UserDefaults& instance =
      *std::make_unique<UserDefaults>([] {
         const Bundle& bundle = Bundle::mainBundle();
         std::string name(bundle.bundleIdentifier().value_or(""));
         if (!isFileName(name)) {
           name = std::filesystem::path(Bundle::executablePath()).filename();
         }
         std::string folder = configurationFolder();
         if (!folder.empty()) folder.append(kFolderName);
         return UserDefaults(name, folder);
       }())
           .release();
  return instance;
}

std::optional<UserDefaults> UserDefaults::suite(std::string_view name) {
  const std::string folder = configurationFolder();
  if (folder.empty() || !isFileName(name)) return std::nullopt;
  UserDefaults defaults(name, folder + std::string(kFolderName));
  if (defaults.suite_->error() != 0) return std::nullopt;
  return defaults;
}

UserDefaults::UserDefaults(std::string_view name, const std::string& folder)
    : suite_(std::make_shared<Suite>(name, folder)) {}

const std::string& UserDefaults::path() const { return suite_->path(); }

std::optional<PropertyList> UserDefaults::object(std::string_view key) const {
  return suite_->withValue(key, [](const PropertyList* value) {
    return value != nullptr ? std::optional(*value) : std::nullopt;
  });
}

bool UserDefaults::boolForKey(std::string_view key) const {
  return suite_->withValue(key, [](const PropertyList* value) {
    return value != nullptr && isTrue(*value);
  });
}

std::optional<std::int64_t> UserDefaults::integerForKey(
    std::string_view key) const {
  return suite_->withValue(key, [](const PropertyList* value) {
    return value != nullptr ? value->integer() : std::nullopt;
  });
}

std::optional<double> UserDefaults::doubleForKey(std::string_view key) const {
  return suite_->withValue(key, [](const PropertyList* value) {
    return value != nullptr ? value->real() : std::nullopt;
  });
}

std::optional<std::string> UserDefaults::stringForKey(
    std::string_view key) const {
  return suite_->withValue(
      key, [](const PropertyList* value) -> std::optional<std::string> {
        if (value == nullptr || !value->string()) return std::nullopt;
        return std::string(*value->string());
      });
}

std::optional<std::string> UserDefaults::dataForKey(
    std::string_view key) const {
  return suite_->withValue(
      key, [](const PropertyList* value) -> std::optional<std::string> {
        if (value == nullptr || value->data() == nullptr) return std::nullopt;
        return value->data()->bytes;
      });
}

PropertyList::Dictionary UserDefaults::dictionaryRepresentation() const {
  return suite_->values();
}

void UserDefaults::set(std::string_view key, PropertyList value) {
  update([&](PropertyList::Dictionary& values) {
    values.insert_or_assign(std::string(key), std::move(value));
  });
}

void UserDefaults::removeObject(std::string_view key) {
  update([&](PropertyList::Dictionary& values) {
    const auto found = values.find(key);
    if (found != values.end()) values.erase(found);
  });
}

void UserDefaults::update(
    const std::function<void(PropertyList::Dictionary&)>& change) {
  suite_->change(change);
}

}  // namespace quillhaven::platform
