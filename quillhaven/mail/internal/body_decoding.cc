#include "quillhaven/mail/internal/body_decoding.h"

#include <utility>

#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/html/internal/collected_stretches.h"
#include "quillhaven/mail/internal/parser_log.h"
#include "quillhaven/mail/internal/transfer_decoding.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::mail::internal {
namespace {

using platform::StringEncoding;

constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kCommentEnd = "-->";

// The next comment that counts. One that is empty ("<!---->"), and an opening
// that ends the text, do not; one that is never closed reaches to the end.
std::optional<html::internal::Stretch> nextComment(std::string_view html,
                                                   std::size_t from) {
  while (true) {
    const std::size_t start =
        platform::internal::findText(html, kCommentStart, from);
    if (start == std::string_view::npos) return std::nullopt;
    const std::size_t inside = start + kCommentStart.size();
    if (inside == html.size()) return std::nullopt;
    const std::size_t close = html.find(kCommentEnd, inside);
    if (close == inside) {
      from = close + kCommentEnd.size();
      continue;
    }
    const bool isClosed = close != std::string_view::npos;
    return html::internal::Stretch{
        start, isClosed ? close + kCommentEnd.size() : html.size()};
  }
}

std::string withoutComments(std::string_view html) {
  html::internal::StretchRules rules;
  rules.opening = kCommentStart;
  rules.ignoringCase = false;
  rules.next = [html](std::size_t from) { return nextComment(html, from); };
  rules.replacement = [](std::string_view) { return std::string_view(); };
  return html::internal::replacingStretches(html, rules);
}

// Converts HTML to text after a way through `charset` and back, which only
// changes characters that the charset lacks.
std::string convertHTML(std::string_view html, StringEncoding charset) {
  if (platform::certainlySurvivesEncoding(html, charset)) {
    return html::stringWithHTMLText(html);
  }
  const auto bytes = platform::bytesFromTextLossy(html, charset);
  if (!bytes) return std::string();
  html::HTMLDataOptions options;
  options.textEncodingName = platform::ianaNameForStringEncoding(charset);
  return html::stringWithHTMLData(*bytes, options);
}

}  // namespace

DecodedBody DecodedBody::viewing(std::string_view text) {
  DecodedBody body;
  body.view_ = text;
  return body;
}

DecodedBody DecodedBody::owning(std::string text) {
  DecodedBody body;
  body.isOwned_ = true;
  body.owned_ = std::move(text);
  return body;
}

std::string DecodedBody::take() && {
  return isOwned_ ? std::move(owned_) : std::string(view_);
}

std::optional<DecodedBody> decodedBody(std::string_view text,
                                       ContentTransferEncoding encoding,
                                       StringEncoding charset) {
  switch (encoding) {
    case ContentTransferEncoding::SevenBit:
    case ContentTransferEncoding::EightBit:
    case ContentTransferEncoding::Binary:
      return DecodedBody::viewing(text);
    case ContentTransferEncoding::QuotedPrintable:
      return DecodedBody::owning(decodedQuotedPrintable(text, charset));
    case ContentTransferEncoding::Base64: {
      std::optional<std::string> bytes = decodedBase64(text);
      if (!bytes) {
        logUndecodableBase64();
        return std::nullopt;
      }
      auto decoded = textOfDecodedBytes(*std::move(bytes), charset);
      if (!decoded) return std::nullopt;
      return DecodedBody::owning(*std::move(decoded));
    }
    case ContentTransferEncoding::Unknown:
      break;
  }
  return std::nullopt;
}

std::string plainTextOfHTML(std::string_view html, StringEncoding charset) {
  std::string text;
  if (platform::internal::findText(html, kCommentStart, 0) ==
      std::string_view::npos) {
    text = convertHTML(html, charset);
  } else {
    text = convertHTML(withoutComments(html), charset);
  }
  if (text.find('&') == std::string::npos) return text;
  return html::stringByDecodingHTMLEntities(text);
}

std::size_t lengthWithoutNewlinesAtEnd(std::string_view text) {
  std::size_t end = text.size();
  while (end > 0) {
    const platform::CodePoint last = platform::codePointBefore(text, end);
    if (platform::internal::newlineLength(text, end - last.size) == 0) break;
    end -= last.size;
  }
  return end;
}

}  // namespace quillhaven::mail::internal
