#include "cli/eval_command.h"
#include "cli/command.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "cli/eval_line.h"
#include "cli/eval_operation.h"
#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::cli {
namespace {

struct Case {
  std::string line, answer;
};

template <std::size_t count>
void expectAnswers(const Case (&cases)[count]) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line.substr(0, 200));
    EXPECT_EQ(evalAnswer(c.line), c.answer);
  }
}

TEST(EvalAnswer, RunsEveryMailOperation) {
  expectAnswers({
      {R"({"op":"isMimeEncodedString","text":"=?utf-8?Q?a?="})",
       R"({"result":true})"},
      {R"({"op":"stringWithMimeEncodedString","text":"=?utf-8?Q?=C3=A9?= b"})",
       R"({"result":"é b"})"},
      {R"({"op":"alternativeTextEncodingsForEncoding","encoding":2352})",
       R"({"result":[1585,1586,2563,2569,2566]})"},
      {R"({"op":"alternativeTextEncodingsForEncoding","encoding":0})",
       R"({"result":null})"},
      {R"({"op":"encodingForIANAName","text":"UTF-8"})",
       R"({"result":134217984})"},
      {R"({"op":"encodingForIANAName","text":"none such"})",
       R"({"result":4294967295})"},
      {R"({"op":"parserWithData","dataBase64":"AA=="})",
       R"({"result":{"url":null,"parsed":false}})"},
      {R"({"op":"parseContentTypeField","text":"Text/HTML; Charset=\"UTF-8\""})",
       R"({"result":{"mediaType":"text","mediaSubtype":"html",)"
       R"("parameters":{"charset":"utf-8"}}})"},
      {R"({"op":"contentTransferEncodingForString","text":"base64"})",
       R"({"result":4})"},
      {R"({"op":"stringByRemovingNewlinesAtEndOfString","text":"a\n\n"})",
       R"({"result":"a"})"},
      {R"({"op":"stringByRemovingNewlinesAtEndOfString","text":"\n"})",
       R"({"result":""})"},
      {R"({"op":"stringByRemovingNewlinesAtEndOfString","text":null})",
       R"({"result":null})"},
  });
  // "Subject: ab", an empty line and "x".
  const std::string message = evalAnswer(
      R"({"op":"parserWithData","dataBase64":"U3ViamVjdDogYWIKCng="})");
  EXPECT_TRUE(message.starts_with(
      R"({"result":{"url":null,"parsed":true,"headers":{"subject":["ab"]},)"))
      << message;
  EXPECT_TRUE(message.ends_with(R"("plainTextBody":"x","htmlBody":null}})"))
      << message;
}

TEST(EvalAnswer, RunsEveryConcurrencyOperation) {
  expectAnswers({
      {R"({"op":"chunked","elements":[1,"b",null,[2],{"c":3}],"into":2})",
       R"({"result":[[1,"b"],[null,[2]],[{"c":3}]]})"},
      {R"({"op":"chunked","elements":[1],"into":18446744073709551615})",
       R"({"result":[[1]]})"},
      {R"({"op":"chunked","elements":[],"into":1})", R"({"result":[]})"},
      {R"({"op":"chunked","elements":[1],"into":2.0})",
       R"j({"error":"argument \"into\" must be an integer (got 2.0)"})j"},
      {R"({"op":"chunked","elements":{},"into":2})",
       R"j({"error":"argument \"elements\" must be a list (got object)"})j"},
      {R"({"op":"chunked","elements":[1]})",
       R"({"error":"argument \"into\" is missing"})"},
  });
  platform::setFatalErrorHandler(
      [](std::string_view rule) { throw EvalError(std::string(rule)); });
  for (const char* size : {"0", "-1"}) {
    EXPECT_EQ(
        evalAnswer(std::string(R"({"op":"chunked","elements":[1],"into":)")
                       .append(size)
                       .append("}")),
        R"({"error":"the size of chunks must be positive"})");
  }
  platform::setFatalErrorHandler(nullptr);
}

