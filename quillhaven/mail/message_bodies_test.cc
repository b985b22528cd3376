#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/mail/internal/body_decoding.h"
#include "quillhaven/mail/internal/message_bodies.h"
#include "quillhaven/mail/internal/multipart_walk.h"
#include "quillhaven/mail/testing/log_capture.h"

namespace quillhaven::mail {
namespace {

using testing_support::LogCapture;
using Text = std::optional<std::string>;
using Lines = std::vector<std::string>;

EmailMessageParser parsed(std::string_view bytes) {
  auto parser = EmailMessageParser::parserWithData(bytes);
  EXPECT_TRUE(parser) << bytes;
  return parser ? *std::move(parser) : EmailMessageParser();
}

// A message of type multipart/`subtype` with boundary "b".
std::string multipart(std::string_view body,
                      std::string_view subtype = "mixed") {
  return "Content-Type: multipart/" + std::string(subtype) +
         "; boundary=b\n\n" + std::string(body);
}

std::string part(std::string_view header, std::string_view body) {
  return "--b\n" + std::string(header) + "\n\n" + std::string(body) + "\n";
}

TEST(SinglePart, IsDecodedByItsHeader) {
  const struct {
    std::string_view header, body;
    Text plain, html;
  } cases[] = {
      {"", "Hello\n\n", "Hello", {}},
      {"", "\n\n", "", {}},
      {"", "", {}, {}},
      {"Content-Type: text/plain; charset=bogus\n"
       "Content-Transfer-Encoding: quoted-printable\n",
       "caf=C3=A9 =\r\n1=3D1",
       "caf\xC3\xA9 1=1",
       {}},
      {"Content-Type: text/plain; charset=ISO-8859-1\n"
       "Content-Transfer-Encoding: base64\n",
       "Y2Fm\n6Q==\n",
       "caf\xC3\xA9",
       {}},
      // Text that is not encoded is UTF-8, whatever it says.
      {"Content-Type: text/plain; charset=ISO-8859-1\n",
       "caf\xC3\xA9",
       "caf\xC3\xA9",
       {}},
      {"Content-Type: text/plain; charset=utf-8\n"
       "Content-Transfer-Encoding: base64\n",
       "/w==",
       {},
       {}},
      {"Content-Transfer-Encoding: x-uuencode\n", "Hello", {}, {}},
      {"Content-Type: text/html\n", "<p>a&#233;</p>b",
       "a\xC3\xA9"
       "b",
       "<p>a&#233;</p>b"},
      {"Content-Type: text/html; charset=us-ascii\n", "caf\xC3\xA9", "caf?",
       "caf\xC3\xA9"},
      {"Content-Type: text/html; charset=iso-8859-1\n",
       "<b>\xC3\xA9\xE2\x82\xAC</b>", "\xC3\xA9?",
       "<b>\xC3\xA9\xE2\x82\xAC</b>"},
      {"Content-Type: text/html\n", "a<!-- b -->c<!---->d<!-- e", "ac\n!---->d",
       "a<!-- b -->c<!---->d<!-- e"},
      {"Content-Type: application/pdf\n", "Hello", {}, {}},
      {"Content-Type: message/rfc822\n", "Subject: x\n\nHello", {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.header) + std::string(c.body));
    const EmailMessageParser parser = parsed(
        "Subject: xy\n" + std::string(c.header) + "\n" + std::string(c.body));
    EXPECT_EQ(parser.plainTextBody(), c.plain);
    EXPECT_EQ(parser.htmlBody(), c.html);
  }
}

TEST(Bodies, LogWhatIsLeftOut) {
  LogCapture log;
  const auto parse = [](std::string_view header, std::string_view body) {
    const auto parser = EmailMessageParser::initWithData(
        std::string(header) + "\n\n" + std::string(body), "file:///m");
    ASSERT_TRUE(parser);
    EXPECT_FALSE(parser->plainTextBody());
    EXPECT_FALSE(parser->htmlBody());
  };
  parse("Content-Type: text/calendar", "x");
  parse("Content-Type: text", "x");
  parse("Content-Type: multipart/digest; boundary=b", "--b\n\nx");
  parse("Content-Type: multipart", "");
  parse("Subject: xy\nContent-Transfer-Encoding: base64", "abc");
  EXPECT_EQ(log.lines(),
            (Lines{"*** Warning: Unknown subtype calendar. Ignoring.",
                   "*** Warning: Unknown subtype text. Ignoring.",
                   "*** Error: Unhandled multipart type: digest for url: "
                   "file:///m",
                   "*** Error: Unhandled multipart type: multipart for url: "
                   "file:///m",
                   "*** Error: parsing base64 encoded body part."}));
  // These are left out without a word.
  parse("Content-Type: multipart/report; boundary=b", part("A: b", "x"));
  parse("Content-Type: multipart/encrypted; boundary=b", part("A: b", "x"));
  parse("Content-Type: multipart/mixed", "x");
  EXPECT_EQ(log.lines().size(), 5U);
  EXPECT_TRUE(
      EmailMessageParser::initWithData("Content-Type: multipart/x\n\n"));
  EXPECT_EQ(log.lines().back(),
            "*** Error: Unhandled multipart type: x for url: (null)");
}

TEST(Multipart, CollectsTextPartsAndJoinsThem) {
  const std::string plain = part("Content-Type: text/plain", "one\n\n");
  const std::string plain2 = part("Content-Type: text/plain", "two\n");
  const std::string html = part("Content-Type: text/html", "<p>1</p>");
  const std::string html2 = part("Content-Type: text/html", "<p>2</p>");
  const std::string attached =
      part("Content-Type: message/rfc822", "Subject: in\n\ninner\n");
  const struct {
    std::string_view what;
    std::string body;
    Text plain, html;
  } cases[] = {
      {"plain and HTML", plain + html + "--b--\n", "one", "<p>1</p>\n"},
      {"no closing delimiter", plain, "one", {}},
      {"preamble and epilogue", "x\n" + plain + "--b--\n" + plain2, "one", {}},
      {"later bodies keep their newlines",
       plain + plain2 + "--b--",
       "one\n\ntwo\n\n",
       {}},
      {"a second HTML body takes the plain one with it", html + plain + html2,
       "one", "one\n\n<p>2</p>\n"},
      {"also without a plain one", html + html2, {}, "\n\n<p>2</p>\n"},
      {"attached messages come first",
       plain + attached,
       "inner\n\none\n\n\n",
       {}},
      {"a part without a type is dropped", "--b\n\nx\n" + plain, "one", {}},
      {"other types too",
       part("Content-Type: image/png", "x") + plain2,
       "two",
       {}},
      {"message/plain counts",
       part("Content-Type: message/plain", "x"),
       "x",
       {}},
      {"unknown encodings are taken as they are",
       part("Content-Type: text/plain\nContent-Transfer-Encoding: x-uuencode",
            "=41"),
       "=41",
       {}},
      {"unknown charsets stay unknown",
       part("Content-Type: text/plain; charset=bogus\n"
            "Content-Transfer-Encoding: quoted-printable",
            "=C3=A9 1%"),
       "=C3=A9 1%",
       {}},
      {"delimiters in any case, anywhere",
       "x--Bcontent-type: text/plain\n\none--b\nContent-Type: TEXT/HTML\n\nt",
       "one", "t"},
      {"the last header field without a blank line is lost",
       "--b\nA: bb\nContent-Type: text/plain\n--b--",
       {},
       {}},
      {"an attached message that is none",
       part("Content-Type: message/rfc822", "nothing\n\nx") + plain,
       "one",
       {}},
      {"an attached message with HTML",
       part("Content-Type: message/rfc822",
            "Content-Type: text/html\n\n<p>in</p>") +
           html + plain,
       "in\n\none\n\n\n", "in\n\none\n\n\n\n\n<p>1</p>\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LogCapture log;
    const EmailMessageParser parser = parsed(multipart(c.body));
    EXPECT_EQ(parser.plainTextBody(), c.plain);
    EXPECT_EQ(parser.htmlBody(), c.html);
  }
  for (std::string_view subtype : {"alternative", "related", "SIGNED"}) {
    EXPECT_EQ(parsed(multipart(plain, subtype)).plainTextBody(), "one");
  }
}

TEST(Multipart, FollowsNestedBoundaries) {
  const auto nested = [](std::string_view boundary, std::string_view parts) {
    return part("Content-Type: multipart/alternative; boundary=\"" +
                    std::string(boundary) + "\"",
                parts);
  };
  const std::string innerParts =
      "--In\nContent-Type: text/plain\n\nfirst\n--in\nContent-Type: text/html"
      "\n\n<i>\n--IN--\n";
  const std::string after = part("Content-Type: text/plain", "second");
  const struct {
    std::string_view what;
    std::string body;
    Text plain, html;
  } cases[] = {
      {"and comes back to the outer one",
       nested("in", innerParts) + after + "--b--", "first\n\nsecond\n",
       "<i>\n"},
      {"not without the closing delimiter",
       nested("in", "--in\nContent-Type: text/plain\n\nfirst") + after,
       "first\n--b\nContent-Type: text/plain\n\nsecond",
       {}},
      {"an equal boundary closes both",
       nested("B", "--b\nContent-Type: text/plain\n\nx\n--b--\n") + after,
       "x",
       {}},
      {"one that begins with the outer one",
       nested("bb", "--bb\nContent-Type: text/plain\n\nx\n--bb--\n") + after,
       "x\n\nsecond\n",
       {}},
      {"not of another type",
       part("Content-Type: text/plain; boundary=in", "x") + after,
       "x\n\nsecond\n",
       {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const EmailMessageParser parser = parsed(multipart(c.body));
    EXPECT_EQ(parser.plainTextBody(), c.plain);
    EXPECT_EQ(parser.htmlBody(), c.html);
  }
}

// The header at a delimiter reaches to the next blank line, over delimiters.
TEST(Multipart, ReadsHeadersBeyondDelimiters) {
  const std::string_view nested = "Content-Type: multipart/mixed; boundary=in";
  const std::string inside = "\n\n--in\nContent-Type: text/plain\n\nx";
  const struct {
    std::string_view what;
    std::string body;
    Text plain;
  } cases[] = {
      {"a later field", "--b\nA: bb\n--b\n" + std::string(nested) + inside,
       "x"},
      {"the last of two",
       "--b\n" + std::string(nested) + "\n--b\nContent-Type: text/plain\n\ny",
       "y"},
      {"a field that begins behind a delimiter",
       "--b\nA: bb\n--b" + std::string(nested) + inside, "x"},
      {"a carried value",
       "--b\nA: multipart/mixed; boundary=in\n--b\nContent-Type:" + inside,
       "x"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(parsed(multipart(c.body)).plainTextBody(), c.plain);
  }
}

TEST(AttachedMessages, AreFollowedToALimit) {
  const auto nest = [](int depth) {
    std::string message = "Subject: xy\n\ncore";
    for (int i = 0; i < depth; ++i) {
      const std::string boundary = "n" + std::to_string(i) + "e";
      message = "Content-Type: multipart/mixed; boundary=" + boundary +
                "\n\n--" + boundary + "\nContent-Type: message/rfc822\n\n" +
                message;
    }
    return message;
  };
  LogCapture log;
  EXPECT_EQ(parsed(nest(kMaximumAttachedMessageDepth)).plainTextBody(), "core");
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(parsed(nest(kMaximumAttachedMessageDepth + 1)).plainTextBody());
  EXPECT_EQ(log.lines(), Lines{"*** Warning: Attached messages are nested too "
                               "deeply. Ignoring: (null)"});
  EXPECT_FALSE(parsed(nest(2000)).plainTextBody());
}

TEST(Bodies, AreJoinedByTheirOwnOperations) {
  EmailMessageParser parser;
  parser.addPlainTextBody(std::nullopt);
  parser.addHTMLBody("");
  EXPECT_FALSE(parser.plainTextBody());
  EXPECT_FALSE(parser.htmlBody());
  parser.addPlainTextBody("\n");
  EXPECT_EQ(parser.plainTextBody(), "");
  parser.addPlainTextBody("a\n\n");
  parser.addPlainTextBody("b\n\n");
  EXPECT_EQ(parser.plainTextBody(), "a\n\nb\n\n");
  parser.addHTMLBody("<1>");
  EXPECT_EQ(parser.htmlBody(), "<1>");
  parser.addHTMLBody("<2>");
  EXPECT_EQ(parser.htmlBody(), "a\n\nb\n\n\n\n<2>");

  using Parser = EmailMessageParser;
  EXPECT_EQ(Parser::stringByRemovingNewlinesAtEndOfString(
                "a\n b\r\n\v\f\xC2\x85\xE2\x80\xA8\xE2\x80\xA9"),
            "a\n b");
  EXPECT_EQ(Parser::stringByRemovingNewlinesAtEndOfString("a \n "), "a \n ");
  EXPECT_EQ(Parser::stringByRemovingNewlinesAtEndOfString("\n\n"), "");
  EXPECT_FALSE(Parser::stringByRemovingNewlinesAtEndOfString(""));
  EXPECT_FALSE(Parser::stringByRemovingNewlinesAtEndOfString(std::nullopt));
}

TEST(Bodies, AreNotSharedOnceTextsAreAdded) {
  const EmailMessageParser original =
      parsed("Content-Type: text/html\n\n<p>a</p>");
  EmailMessageParser copy = original;
  copy.addPlainTextBody("b");
  copy.addHTMLBody("<2>");
  EXPECT_EQ(copy.plainTextBody(), "a\n\nb");
  EXPECT_EQ(copy.htmlBody(), "a\n\nb\n\n<2>");
  EXPECT_EQ(original.plainTextBody(), "a");
  EXPECT_EQ(original.htmlBody(), "<p>a</p>");
}

// The rules, followed at once and text by text.
struct SimpleBodies {
  void takePlainText(std::string text) {
    if (text.empty()) return;
    if (plain && !plain->empty()) {
      plain->append("\n\n").append(text);
    } else {
      plain = EmailMessageParser::stringByRemovingNewlinesAtEndOfString(text);
    }
  }
  void takeHTML(const std::string& text) {
    if (text.empty()) return;
    html = html ? plain.value_or("") + "\n\n" + text : text;
  }
  void takeAttached(const SimpleBodies& attached) {
    takePlainText(attached.plain.value_or(""));
    takeHTML(attached.html.value_or(""));
  }
  Text plain;
  Text html;
};

// Takes the same texts and attached messages, large and small ones by chance,
// in both ways.
std::pair<std::shared_ptr<internal::MessageBodies>, SimpleBodies> takenAtRandom(
    std::minstd_rand& random, int depth) {
  const auto choice = [&random](std::size_t count) { return random() % count; };
  const std::string texts[] = {"",
                               "\n",
                               "\r\n\n",
                               "a",
                               "b\n",
                               "<!--" + std::string(70'000, '-') + "-->",
                               std::string(70'000, 'c') + "\n",
                               std::string(40'000, 'd') + "\n\n"};
  const auto bodies = std::make_shared<internal::MessageBodies>();
  SimpleBodies simple;
  if (choice(4) == 0) {
    const std::string html = texts[choice(std::size(texts))];
    bodies->takeHTMLDocument(html, platform::kStringEncodingUTF8);
    simple.takePlainText(
        internal::plainTextOfHTML(html, platform::kStringEncodingUTF8));
    simple.takeHTML(html);
    return {bodies, simple};
  }
  for (auto i = choice(9); i > 0; --i) {
    const std::string text = texts[choice(std::size(texts))];
    const auto kind = choice(depth == 0 ? 3 : 5);
    if (kind <= 1) {
      bodies->takePlainText(text);
      simple.takePlainText(text);
    } else if (kind == 2) {
      bodies->takeHTML(text);
      simple.takeHTML(text);
    } else {
      auto [attached, simplyAttached] = takenAtRandom(random, depth - 1);
      bodies->takeAttached(std::move(attached));
      simple.takeAttached(simplyAttached);
    }
  }
  return {bodies, simple};
}

TEST(Bodies, AreJoinedLateLikeAtOnce) {
  std::minstd_rand random(1);
  for (int i = 0; i < 600; ++i) {
    const auto [bodies, simple] = takenAtRandom(random, 3);
    // Comparisons only, since a message with such texts is of no use.
    ASSERT_TRUE(bodies->html() == simple.html) << i;
    ASSERT_TRUE(bodies->plainText() == simple.plain) << i;
  }
}

TEST(DecodedText, HandsOutWhatIsAskedFor) {
  using Parser = EmailMessageParser;
  Text plain = "old";
  Text html = "old";
  EXPECT_TRUE(Parser::getDecodedTextForBodyPart(
      "a", ContentTransferEncoding::Binary, platform::kStringEncodingUTF8,
      false, &plain, &html));
  EXPECT_EQ(plain, "a");
  EXPECT_FALSE(html);
  EXPECT_TRUE(Parser::getDecodedTextForBodyPart(
      "", ContentTransferEncoding::SevenBit, platform::kStringEncodingUTF8,
      true, nullptr, &html));
  EXPECT_EQ(html, "");
  EXPECT_FALSE(Parser::getDecodedTextForBodyPart(
      "a", ContentTransferEncoding::Unknown, platform::kStringEncodingUTF8,
      false, &plain, nullptr));
  EXPECT_FALSE(plain);
  // HTML in an unknown charset has no plain text to derive.
  EXPECT_TRUE(Parser::getDecodedTextForBodyPart(
      "<p>a", ContentTransferEncoding::EightBit,
      platform::kStringEncodingInvalid, true, &plain, &html));
  EXPECT_EQ(plain, "");
  EXPECT_EQ(html, "<p>a");
}

}  // namespace
}  // namespace quillhaven::mail
