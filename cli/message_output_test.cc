#include "cli/message_output.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::cli {
namespace {

std::string shown(std::string_view messageBytes,
                  const std::optional<std::string>& url, MessageFormat format) {
  std::string text;
  const auto message =
      mail::EmailMessageParser::initWithData(messageBytes, url);
  if (message) {
    appendMessage(text, *message, format);
  } else {
    appendFailedMessage(text, url, format);
  }
  return text;
}

constexpr std::string_view kMessage =
    "From: \"Ann\" <ann@example.com>, bob@example.com\n"
    "X-Twice: one\n"
    "To: <carl@example.com>\n"
    "X-Twice: two\n"
    "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?= \"x\"\n"
    "Content-Length: 12\n"
    "Content-Type: text/plain; charset=\"UTF-8\"; format=Flowed\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "SGVsbG8=\n";

TEST(AppendMessage, WritesEveryMemberOfTheObjectInOrder) {
  EXPECT_EQ(
      shown(kMessage, "file:///m%20.eml", MessageFormat::kNewlineJson),
      R"({"url":"file:///m%20.eml","parsed":true,"headers":{)"
      R"("from":["\"Ann\" <ann@example.com>, bob@example.com"],)"
      R"("x-twice":["one","two"],"to":["<carl@example.com>"],)"
      R"("subject":["Grüße \"x\""],"content-length":["12"],)"
      R"("content-type":["text/plain; charset=\"UTF-8\"; format=Flowed"],)"
      R"("content-transfer-encoding":["base64"]},"subject":"Grüße \"x\"",)"
      R"("from":[{"name":"Ann","address":"ann@example.com"},)"
      R"({"name":null,"address":" bob@example.com"}],)"
      R"("to":[{"name":null,"address":"carl@example.com"}],"replyTo":[],)"
      R"("contentType":{"mediaType":"text","mediaSubtype":"plain",)"
      R"("parameters":{"charset":"utf-8","format":"flowed"}},)"
      R"("contentTransferEncoding":4,"contentLength":12,)"
      R"("plainTextBody":"Hello","htmlBody":null})"
      "\n");
}

TEST(AppendMessage, WritesFailuresAndIndentedObjects) {
  EXPECT_EQ(shown("", "file:///x", MessageFormat::kNewlineJson),
            "{\"url\":\"file:///x\",\"parsed\":false}\n");
  EXPECT_EQ(shown("\xFF", std::nullopt, MessageFormat::kJson),
            "{\n  \"url\": null,\n  \"parsed\": false\n}\n");
  EXPECT_EQ(shown("", "file:///x", MessageFormat::kText), "");
  const std::string indented =
      shown("Subject: ab\n\n", std::nullopt, MessageFormat::kJson);
  EXPECT_TRUE(
      indented.starts_with("{\n  \"url\": null,\n  \"parsed\": true,\n"
                           "  \"headers\": {\n    \"subject\": [\n"
                           "      \"ab\"\n    ]\n  },\n"))
      << indented;
}

TEST(AppendMessage, ShowsTextForReading) {
  const struct {
    std::string_view messageBytes, text;
  } cases[] = {
      {kMessage,
       "Subject: Grüße \"x\"\nFrom: Ann <ann@example.com>, bob@example.com\n"
       "To: carl@example.com\n\nHello\n"},
      {"MIME-Version: 1.0\nReply-To:  ,<ab@example.com>\n\n",
       "Reply-To: ab@example.com\n"},
      {"Subject: html\nContent-Type: text/html\n\n<p>One</p><p>Two</p>",
       "Subject: html\n\nOne\nTwo\n"},
      {"MIME-Version: 1.0\n\n", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(shown(c.messageBytes, std::nullopt, MessageFormat::kText),
              c.text);
  }
}

}  // namespace
}  // namespace quillhaven::cli
