#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/base/log.h"

namespace quillhaven::platform {
namespace {

TEST(Log, ReplacedSinkReceivesMessagesUntilTheStandardOneIsBack) {
  std::vector<std::string> seen;
  const LogSink before = setLogSink([&seen](const LogMessage& message) {
    seen.push_back(std::string(message.subsystem) + "/" +
                   std::string(message.category) + ": " +
                   std::string(message.text));
  });
  EXPECT_FALSE(before);
  const Logger logger("com.example.app", "mail");
  logger.log(LogType::kError, "first");

  const LogSink mine = setLogSink(nullptr);
  ASSERT_TRUE(mine);
  testing::internal::CaptureStderr();
  logger.log(LogType::kError, "second");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "second\n");

  mine({"a", "", LogType::kInfo, "b"});
  EXPECT_EQ(seen,
            (std::vector<std::string>{"com.example.app/mail: first", "a/: b"}));
}

TEST(FatalError, AbortsUnlessAHandlerThrows) {
  EXPECT_DEATH(fatalError("length is negative"),
               "Fatal error: length is negative\n");
  setFatalErrorHandler(
      [](std::string_view rule) { throw std::logic_error(std::string(rule)); });
  EXPECT_THROW(fatalError("length is negative"), std::logic_error);
  setFatalErrorHandler([](std::string_view) {});
  EXPECT_DEATH(fatalError("again"), "Fatal error: again\n");
  setFatalErrorHandler(nullptr);
}

TEST(FileURL, NamesPathsBothWays) {
  const struct {
    std::string_view path, url;
  } cases[] = {
      {"/", "file:///"},
      {"/a b/c.eml", "file:///a%20b/c.eml"},
      {"/100%/#1?.eml", "file:///100%25/%231%3F.eml"},
      {"/caf\xC3\xA9/\xFF", "file:///caf%C3%A9/%FF"},
      {"/(a)+@:;=&,$!*'~", "file:///(a)+@:;=&,$!*'~"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(fileURLFromPath(c.path), c.url);
    EXPECT_EQ(pathFromFileURL(c.url), c.path);
  }
  EXPECT_EQ(fileURLFromPath("/a/./b/../c"), "file:///a/c");
  EXPECT_TRUE(fileURLFromPath("m.eml").ends_with("/m.eml"));
}

TEST(FileURL, ReadsOtherFormsAndRefusesWhatIsNoFile) {
  EXPECT_EQ(pathFromFileURL("FILE:/a"), "/a");
  EXPECT_EQ(pathFromFileURL("file://LocalHost/a?x#y"), "/a");
  for (std::string_view url :
       {"", "file", "file:", "file:a", "file://", "file://host/a", "http:///a",
        "/a", "file:///%", "file:///%4", "file:///%4g", "file:///%00"}) {
    EXPECT_FALSE(pathFromFileURL(url)) << url;
  }
}

}  // namespace
}  // namespace quillhaven::platform
