#include "quillhaven/platform/files/login_items.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <limits>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/base/paths.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/atomic_file.h"
#include "quillhaven/platform/files/folders.h"
#include "quillhaven/platform/files/internal/desktop_entry.h"
#include "quillhaven/platform/files/internal/file_reading.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

using internal::DesktopEntry;

constexpr std::string_view kAutostart = "/autostart";
constexpr std::string_view kEnding = ".desktop";
constexpr std::string_view kBundleEnding = ".app";
constexpr std::string_view kHiddenArgument = "--hidden";
constexpr std::size_t kMaximumSize = std::size_t{1} << 20;
constexpr unsigned kMode = 0644;

constexpr char kNameKey[] = "Name";
constexpr char kCommandKey[] = "Exec";
constexpr char kProgramKey[] = "TryExec";
constexpr char kDeletedKey[] = "Hidden";
constexpr char kEnabledKey[] = "X-GNOME-Autostart-enabled";
constexpr char kBundleKey[] = "X-Quillhaven-Bundle";
constexpr char kHiddenKey[] = "X-Quillhaven-Hidden";
constexpr char kOrderKey[] = "X-Quillhaven-Order";

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

[[noreturn]] void fail(int error, const std::string& path) {
  throw std::system_error(error, std::generic_category(), path);
}

// Returns the path up to the last name that ends in ".app"; nothing without.
std::optional<std::string> bundleAround(const std::string& program) {
  if (!program.starts_with('/') || program.size() >= PATH_MAX) {
    return std::nullopt;
  }
  for (std::string path = program; path.size() > 1;
       path = deletingLastPathComponent(path)) {
    if (path.ends_with(kBundleEnding)) return path;
  }
  return std::nullopt;
}

std::optional<std::string> bundlePathIn(const DesktopEntry& entry,
                                        const std::vector<std::string>& words) {
  if (const auto url = entry.string(kBundleKey)) {
    if (auto path = pathFromFileURL(*url)) return path;
  }
  return words.empty() ? std::nullopt : bundleAround(words.front());
}

// What files of `bundle` are called: letters, digits, "-", "_" and ".".
std::string fileNameFor(const Bundle& bundle) {
  constexpr std::size_t kMaximumNameSize = 200;
  std::string name(bundle.bundleIdentifier().value_or(""));
  if (name.empty()) {
    name = deletingPathExtension(lastPathComponent(bundle.bundlePath()));
  }
  name.resize(std::min(name.size(), kMaximumNameSize));
  for (char& c : name) {
    const bool isPlain = isASCIILetter(c) || isASCIIDigit(c) || c == '-' ||
                         c == '_' || (c == '.' && &c != name.data());
    if (!isPlain) c = '_';
  }
  return name;
}

std::string displayNameOf(const Bundle& bundle) {
  for (const auto key : {"CFBundleDisplayName", "CFBundleName"}) {
    const auto name = bundle.infoString(key);
    if (name && !name->empty()) return std::string(*name);
  }
  return deletingPathExtension(lastPathComponent(bundle.bundlePath()));
}

std::string programOf(const Bundle& bundle) {
  const auto name = bundle.infoString("CFBundleExecutable");
  return bundle.bundlePath() + "/Contents/MacOS/" +
         (name && !name->empty()
              ? std::string(*name)
              : deletingPathExtension(lastPathComponent(bundle.bundlePath())));
}

// Returns the command that starts `program`. The name of a program must not
// have "=" in it, and desktops look for one with "%" under the escape for that;
// where it is an argument, both are plain.
std::string commandStarting(const std::string& program) {
  const std::string quoted = internal::quotedForCommand(program);
  if (program.find_first_of("%=") == std::string::npos) return quoted;
  return "/bin/sh -c " + internal::quotedForCommand("exec \"$0\" \"$@\"") +
         " " + quoted;
}

DesktopEntry entryFor(const Bundle& bundle, bool isHidden, std::int64_t order) {
  const std::string program = programOf(bundle);
  std::string command = commandStarting(program);
  if (isHidden) command = internal::commandAdding(command, kHiddenArgument);
  DesktopEntry entry;
  entry.setString(kNameKey, displayNameOf(bundle));
  entry.setString(kCommandKey, command);
  entry.setString(kProgramKey, program);  // gone with the bundle: passed over
  entry.setString(kBundleKey, fileURLFromPath(bundle.bundlePath()));
  entry.setBoolean(kHiddenKey, isHidden);
  entry.setInteger(kOrderKey, order);
  return entry;
}

// Reads the file as far as it is an entry's.
std::optional<std::string> bytesOfFile(const std::string& path) {
  UniqueFd file;
  std::string bytes;
  if (internal::openRegularFile(path, file) != 0 ||
      internal::readWhole(file.get(), kMaximumSize, bytes) != 0) {
    return std::nullopt;
  }
  return bytes;
}

