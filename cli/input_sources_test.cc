#include "cli/input_sources.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "cli/testing/program.h"

namespace quillhaven::cli {
namespace {

using testing::TemporaryFolder;
using Lines = std::vector<std::string>;

// Every input as "path", or "path: problem", without the folder's own path.
template <typename Source>
Lines all(Source& source, const TemporaryFolder& folder) {
  Lines lines;
  while (const auto input = source.next()) {
    std::string line(displayName(*input));
    if (line.starts_with(folder.path())) line.erase(0, folder.path().size());
    if (!input->problem.empty()) line.append(": ").append(input->problem);
    lines.push_back(line);
  }
  EXPECT_FALSE(source.next());  // the end is the end
  return lines;
}

TEST(FolderWalk, TakesFilesInOrderOfNamesAndFollowsNoFolderLink) {
  const TemporaryFolder folder;
  for (const char* name : {"b/z.eml", "b/a/1", "b.eml", "B.eml", "a.eml",
                           "\xFFodd", "é.eml", ".hidden", ".git/x"}) {
    folder.write(name, "x");
  }
  std::filesystem::create_symlink("a.eml", folder.path("link-to-file"));
  std::filesystem::create_symlink(".", folder.path("link-to-folder"));
  std::filesystem::create_symlink("nowhere", folder.path("broken"));
  std::filesystem::create_directory(folder.path("empty"));
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);

