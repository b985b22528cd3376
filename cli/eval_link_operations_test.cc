// The operations of `quillhaven eval` on digests, tracking links and locations.
#include <gtest/gtest.h>

#include <string>

#include "cli/eval_command.h"

namespace quillhaven::cli {
namespace {

struct Case {
  std::string line, answer;
};

template <std::size_t count>
void expectAnswers(const Case (&cases)[count]) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(evalAnswer(c.line), c.answer);
  }
}

TEST(EvalAnswer, RunsEveryDigestOperation) {
  expectAnswers({
      // "abc", and the bytes FB FF.
      {R"({"op":"md5","dataBase64":"YWJj"})",
       R"({"result":"900150983cd24fb0d6963f7d28e17f72"})"},
      {R"({"op":"sha1","dataBase64":"YWJj"})",
       R"({"result":"a9993e364706816aba3e25717850c26c9cd0d89d"})"},
      {R"({"op":"sha256","dataBase64":"YWJj"})",
       R"({"result":"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61)"
       R"(f20015ad"})"},
      {R"({"op":"hmac","dataBase64":"d2hhdCBkbyB5YSB3YW50IGZvciBub3RoaW5nPw==",)"
       R"("algorithm":"SHA1","keyBase64":"SmVmZQ=="})",
       R"({"result":"effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"})"},
      {R"({"op":"hmac","dataBase64":"","algorithm":"sha1","keyBase64":""})",
       R"({"error":"unknown algorithm \"sha1\""})"},
      {R"({"op":"hexDigest","dataBase64":"+/8="})", R"({"result":"fbff"})"},
      {R"({"op":"hexDigest","dataBase64":"+/8"})",
       R"({"error":"argument \"dataBase64\" is not Base64"})"},
      {R"({"op":"base64URLEncodedString","dataBase64":"+/8="})",
       R"({"result":"-_8"})"},
      {R"({"op":"md5UUID","text":"ABC"})",
       R"({"result":"90015098-3CD2-4FB0-D696-3F7D28E17F72"})"},
      {R"({"op":"sha1Digest","text":"abc"})",
       R"({"result":"27430d3b3b37c6a3f459daac1e3d217d0e55698e"})"},
      {R"({"op":"uuidBase64String",)"
       R"("uuid":"FBFFBF01-2345-6789-ABCD-EF0123456789"})",
       R"({"result":"-_-_ASNFZ4mrze8BI0VniQ"})"},
      {R"({"op":"uuidBase64String","uuid":"none"})", R"({"result":null})"},
      {R"({"op":"uuidLowercaseString",)"
       R"("uuid":"FBFFBF01-2345-6789-ABCD-EF0123456789"})",
       R"({"result":"fbffbf01-2345-6789-abcd-ef0123456789"})"},
      {R"({"op":"uuidLowercaseString","uuid":null})",
       R"re({"error":"argument \"uuid\" must be a string (got null)"})re"},
  });
}

TEST(EvalAnswer, RunsEveryLinkOperation) {
  const std::string user =
      R"("userIdentifier":"00000000-0000-0000-0000-000000000000")";
  const std::string link = "https://quillhaven.test/b2/ab";
  expectAnswers({
      {R"({"op":"trackingItemRegexPattern"})",
       R"({"result":"https://(?:beta|track|[0-9a-f-]+)?\\.?(?:quillhaven)\\.)"
       R"((?:example/tracking/hit|test)/(?:[0-9a-f-]+|b/[0-9a-f-]+|)"
       R"(p/[0-9a-f-]+|b2|p2|e2)/[0-9a-z_-]+[^<>\\\"\\s]+"})"},
      {R"({"op":"addingNoTrackToTrackingURLs","text":")" + link + R"("})",
       R"({"result":")" + link + R"(?notrack=true"})"},
      {R"({"op":"addingContactIdToTrackingURLs","text":")" + link + R"(",)" +
           user + R"(,"contactId":"00000000-0000-0000-0000-000000000000"})",
       R"({"result":")" + link + R"(?contactid=AAAAAAAAAAAAAAAAAAAAAA"})"},
      {R"({"op":"addingContactIdToTrackingURLs","text":"",)" + user + "}",
       R"({"error":"argument \"contactId\" is missing"})"},
      {R"({"op":"containsTrackingURL","text":")" + link + R"("})",
       R"({"result":true})"},
      {R"({"op":"containsTrackingURL",)" + user +
           R"(,"text":"https://quillhaven.test/1/ab"})",
       R"({"result":false})"},
      {R"({"op":"containsTrackingURL","text":"","userIdentifier":"x"})",
       R"({"error":"argument \"userIdentifier\" is no UUID"})"},
      {R"({"op":"isDiagnosticConsentURL",)"
       R"("url":"https://beta.quillhaven.example/diagnostic_consent"})",
       R"({"result":true})"},
      {R"({"op":"isQuickStartGuideURL","url":"https://a.example/"})",
       R"({"result":false})"},
      {R"({"op":"isInTrash","url":"file:///nowhere/.Trash/x"})",
       R"({"result":false})"},
      {R"({"op":"messageURL","ID":"<a@b>"})",
       R"({"result":"message://%3Ca%40b%3E"})"},
      {R"({"op":"messageURL","ID":null})", R"({"result":null})"},
      {R"({"op":"mailtoURL","to":["a@b","c@d"],"body":"x y","subject":"s"})",
       R"({"result":"mailto:a@b,c@d?subject=s&body=x%20y"})"},
      {R"({"op":"mailtoURL","to":["a@b"],"body":null})",
       R"({"result":"mailto:a@b"})"},
      {R"({"op":"mailtoURL","to":["a@b",null]})",
       R"re({"error":"argument \"to\" must be a list of strings (got null)"})re"},
  });
}

}  // namespace
}  // namespace quillhaven::cli