bool isSomethingAt(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

LoginItemResolution LoginItem::resolve() const {
  if (!bundlePath_) return {};
  struct stat status {};
  if (::stat(bundlePath_->c_str(), &status) == 0) return {bundlePath_, 0};
  const bool isGone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  return {std::nullopt, isGone ? kLoginItemNotThere : -errno};
}

std::optional<LoginItemList> LoginItemList::open() {
  std::vector<std::string> folders = configurationFolders();
  std::string own = configurationFolder();
  if (own.empty()) return std::nullopt;
  folders.erase(folders.begin());  // the user's own
  for (std::string& folder : folders) folder += kAutostart;
  own += kAutostart;
  const std::unique_ptr<DIR, CloseFolder> opened(::opendir(own.c_str()));
  if (!opened && errno != ENOENT) return std::nullopt;
  return LoginItemList(std::move(own), std::move(folders));
}

LoginItemList::LoginItemList(std::string folder,
                             std::vector<std::string> systemFolders)
    : folder_(std::move(folder)), systemFolders_(std::move(systemFolders)) {}

std::vector<LoginItem> LoginItemList::items() const {
  std::vector<LoginItem> items;
  const std::unique_ptr<DIR, CloseFolder> opened(::opendir(folder_.c_str()));
  if (!opened) return items;
  while (const dirent* const file = ::readdir(opened.get())) {
    const std::string_view name = file->d_name;
    if (name.starts_with('.') || !name.ends_with(kEnding)) continue;
    if (auto item = read(name)) items.push_back(std::move(*item));
  }
  std::sort(items.begin(), items.end(),
            [](const LoginItem& a, const LoginItem& b) {
              return std::tie(a.order_, a.fileName_) <
                     std::tie(b.order_, b.fileName_);
            });
  return items;
}

template <typename Edit>
void LoginItemList::change(LoginItem& item, const Edit& edit) const {
  checkIsCurrent(item);
  const std::string path = pathOf(item.fileName_);
  auto entry = DesktopEntry::fromBytes(item.bytes_);
  if (!entry) fail(EINVAL, path);
  edit(*entry);
  writeFileAtomically(path, entry->bytes(), kMode);
  if (auto now = read(item.fileName_)) item = std::move(*now);
}

void LoginItemList::setHidden(LoginItem& item, bool isHidden) const {
  change(item, [isHidden](DesktopEntry& entry) {
    entry.setBoolean(kHiddenKey, isHidden);
    const auto command = entry.string(kCommandKey);
    if (!command) return;
    std::string changed = internal::commandRemoving(*command, kHiddenArgument);
    if (isHidden) changed = internal::commandAdding(changed, kHiddenArgument);
    entry.setString(kCommandKey, changed);
  });
}

void LoginItemList::setEnabled(LoginItem& item, bool isEnabled) const {
  change(item, [isEnabled](DesktopEntry& entry) {
    entry.setBoolean(kEnabledKey, isEnabled);
  });
}

void LoginItemList::insertLast(const Bundle& bundle, bool isHidden) const {
  const auto present = items();
  const std::int64_t last = present.empty() ? 0 : present.back().order_;
  const std::int64_t order =
      last < std::numeric_limits<std::int64_t>::max() ? last + 1 : last;
  const DesktopEntry entry =
      entryFor(bundle, isHidden, std::max(order, std::int64_t{1}));
  const std::string bytes = entry.bytes();
  // Nobody could read it.
  if (!isValidUTF8(bytes)) fail(EILSEQ, bundle.bundlePath());
  if (const int error = makeFolder(folder_)) fail(error, folder_);

  const std::string base = fileNameFor(bundle);
  std::string name = base;
  for (int number = 1;; ++number) {
    const std::string path = pathOf(name.append(kEnding));
    if (createFileAtomically(path, bytes, kMode)) return;
    const auto there = bytesOfFile(path);
    const auto other = DesktopEntry::fromBytes(there.value_or(""));
    if (other && other->string(kBundleKey) == entry.string(kBundleKey)) {
      // Just added by somebody else, or ours from before it was deleted.
      if (other->boolean(kDeletedKey) == true) {
        writeFileAtomically(path, bytes, kMode);
      }
      return;
    }
    name = base + "-" + std::to_string(number);
  }
}

void LoginItemList::remove(const LoginItem& item) const {
  checkIsCurrent(item);
  const std::string path = pathOf(item.fileName_);
  auto entry = DesktopEntry::fromBytes(item.bytes_);
  const bool isMarked = entry && isSystemWide(item.fileName_);
  struct stat status {};
  const bool isLink =
      ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
  // The file that a link leads to may have another use.
  if ((!isMarked || isLink) && ::unlink(path.c_str()) != 0) fail(errno, path);
  if (!isMarked) return;
  entry->setBoolean(kDeletedKey, true);
  writeFileAtomically(path, entry->bytes(), kMode);
}

std::string LoginItemList::pathOf(std::string_view fileName) const {
  return std::string(folder_).append("/").append(fileName);
}

std::optional<LoginItem> LoginItemList::read(std::string_view fileName) const {
  auto bytes = bytesOfFile(pathOf(fileName));
  const auto entry = DesktopEntry::fromBytes(bytes.value_or(""));
  if (!entry || entry->boolean(kDeletedKey) == true) return std::nullopt;
  const auto words = internal::wordsOfCommand(
      entry->string(kCommandKey).value_or(std::string()));
  LoginItem item;
  item.fileName_ = fileName;
  item.bytes_ = std::move(*bytes);
  item.displayName_ = entry->string(kNameKey).value_or("");
  item.bundlePath_ = bundlePathIn(*entry, words);
  item.order_ = entry->integer(kOrderKey).value_or(0);
  item.isHidden_ =
      entry->boolean(kHiddenKey) == true &&
      std::find(words.begin(), words.end(), kHiddenArgument) != words.end();
  item.isEnabled_ = entry->boolean(kEnabledKey).value_or(true);
  return item;
}

bool LoginItemList::isSystemWide(std::string_view fileName) const {
  return std::any_of(
      systemFolders_.begin(), systemFolders_.end(),
      [&](const std::string& folder) {
        return isSomethingAt(std::string(folder).append("/").append(fileName));
      });
}

// Somebody may have put another entry in its place meanwhile.
void LoginItemList::checkIsCurrent(const LoginItem& item) const {
  const std::string path = pathOf(item.fileName_);
  if (bytesOfFile(path) != item.bytes_) fail(ESTALE, path);
}

}  // namespace quillhaven::platform
