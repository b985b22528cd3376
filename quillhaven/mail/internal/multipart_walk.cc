#include "quillhaven/mail/internal/multipart_walk.h"

#include <algorithm>
#include <forward_list>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "quillhaven/mail/internal/content_type.h"
#include "quillhaven/mail/internal/header_block_reader.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/scanner.h"

namespace quillhaven::mail::internal {
namespace {

constexpr std::string_view kDashes = "--";

// The boundaries of the multiparts that are open, each with "--" before it as
// in a delimiter. Closing one removes all equal ones; those deeper in the stack
// stay in it until they come to the top.
class BoundaryStack {
 public:
  void push(std::string_view boundary) {
    std::string delimiter(kDashes);
    entries_.push_front({delimiter.append(boundary), ++clock_});
  }

  // Removes every entry equal to `delimiter`, which may be a view of one.
  void remove(std::string_view delimiter) {
    if (std::next(entries_.begin()) == entries_.end() &&
        entries_.front().delimiter == delimiter) {
      entries_.pop_front();
      return;
    }
    removals_.insert_or_assign(std::string(delimiter), ++clock_);
    while (!entries_.empty() && isRemoved(entries_.front())) {
      entries_.pop_front();
    }
  }

  [[nodiscard]] bool empty() const { return entries_.empty(); }
  // The view lives until its entry is removed.
  [[nodiscard]] std::string_view top() const {
    return entries_.front().delimiter;
  }

 private:
  struct Entry {
    std::string delimiter;
    std::size_t pushed;  // when, by the clock
  };

  [[nodiscard]] bool isRemoved(const Entry& entry) const {
    const auto removal = removals_.find(entry.delimiter);
    return removal != removals_.end() && removal->second > entry.pushed;
  }

  std::forward_list<Entry> entries_;                       // from the top
  std::unordered_map<std::string, std::size_t> removals_;  // when last
  std::size_t clock_ = 0;
};

// A part's header with its content type taken apart.
struct ParsedHeader {
  PartHeader header;
  std::optional<ContentType> contentType;

  ParsedHeader() = default;
  explicit ParsedHeader(PartHeader read) : header(std::move(read)) {
    if (header.contentType) contentType.emplace(*header.contentType);
  }
};

// Gives the header that begins at each delimiter, where the text up to the next
// blank line counts, beyond further delimiters too. What one reading found is
// kept and used for later delimiters of the same block, so that a block is read
// about once however many delimiters it holds.
class DelimiterHeaders {
 public:
  explicit DelimiterHeaders(std::string_view text)
      : text_(text), rereadingLeft_(kMaximumRereading * text.size()) {}

  // Returns the header at `at`; positions only ever grow. `isWhole` tells
  // whether it was read for this position, and not just its content type.
  const ParsedHeader& at(std::size_t at, bool& isWhole) {
    isWhole = at >= block_.header.end;
    if (isWhole) {
      block_ = ParsedHeader(readPartHeader(text_, at));
      return block_;
    }
    const std::size_t typeLine = block_.header.contentTypeLine;
    if (block_.contentType && typeLine == std::string_view::npos) {
      return reread(at, PartHeaderExtent::kWholeBlock);
    }
    if (block_.contentType && at <= typeLine) return block_;
    // No later line of the block begins a content type, so only the line at
    // `at` itself, which may begin within one, can give it.
    if (!beginsContentType(at)) return none_;
    return reread(at, PartHeaderExtent::kFirstField);
  }

 private:
  const ParsedHeader& reread(std::size_t at, PartHeaderExtent extent) {
    if (rereadingLeft_ == 0) return none_;
    reread_ = ParsedHeader(readPartHeader(text_, at, extent));
    rereadingLeft_ -= std::min(rereadingLeft_, reread_.header.end - at);
    return reread_;
  }

  [[nodiscard]] bool beginsContentType(std::size_t at) const {
    constexpr std::string_view kName = "content-type";
    if (!platform::equalsIgnoringASCIICase(text_.substr(at, kName.size()),
                                           kName)) {
      return false;
    }
    const std::size_t end = at + kName.size();
    return end == text_.size() || text_[end] == ':' ||
           platform::internal::newlineLength(text_, end) != 0;
  }

  std::string_view text_;
  ParsedHeader block_;
  ParsedHeader reread_;
  const ParsedHeader none_;
  std::size_t rereadingLeft_;
};

// Sorts a raw part into the list of its subtype if it has text; its header ends
// at byte `headerEnd` of it.
void addPart(PartRecords& records, std::string_view part,
             const ParsedHeader& parsed, std::size_t headerEnd) {
  if (!parsed.contentType) return;
  const ContentType& content = *parsed.contentType;
  if (content.type != "text" && content.type != "message") return;
  std::list<PartRecord>* list = nullptr;
  if (content.subtype == "plain") list = &records.plain;
  if (content.subtype == "html") list = &records.html;
  if (content.subtype == "rfc822") list = &records.rfc822;
  if (list == nullptr) return;

  const std::size_t body = skipToNextNewline(part, headerEnd);
  if (body >= part.size()) return;
  PartRecord record;
  record.message = part.substr(body);
  const auto& encoding = parsed.header.contentTransferEncoding;
  record.contentTransferEncoding =
      EmailMessageParser::contentTransferEncodingForString(
          encoding ? std::string_view(*encoding)
                   : EmailMessageParser::defaultContentTransferEncoding());
  if (record.contentTransferEncoding == ContentTransferEncoding::Unknown) {
    record.contentTransferEncoding = ContentTransferEncoding::EightBit;
  }
  // Unlike in a message of one part, an unknown charset stays unknown here.
  record.charset = content.charset
                       ? platform::stringEncodingForIANAName(*content.charset)
                       : platform::kStringEncodingUTF8;
  list->push_back(record);
}

}  // namespace

PartRecords collectParts(std::string_view text, std::size_t at,
                         std::string_view boundary) {
  PartRecords records;
  BoundaryStack boundaries;
  boundaries.push(boundary);
  DelimiterHeaders headers(text);
  while (at < text.size()) {
    const std::string_view delimiter = boundaries.top();
    const auto opening = platform::findIgnoringCase(text, delimiter, at);
    if (!opening) break;
    const std::size_t start =
        skipToNextNewline(text, opening->position + opening->size);
    at = start;

    bool isWhole = false;
    const ParsedHeader& parsed = headers.at(start, isWhole);
    const bool isNested = parsed.contentType &&
                          parsed.contentType->type == "multipart" &&
                          parsed.contentType->boundary;
    if (!isNested) {
      const auto next = platform::findIgnoringCase(text, delimiter, start);
      at = next ? next->position : text.size();
      const std::string_view part = text.substr(start, at - start);
      if (isWhole && parsed.header.end < at) {
        addPart(records, part, parsed, parsed.header.end - start);
      } else if (!part.empty()) {
        const ParsedHeader own(readPartHeader(part, 0));
        addPart(records, part, own, own.header.end);
      }
    }

    if (isNested) boundaries.push(*parsed.contentType->boundary);
    const auto end =
        platform::prefixLengthIgnoringCase(text.substr(at), delimiter);
    if (!end || !text.substr(at + *end).starts_with(kDashes)) continue;
    at += *end + kDashes.size();
    boundaries.remove(delimiter);
    if (boundaries.empty()) break;
  }
  return records;
}

}  // namespace quillhaven::mail::internal
