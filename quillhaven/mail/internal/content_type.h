// Takes a content type (RFC 2045, section 5.1) apart as far as reading a body
// needs it.
#ifndef QUILLHAVEN_MAIL_INTERNAL_CONTENT_TYPE_H_
#define QUILLHAVEN_MAIL_INTERNAL_CONTENT_TYPE_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/internal/white_space.h"

namespace quillhaven::mail::internal {

// Returns `text` without quotation marks at its ends.
[[nodiscard]] std::string_view trimmedQuotes(std::string_view text);

// A parameter as written, without blanks around it and quotes around the value.
struct ContentTypeParameter {
  std::string_view name;
  std::string_view value;
};

// Cuts a content type into what stands before the first ";" and its parameters.
class ContentTypeReader {
 public:
  explicit ContentTypeReader(std::string_view value)
      : rest_(value), end_(value.find(';')) {}

  // The type and subtype as written, and each lower-cased; without "/" both are
  // the same word. To be asked before the parameters.
  [[nodiscard]] std::string_view media() const {
    return platform::internal::trimmedBlanks(rest_.substr(0, end_));
  }
  [[nodiscard]] std::string type() const;
  [[nodiscard]] std::string subtype() const;

  // Returns the next parameter that has both a name and a value, or nothing.
  std::optional<ContentTypeParameter> next();

 private:
  std::string_view rest_;
  std::size_t end_;  // of the component that `rest_` begins with
};

// The type, the subtype and the parameters that say how to read a body, all
// lower-cased; of a parameter given more than once, the last.
struct ContentType {
  std::string type;
  std::string subtype;
  std::optional<std::string> charset;
  std::optional<std::string> boundary;

  explicit ContentType(std::string_view value);
};

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_CONTENT_TYPE_H_