  FolderWalk walk(folder.path());
  EXPECT_EQ(all(walk, folder),
            (Lines{"/B.eml", "/a.eml", "/b/a/1", "/b/z.eml", "/b.eml",
                   "/link-to-file", "/é.eml", "/\xFFodd"}));
}

TEST(FolderWalk, SaysWhyThereIsNothing) {
  const TemporaryFolder folder;
  folder.write("empty/.hidden", "x");
  std::filesystem::create_directories(folder.path("empty/sub/sub"));
  FolderWalk empty(folder.path("empty"));
  EXPECT_EQ(all(empty, folder),
            (Lines{"/empty: no messages in this directory"}));
  FolderWalk missing(folder.path("missing"));
  EXPECT_EQ(all(missing, folder),
            (Lines{"/missing: No such file or directory"}));
}

TEST(PathList, SplitsAtItsSeparatorOnly) {
  const TemporaryFolder folder;
  const std::string tooLong(PathList::kMaximumEntrySize + 1, 'x');
  const std::string longest(PathList::kMaximumEntrySize, 'y');
  const std::string list = folder.path("list");
  const std::string kNul =
      "/list: an entry holds a NUL character; give -0 for a list whose entries "
      "end in NUL";
  const std::string kLong = "/list: an entry is too long to be a path";
  const struct {
    std::string bytes;
    char separator;
    Lines inputs;
  } cases[] = {
      {"", '\n', {}},
      {"\n\n", '\n', {}},
      {"a\n\n b \nc", '\n', {"a", " b ", "c"}},
      {std::string("a\nb\0c\0\0", 7), '\0', {"a\nb", "c"}},
      {std::string("a\0b\nc\n", 6), '\n', {kNul, "c"}},
      {tooLong + "\nb\n" + longest + "\n", '\n', {kLong, "b", longest}},
      {"a\n" + tooLong + tooLong, '\n', {"a", kLong}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes.substr(0, 20));
    folder.write("list", c.bytes);
    PathList paths(list, c.separator);
    EXPECT_EQ(all(paths, folder), c.inputs);
  }
  PathList missing(folder.path("none"), '\n');
  EXPECT_EQ(all(missing, folder), (Lines{"/none: No such file or directory"}));
  PathList isFolder(folder.path(), '\n');
  EXPECT_EQ(all(isFolder, folder), (Lines{": Is a directory"}));
}

// Pieces end anywhere in an entry: every entry comes whole.
TEST(PathList, KeepsEntriesAcrossPieces) {
  const TemporaryFolder folder;
  Lines entries;
  std::string bytes;
  for (std::size_t i = 0; i < 20000; ++i) {
    entries.push_back(std::to_string(i) + std::string(i % 23, 'p'));
    bytes += entries.back() + "\n";
  }
  folder.write("list", bytes);
  PathList paths(folder.path("list"), '\n');
  EXPECT_EQ(all(paths, folder), entries);
}

TEST(InputSources, TakesPathsThenTheListAndWalksFolders) {
  const TemporaryFolder folder;
  const std::string file = folder.write("f/b.eml", "x");
  folder.write("f/a.eml", "x");
  const std::string list =
      folder.write("list", folder.path("f") + "\n-\nmissing\n");

  InputSources sources({"-", file}, PathList(list, '\n'), true);
  EXPECT_FALSE(sources.count());
  EXPECT_EQ(
      all(sources, folder),
      (Lines{"-: standard input is the list of paths", "/f/b.eml", "/f/a.eml",
             "/f/b.eml", "-: standard input is the list of paths", "missing"}));

  InputSources files({file, "missing", "-"});
  EXPECT_EQ(files.count(), 3U);
  EXPECT_EQ(all(files, folder),
            (Lines{"/f/b.eml", "missing", "standard input"}));
  EXPECT_FALSE(InputSources({folder.path("f")}).count());
}

TEST(WholeReader, ReadsWholeFilesOfAnySizeIntoOneBuffer) {
  const TemporaryFolder folder;
  WholeReader reader;
  for (const std::size_t size : {200000U, 0U, 1U, 65535U, 65536U, 65537U}) {
    SCOPED_TRACE(size);
    std::string bytes(size, 'x');
    if (size > 0) bytes.back() = 'e';
    const Input input{Input::Kind::kFile, folder.write("file", bytes), {}};
    ASSERT_FALSE(reader.open(input));
    EXPECT_EQ(reader.expectedSize(), size);
    ASSERT_FALSE(reader.read(300000));
    EXPECT_TRUE(reader.bytes() == bytes);

    ASSERT_FALSE(reader.open(input));
    EXPECT_EQ(reader.read(size).has_value(), true);
    ASSERT_FALSE(reader.open(input));
    EXPECT_FALSE(reader.read(size + 1));
  }
}

TEST(WholeReader, ReadsPipesAndSaysWhyItCannot) {
  const TemporaryFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ::signal(SIGPIPE, SIG_IGN);
  const std::string bytes(300000, 'x');
  WholeReader reader;
  for (const std::size_t maximum : {300001U, 300000U}) {
    std::thread writer([&] {
      const platform::UniqueFd end(::open(fifo.c_str(), O_WRONLY));
      std::string_view rest = bytes;
      while (!rest.empty()) {
        const ssize_t count = ::write(end.get(), rest.data(), rest.size());
        if (count <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(count));
      }
    });
    ASSERT_FALSE(reader.open({Input::Kind::kFile, fifo, {}}));
    EXPECT_EQ(reader.expectedSize(), 0U);
    const auto failure = reader.read(maximum);
    writer.join();
    EXPECT_EQ(failure.value_or(""),
              maximum > 300000 ? "" : "too large (300000 bytes or more)");
    EXPECT_TRUE(failure || reader.bytes() == bytes);
  }

  std::filesystem::create_symlink("loop", folder.path("loop"));
  const struct {
    std::string path, reason;
  } cases[] = {
      {folder.path("missing"), "No such file or directory"},
      {folder.path("fifo/x"), "Not a directory"},
      {folder.path("loop"), "Too many levels of symbolic links"},
      {"", "No such file or directory"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(reader.open({Input::Kind::kFile, c.path, {}}), c.reason);
  }
  ASSERT_FALSE(reader.open({Input::Kind::kFile, folder.path(), {}}));
  EXPECT_EQ(reader.read(100), "Is a directory");
}

}  // namespace
}  // namespace quillhaven::cli
