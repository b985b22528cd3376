// The version of the running system, and the named versions it may be.
#ifndef QUILLHAVEN_IDENTITY_OPERATING_SYSTEM_VERSION_H_
#define QUILLHAVEN_IDENTITY_OPERATING_SYSTEM_VERSION_H_

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::identity {

// A version such as 14.5.0, and whether it is one of, or later than, the
// systems that the product tells apart. The patch version has no say in that,
// nor has the minor version after 10: a system that calls itself 10.16 is
// isCatalinaOrLater() and not isBigSurOrLater().
struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;

  [[nodiscard]] constexpr bool isHighSierra() const { return isTen(13); }
  [[nodiscard]] constexpr bool isHighSierraOrLater() const {
    return isTenOrLater(13);
  }
  [[nodiscard]] constexpr bool isMojave() const { return isTen(14); }
  [[nodiscard]] constexpr bool isMojaveOrLater() const {
    return isTenOrLater(14);
  }
  [[nodiscard]] constexpr bool isCatalina() const { return isTen(15); }
  [[nodiscard]] constexpr bool isCatalinaOrLater() const {
    return isTenOrLater(15);
  }
  [[nodiscard]] constexpr bool isBigSur() const { return majorVersion == 11; }
  [[nodiscard]] constexpr bool isBigSurOrLater() const {
    return majorVersion > 10;
  }
  [[nodiscard]] constexpr bool isMonterey() const { return majorVersion == 12; }
  [[nodiscard]] constexpr bool isMontereyOrLater() const {
    return majorVersion > 11;
  }
  [[nodiscard]] constexpr bool isVentura() const { return majorVersion == 13; }
  [[nodiscard]] constexpr bool isVenturaOrLater() const {
    return majorVersion > 12;
  }
  [[nodiscard]] constexpr bool isSonoma() const { return majorVersion == 14; }
  [[nodiscard]] constexpr bool isSonomaOrLater() const {
    return majorVersion > 13;
  }

  constexpr auto operator<=>(const OperatingSystemVersion&) const = default;

 private:
  [[nodiscard]] constexpr bool isTen(std::int64_t minor) const {
    return majorVersion == 10 && minorVersion == minor;
  }
  [[nodiscard]] constexpr bool isTenOrLater(std::int64_t minor) const {
    return majorVersion > 10 || (majorVersion == 10 && minorVersion >= minor);
  }
};

// Returns the version that `text` begins with: one to three numbers with dots
// between them ("14.5" is 14.5.0). Nothing if it begins with no number.
[[nodiscard]] std::optional<OperatingSystemVersion>
operatingSystemVersionFromText(std::string_view text);

// Sets the version that counts as the running one for the whole process;
// nothing brings back the default. A version of Linux means nothing to the
// rules above, so a host says which system its rules should see. Thread-safe.
void setOperatingSystemVersion(std::optional<OperatingSystemVersion> version);

// Returns the version set by the host; else that in the environment variable
// QUILLHAVEN_OS_VERSION, which serves the command and tests; else VERSION_ID of
// os-release, 0.0.0 where it names none. The last two are read once.
// Thread-safe.
[[nodiscard]] OperatingSystemVersion operatingSystemVersion();

// Returns that version for people, "Version 14.5 (Build 6.1.0-18-amd64)": the
// patch version only if there is one, the release of the kernel as the build.
[[nodiscard]] std::string operatingSystemVersionString();

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_OPERATING_SYSTEM_VERSION_H_
