// Feeds the decoder of encoded words with a header value.
#include <optional>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/mail/encoded_words.h"
#include "quillhaven/platform/text/utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  using namespace quillhaven::mail;
  const std::string_view value = inputBytes(data, size);
  if (!quillhaven::platform::isValidUTF8(value)) return 0;

  const auto decoded = stringWithMimeEncodedString(value);
  require(decoded.has_value(), "a present value stays present");
  requireUTF8(*decoded);
  // One encoded byte is one character, of four bytes at most; a decoded text
  // can hold another word of the value, which is then decoded as well.
  require(decoded->size() <= 8 * size, "decoding is bounded by the value");

  const bool hasOpening = value.find("=?") != std::string_view::npos;
  require(hasOpening || *decoded == value, "other text is left alone");
  require(hasOpening || !isMimeEncodedString(value), "a word has an opening");
  require(!stringWithMimeEncodedString(std::nullopt), "absent stays absent");
  return 0;
}
