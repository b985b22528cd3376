// What only the sealed file does: its key, its damage, and crashes at any
// moment.
#include "quillhaven/platform/keychain/sealed_file_keychain.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/keychain/internal/sealed_file_store.h"

namespace quillhaven::platform {
namespace {

using internal::SealedFileStore;
using internal::WriteStep;
using internal::WriteStepHook;

constexpr const char kSecret[] = "a secret that is looked for";

class SealedFile : public ::testing::Test {
 protected:
  SealedFile() {
    std::string name =
        (std::filesystem::temp_directory_path() / "quillhaven-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    folder_ = name;
    options_.folder = folder_ + "/on/its/way";
  }
  ~SealedFile() override { std::filesystem::remove_all(folder_); }

  [[nodiscard]] std::string path(const char* name) const {
    return options_.folder + "/" + name;
  }
  [[nodiscard]] std::string storePath() const {
    return path(internal::kSealedStoreFile);
  }
  [[nodiscard]] std::string keyPath() const {
    return path(internal::kSealedKeyFile);
  }

  std::string folder_;
  SealedFileOptions options_;
};

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Without O_TRUNC, after which some file systems sync on closing.
void writeFile(const std::string& path, const std::string& bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_EQ(::write(fd, bytes.data(), bytes.size()),
            static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(::ftruncate(fd, static_cast<off_t>(bytes.size())), 0);
  ::close(fd);
}

KeychainItem itemNamed(const std::string& account,
                       const std::string& value = kSecret) {
  return {{"service", account, false, {}}, secretBytesFrom(value)};
}

OSStatus find(KeychainBackend& store, const std::string& account) {
  std::vector<KeychainItem> found;
  const OSStatus status =
      store.find({"service", account, false, {}}, {true, true}, found);
  if (status == 0) {
    EXPECT_EQ(viewOf(found.at(0).value), kSecret);
  }
  return status;
}

// Runs `work` in a child process; returns how that ended, as wait() does.
template <typename Work>
int statusOfChild(const Work& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST_F(SealedFile, ShowsNothingToOthers) {
  bool isNewFileClosed = true;
  const mode_t mask = ::umask(0);
  SealedFileStore store(options_, [&](WriteStep step) {
    struct stat status {};
    if (step == WriteStep::kWrite &&
        (::stat(path("keychain.new").c_str(), &status) != 0 ||
         (status.st_mode & 0777) != 0600)) {
      isNewFileClosed = false;
    }
    if (step == WriteStep::kSync) {
      EXPECT_EQ(readFile(path("keychain.new")).find(kSecret),
                std::string::npos);
    }
    return 0;
  });
  ASSERT_EQ(store.add(itemNamed("account")), 0);
  ::umask(mask);
  EXPECT_TRUE(isNewFileClosed);
  EXPECT_FALSE(std::filesystem::exists(path("keychain.new")));
  for (const auto& entry :
       std::filesystem::directory_iterator(options_.folder)) {
    SCOPED_TRACE(entry.path());
    EXPECT_EQ(static_cast<int>(entry.status().permissions()), 0600);
    const std::string bytes = readFile(entry.path());
    for (const char* text : {kSecret, "service", "account"}) {
      EXPECT_EQ(bytes.find(text), std::string::npos) << text;
    }
  }
  // One that was open to others is closed again.
  EXPECT_EQ(::chmod(options_.folder.c_str(), 0777), 0);
  ASSERT_EQ(store.add(itemNamed("b")), 0);
  EXPECT_EQ(
      static_cast<int>(std::filesystem::status(options_.folder).permissions()),
      0700);
}

TEST_F(SealedFile, LeavesNoDescriptorOpenAndHandsNoneOn) {
  const auto openDescriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         {});
  };
  bool isInherited = false;
  SealedFileStore store(options_, [&](WriteStep step) {
    if (step != WriteStep::kSync) return 0;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/self/fd")) {
      const int fd = std::atoi(entry.path().filename().c_str());
      std::error_code ignored;
      const auto target =
          std::filesystem::read_symlink(entry.path(), ignored).string();
      if (target.starts_with(folder_) && ::fcntl(fd, F_GETFD) != FD_CLOEXEC) {
        isInherited = true;
      }
    }
    return 0;
  });
  const auto before = openDescriptors();
  ASSERT_EQ(store.add(itemNamed("a")), 0);
  EXPECT_EQ(store.add(itemNamed("a")), kErrSecDuplicateItem);
  EXPECT_EQ(find(store, "a"), 0);
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(isInherited);
}

TEST_F(SealedFile, SaysThatItIsDamagedAndStaysAsItIs) {
  for (const bool hasPassphrase : {false, true}) {
    SCOPED_TRACE(hasPassphrase);
    options_.folder = folder_ + (hasPassphrase ? "/passphrase" : "/key");
    options_.newFilesHavePassphrase = hasPassphrase;
    options_.askPassphrase = [](bool) { return secretBytesFrom("right"); };
    SealedFileStore store(options_);
    ASSERT_EQ(store.add(itemNamed("a")), 0);
    const std::string good = readFile(storePath());

    const auto expectDamage = [&](const std::string& bytes) {
      writeFile(storePath(), bytes);
      EXPECT_EQ(find(store, "a"), kErrSecInvalidKeychain);
      EXPECT_EQ(store.add(itemNamed("b")), kErrSecInvalidKeychain);
      EXPECT_EQ(readFile(storePath()), bytes);
      return !::testing::Test::HasFailure();
    };
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
      SCOPED_TRACE(bit);
      std::string bytes = good;
      bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
      if (!expectDamage(bytes)) return;
    }
    for (std::size_t size = 0; size < good.size(); ++size) {
      SCOPED_TRACE(size);
      if (!expectDamage(good.substr(0, size))) return;
    }
    if (!expectDamage(good + "x")) return;
    writeFile(storePath(), good);
    EXPECT_EQ(find(store, "a"), 0);
  }
}

TEST_F(SealedFile, TellsAWrongKeyFromAMissingAndADamagedOne) {
  SealedFileStore store(options_);
  ASSERT_EQ(store.add(itemNamed("a")), 0);
  const std::string key = readFile(keyPath());
  const std::string sealed = readFile(storePath());
  std::string flipped = key;
  flipped[20] = static_cast<char>(flipped[20] ^ 1);
  const SecretBytes other = internal::newKeyFile();
  const struct {
    std::optional<std::string> bytes;
    OSStatus status;
  } cases[] = {
      {std::nullopt, kErrSecAuthFailed},
      {std::string(viewOf(other)), kErrSecAuthFailed},
      {flipped, kErrSecInvalidKeychain},
      {key.substr(1), kErrSecInvalidKeychain},
      {"", kErrSecInvalidKeychain},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    std::filesystem::remove(keyPath());
    if (c.bytes) writeFile(keyPath(), *c.bytes);
    EXPECT_EQ(find(store, "a"), c.status);
    EXPECT_EQ(store.add(itemNamed("b")), c.status);
    EXPECT_EQ(store.unlock(), c.status);
    // No new key in its place, which would lose the items for ever.
    EXPECT_EQ(std::filesystem::exists(keyPath()), c.bytes.has_value());
    EXPECT_EQ(readFile(storePath()), sealed);
  }
  writeFile(keyPath(), key);
  EXPECT_EQ(find(store, "a"), 0);
}

TEST_F(SealedFile, AsksForThePassphraseWhenItNeedsIt) {
  std::optional<std::string> answer = "right";
  std::string asked;
  options_.newFilesHavePassphrase = true;
  options_.askPassphrase = [&](bool isNew) -> std::optional<SecretBytes> {
    asked += isNew ? "new " : "old ";
    if (!answer) return std::nullopt;
    return secretBytesFrom(*answer);
  };
  const auto takeAsked = [&] { return std::exchange(asked, ""); };
  SealedFileStore store(options_);
  // Nothing to open, nothing to ask.
  EXPECT_EQ(find(store, "a"), kErrSecItemNotFound);
  EXPECT_EQ(store.remove({"service", "a", false, {}}), kErrSecItemNotFound);
  EXPECT_EQ(store.unlock(), 0);
  EXPECT_EQ(takeAsked(), "");

  answer.reset();
  EXPECT_EQ(store.add(itemNamed("a")), kErrSecUserCanceled);
  EXPECT_FALSE(std::filesystem::exists(storePath()));
  answer = "right";
  EXPECT_EQ(store.add(itemNamed("a")), 0);
  EXPECT_EQ(takeAsked(), "new new ");
  EXPECT_EQ(find(store, "a"), 0);
  EXPECT_EQ(takeAsked(), "");

  EXPECT_EQ(store.lock(), 0);
  const struct {
    std::optional<std::string> answer;
    OSStatus status;
  } cases[] = {{"wrong", kErrSecAuthFailed},
               {"", kErrSecAuthFailed},
               {std::nullopt, kErrSecUserCanceled}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    answer = c.answer;
    EXPECT_EQ(store.unlock(), c.status);
    EXPECT_EQ(find(store, "a"), c.status);
    EXPECT_EQ(store.add(itemNamed("b")), c.status);
    EXPECT_EQ(takeAsked(), "old old old ");
  }
  secKeychainSetUserInteractionAllowed(false);
  EXPECT_EQ(find(store, "a"), kErrSecInteractionNotAllowed);
  secKeychainSetUserInteractionAllowed(true);
  EXPECT_EQ(takeAsked(), "");

  answer = "right";
  EXPECT_EQ(store.unlock(), 0);
  EXPECT_EQ(find(store, "a"), 0);
  EXPECT_EQ(takeAsked(), "old ");

  // A host that cannot ask, and one that would make files of the other kind.
  SealedFileStore silent({options_.folder, {}, false});
  EXPECT_EQ(find(silent, "a"), kErrSecInteractionNotAllowed);
  SealedFileStore other({options_.folder, options_.askPassphrase, false});
  EXPECT_EQ(find(other, "a"), 0);
}

TEST_F(SealedFile, CannotBeHadWhereItCannotBeRead) {
  SealedFileStore store(options_);
  ASSERT_EQ(store.add(itemNamed("a")), 0);
  // Below a file there is no folder.
  SealedFileStore nowhere({storePath() + "/below", {}, false});
  EXPECT_EQ(find(nowhere, "a"), kErrSecNotAvailable);
  EXPECT_EQ(nowhere.add(itemNamed("a")), kErrSecNotAvailable);

  // Root may read everything, so somebody else tries. The way there is open.
  if (::geteuid() == 0) {
    for (const char* part : {"", "/on", "/on/its"}) {
      ::chmod((folder_ + part).c_str(), 0755);
    }
    const int status = statusOfChild([&] {
      if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::abort();
      EXPECT_EQ(find(store, "a"), kErrSecNotAvailable);
      EXPECT_EQ(store.add(itemNamed("b")), kErrSecNotAvailable);
    });
    EXPECT_EQ(status, 0);
  } else {
    ::chmod(storePath().c_str(), 0);
    EXPECT_EQ(find(store, "a"), kErrSecNotAvailable);
  }
}

TEST_F(SealedFile, KeepsWhatWasThereWhenAStepFails) {
  constexpr WriteStep kSteps[] = {WriteStep::kCreate, WriteStep::kWrite,
                                  WriteStep::kSync, WriteStep::kRename};
  SealedFileStore healthy(options_);
  ASSERT_EQ(healthy.add(itemNamed("a")), 0);
  const std::string before = readFile(storePath());
  for (const WriteStep failing : kSteps) {
    SCOPED_TRACE(static_cast<int>(failing));
    SealedFileStore store(
        options_, [&](WriteStep step) { return step == failing ? ENOSPC : 0; });
    EXPECT_EQ(store.add(itemNamed("b")), kErrSecNotAvailable);
    EXPECT_EQ(store.remove({"service", "a", false, {}}), kErrSecNotAvailable);
    EXPECT_EQ(readFile(storePath()), before);
    EXPECT_FALSE(std::filesystem::exists(path("keychain.new")));
  }
  // While the first file of all is made, and its key before it.
  std::filesystem::remove_all(options_.folder);
  for (int failing = 0; failing < 10; ++failing) {
    SCOPED_TRACE(failing);
    std::filesystem::remove_all(options_.folder);
    int steps = 0;
    SealedFileStore store(
        options_, [&](WriteStep) { return steps++ == failing ? EIO : 0; });
    EXPECT_EQ(store.add(itemNamed("a")), kErrSecNotAvailable);
    const OSStatus again = store.add(itemNamed("a"));
    // Only the very last step comes after the file took its place.
    EXPECT_EQ(again, failing == 9 ? kErrSecDuplicateItem : 0);
    EXPECT_EQ(find(store, "a"), 0);
  }
}

TEST_F(SealedFile, IsOldOrNewWhenKilledAtAStep) {
  constexpr WriteStep kSteps[] = {WriteStep::kCreate, WriteStep::kWrite,
                                  WriteStep::kSync, WriteStep::kRename,
                                  WriteStep::kSyncFolder};
  SealedFileStore healthy(options_);
  ASSERT_EQ(healthy.add(itemNamed("a")), 0);
  for (const WriteStep last : kSteps) {
    SCOPED_TRACE(static_cast<int>(last));
    const int status = statusOfChild([&] {
      SealedFileStore store(options_, [&](WriteStep step) {
        return step == last ? ::raise(SIGKILL) : 0;
      });
      (void)store.add(itemNamed("b"));
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(find(healthy, "a"), 0);
    EXPECT_EQ(find(healthy, "b"),
              last == WriteStep::kSyncFolder ? 0 : kErrSecItemNotFound);
  }
  // What the killed ones left is in nobody's way.
  EXPECT_EQ(healthy.add(itemNamed("c")), 0);
  EXPECT_FALSE(std::filesystem::exists(path("keychain.new")));
}

// Adds items for ever and writes a byte for each that is saved.
[[noreturn]] void addForEver(const SealedFileOptions& options, int first,
                             int out) {
  SealedFileStore store(options);
  for (int i = first;; ++i) {
    if (store.add(itemNamed(std::to_string(i))) != 0) ::_exit(1);
    if (::write(out, "+", 1) != 1) ::_exit(2);
  }
}

TEST_F(SealedFile, LosesNothingSavedWhenKilledAtAnyMoment) {
  std::mt19937 random(20261121);
  int saved = 0;
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    const pid_t child = ::fork();
    if (child == 0) addForEver(options_, saved, fds[1]);
    ::close(fds[1]);
    // At least one, then a moment within the next few.
    char c = '\0';
    ASSERT_EQ(::read(fds[0], &c, 1), 1);
    ++saved;
    ::usleep(static_cast<useconds_t>(random() % 4000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    while (::read(fds[0], &c, 1) == 1) ++saved;
    ::close(fds[0]);

    SealedFileStore store(options_);
    std::vector<KeychainItem> found;
    ASSERT_EQ(store.find({"service", {}, false, {}}, {}, found), 0);
    // One more when it was killed between saving and saying so.
    const int there = static_cast<int>(found.size());
    ASSERT_GE(there, saved);
    ASSERT_LE(there, saved + 1);
    saved = there;
  }
}

TEST_F(SealedFile, TwoProcessesThatWriteAtOnceLoseNothing) {
  constexpr int kCount = 60;
  std::vector<pid_t> children;
  for (int writer = 0; writer < 2; ++writer) {
    const pid_t child = ::fork();
    if (child == 0) {
      SealedFileStore store(options_);  // both make the first file
      for (int i = 0; i < kCount; ++i) {
        const auto account = std::to_string(writer) + "-" + std::to_string(i);
        if (store.add(itemNamed(account)) != 0) ::_exit(1);
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  SealedFileStore store(options_);
  std::vector<KeychainItem> found;
  EXPECT_EQ(store.find({"service", {}, false, {}}, {}, found), 0);
  EXPECT_EQ(found.size(), 2U * kCount);
}

// Waits until somebody waits for the lock on `fd`, a minute at most.
void waitForWaiter(int fd) {
  struct stat status {};
  ASSERT_EQ(::fstat(fd, &status), 0);
  const std::string inode = ":" + std::to_string(status.st_ino) + " ";
  bool isWaiting = false;
  for (int i = 0; !isWaiting && i < 60'000; ++i) {
    ::usleep(1000);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
      isWaiting = isWaiting || (line.find("->") != std::string::npos &&
                                line.find(inode) != std::string::npos);
    }
  }
  EXPECT_TRUE(isWaiting);
}

// A key may come, or become another, after a writer has looked for it and
// before it has the lock: a process made it and failed before the first file.
TEST_F(SealedFile, IsSealedWithTheKeyThatIsThereWhenItIsWritten) {
  const SecretBytes late = internal::newKeyFile();
  for (const bool hasKeyBefore : {false, true}) {
    SCOPED_TRACE(hasKeyBefore);
    std::filesystem::remove_all(options_.folder);
    std::filesystem::create_directories(options_.folder);
    if (hasKeyBefore) {
      writeFile(keyPath(), std::string(viewOf(internal::newKeyFile())));
    }
    const UniqueFd lock(::open(path("keychain.lock").c_str(),
                               O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    SealedFileStore store(options_);
    {
      const std::jthread writer(
          [&] { EXPECT_EQ(store.add(itemNamed("a")), 0); });
      waitForWaiter(lock.get());
      writeFile(keyPath(), std::string(viewOf(late)));
      ::flock(lock.get(), LOCK_UN);
    }
    EXPECT_EQ(readFile(keyPath()), viewOf(late));
    EXPECT_EQ(find(store, "a"), 0);
  }
}

TEST_F(SealedFile, TakesNothingThatItCouldNotReadBack) {
  SealedFileStore store(options_);
  ASSERT_EQ(store.add(itemNamed("a")), 0);
  KeychainItem item = itemNamed(std::string("b\0c", 3));
  EXPECT_EQ(store.add(item), kErrSecParam);
  item.attributes = {"", "b", false, {}};
  EXPECT_EQ(store.add(item), kErrSecParam);
  EXPECT_EQ(store.update({"service", "a", false, {}}, {"\xFF", {}}),
            kErrSecParam);
  EXPECT_EQ(find(store, "a"), 0);
}

TEST(DefaultSealedFileFolder, PassesOverRelativeValues) {
  // Each in a process of its own: GLib reads the home folder once.
  const struct {
    const char* value;
    const char* folder;
  } cases[] = {
      {"/data", "/data/quillhaven/keychain"},
      {"data", "/home/one/.local/share/quillhaven/keychain"},
      {"", "/home/one/.local/share/quillhaven/keychain"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(statusOfChild([&] {
                ::setenv("XDG_DATA_HOME", c.value, 1);
                ::setenv("HOME", "/home/one", 1);
                EXPECT_EQ(defaultSealedFileFolder(), c.folder);
              }),
              0);
  }
}

TEST(SecretBytes, AreNotInCoreDumpsAndAreWiped) {
  const SecretBytes bytes = secretBytesFrom(kSecret);
  const auto address = reinterpret_cast<std::uintptr_t>(bytes.data());
  // The mapping's flags: "dd" is "do not dump".
  std::ifstream maps("/proc/self/smaps");
  bool isInside = false;
  std::string flags;
  for (std::string line; flags.empty() && std::getline(maps, line);) {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    if (std::sscanf(line.c_str(), "%lx-%lx ", &start, &end) == 2) {
      isInside = start <= address && address < end;
    } else if (isInside && line.starts_with("VmFlags:")) {
      flags = line + " ";
    }
  }
  EXPECT_NE(flags.find(" dd "), std::string::npos) << flags;

  std::string text(kSecret);
  const char* const memory = text.data();
  wipe(text);
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(std::string(memory, 4), std::string(4, '\0'));
}

}  // namespace
}  // namespace quillhaven::platform
