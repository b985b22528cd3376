// The encodings in which a byte is a character, as tables.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_SINGLE_BYTE_ENCODING_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_SINGLE_BYTE_ENCODING_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/internal/encoding_table.h"

namespace quillhaven::platform::internal {

// Converts between the bytes of one encoding and text. Thread-safe.
class SingleByteTable {
 public:
  // Returns the table of `encoding`, which must be of the single-byte family.
  // It is made at the first call and lives as long as the process.
  static const SingleByteTable& of(const Encoding& encoding);

  // Appends the text of `bytes`. False at an undefined byte; `text` then ends
  // in what was read so far.
  [[nodiscard]] bool decode(std::string_view bytes, std::string& text) const;

  // Appends the bytes of `text`. A character without a byte becomes "?" with
  // `substitute`, else it makes the result false.
  [[nodiscard]] bool encode(std::string_view text, bool substitute,
                            std::string& bytes) const;

  // True when every character of `text` has a byte.
  [[nodiscard]] bool holds(std::string_view text) const;

 private:
  // The characters of an encoding lie in at most 10 blocks of 256 code points;
  // block 0 stays empty for all the others.
  static constexpr std::size_t kBlockCount = 12;

  struct Character {
    std::array<char, 3> bytes;
    std::uint8_t size;  // 0 where the byte is undefined
  };

  // Size in bytes of the text of `bytes`, without undefined ones.
  [[nodiscard]] std::size_t textSize(std::string_view bytes) const;
  void fill(const Encoding& encoding);
  void define(std::size_t byte, char32_t character);
  // Returns the byte of a character above U+007F, or 0.
  [[nodiscard]] std::uint8_t byteOf(char32_t character) const;

  // Without a destructor: a thread may outlive the end of main().
  std::array<Character, 256> characters_;
  std::array<std::uint8_t, 256> blockOf_;  // by code point / 256
  std::array<std::array<std::uint8_t, 256>, kBlockCount> blocks_;
  std::uint8_t blocksUsed_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_SINGLE_BYTE_ENCODING_H_
