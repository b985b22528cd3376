// Universally unique identifiers (RFC 4122) as sixteen bytes.
#ifndef QUILLHAVEN_PLATFORM_URL_UUID_H_
#define QUILLHAVEN_PLATFORM_URL_UUID_H_

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// A value of 128 bits, in the order in which its text shows them. Any bits are
// an identifier: neither version nor variant is looked at.
class Uuid {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  static constexpr std::size_t kTextSize = 36;  // in bytes

  // The identifier whose bits are all zero.
  constexpr Uuid() = default;
  constexpr explicit Uuid(const Bytes& bytes) : bytes_(bytes) {}

  // Returns the identifier that `text` shows, or nothing unless it is exactly
  // the canonical form: 32 hexadecimal digits of either letter case with "-"
  // after the 8th, 12th, 16th and 20th, and no braces or blanks around.
  [[nodiscard]] static std::optional<Uuid> fromString(std::string_view text);

  [[nodiscard]] constexpr const Bytes& bytes() const { return bytes_; }

  // Returns the canonical form, 36 characters, in upper or lower case.
  [[nodiscard]] std::string uppercaseString() const;
  [[nodiscard]] std::string lowercaseString() const;

  friend constexpr auto operator<=>(const Uuid&, const Uuid&) = default;

 private:
  Bytes bytes_{};
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_URL_UUID_H_
