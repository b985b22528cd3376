#include "quillhaven/mail/email_message_parser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "quillhaven/mail/testing/log_capture.h"
#include "quillhaven/platform/base/file_url.h"

namespace quillhaven::mail {
namespace {

using testing_support::LogCapture;
using Values = std::vector<std::string>;

EmailMessageParser parsed(std::string_view bytes) {
  auto parser = EmailMessageParser::parserWithData(bytes);
  EXPECT_TRUE(parser) << bytes;
  return parser ? *std::move(parser) : EmailMessageParser();
}

Values valuesOf(const EmailMessageParser& parser, std::string_view name) {
  const auto values = parser.valuesForHeaderFieldName(name);
  if (!values) return {};
  return {values->begin(), values->end()};
}

TEST(Headers, AreUnfoldedDecodedAndCollapsed) {
  const struct {
    std::string_view header, name;
    Values values;
  } cases[] = {
      {"Subject: Hello", "subject", {"Hello"}},
      {"SUBJECT:\t Hello \t World  ", "subject", {"Hello World "}},
      {"Subject: aa\n b\n\tc", "subject", {"aa b c"}},
      {"Subject: aa\n   b  \n ", "subject", {"aa b"}},
      {"Subject: aa\n  \n c", "subject", {"aa c"}},  // a line of blanks
      {"Subject: aa\xC2\xA0\xE3\x80\x80"
       "b",
       "subject",
       {"aa b"}},
      {"Subject: aa\n\xC2\xA0"
       "bb",
       "subject",
       {"aa bb"}},
      {"Subject: =?UTF-8?B?w6k=?=\n =?UTF-8?B?w6g=?=",
       "subject",
       {"\xC3\xA9\xC3\xA8"}},
      {"Subject: Re:\n =?UTF-8?Q?a?= b\n c", "subject", {"Re:a b c"}},
      {"Subject: x\n =?no-such?Q?a?=", "subject", {""}},  // "x" is too short
      {"Subject: xx\n =?no-such?Q?a?=", "subject", {"xx a"}},
      {"Subject : xx", "subject ", {"xx"}},  // names keep blanks
      {"\xC3\x89t\xC3\xA9: xx", "\xC3\xA9t\xC3\xA9", {"xx"}},
      {"Received: 1a\nReceived: 2b", "received", {"1a", "2b"}},
      {"Subject: \xF0\x9F\x98\x80", "subject", {"\xF0\x9F\x98\x80"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.header));
    EXPECT_EQ(
        valuesOf(parsed(std::string(c.header) + "\nMIME-Version: 1.0\n\n"),
                 c.name),
        c.values);
  }
}

// Sixteen bytes of a line are looked at together.
TEST(Headers, AreReadAlikeAtEveryOffset) {
  const struct {
    std::string_view text, read;
  } cases[] = {
      {"", ""},
      {" ", " "},
      {"  ", " "},
      {"\t", " "},
      {"\xC2\xA0", " "},
      {" \xE3\x80\x80", " "},
      {"\xC2\xA1", "\xC2\xA1"},
      {"\xE2\x80\xA6", "\xE2\x80\xA6"},  // begins like U+2028
      {"=?utf-8?Q?b?=", "b"},
      {"=\n ?utf-8?Q?b?=", "= ?utf-8?Q?b?="},
      {"\n b", " b"},
      {" \n\tb", " b"},
      {"\r\n  b  \r\n c", " b c"},
      {"\n =?utf-8?Q?b?=", "b"},
      {": :", ": :"},
  };
  for (const auto& c : cases) {
    for (std::size_t count = 2; count < 36; ++count) {
      const std::string around(count, 'a');
      const std::string message = "Subject: " + around + std::string(c.text) +
                                  around + "\nX-Next: " + around + "\n\n";
      SCOPED_TRACE(testing::PrintToString(message));
      const EmailMessageParser parser = parsed(message);
      EXPECT_EQ(parser.subject(), around + std::string(c.read) + around);
      EXPECT_EQ(valuesOf(parser, "x-next"), Values{around});
    }
  }
}

// A field without a value of two units is stored with the one before it.
TEST(Headers, CarryThePendingValue) {
  const struct {
    std::string_view header, name;
    Values values;
  } cases[] = {
      {"Subject: Hello\nX-Priority: 3", "x-priority", {"Hello"}},
      {"Subject: Hello\nX-Priority:", "x-priority", {"Hello"}},
      {"Subject: Hello\nX-Priority:   ", "x-priority", {"Hello"}},
      {"Subject: Hello\nno colon", "no colon", {"Hello"}},
      {"Subject: Hello\nX-Euro: \xE2\x82\xAC", "x-euro", {"Hello"}},
      {"Subject: Hello\n: line", "subject", {"Hello", "Hello"}},
      {"X-First: 1\nSubject: Hello", "x-first", {""}},  // nothing to carry
      {"X-First: 1\n more", "x-first", {""}},           // nor to continue
      {"Subject: Hello\nX-Priority: 3\n more", "x-priority", {"Hello more"}},
      {"Subject: Hello\nX-Priority: 3\n more", "subject", {"Hello"}},
      {"Subject: Hello\nX-A: 3\n more\nX-B: 4", "x-b", {"Hello more"}},
      {": first\nSubject: Hello", "subject", {"Hello"}},
      // The value is carried decoded, and decoded again.
      {"Subject: =?utf-8?Q?=3D=3Futf-8=3FQ=3Fa=3F=3D?=\nX-A: 3\nX-B: 4",
       "subject",
       {"=?utf-8?Q?a?="}},
      {"Subject: =?utf-8?Q?=3D=3Futf-8=3FQ=3Fa=3F=3D?=\nX-A: 3\nX-B: 4",
       "x-a",
       {"a"}},
      {"Subject: =?utf-8?Q?a=09=20b?=\nX-A: 3", "x-a", {"a b"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.header);
    EXPECT_EQ(
        valuesOf(parsed(std::string(c.header) + "\nMIME-Version: 1.0\n\n"),
                 c.name),
        c.values);
  }
}

// New names and known ones, with own values and carried ones, while the table
// grows from a few fields to thousands.
TEST(Headers, CarryValuesInTablesOfAnySize) {
  std::string message = "Subject: Hello\n";
  std::vector<std::pair<std::string, Values>> expected = {
      {"subject", {"Hello"}}};
  std::unordered_map<std::string, std::size_t> places = {{"subject", 0}};
  std::string value = "Hello";
  constexpr std::size_t kMostLines = 9000;
  for (std::size_t i = 1; i < kMostLines; ++i) {
    // Every third is one of those before.
    const std::size_t number = i % 3 == 0 ? i * 7919 % i : i;
    const std::string name = "x" + std::to_string(number);
    message += name + ':';
    if (i % 5 < 2 || i % 11 == 0) {
      value = std::string(2 + i * 31 % 300, 'v') + std::to_string(i % 4);
      message += ' ' + value;
    }
    message += '\n';
    const auto [place, isNew] = places.try_emplace(name, expected.size());
    if (isNew) expected.push_back({name, {}});
    expected[place->second].second.push_back(value);

    if (i != 40 && i != 60 && i != 1000 && i + 1 != kMostLines) continue;
    const EmailMessageParser parser = parsed(message + "\n");
    const HeaderTable& table = parser.headerDictionary();
    ASSERT_EQ(table.size(), expected.size());
    for (std::size_t field = 0; field < expected.size(); ++field) {
      SCOPED_TRACE(expected[field].first);
      ASSERT_EQ(table.nameAt(field), expected[field].first);
      ASSERT_EQ(valuesOf(parser, expected[field].first),
                expected[field].second);
    }
  }
}

TEST(Headers, StopCarryingWhatWouldGrowWithoutBound) {
  // Every field continues the value of the one before: together n squared.
  std::string message = "Subject: " + std::string(10000, 'x') + "\n";
  for (int i = 0; i < 10000; ++i) message += "A:\n b\n";
  const EmailMessageParser parser = parsed(message + "\n");
  const auto values = parser.valuesForHeaderFieldName("a");
  ASSERT_TRUE(values);
  EXPECT_EQ(values->size(), 10000U);
  EXPECT_EQ(values->front().size(), 10002U);
  EXPECT_LT(values->back().size(), 11000U);

  // Every field has the value of the first: together n squared too.
  message = "Subject: " + std::string(100000, 'x') + "\n";
  for (int i = 0; i < 10000; ++i) message += "Subject\n";
  const auto subject = parsed(message + "\n").subject();
  ASSERT_TRUE(subject);
  EXPECT_GT(subject->size(), 1000000U);
  EXPECT_LT(subject->size(), 6000000U);
}

TEST(Headers, EndAtABlankLineAndLoseTheLastFieldWithoutOne) {
  const EmailMessageParser cut = parsed("Subject: Hello\nX-Lost: yes\n");
  EXPECT_EQ(valuesOf(cut, "subject"), Values{"Hello"});
  EXPECT_FALSE(cut.valuesForHeaderFieldName("x-lost"));

  for (const std::string_view lineBreak :
       {"\n", "\r\n", "\r", "\n\r", "\v", "\f", "\xC2\x85", "\xE2\x80\xA8",
        "\xE2\x80\xA9"}) {
    SCOPED_TRACE(testing::PrintToString(lineBreak));
    const std::string br(lineBreak);
    const EmailMessageParser parser =
        parsed("Subject: Hello" + br + "X-A: bb" + br + br + "X-B: cc");
    EXPECT_EQ(valuesOf(parser, "x-a"), Values{"bb"});
    EXPECT_FALSE(parser.valuesForHeaderFieldName("x-b"));
    EXPECT_EQ(parser.plainTextBody(), "X-B: cc");
  }
  // "\n\r\n" is one break and the next.
  EXPECT_EQ(parsed("Subject: Hello\n\r\nbody").plainTextBody(), "body");
}

TEST(Headers, MustHoldOneOfThreeFields) {
  for (std::string_view field : {"Subject", "CONTENT-TYPE", "mime-version"}) {
    EXPECT_TRUE(
        EmailMessageParser::parserWithData(std::string(field) + ": x\n\n"));
  }
  LogCapture log;
  EXPECT_FALSE(EmailMessageParser::parserWithData("From: x\n\nSubject: y\n\n"));
  EXPECT_FALSE(EmailMessageParser::initWithData("\nSubject: y\n\n",
                                                "file:///a%20b.eml"));
  EXPECT_EQ(log.lines(),
            (Values{"*** Error: Email header is invalid: (null)",
                    "*** Error: Email header is invalid: file:///a%20b.eml"}));
}

TEST(Messages, ThatAreNoTextFailSilently) {
  LogCapture log;
  for (std::string_view bytes : {"", "Subject: caf\xE9\n\n",
                                 "Subject: x\n\n\xFF", "0\nSubject: xy\n\n"}) {
    EXPECT_FALSE(EmailMessageParser::parserWithData(bytes)) << bytes;
  }
  EXPECT_FALSE(EmailMessageParser::parserWithURLContentsOfURL(
      "file:///no/such/file.eml"));
  EXPECT_FALSE(EmailMessageParser::parserWithURLContentsOfURL("no url"));
  EXPECT_TRUE(log.lines().empty());
}

TEST(Messages, AreReadFromFiles) {
  const std::filesystem::path path =
      std::filesystem::path(testing::TempDir()) / "a b.eml";
  std::ofstream(path) << "Subject: Hello\n\nbody";
  const std::string url = platform::fileURLFromPath(path.string());
  const auto parser = EmailMessageParser::parserWithURLContentsOfURL(url);
  ASSERT_TRUE(parser);
  EXPECT_EQ(parser->url(), url);
  EXPECT_EQ(parser->plainTextBody(), "body");
  std::filesystem::remove(path);
}

TEST(LengthLine, CutsTheMessageOrIsPassedOver) {
  const struct {
    std::string_view bytes;
    std::optional<std::string_view> body;
  } cases[] = {
      {"17\nSubject: xy\n\nbody-more", "body"},
      {" 17\t\nSubject: xy\n\nbody-more", "body"},
      {"17\r\n \n\nSubject: xy\n\nbody-more", "body"},
      {"17\nSubject: xy\n\nbody", "body"},  // no byte more
      {"18\nSubject: xy\n\nbody", "body"},  // fewer
      {"99999999999999999999999\nSubject: xy\n\nbody", "body"},
      {"16\nSubject: xy\n\nbody-more", "bod"},
      {"+17\nX:\nSubject: xy\n\nbody", "body"},  // a header line
      {"1,7\nSubject: xy\n\nbody", "body"},
      {"17:\nSubject: xy\n\nbody", "body"},
      {"14\nSubject: xy\n\n\xC3\xA9\xC3\xA9", {}},  // cut inside a character
      {"15\nSubject: xy\n\n\xC3\xA9\xC3\xA9", "\xC3\xA9"},
      // Counted in UTF-16 units the wide blank is one byte, and the cut begins
      // within it.
      {"17\n\xE2\x80\x83Subject: xy\n\nbody-more", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    const auto parser = EmailMessageParser::parserWithData(c.bytes);
    ASSERT_EQ(parser.has_value(), c.body.has_value());
    if (parser) {
      EXPECT_EQ(parser->plainTextBody(), c.body);
    }
  }
}

TEST(Addresses, AreSplitAtEveryComma) {
  using Address = EmailMessageParserAddress;
  const struct {
    std::string_view value;
    std::vector<Address> addresses;
  } cases[] = {
      {"a@x, b@y", {{{}, "a@x"}, {{}, " b@y"}}},
      {"\"Doe, John\" <j@x>", {{{}, "\"Doe"}, {"John", "j@x"}}},
      {"John \"J\" Doe <j@x>", {{"John \"J\" Doe", "j@x"}}},
      {" <j@x>", {{{}, "j@x"}}},
      {"<j@x> John", {{{}, "j@x"}}},
      {"\"\" <j@x>", {{"", "j@x"}}},
      {"John <>", {{"John", "John <>"}}},
      {"John <j@x", {{{}, "John <j@x"}}},
      {"a> b <c", {{"a> b", "c"}}},  // the only ">" stands before "<"
      {"a <b<c>d>", {{"a", "b<c"}}},
      {"aa,,", {{{}, "aa"}, {{}, ""}, {{}, ""}}},
      {"undisclosed: ;", {{{}, "undisclosed: ;"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(parsed("Subject: x\nTo: " + std::string(c.value) + "\n\n").to(),
              c.addresses);
  }
  const EmailMessageParser parser = parsed(
      "Subject: s1\nSubject: s2\nFrom: ab\nReply-To: cd\nReply-To: ef\n\n");
  EXPECT_EQ(parser.subject(), "s1 s2");
  EXPECT_EQ(parser.from(), (std::vector<Address>{{{}, "ab"}}));
  EXPECT_EQ(parser.replyTo(), (std::vector<Address>{{{}, "cd"}, {{}, "ef"}}));
  EXPECT_TRUE(parser.to().empty());
  EXPECT_FALSE(parsed("MIME-Version: 1.0\n\n").subject());
}

TEST(ContentType, IsTakenApart) {
  const struct {
    std::string_view value, type, subtype;
    ContentTypeParameters parameters;
  } cases[] = {
      {"Multipart/Mixed; Boundary=\"AbC\"",
       "multipart",
       "mixed",
       {{"boundary", "abc"}}},
      {"text", "text", "text", {}},
      {"", "", "", {}},
      {" a / b / c ; x=1", "a ", " c", {{"x", "1"}}},
      {"text/plain; charset", "text", "plain", {}},
      {"text/plain; charset=; x=\"\"; =y; z = \"q r\" ",
       "text",
       "plain",
       {{"x", ""}, {"z", "q r"}}},
      {"text/plain; a=1; A=2", "text", "plain", {{"a", "2"}}},
      {"text/plain; a=\"x;y\"", "text", "plain", {{"a", "x"}}},
      {"text/plain; a=b=c;;", "text", "plain", {{"a", "b=c"}}},
      {"text/plain; \xC3\x89=\xC3\x80",
       "text",
       "plain",
       {{"\xC3\xA9", "\xC3\xA0"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    std::string type = "old";
    std::string subtype = "old";
    EXPECT_EQ(
        EmailMessageParser::parseContentTypeField(c.value, &type, &subtype),
        c.parameters);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(subtype, c.subtype);
    EXPECT_EQ(EmailMessageParser::parseContentTypeField(c.value), c.parameters);
  }
}

TEST(TransferEncoding, IsNormalisedAndNumbered) {
  const struct {
    std::string_view value, normalised;
    int number;
  } cases[] = {
      {"7bit", "7bit", 1},
      {"8BIT", "8bit", 2},
      {"\"Base64\";", "base64", 4},
      {"7-bit", "7bit", 1},
      {"8-Bit ;", "8bit", 2},
      {"binary", "binary", 5},
      {"Quoted-Printable", "quoted-printable", 3},
      {"x-uuencode", "x-uuencode", 0},
      {"8-8-bitbit", "8-8bitbit", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const EmailMessageParser parser = parsed(
        "Subject: x\nContent-Transfer-Encoding: 7bit\n"
        "Content-Transfer-Encoding: " +
        std::string(c.value) + "\n\n");
    EXPECT_EQ(parser._headerContentTransferEncoding(),
              (Values{"7bit", std::string(c.normalised)}));
    EXPECT_EQ(static_cast<int>(parser.headerContentTransferEncoding()),
              c.number);
  }
  using Parser = EmailMessageParser;
  EXPECT_EQ(Parser::contentTransferEncodingForString(" \n\"BASE64\" "),
            ContentTransferEncoding::Base64);
  EXPECT_EQ(Parser::contentTransferEncodingForString("\" base64\""),
            ContentTransferEncoding::Unknown);
  EXPECT_EQ(Parser::contentTransferEncodingForString("8-bit"),
            ContentTransferEncoding::Unknown);
}

TEST(ScannerHelpers, ReadBlockAfterBlock) {
  EXPECT_FALSE(EmailMessageParser::messageScannerForString(""));
  auto scanner =
      EmailMessageParser::messageScannerForString("A: bb\r\n\r\nC: dd\nE: ff");
  ASSERT_TRUE(scanner);
  const HeaderTable first =
      EmailMessageParser::scanHeaderAtCurrentPositionInScanner(*scanner);
  EXPECT_EQ(first.find("a")->front(), "bb");
  EXPECT_EQ(scanner->rest(), "\r\nC: dd\nE: ff");
  EmailMessageParser::skipToNextNewlineInScanner(*scanner);
  EmailMessageParser::skipToNextNewlineInScanner(*scanner);  // none here
  EXPECT_EQ(scanner->rest(), "C: dd\nE: ff");
  const HeaderTable second =
      EmailMessageParser::scanHeaderAtCurrentPositionInScanner(*scanner);
  EXPECT_EQ(second.size(), 1U);
  EXPECT_TRUE(scanner->isAtEnd());
  EXPECT_TRUE(EmailMessageParser::scanHeaderAtCurrentPositionInScanner(*scanner)
                  .empty());
}

TEST(Accessors, GiveDefaults) {
  const EmailMessageParser parser = parsed("Subject: x\n\n");
  EXPECT_EQ(parser.headerContentType(), "text/plain; charset=us-ascii");
  EXPECT_EQ(parser._headerContentType().size(), 1U);
  EXPECT_EQ(parser._headerContentTransferEncoding(), Values{"7bit"});
  EXPECT_EQ(parser.contentLength(), 0);
  EXPECT_FALSE(parser._contentLength());
  EXPECT_FALSE(EmailMessageParser().subject());

  const EmailMessageParser full = parsed(
      "Content-Type: text/plain\nContent-Type: text/html\n"
      "Content-Length: 12\nContent-Length: -34x\n\n");
  EXPECT_EQ(full.headerContentType(), "text/html");
  EXPECT_EQ(full._headerContentType().size(), 2U);
  EXPECT_EQ(full.contentLength(), -34);
  EXPECT_EQ(full._contentLength()->size(), 2U);
  // Parsing fills neither of these.
  EXPECT_FALSE(full.contentType());
  EXPECT_EQ(full.contentTransferEncoding(), ContentTransferEncoding::Unknown);
}

TEST(Messages, CutOffAtEveryByteNeverFail) {
  const std::string message =
      "120\nFrom: =?utf-8?Q?J=C3=B6rg?= <j@x>\nSubject: =?utf-8?B?w6k=?=\n"
      " =?utf-8?Q?a?=\nContent-Type: multipart/mixed; boundary=\"b\"\n\n--b\n"
      "Content-Type: text/html\nContent-Transfer-Encoding: base64\n\nPGI+eA==\n"
      "--b\nContent-Type: message/rfc822\n\nSubject: in\n\nbody\n--b--\n";
  LogCapture log;
  for (std::size_t size = 0; size <= message.size(); ++size) {
    const std::string cut = message.substr(0, size);
    for (const std::string& bytes :
         {cut, cut.substr(std::min(size, size_t{4}))}) {
      const auto parser = EmailMessageParser::parserWithData(bytes);
      if (parser) static_cast<void>(parser->from());
    }
  }
}

}  // namespace
}  // namespace quillhaven::mail
