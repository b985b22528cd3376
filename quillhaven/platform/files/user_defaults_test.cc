#include "quillhaven/platform/files/user_defaults.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/files/atomic_file.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

// Collects what is logged during its life.
class LogCapture {
 public:
  LogCapture() {
    setLogSink([this](const LogMessage& message) {
      const std::lock_guard guard(lock_);
      text_.append(message.text).append("\n");
    });
  }
  ~LogCapture() { setLogSink(nullptr); }
  [[nodiscard]] bool contains(std::string_view text) const {
    return text_.find(text) != std::string::npos;
  }
  void clear() { text_.clear(); }

 private:
  std::mutex lock_;
  std::string text_;
};

// Runs `work` in a child process that ends with it.
template <typename Work>
pid_t inChild(const Work& work) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  work();
  ::_exit(0);
}

bool succeeded(pid_t child) {
  int status = 0;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

// The errno with which a change fails, 0 when it does not.
template <typename Change>
int errorOf(const Change& change) {
  try {
    change();
  } catch (const std::system_error& error) {
    return error.code().value();
  }
  return 0;
}

TEST(UserDefaults, BooleansAreReadLeniently) {
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path());
  const struct {
    PropertyList value;
    bool truth;
  } cases[] = {
      {true, true},      {false, false},
      {1, true},         {0, false},
      {-1, true},        {~0ULL, true},
      {0.5, true},       {0.0, false},
      {"YES", true},     {"true", true},
      {" \t+01", true},  {"-9x", true},
      {"y", true},       {"NO", false},
      {"false", false},  {"0", false},
      {"", false},       {"000", false},
      {"on", false},     {"--1", false},
      {Array{1}, false}, {Dictionary{}, false},
  };
  for (const auto& c : cases) {
    defaults.set("key", c.value);
    SCOPED_TRACE(folder.read("suite.plist"));
    EXPECT_EQ(defaults.boolForKey("key"), c.truth);
  }
  defaults.removeObject("key");
  EXPECT_FALSE(defaults.boolForKey("key"));
}

