#include "quillhaven/strings/digests.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/strings/digest_stream.h"
#include "quillhaven/strings/encodings.h"
#include "quillhaven/strings/log_type.h"

namespace quillhaven::strings {
namespace {

using namespace std::string_view_literals;
using platform::LogType;
using platform::Uuid;

// The digests of RFC 1321, appendix A.5, and of FIPS 180's examples.
TEST(Digests, AreThePublishedOnes) {
  const struct {
    std::string data;
    std::string_view md5, sha1, sha256;
  } cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e",
       "da39a3ee5e6b4b0d3255bfef95601890afd80709",
       "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72",
       "a9993e364706816aba3e25717850c26c9cd0d89d",
       "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21",
       "34aa973cd4c4daa4f61eeb2bdbad27316534016f",
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.data.size());
    EXPECT_EQ(hexDigest(md5(bytesOf(c.data))), c.md5);
    EXPECT_EQ(hexDigest(sha1(bytesOf(c.data))), c.sha1);
    EXPECT_EQ(hexDigest(sha256(bytesOf(c.data))), c.sha256);
    EXPECT_EQ(md5(c.data), c.md5);
  }
}

// RFC 2202, sections 2 and 3, and RFC 4231, section 4.
TEST(Hmac, IsThePublishedOne) {
  const std::string longKey(131, '\xAA');
  const std::string_view longText =
      "Test Using Larger Than Block-Size Key - Hash Key First";
  const struct {
    HMACAlgorithm algorithm;
    std::string_view key, data, expected;
  } cases[] = {
      {HMACAlgorithm::MD5, "Jefe", "what do ya want for nothing?",
       "750c783e6ab0b503eaa86e310a5db738"},
      {HMACAlgorithm::MD5, "", "", "74e6f7298a9c2d168935f58c001bad88"},
      {HMACAlgorithm::SHA1, "Jefe", "what do ya want for nothing?",
       "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
      {HMACAlgorithm::SHA224, "Jefe", "what do ya want for nothing?",
       "a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44"},
      {HMACAlgorithm::SHA256, "Jefe", "what do ya want for nothing?",
       "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
      {HMACAlgorithm::SHA256, "", "",
       "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad"},
      {HMACAlgorithm::SHA384, longKey, longText,
       "4ece084485813e9088d2c63a041bc5b44f9ef1012a2b588f3cd11f05033ac4c6"
       "0c2ef6ab4030fe8296248df163f44952"},
      {HMACAlgorithm::SHA512, longKey, longText,
       "80b24263c7c1a3ebb71493c1dd7be8b49b46d1f41b4aeec1121b013783f8f352"
       "6b56d037e05f2598bd0fd2215d6a1e5295e64f73f63f0aec8b915a985d786598"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const auto result = hmac(c.data, c.algorithm, bytesOf(c.key));
    EXPECT_EQ(hexDigest(result), c.expected);
    EXPECT_EQ(result.size(), digestLength(c.algorithm));
  }
}

TEST(HMACAlgorithm, KeepsThePlatformsConstants) {
  const struct {
    HMACAlgorithm algorithm;
    std::uint32_t constant;
  } cases[] = {
      {HMACAlgorithm::MD5, 1},    {HMACAlgorithm::SHA1, 0},
      {HMACAlgorithm::SHA224, 5}, {HMACAlgorithm::SHA256, 2},
      {HMACAlgorithm::SHA384, 3}, {HMACAlgorithm::SHA512, 4},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(platformConstant(c.algorithm), c.constant);
  }
}

TEST(DigestStream, GivesTheDigestOfAllPieces) {
  const std::string text(1000, 't');
  for (const std::size_t pieceSize : {1U, 63U, 64U, 65U, 1000U}) {
    SCOPED_TRACE(pieceSize);
    DigestStream digest(HMACAlgorithm::SHA1);
    DigestStream authentication(HMACAlgorithm::SHA512, bytesOf("key"));
    for (std::size_t at = 0; at < text.size(); at += pieceSize) {
      const auto piece = bytesOf(std::string_view(text).substr(at, pieceSize));
      digest.append(piece);
      authentication.append(piece);
    }
    EXPECT_EQ(hexDigest(digest.finish()), hexDigest(sha1(bytesOf(text))));
    EXPECT_EQ(authentication.finish(),
              hmac(text, HMACAlgorithm::SHA512, bytesOf("key")));
  }
  EXPECT_EQ(hexDigest(DigestStream(HMACAlgorithm::MD5).finish()),
            "d41d8cd98f00b204e9800998ecf8427e");
}

// The prepared contexts are shared: keys of threads must not meet.
TEST(Hmac, KeepsTheKeysOfThreadsApart) {
  std::vector<int> wrong(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < wrong.size(); ++i) {
    threads.emplace_back([&wrong, i] {
      const std::string key(i, 'k');
      const auto expected = hmac("text", HMACAlgorithm::SHA256, bytesOf(key));
      for (int round = 0; round < 500; ++round) {
        wrong[i] +=
            hmac("text", HMACAlgorithm::SHA256, bytesOf(key)) != expected;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4));
}

TEST(Md5UUID, IgnoresLetterCaseAndSetsNoBits) {
  const struct {
    std::string_view text, uuid;
  } cases[] = {
      {"", "D41D8CD9-8F00-B204-E980-0998ECF8427E"},
      {"abc", "90015098-3CD2-4FB0-D696-3F7D28E17F72"},
      {"ABC", "90015098-3CD2-4FB0-D696-3F7D28E17F72"},
      // "é" and "É": the mapping is Unicode's.
      {"\u00E9", "66DDCD97-CFDE-ABB2-F6FB-8A999B4BC76F"},
      {"\u00C9", "66DDCD97-CFDE-ABB2-F6FB-8A999B4BC76F"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto uuid = md5UUID(c.text);
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->uppercaseString(), c.uuid);
  }
  EXPECT_EQ(md5UUID("\xFF"), std::nullopt);
  EXPECT_EQ(md5("\xFF"sv), std::nullopt);
}

TEST(Sha1Digest, IsTheDigestOfTheDigest) {
  EXPECT_EQ(sha1Digest(""), "992ac9e91d03048b56a035754a3a579004a0dfb5");
  EXPECT_EQ(sha1Digest("abc"), "27430d3b3b37c6a3f459daac1e3d217d0e55698e");
}

TEST(Encodings, FollowTheirAlphabets) {
  const struct {
    std::string_view data, hex, base64;
  } cases[] = {
      {"", "", ""},
      {"\0"sv, "00", "AA"},
      {"\x00\xFF"sv, "00ff", "AP8"},
      {"\xFB\xFF\xFE"sv, "fbfffe", "-__-"},
      {"\x9A\xBC\xDE\xF0"sv, "9abcdef0", "mrze8A"},
      {"foobar", "666f6f626172", "Zm9vYmFy"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.hex);
    EXPECT_EQ(hexDigest(bytesOf(c.data)), c.hex);
    EXPECT_EQ(base64URLEncodedString(bytesOf(c.data)), c.base64);
  }
}

TEST(UuidOperations, ShowTheBytesInOrder) {
  EXPECT_EQ(base64String(zero()), "AAAAAAAAAAAAAAAAAAAAAA");
  EXPECT_EQ(lowercaseString(zero()), "00000000-0000-0000-0000-000000000000");
  const auto uuid = Uuid::fromString("FBFFBF01-2345-6789-abcd-ef0123456789");
  ASSERT_TRUE(uuid);
  EXPECT_EQ(base64String(*uuid), "-_-_ASNFZ4mrze8BI0VniQ");
  EXPECT_EQ(lowercaseString(*uuid), "fbffbf01-2345-6789-abcd-ef0123456789");
  EXPECT_EQ(hexDigest(data(*uuid)), "fbffbf0123456789abcdef0123456789");
  EXPECT_EQ(uint8(*uuid)[2], 0xBF);
}

TEST(LogType, IsMildForEverydayFailuresOnly) {
  const std::error_code offline = URLError::kNotConnectedToInternet;
  const std::error_code cancelled = URLError::kCancelled;
  EXPECT_EQ(logType(offline), LogType::kDefault);
  EXPECT_EQ(logType(std::system_error(cancelled)), LogType::kDefault);
  EXPECT_EQ(logType("NSURLErrorDomain", -1001), LogType::kError);
  EXPECT_EQ(logType("NSPOSIXErrorDomain", -999), LogType::kError);
  EXPECT_EQ(logType(std::make_error_code(std::errc::operation_canceled)),
            LogType::kError);
  EXPECT_EQ(logType(std::runtime_error("")), LogType::kError);

  // A typed error belongs where its own domain and code say.
  class LoadingError : public platform::LocalizedError {
   public:
    explicit LoadingError(std::string_view domain)
        : LocalizedError(domain, -1009) {}
  };
  EXPECT_EQ(logType(LoadingError("NSURLErrorDomain")), LogType::kDefault);
  EXPECT_EQ(logType(LoadingError("Example.LoadingError")), LogType::kError);
}

}  // namespace
}  // namespace quillhaven::strings
