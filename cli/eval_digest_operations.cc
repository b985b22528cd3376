// The operations of `quillhaven eval` on digests and encodings.
#include <optional>
#include <string>
#include <string_view>

#include "cli/eval_operation.h"
#include "quillhaven/platform/url/uuid.h"
#include "quillhaven/strings/digests.h"
#include "quillhaven/strings/encodings.h"

namespace quillhaven::cli {
namespace {

using strings::HMACAlgorithm;

// An operation that writes the hexadecimal digits of what `function` makes of
// the argument "dataBase64".
template <auto function>
void hexOfData(const Arguments& arguments, JsonWriter& result) {
  const std::string data = arguments.base64("dataBase64");
  result.value(strings::hexDigest(function(strings::bytesOf(data))));
}

// An operation that writes the text that `function` makes of it.
template <auto function>
void onData(const Arguments& arguments, JsonWriter& result) {
  const std::string data = arguments.base64("dataBase64");
  result.value(function(strings::bytesOf(data)));
}

HMACAlgorithm algorithmNamed(std::string_view name) {
  constexpr struct {
    std::string_view name;
    HMACAlgorithm algorithm;
  } kAlgorithms[] = {
      {"MD5", HMACAlgorithm::MD5},       {"SHA1", HMACAlgorithm::SHA1},
      {"SHA224", HMACAlgorithm::SHA224}, {"SHA256", HMACAlgorithm::SHA256},
      {"SHA384", HMACAlgorithm::SHA384}, {"SHA512", HMACAlgorithm::SHA512},
  };
  for (const auto& known : kAlgorithms) {
    if (known.name == name) return known.algorithm;
  }
  throw EvalError(
      std::string("unknown algorithm \"").append(name).append("\""));
}

void authenticate(const Arguments& arguments, JsonWriter& result) {
  const std::string data = arguments.base64("dataBase64");
  const std::string key = arguments.base64("keyBase64");
  result.value(strings::hexDigest(strings::hmac(
      strings::bytesOf(data), algorithmNamed(arguments.string("algorithm")),
      strings::bytesOf(key))));
}

void uuidOfDigest(const Arguments& arguments, JsonWriter& result) {
  const auto uuid = strings::md5UUID(arguments.text());
  result.value(uuid ? std::optional(uuid->uppercaseString()) : std::nullopt);
}

// An operation on the argument "uuid"; null when that is none.
template <auto function>
void onUuid(const Arguments& arguments, JsonWriter& result) {
  const auto uuid = platform::Uuid::fromString(arguments.string("uuid"));
  result.value(uuid ? std::optional(function(*uuid)) : std::nullopt);
}

constexpr EvalOperation kOperations[] = {
    {"md5", hexOfData<[](auto data) { return strings::md5(data); }>},
    {"sha1", hexOfData<[](auto data) { return strings::sha1(data); }>},
    {"sha256", hexOfData<[](auto data) { return strings::sha256(data); }>},
    {"hmac", authenticate},
    {"hexDigest", onData<strings::hexDigest>},
    {"base64URLEncodedString", onData<strings::base64URLEncodedString>},
    {"md5UUID", uuidOfDigest},
    {"sha1Digest", onText<strings::sha1Digest>},
    {"uuidBase64String", onUuid<strings::base64String>},
    {"uuidLowercaseString", onUuid<strings::lowercaseString>},
};

}  // namespace

std::span<const EvalOperation> digestOperations() { return kOperations; }

}  // namespace quillhaven::cli
