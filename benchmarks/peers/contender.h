// The contenders of the comparison: ours, other libraries and physical limits.
#ifndef QUILLHAVEN_BENCHMARKS_PEERS_CONTENDER_H_
#define QUILLHAVEN_BENCHMARKS_PEERS_CONTENDER_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace quillhaven::benchmarks {

// The text that came out, in bytes of UTF-8, and what did not go well:
// exceptions, refused messages, texts whose charset did not convert.
struct Produced {
  std::size_t headerText = 0;
  std::size_t bodyText = 0;
  std::size_t failures = 0;

  Produced& operator+=(const Produced& other) {
    headerText += other.headerText;
    bodyText += other.bodyText;
    failures += other.failures;
    return *this;
  }
};

// Does the whole work on one message or HTML document. Whatever it throws is
// counted as one failure.
struct Contender {
  std::string name;
  Produced (*run)(std::string_view bytes);
  bool makesText = true;  // false for limits, whose figures are no text
};

// How deep attached messages are followed by peers that leave that to us.
inline constexpr int kMaximumDepth = 32;

// Returns `message` without the line that mail stores put before it: its length
// in bytes, or "From " and the sender. Peers get messages without it, because
// some take the whole message for a body otherwise.
[[nodiscard]] std::string_view withoutStoreLine(std::string_view message);

// Mail: parses, decodes every header of every entity that the contender parses,
// splits "From", "To" and "Reply-To" into addresses, and undoes transfer
// encoding and charset of every text part, attached messages included.
[[nodiscard]] Contender ourMailParser();
[[nodiscard]] Contender gmime();
[[nodiscard]] Contender mimetic();
[[nodiscard]] Contender vmime();

// Only parses; for header blocks.
[[nodiscard]] Contender ourHeaderParser();

// HTML to text.
[[nodiscard]] Contender ourHTMLData();
[[nodiscard]] Contender ourPlainText();
[[nodiscard]] Contender libxml2SAX();
[[nodiscard]] Contender libxml2Tree();
[[nodiscard]] Contender gumbo();

// Limits: what any contender has to do at the very least.
[[nodiscard]] Contender copyBytes();
[[nodiscard]] Contender walkNewlines();
[[nodiscard]] Contender validateOurs();
[[nodiscard]] Contender validateICU();
[[nodiscard]] Contender validateGLib();

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_PEERS_CONTENDER_H_
