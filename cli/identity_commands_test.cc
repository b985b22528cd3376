// Runs `quillhaven bundle`, `quillhaven page` and `quillhaven defaults`.
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/testing/program.h"

namespace quillhaven::cli {
namespace {

using nlohmann::json;
using testing::runProgram;
using testing::RunResult;
using testing::TemporaryFolder;

using Arguments = std::vector<std::string>;

const std::string kProgram = QUILLHAVEN_PROGRAM;
constexpr std::string_view kInformation =
    "<plist><dict><key>CFBundleIdentifier</key>"
    "<string>com.quillhaven.smtprelay</string>"
    "<key>QuillhavenVersion</key><string>7.2</string>"
    "<key>CFBundleVersion</key><string>1234</string>"
    "<key>QuillhavenEnvironment</key><string>Beta</string>"
    "<key>QHExtensionVersionID</key><integer>6</integer>"
    "<key>Wideframe</key><true/></dict></plist>";

std::string inBinary(std::string_view xml) {
  plist_t node = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(node, &bytes, &size);
  std::string binary(bytes, size);
  std::free(bytes);
  plist_free(node);
  return binary;
}

TEST(BundleCommand, ShowsXMLAndBinaryAlike) {
  ::setenv("QUILLHAVEN_OS_VERSION", "15.1", 1);
  const TemporaryFolder folder;
  for (const std::string& bytes :
       {std::string(kInformation), inBinary(kInformation)}) {
    folder.write("[R].app/Contents/Info.plist", bytes);
    const RunResult run =
        runProgram(kProgram, {"bundle", "--json", folder.path("[R].app")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "");
    const json shown = json::parse(run.output);
    EXPECT_EQ(shown["path"], folder.path("[R].app"));
    EXPECT_EQ(shown["name"], "[R]");
    EXPECT_EQ(shown["environment"], "Beta");
    EXPECT_EQ(shown["longVersionString"], "7.2 (1234)");
    EXPECT_EQ(shown["buildNumber"], 1234);
    EXPECT_EQ(shown["mailExtensionVersionID"], 6);
    EXPECT_EQ(shown["osSupport"], "supported");
    EXPECT_EQ(shown["userAgent"],
              "SMTPRelay/7.2 (com.quillhaven.smtprelay; build:1234; Wideframe; "
              "Mac OS X 15.1.0)");
  }
}

TEST(BundleCommand, TellsNoBundleFromNoFolder) {
  const TemporaryFolder folder;
  RunResult run = runProgram(kProgram, {"bundle", folder.path("none")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");

  folder.write("A.app/Contents/Info.plist", kInformation.substr(0, 100));
  run = runProgram(kProgram, {"bundle", folder.path("A.app")});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.error.find("cannot be read as a dictionary"),
            std::string::npos);
  EXPECT_NE(run.output.find("name: A\nshortVersionString: Unknown\n"),
            std::string::npos);
  EXPECT_EQ(run.output.find("environment"), std::string::npos);
  EXPECT_EQ(runProgram(kProgram, {"bundle"}).status, 2);
}

TEST(PageCommand, TakesNamesAndNumbers) {
  const std::string tags =
      "https://help.quillhaven.example/help/how-do-i-add-tags\n";
  EXPECT_EQ(runProgram(kProgram, {"page", "tags"}).output, tags);
  EXPECT_EQ(runProgram(kProgram, {"page", "13"}).output, tags);
  const RunResult list = runProgram(kProgram, {"page", "--list"});
  EXPECT_EQ(std::count(list.output.begin(), list.output.end(), '\n'), 32);
  EXPECT_NE(list.output.find("\n13\ttags\t" + tags), std::string::npos);
  for (const Arguments& wrong :
       {Arguments{"page"}, Arguments{"page", "32"}, Arguments{"page", "-1"},
        Arguments{"page", "13x"}, Arguments{"page", "Tags"},
        Arguments{"page", "--list", "tags"},
        Arguments{"page", "--list", "--open"}}) {
    const RunResult run = runProgram(kProgram, wrong);
    EXPECT_EQ(run.status, 2) << run.error;
    EXPECT_EQ(run.output, "");
  }
}

class DefaultsCommandTest : public ::testing::Test {
 protected:
  DefaultsCommandTest() {
    ::setenv("XDG_CONFIG_HOME", folder_.path().c_str(), 1);
  }

  static RunResult run(Arguments arguments) {
    arguments.insert(arguments.begin(), {"defaults", "--suite", "s"});
    return runProgram(kProgram, arguments);
  }

  const TemporaryFolder folder_;
};

TEST_F(DefaultsCommandTest, KeepsValuesOfEveryType) {
  const struct {
    std::string type, written, read, json;
  } cases[] = {
      {"string", "a \"b\"", "a \"b\"", R"("a \"b\"")"},
      {"string", "", "", "\"\""},
      {"string", "-x", "-x", "\"-x\""},
      {"string", "[1,2]", "[1,2]", "\"[1,2]\""},
      {"bool", "yes", "true", "true"},
      {"bool", "0", "false", "false"},
      {"int", "-5", "-5", "-5"},
      {"int", "18446744073709551615", "18446744073709551615",
       "18446744073709551615"},
      {"real", "0.10", "0.1", "0.1"},
      {"real", "nan", "nan", "null"},
      {"data", "AAEC", "AAEC", "\"AAEC\""},
      {"date", "2026-11-21T08:30:00Z", "2026-11-21T08:30:00Z",
       "\"2026-11-21T08:30:00Z\""},
      {"json", "{\"b\": [1, 2.5], \"a\": false}", "{\"a\":false,\"b\":[1,2.5]}",
       "{\"a\":false,\"b\":[1,2.5]}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type + " " + c.written);
    EXPECT_EQ(run({"write", "--type", c.type, "--", "k", c.written}).status, 0);
    EXPECT_EQ(run({"read", "k"}).output, c.read + "\n");
    EXPECT_EQ(run({"read", "--json", "k"}).output, c.json + "\n");
  }
  EXPECT_EQ(run({"read"}).output,
            "{\n  \"k\": {\n    \"a\": false,\n    \"b\": [\n      1,\n      "
            "2.5\n    ]\n  }\n}\n");
  EXPECT_EQ(run({"delete", "k"}).status, 0);
  EXPECT_EQ(run({"delete", "k"}).status, 1);
  EXPECT_EQ(run({"read", "k"}).status, 1);
  EXPECT_EQ(run({"read"}).output, "{}\n");
}

TEST_F(DefaultsCommandTest, RefusesWhatItCannotStore) {
  const std::string deep = std::string(60000, '[') + std::string(60000, ']');
  for (const Arguments& wrong :
       {Arguments{"write", "k"}, Arguments{"delete"},
        Arguments{"read", "k", "v"}, Arguments{"show", "k"},
        Arguments{"write", "--type", "text", "k", "v"},
        Arguments{"write", "--type", "bool", "k", "TRUE?"},
        Arguments{"write", "--type", "int", "k", "1.5"},
        Arguments{"write", "--type", "int", "k", "</integer><true/>"},
        Arguments{"write", "--type", "real", "k", "x"},
        Arguments{"write", "--type", "date", "k", "today"},
        Arguments{"write", "--type", "data", "k", "A"},
        Arguments{"write", "--type", "json", "k", "[null]"},
        Arguments{"write", "--type", "json", "k", "{"},
        Arguments{"write", "--type", "json", "k", deep},
        Arguments{"write", "k", "\xFF"}}) {
    const RunResult result = run(wrong);
    EXPECT_EQ(result.status, 2) << wrong.back().substr(0, 20);
    EXPECT_NE(result.error, "");
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.path("quillhaven")));
  EXPECT_EQ(runProgram(kProgram, {"defaults", "--suite", "a/b", "read"}).status,
            1);
}

TEST_F(DefaultsCommandTest, ReportsADamagedFileAndKeepsIt) {
  folder_.write("quillhaven/s.plist", "damaged");
  RunResult result = run({"read", "k"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.error.find("holds no property list"), std::string::npos);
  result = run({"write", "k", "v"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.error.find("s.plist.damaged\""), std::string::npos);
  EXPECT_EQ(folder_.read("quillhaven/s.plist.damaged"), "damaged");
  EXPECT_EQ(run({"read", "k"}).output, "v\n");

  std::filesystem::create_directory(folder_.path("quillhaven/d.plist"));
  result =
      runProgram(kProgram, {"defaults", "--suite", "d", "write", "k", "v"});
  EXPECT_EQ(result.status, 1);
}

TEST_F(DefaultsCommandTest, WithoutASuiteItHasItsOwn) {
  EXPECT_EQ(runProgram(kProgram, {"defaults", "write", "k", "v"}).status, 0);
  EXPECT_EQ(runProgram(kProgram, {"defaults", "read", "k"}).output, "v\n");
  EXPECT_TRUE(
      std::filesystem::exists(folder_.path("quillhaven/quillhaven.plist")));
}

}  // namespace
}  // namespace quillhaven::cli