TEST(EvalAnswer, RunsEveryHTMLOperation) {
  expectAnswers({
      {R"({"op":"gtm_stringByEscapingForHTML","text":"<é>"})",
       R"({"result":"<é>"})"},
      {R"({"op":"gtm_stringByEscapingForAsciiHTML","text":"<é>"})",
       R"({"result":"<&#233;>"})"},
      {R"({"op":"gtm_stringByUnescapingFromHTML","text":"&#233;&amp;"})",
       R"({"result":"é&amp;"})"},
      {R"({"op":"stringByConvertingHTMLToPlainText","text":"<p>A</p><p>B</p>"})",
       R"({"result":"A B "})"},
      {R"({"op":"stringByConvertingPlainTextToHTML","text":"a\n\nb"})",
       R"({"result":"<div>a</div><div><br /></div><div>b</div>"})"},
      {R"({"op":"stringByDecodingHTMLEntities","text":"&#x41;"})",
       R"({"result":"A"})"},
      {R"({"op":"stringWithNewLinesAsBRs","text":"a\r\nb"})",
       R"({"result":"a<br />b"})"},
      {R"({"op":"stringByRemovingNewLinesAndWhitespace","text":" a \n b "})",
       R"({"result":"a b"})"},
      {R"({"op":"stringByRemovingNewlinesAndWhitespace","text":" a \n b "})",
       R"({"result":"a b"})"},
      {R"({"op":"stringByLinkifyingURLs","text":"no link"})",
       R"({"result":"no link"})"},
      {R"({"op":"stringByStrippingTags","text":"<b>a</b>"})",
       R"({"result":"a"})"},
      {R"({"op":"stringByConvertingPlainTextToHTMLWithParagraphTag",)"
       R"("text":"a\n\nb","tag":"p"})",
       R"({"result":"<p>a</p><p>b</p>"})"},
      {R"({"op":"stringByEncodingHTMLEntities","text":"é"})",
       R"({"result":"&#233;"})"},
      {R"({"op":"stringByEncodingHTMLEntities","text":"é","isUnicode":true})",
       R"({"result":"é"})"},
      {R"({"op":"stringByEncodingHTMLEntities","text":"é","isUnicode":null})",
       R"({"result":"&#233;"})"},
      {R"({"op":"containsHTMLTag","text":"<b>x</b>"})", R"({"result":true})"},
      {R"({"op":"isInlineTag","text":"div"})", R"({"result":false})"},
      {R"({"op":"peekNextTag","text":"<P class=x>"})", R"({"result":"p"})"},
      {R"({"op":"peekNextTag","text":""})", R"({"result":null})"},
      // "<p>" and the byte E9, which is not UTF-8.
      {R"({"op":"stringWithHTMLData","dataBase64":"PHA+6Q==",)"
       R"("textEncodingName":"iso-8859-1"})",
       R"({"result":"é\n"})"},
      {R"({"op":"stringWithHTMLData","dataBase64":"PHA+6Q=="})",
       R"({"result":""})"},
      {R"({"op":"stringWithHTMLData","dataBase64":"PHA+YQ==",)"
       R"("textEncodingName":"none such"})",
       R"({"result":""})"},
      {R"({"op":"dictionaryOfAttributesFromTag","text":"<a b=\"c\" d='e'>"})",
       R"({"result":{"b":"c","d":"e"}})"},
      {R"({"op":"dictionaryOfAttributesFromTag","text":"<a>"})",
       R"({"result":null})"},
      {R"({"op":"integerValueFromHex","text":"0xfF"})", R"({"result":255})"},
  });
  const std::string link = evalAnswer(
      R"({"op":"stringByLinkifyingURLs","text":"http://a.example"})");
  EXPECT_NE(link.find("linkified"), std::string::npos) << link;
}

TEST(EvalAnswer, ExplainsWhatIsWrongWithALine) {
  const std::string kNumber =
      "argument \"encoding\" must be an integer from 0 to 4294967295 (got ";
  const std::string kAlternatives =
      R"({"op":"alternativeTextEncodingsForEncoding","encoding":)";
  const struct {
    std::string line, error;
  } cases[] = {
      {"",
       "line is not JSON: syntax error while parsing value - unexpected end of "
       "input; expected '[', '{', or a literal"},
      {"{\"op\":\"long text",
       "line is not JSON: syntax error while parsing value - invalid string: "
       "missing closing quote"},
      {"{\"op\":\"\xFF\"}",
       "line is not JSON: syntax error while parsing value - invalid string: "
       "ill-formed UTF-8 byte"},
      {R"([{"op":"isInlineTag"}])", "line is not an object"},
      {"{}", "argument \"op\" is missing"},
      {R"({"op":7})", "argument \"op\" must be a string (got number)"},
      {R"({"op":"x\"y"})", "unknown operation \"x\"y\""},
      {R"({"op":"isInlineTag"})", "argument \"text\" is missing"},
      {R"({"op":"isInlineTag","text":null})",
       "argument \"text\" must be a string (got null)"},
      {R"({"op":"stringByRemovingNewlinesAtEndOfString"})",
       "argument \"text\" is missing"},
      {R"({"op":"stringByRemovingNewlinesAtEndOfString","text":[]})",
       "argument \"text\" must be a string or null (got array)"},
      {R"({"op":"stringByEncodingHTMLEntities","text":"","isUnicode":1})",
       "argument \"isUnicode\" must be true or false (got number)"},
      {R"({"op":"stringWithHTMLData","dataBase64":"","textEncodingName":{}})",
       "argument \"textEncodingName\" must be a string (got object)"},
      {R"({"op":"parserWithData","dataBase64":"QQ"})",
       "argument \"dataBase64\" is not Base64"},
      {kAlternatives + "4294967296}", kNumber + "4294967296)"},
      {kAlternatives + "-1}", kNumber + "-1)"},
      {kAlternatives + "1.5}", kNumber + "1.5)"},
      {kAlternatives + "\"1\"}", kNumber + "string)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    std::string expected = R"({"error":)";
    appendJsonString(expected, c.error);
    EXPECT_EQ(evalAnswer(c.line), expected + "}");
  }
  // A fault found in an object is answered with its id; the last of two equal
  // names counts.
  expectAnswers({
      {R"({"id":1})", R"({"error":"argument \"op\" is missing","id":1})"},
      {R"({"op":"stringByStrippingTags","text":"a","text":"b"})",
       R"({"result":"b"})"},
  });
}

TEST(EvalAnswer, CopiesTheIdAsItWasWritten) {
  const std::string kStart =
      R"({"op":"gtm_stringByEscapingForHTML","text":"{\"id\":0}",)";
  const struct {
    std::string_view member, id;
  } cases[] = {
      {R"("id" : 7 )", "7"},
      {R"("id":"a,}\"é\u00e9")", R"("a,}\"é\u00e9")"},
      {R"("id":null)", "null"},
      {R"("id":1234567890123456789012.50)", "1234567890123456789012.50"},
      {R"("id":{"b":[1, {"id":2}],"a":{}})", R"({"b":[1, {"id":2}],"a":{}})"},
      {R"("id":1,"other":{"id":3},"id":2)", "2"},
      {R"("i\u0064":4)", "4"},
      {R"("id":"\udc00")", R"("\ufffd")"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.member);
    EXPECT_EQ(evalAnswer(kStart + std::string(c.member) + "}"),
              R"({"result":"{\"id\":0}","id":)" + std::string(c.id) + "}");
  }
}

