#include "quillhaven/mail/internal/content_type.h"

#include <algorithm>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/case_mapping.h"

namespace quillhaven::mail::internal {

using platform::internal::trimmedBlanks;

std::string_view trimmedQuotes(std::string_view text) {
  while (text.starts_with('"')) text.remove_prefix(1);
  while (text.ends_with('"')) text.remove_suffix(1);
  return text;
}

std::string ContentTypeReader::type() const {
  const std::string_view all = media();
  return platform::lowercased(all.substr(0, all.find('/')));
}

std::string ContentTypeReader::subtype() const {
  const std::string_view all = media();
  return platform::lowercased(all.substr(all.rfind('/') + 1));
}

std::optional<ContentTypeParameter> ContentTypeReader::next() {
  while (end_ != std::string_view::npos) {
    rest_.remove_prefix(end_ + 1);
    end_ = rest_.find(';');
    const std::string_view component = trimmedBlanks(rest_.substr(0, end_));
    const std::size_t sign = component.find('=');
    if (sign == std::string_view::npos) continue;
    const std::string_view name = trimmedBlanks(component.substr(0, sign));
    const std::string_view value = trimmedBlanks(component.substr(sign + 1));
    if (name.empty() || value.empty()) continue;
    return ContentTypeParameter{name, trimmedQuotes(value)};
  }
  return std::nullopt;
}

ContentType::ContentType(std::string_view value) {
  ContentTypeReader reader(value);
  type = reader.type();
  subtype = reader.subtype();
  // Nothing beyond ASCII has these names as its lower case.
  std::optional<std::string_view> lastCharset;
  std::optional<std::string_view> lastBoundary;
  while (const auto parameter = reader.next()) {
    if (platform::equalsIgnoringASCIICase(parameter->name, "charset")) {
      lastCharset = parameter->value;
    } else if (platform::equalsIgnoringASCIICase(parameter->name, "boundary")) {
      lastBoundary = parameter->value;
    }
  }
  if (lastCharset) charset = platform::lowercased(*lastCharset);
  if (lastBoundary) boundary = platform::lowercased(*lastBoundary);
}

}  // namespace quillhaven::mail::internal
