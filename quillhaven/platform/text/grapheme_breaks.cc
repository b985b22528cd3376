#include "quillhaven/platform/text/grapheme_breaks.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

// The rules are applied to pairs of code points by hand. ICU's iterator has to
// be opened on each text, and going backwards through a run of flags it reads
// the run again for every hundred of them.
constexpr std::size_t kUnknown = static_cast<std::size_t>(-1);

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

UGraphemeClusterBreak breakPropertyOf(char32_t character) {
  // Most of what mail is written in has no say in the rules.
  const bool isPlain = (character >= 0x20 && character < 0x7F) ||
                       (character > 0xAD && character < 0x300) ||
                       (character >= 0x3400 && character < 0xA000);
  if (isPlain) return U_GCB_OTHER;
  return static_cast<UGraphemeClusterBreak>(u_getIntPropertyValue(
      static_cast<UChar32>(character), UCHAR_GRAPHEME_CLUSTER_BREAK));
}

bool isPictographic(char32_t character) {
  return u_hasBinaryProperty(static_cast<UChar32>(character),
                             UCHAR_EXTENDED_PICTOGRAPHIC) != 0;
}

bool isOfLinkingScript(char32_t character) {
  if (character < 0x900 || character > 0x11FFF) return false;
  UErrorCode status = U_ZERO_ERROR;
  switch (uscript_getScript(static_cast<UChar32>(character), &status)) {
    case USCRIPT_BENGALI:
    case USCRIPT_DEVANAGARI:
    case USCRIPT_GUJARATI:
    case USCRIPT_MALAYALAM:
    case USCRIPT_ORIYA:
    case USCRIPT_TELUGU:
      return true;
    default:
      return false;
  }
}

bool isLinking(char32_t character, UIndicSyllabicCategory category) {
  return isOfLinkingScript(character) &&
         u_getIntPropertyValue(static_cast<UChar32>(character),
                               UCHAR_INDIC_SYLLABIC_CATEGORY) == category;
}

// Answers whether a character may begin at a place. Looks back no further than
// `start`, the beginning of a character.
class BreakRules {
 public:
  BreakRules(std::string_view text, std::size_t start)
      : text_(text), start_(start) {}

  // Whether a character begins at byte `at`, which lies inside the text, after
  // its start and between two code points. To be asked from left to right up to
  // the first break, or for any number of them from right to left.
  bool isBreak(std::size_t at) {
    if (isASCII(text_[at - 1]) && isASCII(text_[at])) {
      return text_[at - 1] != '\r' || text_[at] != '\n';
    }
    const char32_t next = codePointAt(text_, at).value;
    const UGraphemeClusterBreak before =
        breakPropertyOf(codePointBefore(text_, at).value);
    const UGraphemeClusterBreak after = breakPropertyOf(next);
    if (isControl(before) || isControl(after)) return true;  // GB4, GB5
    switch (after) {
      case U_GCB_EXTEND:
      case U_GCB_ZWJ:
      case U_GCB_SPACING_MARK:
        return false;  // GB9, GB9a
      case U_GCB_L:
      case U_GCB_LV:
      case U_GCB_LVT:
        if (before == U_GCB_L) return false;  // GB6
        break;
      case U_GCB_V:
        if (before == U_GCB_L) return false;
        if (before == U_GCB_LV || before == U_GCB_V) return false;  // GB7
        break;
      case U_GCB_T:
        if (before == U_GCB_LV || before == U_GCB_V) return false;
        if (before == U_GCB_LVT || before == U_GCB_T) return false;  // GB8
        break;
      case U_GCB_REGIONAL_INDICATOR:
        if (before == after && isSecondOfFlag(at)) return false;  // GB12, 13
        break;
      case U_GCB_OTHER:
        if (before == U_GCB_ZWJ && isPictographic(next) &&
            followsPictograph(at)) {
          return false;  // GB11
        }
        if ((before == U_GCB_EXTEND || before == U_GCB_ZWJ) &&
            isLinking(next, U_INSC_CONSONANT) && followsLinkedConsonant(at)) {
          return false;  // GB9c
        }
        break;
      default:
        break;
    }
    return before != U_GCB_PREPEND;  // GB9b, GB999
  }

 private:
  static bool isControl(UGraphemeClusterBreak property) {
    return property == U_GCB_CONTROL || property == U_GCB_CR ||
           property == U_GCB_LF;
  }

  // The run of regional indicators is measured once: a text may be one.
  bool isSecondOfFlag(std::size_t at) {
    if (at <= runStart_) {
      runStart_ = at;
      while (runStart_ > start_) {
        const CodePoint indicator = codePointBefore(text_, runStart_);
        if (breakPropertyOf(indicator.value) != U_GCB_REGIONAL_INDICATOR) break;
        runStart_ -= indicator.size;
      }
    }
    constexpr std::size_t kIndicatorSize = 4;
    return (at - runStart_) / kIndicatorSize % 2 == 1;
  }

  // Whether a pictograph, extending marks and a joiner stand before `at`.
  bool followsPictograph(std::size_t at) const {
    at -= codePointBefore(text_, at).size;  // the joiner
    while (at > start_) {
      const CodePoint character = codePointBefore(text_, at);
      if (breakPropertyOf(character.value) != U_GCB_EXTEND) {
        return isPictographic(character.value);
      }
      at -= character.size;
    }
    return false;
  }

  // Whether a consonant, and a virama among the marks after it, stand before
  // `at`.
  bool followsLinkedConsonant(std::size_t at) const {
    bool isLinked = false;
    while (at > start_) {
      const char32_t character = codePointBefore(text_, at).value;
      const UGraphemeClusterBreak property = breakPropertyOf(character);
      const bool passes =
          property == U_GCB_ZWJ ||
          (property == U_GCB_EXTEND &&
           u_getCombiningClass(static_cast<UChar32>(character)) != 0);
      if (!passes) return isLinked && isLinking(character, U_INSC_CONSONANT);
      isLinked = isLinked || isLinking(character, U_INSC_VIRAMA);
      at -= codePointBefore(text_, at).size;
    }
    return false;
  }

  std::string_view text_;
  std::size_t start_;
  std::size_t runStart_ = kUnknown;  // of the regional indicators met last
};

// Returns the end of the character that begins at `at`.
std::size_t endOfCharacter(std::string_view text, std::size_t at) {
  BreakRules rules(text, at);
  do {
    at += codePointAt(text, at).size;
  } while (at < text.size() && !rules.isBreak(at));
  return at;
}

std::size_t countOfLineBreakPairs(std::string_view text) {
  std::size_t pairs = 0;
  for (std::size_t at = text.find("\r\n"); at != std::string_view::npos;
       at = text.find("\r\n", at + 2)) {
    ++pairs;
  }
  return pairs;
}

}  // namespace

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t plain = asciiPrefixLength(text.substr(at));
    // Marks may follow and belong to the last one, though never to a line feed.
    if (at + plain < text.size() && plain > 0 && text[at + plain - 1] != '\n') {
      --plain;
    }
    count += plain - countOfLineBreakPairs(text.substr(at, plain));
    at += plain;
    if (at == text.size()) break;
    at = endOfCharacter(text, at);
    ++count;
  }
  return count;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; count > 0 && end < text.size(); --count) {
    end = endOfCharacter(text, end);
  }
  return text.substr(0, end);
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
  BreakRules rules(text, 0);
  std::size_t start = text.size();
  for (; count > 0 && start > 0; --count) {
    do {
      start -= codePointBefore(text, start).size;
    } while (start > 0 && !rules.isBreak(start));
  }
  return text.substr(start);
}

}  // namespace quillhaven::platform