TEST(UserDefaults, OtherValuesAreOfExactlyTheirType) {
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path("made/on/demand"));
  EXPECT_EQ(defaults.object("int"), std::nullopt);
  EXPECT_FALSE(fs::exists(folder.path("made")));
  defaults.set("int", 7);
  defaults.set("real", 7.5);
  defaults.set("text", "7");
  defaults.set("data", PropertyList::Data{"\1\2"});
  EXPECT_EQ(defaults.integerForKey("int"), 7);
  EXPECT_EQ(defaults.doubleForKey("real"), 7.5);
  EXPECT_EQ(defaults.stringForKey("text"), "7");
  EXPECT_EQ(defaults.dataForKey("data"), "\1\2");
  for (const char* key : {"text", "real", "data", "none"}) {
    EXPECT_EQ(defaults.integerForKey(key), std::nullopt) << key;
  }
  for (const char* key : {"int", "real", "data", "none"}) {
    EXPECT_EQ(defaults.stringForKey(key), std::nullopt) << key;
  }
  EXPECT_EQ(defaults.doubleForKey("int"), std::nullopt);
  EXPECT_EQ(defaults.dataForKey("text"), std::nullopt);
  EXPECT_EQ(defaults.dictionaryRepresentation().size(), 4U);

  struct stat status {};
  ASSERT_EQ(::stat(folder.path("made/on").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  ASSERT_EQ(::stat(defaults.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(UserDefaults, ChangesFromOutsideShowAtTheNextRead) {
  const TemporaryFolder folder;
  const UserDefaults reader("suite", folder.path());
  UserDefaults writer("suite", folder.path());
  const std::string file = folder.path("suite.plist");
  const auto xml = [](int number) {
    return *xmlFromPropertyList(Dictionary{{"n", number}});
  };
  EXPECT_EQ(reader.integerForKey("n"), std::nullopt);
  for (int i = 1; i <= 50; ++i) {  // same size, often the same inode again
    writer.set("n", i % 2);
    ASSERT_EQ(reader.integerForKey("n"), i % 2) << i;
  }
  folder.write("suite.plist", xml(300));  // in place
  EXPECT_EQ(reader.integerForKey("n"), 300);
  writeFileAtomically(file, xml(301));
  EXPECT_EQ(reader.integerForKey("n"), 301);
  fs::rename(file, folder.path("away"));
  EXPECT_EQ(reader.integerForKey("n"), std::nullopt);
  fs::rename(folder.path("away"), file);
  EXPECT_EQ(reader.integerForKey("n"), 301);
  fs::remove(file);
  EXPECT_EQ(reader.integerForKey("n"), std::nullopt);
  writer.set("m", 1);  // made of what is there now, not of what was
  EXPECT_EQ(reader.dictionaryRepresentation(), (Dictionary{{"m", 1}}));
}

TEST(UserDefaults, FileIsTheOneBehindTheLinkNow) {
  const TemporaryFolder folder;
  const auto xml = [](int number) {
    return *xmlFromPropertyList(Dictionary{{"n", number}});
  };
  folder.write("one.plist", xml(1));
  folder.write("two.plist", xml(2));
  fs::create_symlink("one.plist", folder.path("suite.plist"));
  UserDefaults defaults("suite", folder.path());
  EXPECT_EQ(defaults.integerForKey("n"), 1);
  fs::remove(folder.path("suite.plist"));
  fs::create_symlink("two.plist", folder.path("suite.plist"));
  EXPECT_EQ(defaults.integerForKey("n"), 2);
  defaults.set("m", 3);
  EXPECT_TRUE(fs::is_symlink(folder.path("suite.plist")));
  EXPECT_EQ(folder.read("one.plist"), xml(1));
  EXPECT_EQ(UserDefaults("two", folder.path()).integerForKey("m"), 3);
}

TEST(UserDefaults, ChangesAreMadeToTheFolderThatIsThereNow) {
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path("folder"));
  defaults.set("old", 1);
  EXPECT_EQ(defaults.integerForKey("old"), 1);
  fs::rename(folder.path("folder"), folder.path("away"));
  UserDefaults("suite", folder.path("folder")).set("new", 2);
  defaults.set("newer", 3);
  EXPECT_EQ(defaults.dictionaryRepresentation(),
            (Dictionary{{"new", 2}, {"newer", 3}}));
}

TEST(UserDefaults, ProcessesAndThreadsLoseNoneOfTheirKeys) {
  const TemporaryFolder folder;
  constexpr int kWriters = 4;
  constexpr int kChanges = 15;
  const auto write = [&folder](const std::string& name) {
    UserDefaults defaults("suite", folder.path());
    for (int i = 0; i < kChanges; ++i) {
      defaults.set(name + std::to_string(i), i);
      defaults.update([](Dictionary& values) {
        auto& count = values.try_emplace("count", 0).first->second;
        count = *count.integer() + 1;
      });
    }
  };
  std::vector<pid_t> children;
  for (int i = 0; i < kWriters; ++i) {
    children.push_back(
        inChild([&] { write("process" + std::to_string(i) + "-"); }));
  }
  std::vector<std::thread> threads;
  for (int i = 0; i < kWriters; ++i) {
    threads.emplace_back(write, "thread" + std::to_string(i) + "-");
  }
  for (std::thread& thread : threads) thread.join();
  for (const pid_t child : children) EXPECT_TRUE(succeeded(child));

  const UserDefaults defaults("suite", folder.path());
  EXPECT_EQ(defaults.integerForKey("count"), 2 * kWriters * kChanges);
  EXPECT_EQ(defaults.dictionaryRepresentation().size(),
            2U * kWriters * kChanges + 1);
}

TEST(UserDefaults, AWriterKilledAtAnyMomentLosesNothingSaved) {
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path());
  defaults.set("kept", std::string(100000, 'x'));
  std::int64_t last = 0;
  for (int i = 0; i < 30; ++i) {
    int done[2];
    ASSERT_EQ(::pipe2(done, O_CLOEXEC), 0);
    const pid_t child = inChild([&] {
      UserDefaults own("suite", folder.path());
      for (std::int64_t n = last + 1;; ++n) {
        own.set("n", n);
        if (::write(done[1], &n, sizeof n) != sizeof n) ::_exit(1);
      }
    });
    ::close(done[1]);
    // Killed somewhere in its next change, while we read of the last ones.
    std::int64_t reported = 0;
    for (int k = 0; k <= i % 3; ++k) {
      ASSERT_EQ(::read(done[0], &reported, sizeof reported), 8);
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (std::int64_t n = 0; ::read(done[0], &n, sizeof n) == 8;) reported = n;
    ::close(done[0]);

    last = defaults.integerForKey("n").value_or(-1);
    ASSERT_GE(last, reported);
    ASSERT_LE(last, reported + 1);
    ASSERT_EQ(defaults.stringForKey("kept")->size(), 100000U);
  }
}

TEST(UserDefaults, DamagedFilesAreKeptAsideAndReported) {
  LogCapture log;
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path());
  const std::string huge(kMaximumPropertyListSize + 1, ' ');
  const std::string damages[] = {
      "", "<plist><dict><key>a</key>", "<plist><array/></plist>",
      std::string("bplist00\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22), huge};
  int number = 0;
  for (const std::string& damage : damages) {
    SCOPED_TRACE(damage.substr(0, 30));
    const std::string aside =
        "suite.plist.damaged" +
        (++number == 1 ? std::string() : "-" + std::to_string(number));
    folder.write("suite.plist", damage);
    EXPECT_EQ(defaults.object("a"), std::nullopt);
    EXPECT_TRUE(log.contains("suite.plist\" holds no property list"));
    log.clear();
    EXPECT_FALSE(defaults.boolForKey("a"));
    EXPECT_FALSE(log.contains("suite.plist"));  // reported once a version
    EXPECT_EQ(folder.read("suite.plist"), damage);
    defaults.set("a", number);
    EXPECT_FALSE(log.contains("holds no property list"));
    EXPECT_EQ(folder.read(aside), damage);
    EXPECT_TRUE(log.contains(aside));
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"a", number}}));
  }
}

