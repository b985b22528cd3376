#include "quillhaven/platform/text/character_set.h"

#include <unicode/uniset.h>

#include <utility>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {

struct CharacterSet::Unicode {
  icu::UnicodeSet set;
};

namespace {

icu::UnicodeSet setFromPattern(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return icu::UnicodeSet(icu::UnicodeString(pattern), status);
}

}  // namespace

CharacterSet::CharacterSet(std::shared_ptr<const Unicode> unicode)
    : unicode_(std::move(unicode)) {
  for (int c = 0; c < 128; ++c) {
    ascii_.set(static_cast<std::size_t>(c), unicode_->set.contains(c));
  }
}

const CharacterSet& CharacterSet::whitespace() {
  static const CharacterSet set(
      std::make_shared<const Unicode>(Unicode{setFromPattern(u"[[:Zs:]\\t]")}));
  return set;
}

const CharacterSet& CharacterSet::newlines() {
  static const CharacterSet set(std::make_shared<const Unicode>(
      Unicode{setFromPattern(u"[\\u000A-\\u000D\\u0085\\u2028\\u2029]")}));
  return set;
}

const CharacterSet& CharacterSet::whitespaceAndNewlines() {
  static const CharacterSet set = whitespace().unionWith(newlines());
  return set;
}

const CharacterSet& CharacterSet::alphanumerics() {
  static const CharacterSet set(std::make_shared<const Unicode>(
      Unicode{setFromPattern(u"[[:L:][:M:][:N:]]")}));
  return set;
}

CharacterSet CharacterSet::withCharactersIn(std::string_view characters) {
  icu::UnicodeSet set;
  for (std::size_t at = 0; at < characters.size();) {
    const CodePoint character = codePointAt(characters, at);
    set.add(static_cast<UChar32>(character.value));
    at += character.size;
  }
  return CharacterSet(std::make_shared<const Unicode>(Unicode{std::move(set)}));
}

CharacterSet CharacterSet::unionWith(const CharacterSet& other) const {
  icu::UnicodeSet set = unicode_->set;
  set.addAll(other.unicode_->set);
  return CharacterSet(std::make_shared<const Unicode>(Unicode{std::move(set)}));
}

CharacterSet CharacterSet::inverted() const {
  icu::UnicodeSet set = unicode_->set;
  set.complement();
  return CharacterSet(std::make_shared<const Unicode>(Unicode{std::move(set)}));
}

bool CharacterSet::containsBeyondASCII(char32_t character) const {
  return unicode_->set.contains(static_cast<UChar32>(character));
}

std::string_view CharacterSet::trimmed(std::string_view text) const {
  std::size_t start = 0;
  while (start < text.size()) {
    const CodePoint character = codePointAt(text, start);
    if (!contains(character.value)) break;
    start += character.size;
  }
  std::size_t end = text.size();
  while (end > start) {
    const CodePoint character = codePointBefore(text, end);
    if (!contains(character.value)) break;
    end -= character.size;
  }
  return text.substr(start, end - start);
}

}  // namespace quillhaven::platform
