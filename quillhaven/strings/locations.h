// Operations on links: which of the product's pages one opens, the Trash, the
// download quarantine, and links that open mail.
//
// Links are URL text in UTF-8. An ill-formed one has no path.
#ifndef QUILLHAVEN_STRINGS_LOCATIONS_H_
#define QUILLHAVEN_STRINGS_LOCATIONS_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quillhaven::strings {

// True when `url` holds the address of a diagnostic-consent page, anywhere and
// in any letter case: "https://", one of the sub-domains "beta", "edge" and the
// configured one, the product's domain and "/diagnostic_consent". Thread-safe.
[[nodiscard]] bool isDiagnosticConsentURL(std::string_view url);

// True when `url` holds the address of a quick-start guide, anywhere and in any
// letter case: "https://", "qsg." or "next.qsg." and the product's domain.
// Thread-safe.
[[nodiscard]] bool isQuickStartGuideURL(std::string_view url);

// True when the path of `url` begins with the user's home folder and "/.Trash".
// The path is compared as text: "~/.Trashed" is in, "~/x/../.Trash" is not. The
// home folder is $HOME where that is absolute, else that of the user database.
[[nodiscard]] bool isInTrash(std::string_view url);

// Removes the mark of downloaded files, the extended attribute
// "user.com.apple.quarantine", from the file that the "file" URL names,
// following links. Returns 0 when there is no mark to be read (no such file and
// no file URL included) or it was removed, and -1 with errno set when removing
// failed. Thread-safe.
[[nodiscard]] std::int32_t dequarantine(std::string_view url);

// Returns the link that opens a message in Mail: "message://" and `ID`, its
// Message-ID, percent-encoded as a host. Nothing without an identifier, or when
// the link would be ill-formed: ":" and brackets are not encoded and mean
// something in a host.
[[nodiscard]] std::optional<std::string> messageURL(
    std::optional<std::string_view> ID);

// Returns the link that composes a message (RFC 6068):
//   mailto:a@b.example,c@d.example?subject=Hello%20you&body=Hi
// An absent subject or body is left out, an empty one is not. A comma within a
// recipient is encoded, so that it separates nobody.
[[nodiscard]] std::string mailtoURL(
    std::span<const std::string> to,
    std::optional<std::string_view> subject = std::nullopt,
    std::optional<std::string_view> body = std::nullopt);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_LOCATIONS_H_
