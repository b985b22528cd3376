// Tracking links where the configuration holds patterns of its own. The
// configuration is the process's, so each test replaces it in a child.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::strings {
namespace {

using platform::LogMessage;
using platform::LogType;
using platform::Uuid;

void configureDomain(std::string_view name) {
  identity::ProductConfiguration configuration;
  configuration.trackingDomainNames = {std::string(name)};
  identity::setProductConfiguration(configuration);
}

// Ends the child with 0 when `isExpected`; standard error tells otherwise.
[[noreturn]] void finish(bool isExpected) { std::_Exit(isExpected ? 0 : 1); }

[[noreturn]] void logWhatDoesNotCompile() {
  configureDomain("a(");
  std::vector<std::string> lines;
  bool areErrors = true;
  platform::setLogSink([&](const LogMessage& message) {
    areErrors = areErrors && message.type == LogType::kError;
    lines.emplace_back(message.text);
  });
  const std::string text = "https://a(.test/b2/item";
  const Uuid user;
  const bool isUnchanged =
      addingNoTrackToTrackingURLs(text) == text &&
      addingContactIdToTrackingURLs(text, user, user) == text &&
      !containsTrackingURL(text);
  const std::string start = "Regular expression for ";
  const std::string end = " could not be created for pattern '";
  const std::vector<std::string> expected = {
      start + "adding notrack to tracking items" + end +
          trackingItemRegexPattern() + "'",
      start + "adding contact-id to tracking items" + end +
          trackingItemRegexPattern(user) + "'",
      start + "finding tracking items" + end + trackingItemRegexPattern() + "'",
  };
  for (const std::string& line : lines) std::cerr << line << '\n';
  finish(isUnchanged && areErrors && lines == expected);
}

[[noreturn]] void matchWithAPattern() {
  configureDomain("a+(?:b|c)");
  const std::string text =
      "https://aaab.test/b2/xy https://b.test/b2/xy https://ac.test/e2/xy#f";
  const std::string result = addingNoTrackToTrackingURLs(text);
  std::cerr << result << '\n';
  finish(result ==
             "https://aaab.test/b2/xy?notrack=true https://b.test/b2/xy "
             "https://ac.test/e2/xy?notrack=true#f" &&
         containsTrackingURL(text) && !containsTrackingURL("https://b.test"));
}

TEST(TrackingConfiguration, LogsAPatternThatDoesNotCompile) {
  EXPECT_EXIT(logWhatDoesNotCompile(), testing::ExitedWithCode(0), "");
}

TEST(TrackingConfiguration, MayHoldAnyPattern) {
  EXPECT_EXIT(matchWithAPattern(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quillhaven::strings
