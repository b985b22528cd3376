#include "benchmarks/shapes.h"

#include <algorithm>
#include <cstdint>

namespace quillhaven::benchmarks {
namespace {

constexpr std::string_view kHTMLHead =
    "Subject: shape\nContent-Type: text/html; charset=utf-8\n\n";
constexpr std::string_view kMixedHead =
    "Subject: shape\nContent-Type: multipart/mixed; boundary=b\n\n";

// Returns `head` and then what `next(i)` gives for i = 0, 1, ..., cut so that
// the whole with `tail` has `size` bytes. Head and tail are never cut.
template <typename Next>
std::string grown(std::string_view head, std::size_t size, Next next,
                  std::string_view tail = "") {
  const std::size_t end =
      std::max(size, head.size() + tail.size()) - tail.size();
  std::string text;
  text.reserve(end + tail.size() + 256);
  text = head;
  for (std::size_t i = 0; text.size() < end; ++i) text += next(i);
  text.resize(end);
  text += tail;
  return text;
}

// The same with equal pieces.
std::string repeated(std::string_view head, std::size_t size,
                     std::string_view piece, std::string_view tail = "") {
  return grown(
      head, size, [piece](std::size_t) { return piece; }, tail);
}

// The same with a running number between two pieces.
std::string numbered(std::string_view head, std::size_t size,
                     std::string_view before, std::string_view after,
                     std::string_view tail = "") {
  const auto next = [before, after](std::size_t i) {
    std::string piece(before);
    piece += std::to_string(i);
    piece += after;
    return piece;
  };
  return grown(head, size, next, tail);
}

// Returns `size` bytes drawn from `alphabet`, the same ones on every call.
std::string noise(std::string_view head, std::size_t size,
                  std::string_view alphabet) {
  std::uint64_t state = 0x9E3779B97F4A7C15U;
  const auto next = [&state, alphabet](std::size_t) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    return alphabet.substr((state >> 33) % alphabet.size(), 1);
  };
  return grown(head, size, next);
}

// Joins texts; GCC 12 warns about a literal + std::string without cause.
template <typename... Texts>
std::string joined(const Texts&... texts) {
  std::string text;
  (text.append(texts), ...);
  return text;
}

// The boundary numbered `i`: "b" and its digits, the last one first, so that at
// every size the same share of the names begins like a given one.
std::string boundaryName(std::size_t i) {
  std::string name = std::to_string(i) + 'b';
  std::reverse(name.begin(), name.end());
  return name;
}

// Messages: multiparts.

std::string boundaryLines(std::size_t size) {
  return repeated(kMixedHead, size, "--b\n");
}

std::string closingBoundaryLines(std::size_t size) {
  return repeated(kMixedHead, size, "--b--\n");
}

std::string unclosedMultiparts(std::size_t size) {
  return grown("Subject: shape\nContent-Type: multipart/mixed; boundary=b0\n\n",
               size, [](std::size_t i) {
                 return joined("--", boundaryName(i),
                               "\nContent-Type: multipart/mixed; boundary=",
                               boundaryName(i + 1), "\n\n");
               });
}

std::string unclosedMultipartsOfOneName(std::size_t size) {
  return repeated(kMixedHead, size,
                  "--b\nContent-Type: multipart/mixed; boundary=b\n\n");
}

// An attached message that is a multipart with one attached message, and so on;
// `closed` adds the closing delimiters at the end, innermost first.
std::string attachedMessages(std::size_t size, bool closed) {
  const auto level = [](std::size_t i) {
    const std::string name = boundaryName(i);
    return joined("Subject: shape\nContent-Type: multipart/mixed; boundary=",
                  name, "\n\n--", name, "\nContent-Type: message/rfc822\n\n");
  };
  if (!closed) return grown("", size, level);
  std::size_t depth = 1;
  std::size_t used = 0;
  std::string opening;
  for (;; ++depth) {
    const std::string next = level(depth - 1);
    const std::size_t closing = std::to_string(depth - 1).size() + 7;
    if (depth > 1 && used + next.size() + closing > size) break;
    opening += next;
    used += next.size() + closing;
  }
  for (std::size_t i = depth - 1; i-- > 0;) {
    opening += joined("\n--", boundaryName(i), "--\n");
  }
  if (opening.size() < size) opening.resize(size, '\n');
  return opening;
}

std::string attachedMessagesUnclosed(std::size_t size) {
  return attachedMessages(size, false);
}

std::string attachedMessagesClosed(std::size_t size) {
  return attachedMessages(size, true);
}

std::string attachedMessagesOfOneName(std::size_t size) {
  return repeated(
      "", size,
      "Subject: shape\nContent-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: message/rfc822\n\n");
}

std::string attachedMessagesDirectly(std::size_t size) {
  return repeated("Subject: shape\n", size, "Content-Type: message/rfc822\n\n");
}

// Multiparts inside one another with the boundaries "a", "aa", "aaa", ... take
// half of the message, lines that begin like all of them the rest.
std::string prefixBoundaries(std::size_t size) {
  std::string text =
      "Subject: shape\nContent-Type: multipart/mixed; boundary=a\n\n";
  std::string name = "a";
  while (text.size() < size / 2) {
    text += joined("--", name,
                   "\nContent-Type: multipart/mixed; boundary=", name, "a\n\n");
    name += 'a';
  }
  return repeated(text, size, joined("--", name, "\nx\n"));
}

std::string longBoundaryOfHyphens(std::size_t size) {
  std::string head = "Subject: shape\nContent-Type: multipart/mixed; boundary=";
  head.append(size / 2, '-').append("\n\n");
  return repeated(head, size, "-");
}

std::string longBoundaryAndLines(std::size_t size) {
  std::string head = "Subject: shape\nContent-Type: multipart/mixed; boundary=";
  head.append(size / 2, 'a').append("\n\n");
  return repeated(head, size, "--aaaaaaaaaaaaaaaa\n");
}

std::string shortPartHeaders(std::size_t size) {
  return repeated(kMixedHead, size, "--b\na: b\nc: d\ne: f\n\nx\n");
}

std::string onePartWithShortFields(std::size_t size) {
  std::string head(kMixedHead);
  head += "--b\n";
  return repeated(head, size, "a: b\n", "\n\nx\n--b--\n");
}

std::string plainParts(std::size_t size) {
  return repeated(kMixedHead, size, "--b\nContent-Type: text/plain\n\nx\n");
}

std::string htmlParts(std::size_t size) {
  std::string head(kMixedHead);
  head += "--b\nContent-Type: text/plain\n\n";
  head = repeated(head, size / 2, "some words\n");
  head += '\n';
  return repeated(head, size, "--b\nContent-Type: text/html\n\n<b>x</b>\n");
}

std::string plainAndHTMLParts(std::size_t size) {
  return repeated(kMixedHead, size,
                  "--b\nContent-Type: text/plain\n\nx\n"
                  "--b\nContent-Type: text/html\n\n<p>x</p>\n");
}

// Messages: header fields.

std::string foldedHeader(std::size_t size) {
  return repeated("Subject: shape\n", size, " x\n", "\n\nbody\n");
}

std::string blankFolds(std::size_t size) {
  return repeated("Subject: shape\n", size, " \n", "\n\nbody\n");
}

std::string equalEmptyFields(std::size_t size) {
  return repeated("Subject: shape\n", size, "a:\n", "\n\nbody\n");
}

std::string equalFields(std::size_t size) {
  return repeated("Subject: shape\n", size, "X-Field: value\n", "\n\nbody\n");
}

std::string distinctFields(std::size_t size) {
  return numbered("Subject: shape\n", size, "X-Field-", ": value\n",
                  "\n\nbody\n");
}

std::string distinctShortFields(std::size_t size) {
  return numbered("Subject: shape\n", size, "x", ":\n", "\n\nbody\n");
}

// All names of one character, then all of two, and so on.
std::string densestName(std::size_t i) {
  constexpr std::string_view kLetters =
      "abcdefghijklmnopqrstuvwxyz0123456789!#$%&'*+-.^_`|~;<=>?@[]{}()/,\\\"";
  std::string name;
  for (++i; i > 0; i = (i - 1) / kLetters.size()) {
    name += kLetters[(i - 1) % kLetters.size()];
  }
  return name;
}

std::string densestFields(std::size_t size) {
  const auto next = [](std::size_t i) { return densestName(i) + ":\n"; };
  return grown("Subject: shape\n", size, next, "\n\nbody\n");
}

std::string densestFieldsTwice(std::size_t size) {
  const auto next = [](std::size_t i) {
    const std::string name = densestName(i);
    return joined(name, ":\n", name, ":\n");
  };
  return grown("Subject: shape\n", size, next, "\n\nbody\n");
}

std::string densestFieldsInThrees(std::size_t size) {
  const auto next = [](std::size_t i) {
    const std::string name = densestName(i);
    return joined(name, ":1\n", name, ":2\n", name, ":3\n");
  };
  return grown("Subject: shape\n", size, next, "\n\nbody\n");
}

std::string fieldsInPairs(std::size_t size) {
  return grown("Subject: shape\n", size, [](std::size_t i) {
    const std::string name = joined("x", std::to_string(i));
    return joined(name, ":aa\n", name, ":bb\n");
  });
}

std::string valuesInTurn(std::size_t size) {
  return repeated("Subject: shape\n", size, "x:aa\nx:bb\n", "\n\nbody\n");
}

std::string linesWithoutColon(std::size_t size) {
  return repeated("Subject: shape\n", size, "a\n", "\n\nbody\n");
}

std::string alternatingEncodedWords(std::size_t size) {
  return repeated("Subject: ", size,
                  "=?utf-8?B?YQ==?= =?utf-8?Q?b?= ", "\n\nbody\n");
}

std::string equalEncodedWords(std::size_t size) {
  return repeated("Subject: ", size, "=?utf-8?Q?b?= ", "\n\nbody\n");
}

std::string encodedWordsOfManyCharsets(std::size_t size) {
  return repeated("Subject: ", size,
                  "=?koi8-r?Q?=C1?= x =?shift_jis?B?gqA=?= "
                  "=?iso-8859-2?q?=E1?= =?utf-16?B?AGE=?= ",
                  "\n\nbody\n");
}

std::string unfinishedEncodedWords(std::size_t size) {
  return repeated("Subject: ", size, "=?", "\n\nbody\n");
}

std::string unclosedEncodedWords(std::size_t size) {
  return repeated("Subject: ", size, "=?utf-8?Q?a", "\n\nbody\n");
}

std::string unknownCharsetWords(std::size_t size) {
  return repeated("Subject: ", size, "=?none?B?YQ==?= ", "\n\nbody\n");
}

std::string addressesOfAngles(std::size_t size) {
  return repeated("Subject: shape\nTo: ", size, "<,", "\n\nbody\n");
}

std::string addressesOfCommas(std::size_t size) {
  return repeated("Subject: shape\nTo: ", size, ",", "\n\nbody\n");
}

std::string contentTypeParameters(std::size_t size) {
  return numbered("Content-Type: text/plain", size, "; p", "=\"v\"",
                  "\n\nbody\n");
}

std::string contentTypeSemicolons(std::size_t size) {
  return repeated("Content-Type: text/plain", size, ";", "\n\nbody\n");
}

// Half of the message is the first value, the other half are `fields`.
std::string fieldsAfterLongValue(std::size_t size, std::string_view start,
                                 std::string_view piece,
                                 std::string_view fields) {
  std::string head = repeated(start, size / 2, piece);
  // Where the cut falls must not make a blank line, the end of the header.
  head.erase(head.find_last_not_of(" \n") + 1);
  head += '\n';
  return repeated(head, size, fields, "\n\nbody\n");
}

std::string shortFieldsAfterLongValue(std::size_t size) {
  return fieldsAfterLongValue(size, "Subject: ", "x", "a: b\n");
}

std::string shortFieldsAfterEncodedWord(std::size_t size) {
  return fieldsAfterLongValue(size, "Subject: =?utf-8?Q?a?= ", "x", "a: b\n");
}

std::string shortFieldsAfterFoldedValue(std::size_t size) {
  return fieldsAfterLongValue(size, "Subject: x\n", " x\n", "a: b\n");
}

std::string foldedFieldsAfterLongValue(std::size_t size) {
  return fieldsAfterLongValue(size, "Subject: ", "x", "a: b\n c\n");
}

// Messages: bodies.

std::string base64Letters(std::size_t size) {
  return noise(
      "Content-Type: text/plain; charset=iso-8859-1\n"
      "Content-Transfer-Encoding: base64\n\n",
      size, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

std::string base64Noise(std::size_t size) {
  return noise(
      "Content-Type: text/plain; charset=utf-8\n"
      "Content-Transfer-Encoding: base64\n\n",
      size, "AQZaz09+/=-_!?:. \n\r\t");
}

std::string base64Padding(std::size_t size) {
  return repeated(
      "Content-Type: text/plain; charset=utf-8\n"
      "Content-Transfer-Encoding: base64\n\n",
      size, "YQ==");
}

// Base64 of letters that are one byte each in some charsets and three in UTF-8
// is text of more than twice its size. Lines of an even number of letters, and
// line breaks to fill up, so that it decodes in all sizes and charsets.
void appendWideBase64(std::string& text, std::size_t size) {
  constexpr std::size_t kLineSize = 72;
  std::string line;
  while (line.size() < kLineSize) line += "oaKj";
  line += '\n';
  const std::size_t end = text.size() + size;
  while (text.size() + line.size() <= end) text += line;
  text.resize(end, '\n');
}

// A multipart of `count` such parts of `subtype` after `head`.
std::string wideParts(std::string_view head, std::size_t size,
                      std::string_view subtype, std::size_t count) {
  std::string text(head);
  for (std::size_t i = 0; i < count; ++i) {
    text += joined("--b\nContent-Type: text/", subtype,
                   "; charset=tis-620\n"
                   "Content-Transfer-Encoding: base64\n\n");
    const std::size_t end = size * (i + 1) / count;
    if (end > text.size()) appendWideBase64(text, end - text.size());
  }
  return text;
}

std::string wideMessage(std::string_view head, std::size_t size,
                        std::string_view subtype, std::string_view charset) {
  std::string text =
      joined(head, "Subject: shape\nContent-Type: text/", subtype,
             "; charset=", charset, "\nContent-Transfer-Encoding: base64\n\n");
  if (size > text.size()) appendWideBase64(text, size - text.size());
  return text;
}

std::string base64ThaiText(std::size_t size) {
  return wideMessage("", size, "plain", "tis-620");
}

std::string base64KatakanaText(std::size_t size) {
  return wideMessage("", size, "plain", "shift_jis");
}

std::string base64UTF16Text(std::size_t size) {
  return wideMessage("", size, "plain", "utf-16");
}

std::string base64ThaiHTML(std::size_t size) {
  return wideMessage("", size, "html", "tis-620");
}

std::string base64ThaiPlainParts(std::size_t size) {
  return wideParts(kMixedHead, size, "plain", 3);
}

std::string base64ThaiHTMLParts(std::size_t size) {
  return wideParts(kMixedHead, size, "html", 3);
}

std::string base64ThaiAttached(std::size_t size) {
  std::string text(kMixedHead);
  for (std::size_t i = 0; i < 2; ++i) {
    const std::size_t end = size * (i + 1) / 3;
    text += "--b\nContent-Type: message/rfc822\n\n";
    text = wideMessage(text, end, "html", "tis-620");
  }
  return wideParts(text, size, "plain", 1);
}

constexpr std::string_view kQuotedPrintableHead =
    "Content-Type: text/plain; charset=iso-8859-1\n"
    "Content-Transfer-Encoding: quoted-printable\n\n";

std::string quotedPrintableEquals(std::size_t size) {
  return repeated(kQuotedPrintableHead, size, "=");
}

std::string quotedPrintableNoise(std::size_t size) {
  return noise(kQuotedPrintableHead, size, "====09AFafx \r\n");
}

std::string quotedPrintableSoftBreaks(std::size_t size) {
  return repeated(kQuotedPrintableHead, size, "=\n");
}

std::string quotedPrintableBlanks(std::size_t size) {
  return repeated(kQuotedPrintableHead, size, " ");
}

std::string blankLines(std::size_t size) {
  return repeated("Subject: shape\n\n", size, "\n");
}

std::string carriageReturns(std::size_t size) {
  return repeated("Subject: shape\n\n", size, "\r");
}

// HTML, as the only part of a message and as a text of its own.

std::string openingAngles(std::string_view head, std::size_t size) {
  return repeated(head, size, "<");
}

std::string unclosedComments(std::string_view head, std::size_t size) {
  return repeated(head, size, "<!--");
}

std::string equalComments(std::string_view head, std::size_t size) {
  return repeated(head, size, "<!--c-->");
}

// The ends keep the cut, which falls anywhere, from making a comment of its own
// kind.
std::string distinctComments(std::string_view head, std::size_t size) {
  return numbered(head, size, "<!--", "-->", "x-->");
}

std::string distinctCommentsCutOff(std::string_view head, std::size_t size) {
  return numbered(head, size, "<!--", "-->", "x--><!---");
}

std::string nestedComments(std::string_view head, std::size_t size) {
  std::string text = repeated(head, size - size / 3, "<!-- ");
  return repeated(text, size, "--> ");
}

std::string distinctTags(std::string_view head, std::size_t size) {
  return numbered(head, size, "<t", ">");
}

std::string distinctElements(std::string_view head, std::size_t size) {
  return grown(head, size, [](std::size_t i) {
    const std::string name = joined("t", std::to_string(i));
    return joined("<", name, ">x</", name, ">");
  });
}

std::string closingTags(std::string_view head, std::size_t size) {
  return repeated(head, size, "</p> ");
}

std::string openingTags(std::string_view head, std::size_t size) {
  return repeated(head, size, "<div>");
}

std::string openingAnchors(std::string_view head, std::size_t size) {
  return repeated(head, size, "<a href=\"x\">");
}

std::string ampersands(std::string_view head, std::size_t size) {
  return repeated(head, size, "&");
}

std::string unfinishedReferences(std::string_view head, std::size_t size) {
  return repeated(head, size, "&#1");
}

std::string references(std::string_view head, std::size_t size) {
  return repeated(head, size, "&#233;&#xD83D;&#xDE00;");
}

std::string listItems(std::string_view head, std::size_t size) {
  return repeated(head, size, "<li>x");
}

std::string nestedLists(std::string_view head, std::size_t size) {
  return repeated(head, size, "<ol><li>");
}

std::string unclosedScripts(std::string_view head, std::size_t size) {
  return repeated(head, size, "<script>");
}

std::string scripts(std::string_view head, std::size_t size) {
  return repeated(head, size, "<script>x</script>");
}

std::string unclosedBodies(std::string_view head, std::size_t size) {
  return repeated(head, size, "<body");
}

std::string lineBreakTags(std::string_view head, std::size_t size) {
  return repeated(head, size, "<br>");
}

std::string unclosedAttributes(std::string_view head, std::size_t size) {
  return repeated(head, size, "<a b=\"");
}

std::string blanks(std::string_view head, std::size_t size) {
  return repeated(head, size, " ");
}

// Texts only.

std::string lineBreaks(std::size_t size) {
  return repeated("", size, "\r\n\n\r");
}

std::string carriageReturnsAndFeeds(std::size_t size) {
  return repeated("", size, "\r\n");
}

std::string letters(std::size_t size) { return repeated("", size, "a"); }

std::string bareURLs(std::size_t size) {
  return repeated("", size, "http://a.example/ ");
}

std::string gluedURLs(std::size_t size) {
  return repeated("", size, "http://");
}

std::string quotedURLs(std::size_t size) {
  return repeated("", size, "=\"http://a.example");
}

std::string colons(std::size_t size) { return repeated("", size, "http:"); }

std::string oneTag(std::size_t size) {
  return repeated("<a", size, " b=\"c\"", ">");
}

std::string oneTagWithDistinctAttributes(std::size_t size) {
  return numbered("<a", size, " b", "=\"c\"");
}

std::string oneTagWithLongValue(std::size_t size) {
  return repeated("<a b=\"", size, "c", "\">");
}

std::string oneTagOfBlanks(std::size_t size) {
  return repeated("<a", size, " ", ">");
}

std::string oneLongTagName(std::size_t size) {
  return repeated("<", size, "a", ">x</a>");
}

// Pieces of eight bytes: of no size is a tag cut in two.
std::string elementWithClosingTags(std::size_t size) {
  return repeated("<b> ", size, "</b>    ", "</c>");
}

std::string elementWithTagInTag(std::size_t size) {
  return repeated("<b> ", size, "</b>    ", "<   </c>");
}

std::string elementWithoutEnd(std::size_t size) {
  return repeated("<b>", size, "x");
}

std::string foldingLetters(std::size_t size) {
  // KELVIN SIGN and LATIN CAPITAL LETTER I WITH DOT ABOVE
  return repeated("", size / 5 * 5 + 5, "\u212A\u0130");
}

// HTML: appended to `head`, which is a header block or nothing.
struct HTMLShape {
  std::string_view name;
  std::string_view description;
  std::string (*make)(std::string_view head, std::size_t size);
};

constexpr HTMLShape kHTML[] = {
    {"opening-angles", "nothing but \"<\"", openingAngles},
    {"unclosed-comments", "comment openings", unclosedComments},
    {"equal-comments", "one comment again and again", equalComments},
    {"distinct-comments", "comments, no two equal", distinctComments},
    {"distinct-comments-cut-off", "the same and the start of one",
     distinctCommentsCutOff},
    {"nested-comments", "comments inside one another", nestedComments},
    {"distinct-tags", "tags, no two equal", distinctTags},
    {"distinct-elements", "elements, no two equal", distinctElements},
    {"closing-tags", "closing tags and blanks", closingTags},
    {"opening-tags", "elements that are never closed", openingTags},
    {"opening-anchors", "anchors that are never closed", openingAnchors},
    {"ampersands", "nothing but \"&\"", ampersands},
    {"unfinished-references", "\"&#1\" without ;", unfinishedReferences},
    {"references", "references, two of three half a pair", references},
    {"list-items", "list items", listItems},
    {"nested-lists", "lists inside one another", nestedLists},
    {"unclosed-scripts", "script openings", unclosedScripts},
    {"scripts", "scripts", scripts},
    {"unclosed-bodies", "\"<body\" without end", unclosedBodies},
    {"line-break-tags", "line breaks", lineBreakTags},
    {"unclosed-attributes", "values without end", unclosedAttributes},
    {"blanks", "nothing but blanks", blanks},
};

struct PlainShape {
  std::string_view name;
  std::string_view description;
  std::string (*make)(std::size_t size);
};

constexpr PlainShape kMessages[] = {
    {"boundary-lines", "boundary lines without a blank line", boundaryLines},
    {"closing-boundary-lines", "closing delimiters only", closingBoundaryLines},
    {"unclosed-multiparts", "multiparts inside one another, never closed",
     unclosedMultiparts},
    {"unclosed-multiparts-of-one-name", "the same with one boundary for all",
     unclosedMultipartsOfOneName},
    {"attached-messages", "messages inside one another, never closed",
     attachedMessagesUnclosed},
    {"attached-messages-closed", "the same, closed at the end",
     attachedMessagesClosed},
    {"attached-messages-of-one-name", "the same with one boundary for all",
     attachedMessagesOfOneName},
    {"attached-messages-directly", "attached messages without multiparts",
     attachedMessagesDirectly},
    {"prefix-boundaries", "boundaries that begin like one another",
     prefixBoundaries},
    {"long-boundary-of-hyphens", "a boundary and a body of hyphens",
     longBoundaryOfHyphens},
    {"long-boundary-and-lines", "a huge boundary and lines that begin like it",
     longBoundaryAndLines},
    {"short-part-headers", "parts with one-letter fields", shortPartHeaders},
    {"one-part-with-short-fields", "one part with one-letter fields",
     onePartWithShortFields},
    {"plain-parts", "tiny plain parts", plainParts},
    {"html-parts", "tiny HTML parts after a large plain one", htmlParts},
    {"plain-and-html-parts", "tiny plain and HTML parts in turn",
     plainAndHTMLParts},
    {"folded-header", "one field folded over many lines", foldedHeader},
    {"blank-folds", "one field folded over blank lines", blankFolds},
    {"equal-empty-fields", "a field \"a:\" again and again", equalEmptyFields},
    {"equal-fields", "a field with a value again and again", equalFields},
    {"distinct-fields", "fields, no two of a name", distinctFields},
    {"distinct-short-fields", "the same, short and empty", distinctShortFields},
    {"densest-fields", "the same, of the fewest bytes", densestFields},
    {"densest-fields-twice", "the same, each twice", densestFieldsTwice},
    {"densest-fields-in-threes", "the same, three values each",
     densestFieldsInThrees},
    {"fields-in-pairs", "two fields of every name", fieldsInPairs},
    {"values-in-turn", "one field with two values in turn", valuesInTurn},
    {"lines-without-colon", "header lines that are no fields",
     linesWithoutColon},
    {"alternating-encoded-words", "B and Q words in turn",
     alternatingEncodedWords},
    {"equal-encoded-words", "Q words", equalEncodedWords},
    {"encoded-words-of-many-charsets", "words, each in another charset",
     encodedWordsOfManyCharsets},
    {"unfinished-encoded-words", "\"=?\" again and again",
     unfinishedEncodedWords},
    {"unclosed-encoded-words", "words without end", unclosedEncodedWords},
    {"unknown-charset-words", "words in a charset nobody knows",
     unknownCharsetWords},
    {"addresses-of-angles", "a \"To\" of \"<,\"", addressesOfAngles},
    {"addresses-of-commas", "a \"To\" of commas", addressesOfCommas},
    {"content-type-parameters", "parameters of the content type",
     contentTypeParameters},
    {"content-type-semicolons", "a content type of \";\"",
     contentTypeSemicolons},
    {"short-fields-after-long-value", "one-letter fields after a huge value",
     shortFieldsAfterLongValue},
    {"short-fields-after-encoded-word", "the same with an encoded word",
     shortFieldsAfterEncodedWord},
    {"short-fields-after-folded-value", "the same with folds in the value",
     shortFieldsAfterFoldedValue},
    {"folded-fields-after-long-value", "the same with folds in the fields",
     foldedFieldsAfterLongValue},
    {"base64-letters", "Base64 that decodes", base64Letters},
    {"base64-noise", "Base64 with noise in it", base64Noise},
    {"base64-padding", "Base64 padded every four letters", base64Padding},
    {"base64-thai-text", "Base64 of Thai, one byte a letter", base64ThaiText},
    {"base64-katakana-text", "the same of half-width Katakana",
     base64KatakanaText},
    {"base64-utf-16-text", "the same of a script in UTF-16", base64UTF16Text},
    {"base64-thai-html", "Base64 of Thai HTML without a tag", base64ThaiHTML},
    {"base64-thai-plain-parts", "three parts of Thai text",
     base64ThaiPlainParts},
    {"base64-thai-html-parts", "three parts of Thai HTML", base64ThaiHTMLParts},
    {"base64-thai-attached", "two attached messages of Thai HTML, and text",
     base64ThaiAttached},
    {"quoted-printable-equals", "quoted-printable of \"=\"",
     quotedPrintableEquals},
    {"quoted-printable-noise", "quoted-printable with noise in it",
     quotedPrintableNoise},
    {"quoted-printable-soft-breaks", "soft line breaks",
     quotedPrintableSoftBreaks},
    {"quoted-printable-blanks", "one line of blanks", quotedPrintableBlanks},
    {"blank-lines", "blank lines after the header", blankLines},
    {"carriage-returns", "carriage returns after the header", carriageReturns},
};

constexpr PlainShape kTexts[] = {
    {"line-breaks", "line breaks of all kinds", lineBreaks},
    {"carriage-returns-and-feeds", "CRLF line breaks", carriageReturnsAndFeeds},
    {"letters", "one endless word", letters},
    {"bare-urls", "web addresses", bareURLs},
    {"glued-urls", "\"http://\" again and again", gluedURLs},
    {"quoted-urls", "web addresses after =\"", quotedURLs},
    {"colons", "\"http:\" again and again", colons},
    {"one-tag", "a tag with one attribute again and again", oneTag},
    {"one-tag-with-distinct-attributes", "a tag with many attributes",
     oneTagWithDistinctAttributes},
    {"one-tag-with-long-value", "a tag with a huge value", oneTagWithLongValue},
    {"one-tag-of-blanks", "a tag of blanks", oneTagOfBlanks},
    {"one-long-tag-name", "an element with a huge name", oneLongTagName},
    {"element-with-closing-tags", "an element full of its closing tag",
     elementWithClosingTags},
    {"element-with-tag-in-tag", "the same and a tag within a tag",
     elementWithTagInTag},
    {"element-without-end", "an element that is never closed",
     elementWithoutEnd},
    {"folding-letters", "letters whose lower case has another length",
     foldingLetters},
};

// All of `plain`, and the HTML shapes after `head` under "<prefix><name>".
template <std::size_t kCount>
std::vector<Shape> withHTML(const PlainShape (&plain)[kCount],
                            std::string_view prefix, std::string_view head) {
  std::vector<Shape> shapes;
  for (const PlainShape& shape : plain) {
    shapes.push_back(
        {std::string(shape.name), std::string(shape.description), shape.make});
  }
  for (const HTMLShape& shape : kHTML) {
    shapes.push_back({std::string(prefix).append(shape.name),
                      std::string(shape.description),
                      [make = shape.make, head](std::size_t size) {
                        return make(head, size);
                      }});
  }
  return shapes;
}

}  // namespace

const std::vector<Shape>& hostileMessages() {
  static const std::vector<Shape> shapes =
      withHTML(kMessages, "html-", kHTMLHead);
  return shapes;
}

const std::vector<Shape>& hostileTexts() {
  static const std::vector<Shape> shapes = withHTML(kTexts, "", "");
  return shapes;
}

}  // namespace quillhaven::benchmarks
