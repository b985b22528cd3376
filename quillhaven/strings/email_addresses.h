// Recognises and splits e-mail addresses. The rules are the product's, not
// those of RFC 5322: rules, contacts and other components rely on what they
// accept and refuse. All operations are thread-safe, take valid UTF-8, never
// fail and take time proportional to the length of the text.
#ifndef QUILLHAVEN_STRINGS_EMAIL_ADDRESSES_H_
#define QUILLHAVEN_STRINGS_EMAIL_ADDRESSES_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::strings {

// True when the whole of `text` is an address: anything on one line, "@", and a
// domain of at least two labels whose last has two letters or more. Letters and
// digits of domains are those of ASCII. "a b@x.co" is valid, "a@b.c" is not.
[[nodiscard]] bool isValidEmail(std::string_view text);

// True when `text` is "<address>" or "Name <address>", in which the address is
// what emailAddress() finds; one line break may follow. Only as many UTF-16
// units of `text` as it has user-perceived characters are looked at: "Name"
// with a character of two units hides the final ">". This is deliberate.
[[nodiscard]] bool isFormattedEmail(std::string_view text);

// Returns the first address in `text`, or nothing if there is none: letters,
// digits and "._%+-", then "@", a domain, "." and two to six letters, in either
// case. Only as many UTF-16 units as `text` has user-perceived characters are
// searched, so that after characters of several units an address near the end
// is cut or missed. This is deliberate.
[[nodiscard]] std::optional<std::string> emailAddress(std::string_view text);

// Returns what stands before the first "@" of a valid address (it may be empty:
// "@@x.example"), or nothing when isValidEmail() is false.
[[nodiscard]] std::optional<std::string> emailLocalPart(std::string_view text);

// Returns what stands after the last "@" of a valid address, or nothing when
// isValidEmail() is false.
[[nodiscard]] std::optional<std::string> emailDomain(std::string_view text);

// Returns a name to show for an address: the one before "<address>", quotes
// kept; else one made from the local part, "john.doe42@..." giving "John Doe".
// Nothing when `text` is neither an address nor "Name <address>". A local part
// of nothing but digits gives an empty name, and separators in a row leave as
// many blanks.
[[nodiscard]] std::optional<std::string> emailName(std::string_view text);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_EMAIL_ADDRESSES_H_