TEST(UserDefaults, DamagedFilesBehindALinkAreKeptBesideIt) {
  const LogCapture log;
  const TemporaryFolder folder;
  folder.write("real/file", "damaged");
  fs::create_symlink("real/file", folder.path("suite.plist"));
  UserDefaults defaults("suite", folder.path());
  defaults.set("a", 1);
  EXPECT_EQ(folder.read("real/file.damaged"), "damaged");
  EXPECT_TRUE(fs::is_symlink(folder.path("suite.plist")));
  EXPECT_EQ(defaults.integerForKey("a"), 1);
}

TEST(UserDefaults, ChangesThatCannotBeMadeLeaveTheFileAlone) {
  const LogCapture log;
  const TemporaryFolder folder;
  UserDefaults defaults("suite", folder.path());
  defaults.set("a", 1);
  const std::string before = folder.read("suite.plist");
  const std::string huge(kMaximumPropertyListSize, 'x');
  EXPECT_EQ(errorOf([&] { defaults.set("a", "\xFF"); }), EILSEQ);
  EXPECT_EQ(errorOf([&] { defaults.set("\xC3", 1); }), EILSEQ);
  EXPECT_EQ(errorOf([&] { defaults.set("a", huge); }), EFBIG);
  EXPECT_THROW(defaults.update([](Dictionary& values) {
    values.clear();
    throw std::runtime_error("changed my mind");
  }),
               std::runtime_error);
  EXPECT_EQ(folder.read("suite.plist"), before);

  // A folder where the file should be cannot be read, so nothing replaces it.
  fs::create_directory(folder.path("other.plist"));
  UserDefaults other("other", folder.path());
  EXPECT_EQ(other.object("a"), std::nullopt);
  EXPECT_EQ(errorOf([&] { other.set("a", 1); }), EISDIR);
  UserDefaults nowhere("suite", folder.path("suite.plist"));
  EXPECT_EQ(errorOf([&] { nowhere.set("a", 1); }), ENOTDIR);
  EXPECT_EQ(errorOf([] { UserDefaults("suite", "").set("a", 1); }), ENOENT);
}

TEST(UserDefaults, SuitesHaveNamesOfFiles) {
  const TemporaryFolder folder;
  ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
  auto defaults = UserDefaults::suite("com.example.suite");
  ASSERT_TRUE(defaults);
  EXPECT_EQ(defaults->path(),
            folder.path("quillhaven/com.example.suite.plist"));
  for (std::string_view name :
       {std::string_view(""), std::string_view("."), std::string_view(".x"),
        std::string_view("a/b"), std::string_view("a\0b", 3)}) {
    EXPECT_FALSE(UserDefaults::suite(name)) << name;
  }
  EXPECT_FALSE(UserDefaults::suite(std::string(201, 'x')));
  const LogCapture log;
  folder.write("quillhaven", "a file where the folder should be");
  EXPECT_FALSE(UserDefaults::suite("com.example.suite"));

  ::setenv("XDG_CONFIG_HOME", "relative", 1);
  ::setenv("HOME", folder.path("home/").c_str(), 1);
  EXPECT_EQ(UserDefaults::suite("s")->path(),
            folder.path("home/.config/quillhaven/s.plist"));
}

TEST(WriteFileAtomically, KeepsRightsAndLinksAndLeavesNothingBehind) {
  const TemporaryFolder folder;
  const std::string file = folder.write("real/file", "old");
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  fs::create_symlink("real/file", folder.path("link"));
  writeFileAtomically(folder.path("link"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("link")));
  EXPECT_EQ(folder.read("real/file"), "new");
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  writeFileAtomically(folder.path("real/other"), "", 0604);
  ASSERT_EQ(::stat(folder.path("real/other").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0604U);

  fs::create_directory(folder.path("real/folder"));
  EXPECT_THROW(writeFileAtomically(folder.path("real/folder"), "x"),
               std::system_error);
  EXPECT_THROW(writeFileAtomically(folder.path("missing/file"), "x"),
               std::system_error);
  const auto entries = fs::directory_iterator(folder.path("real"));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 3);
}

}  // namespace
}  // namespace quillhaven::platform