TEST(EvalAnswer, ReadsUnpairedSurrogatesAsReplacementCharacters) {
  const struct {
    std::string_view text, result;
  } cases[] = {
      {R"(\ud83d\ude00)", "😀"},
      {R"(\uD800)", "\uFFFD"},
      {R"(a\udfffb)", "a\uFFFDb"},
      {R"(\ud83d\ud83d\ude00)", "\uFFFD😀"},
      {R"(\ude00\ud83d)", "\uFFFD\uFFFD"},
      {R"(\ud83d\n)", R"(�\n)"},
      {R"(\\ud800\\)", R"(\\ud800\\)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(evalAnswer(R"({"op":"gtm_stringByEscapingForHTML","text":")" +
                         std::string(c.text) + "\"}"),
              R"({"result":")" + std::string(c.result) + "\"}");
  }
}

TEST(EvalAnswer, BoundsNestingAndSurvivesCutLines) {
  const auto nested = [](std::size_t depth) {
    return R"({"op":"isInlineTag","text":"b","x":)" + std::string(depth, '[') +
           std::string(depth, ']') + "}";
  };
  const std::string kTooDeep =
      R"({"error":"line nests deeper than 512 levels"})";
  EXPECT_EQ(evalAnswer(nested(511)), R"({"result":true})");
  EXPECT_EQ(evalAnswer(nested(512)), kTooDeep);
  EXPECT_EQ(evalAnswer(nested(1000000)), kTooDeep);
  EXPECT_EQ(evalAnswer(std::string(1000000, '[')), kTooDeep);

  const std::string whole =
      R"({"id":"\ud83d\ude00","op":"isInlineTag","text":"\u0062\\"})";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string answer = evalAnswer(whole.substr(0, size));
    EXPECT_TRUE(answer.starts_with(R"({"error":"line is not JSON: )"))
        << size << answer;
  }
}

TEST(ThrowFatalErrors, LetsTheProcessGoOn) {
  throwFatalErrors();
  try {
    platform::fatalError("length is negative");
  } catch (const FatalError& error) {
    EXPECT_STREQ(error.what(), "length is negative");
  }
  platform::setFatalErrorHandler(nullptr);
}

TEST(BytesFromBase64, AcceptsThePaddedStandardAlphabetOnly) {
  using namespace std::string_view_literals;
  const struct {
    std::string_view text, bytes;
  } accepted[] = {
      {"", ""},
      {"YQ==", "a"},
      {"YWI=", "ab"},
      {"YWJj", "abc"},
      {"YWJjZA==", "abcd"},
      {"+/+/AP8=", "\xFB\xFF\xBF\0\xFF"sv},
  };
  for (const auto& c : accepted) {
    EXPECT_EQ(bytesFromBase64(c.text), c.bytes) << c.text;
  }
  for (const std::string_view text :
       {"Y", "YQ", "YQ=", "YQ===", "YQ==YQ==", "=", "====", "Y===", "YQ==\n",
        " YQ==", "YW\nI=", "-_-_", "YWJ\xE9", "Y=Q=", "YQ==="}) {
    EXPECT_FALSE(bytesFromBase64(text)) << text;
  }
}

}  // namespace
}  // namespace quillhaven::cli
