// Digests and HMAC of bytes that arrive piece by piece.
#ifndef QUILLHAVEN_STRINGS_DIGEST_STREAM_H_
#define QUILLHAVEN_STRINGS_DIGEST_STREAM_H_

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "quillhaven/strings/digests.h"

namespace quillhaven::strings {

// Takes the pieces of a file or stream one after the other and keeps none. Its
// operations throw std::runtime_error where libcrypto lacks the algorithm. One
// thread at a time.
class DigestStream {
 public:
  // For the digest that `algorithm` is named after.
  explicit DigestStream(HMACAlgorithm algorithm);
  // For the HMAC with `key`.
  DigestStream(HMACAlgorithm algorithm, std::span<const std::byte> key);
  DigestStream(const DigestStream&) = delete;
  DigestStream& operator=(const DigestStream&) = delete;
  ~DigestStream();

  void append(std::span<const std::byte> data);

  // Returns the digest or HMAC of all that was appended, digestLength() bytes.
  // To be called once, last.
  [[nodiscard]] std::vector<std::byte> finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_DIGEST_STREAM_H_
