// Runs `quillhaven track` and `quillhaven digest`.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "cli/testing/program.h"

namespace quillhaven::cli {
namespace {

using testing::runProgram;
using testing::RunResult;
using testing::TemporaryFolder;

const std::string kProgram = QUILLHAVEN_PROGRAM;
const std::string kUser = "01234567-89AB-CDEF-0123-456789ABCDEF";

struct Case {
  std::vector<std::string> arguments;
  std::string input;
  int status;
  std::string output, error;  // the error without "quillhaven: " before it
};

template <std::size_t count>
void expectRuns(const Case (&cases)[count]) {
  for (const Case& c : cases) {
    std::string line;
    for (const std::string& argument : c.arguments) line += argument + ' ';
    SCOPED_TRACE(line);
    const RunResult run = runProgram(kProgram, c.arguments, c.input);
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.output, c.output);
    if (c.error.empty()) {
      EXPECT_EQ(run.error, "");
    } else {
      EXPECT_EQ(run.error.rfind("quillhaven: " + c.error, 0), 0U) << run.error;
    }
  }
}

TEST(Track, MarksAndFindsLinks) {
  const TemporaryFolder folder;
  const std::string link = "https://quillhaven.test/" + kUser + "/ab";
  const std::string file = folder.write("[page]", "<" + link + ">\n");
  const std::string binary = folder.write("binary", "\xFF");
  const std::string zero = "00000000-0000-0000-0000-000000000000";
  expectRuns({
      {{"track", "notrack", file}, "", 0, "<" + link + "?notrack=true>\n", ""},
      {{"track", "notrack", "--user", zero, file},
       "",
       0,
       "<" + link + ">\n",
       ""},
      {{"track", "contact", "--user", kUser, "--contact", zero},
       link,
       0,
       link + "?contactid=AAAAAAAAAAAAAAAAAAAAAA",
       ""},
      {{"track", "contains", "-"}, link, 0, "true\n", ""},
      {{"track", "contains", "--user", zero}, link, 1, "false\n", ""},
      {{"track", "contains"}, "", 1, "false\n", ""},
      {{"track", "contains", binary}, "", 1, "", binary + ": not valid UTF-8"},
      {{"track", "contains", "/nowhere"},
       "",
       1,
       "",
       "/nowhere: No such file or directory"},
      {{"track"}, "", 2, "", "ACTION is required"},
      {{"track", "mark"}, "", 2, "", "ACTION: mark"},
      {{"track", "notrack", "--user", "1"}, "", 2, "", "--user: \"1\" is no"},
      {{"track", "notrack", "--user", ""},
       "",
       2,
       "",
       "--user: \"\" is no UUID"},
      {{"track", "contact", "--user", kUser}, "", 2, "", "track contact needs"},
      {{"track", "contact", "--contact", zero}, "", 2, "", "track contact"},
      {{"track", "contains", "--contact", zero}, "", 2, "", "--contact is for"},
  });
}

TEST(Digest, PrintsHexadecimalDigits) {
  const TemporaryFolder folder;
  // More than one piece of reading.
  const std::string file = folder.write("large", std::string(1000000, 'a'));
  expectRuns({
      {{"digest", "md5", file},
       "",
       0,
       "7707d6ae4e027c70eea2a935c2296f21\n",
       ""},
      {{"digest", "sha1", file},
       "",
       0,
       "34aa973cd4c4daa4f61eeb2bdbad27316534016f\n",
       ""},
      {{"digest", "sha256"},
       "abc",
       0,
       "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n",
       ""},
      {{"digest", "md5", "-"}, "", 0, "d41d8cd98f00b204e9800998ecf8427e\n", ""},
      {{"digest", "md5", "--hmac-key", "4A656665"},
       "what do ya want for nothing?",
       0,
       "750c783e6ab0b503eaa86e310a5db738\n",
       ""},
      {{"digest", "md5", "--hmac-key", ""},
       "",
       0,
       "74e6f7298a9c2d168935f58c001bad88\n",
       ""},
      {{"digest", "md5", "--hmac-key", "4a6"}, "", 2, "", "--hmac-key: not"},
      {{"digest", "md5", "--hmac-key", "zz"}, "", 2, "", "--hmac-key: not"},
      {{"digest", "sha512"}, "", 2, "", "ALGORITHM: sha512"},
      {{"digest", "md5", "/nowhere"},
       "",
       1,
       "",
       "/nowhere: No such file or directory"},
      {{"digest", "md5", folder.path()},
       "",
       1,
       "",
       folder.path() + ": Is a directory"},
  });
}

}  // namespace
}  // namespace quillhaven::cli
