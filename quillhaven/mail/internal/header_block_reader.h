// Reads header blocks: of a message into its header table, of a body part into
// the two fields that matter there.
//
// A block is a state machine over lines, with a pending field name and a
// pending value. A field whose own value is missing or one character long is
// stored with the pending value of the field before it ("X-Priority: 3" after
// "Subject: Hello" has the value "Hello"). Deliberate: stored message indexes
// were made so.
#ifndef QUILLHAVEN_MAIL_INTERNAL_HEADER_BLOCK_READER_H_
#define QUILLHAVEN_MAIL_INTERNAL_HEADER_BLOCK_READER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/mail/header_table.h"

namespace quillhaven::mail::internal {

// Returns the position after the line break at `at`: each newline character is
// stepped over once, so that "\r\n" and "\n\r" are one break and of "\n\n" the
// second stays.
[[nodiscard]] std::size_t skipToNextNewline(std::string_view text,
                                            std::size_t at);

// One line of a header block.
struct HeaderLine {
  enum class Kind {
    kBlank,         // empty: ends the block
    kContinuation,  // begins with white space; `value` is the rest, trimmed
    kField,         // begins a field
    kUnnamed,       // begins with ":": repeats the field before it
  };
  Kind kind;
  bool hasValue = false;   // of a field, or of a continuation: something to add
  bool isPlain = false;    // `value` is certainly stored as it stands
  std::string_view name;   // as written; never empty in a field
  std::string_view value;  // of a field, if it has two UTF-16 units or more
  std::size_t end;         // position of the line break
};

// Reads the line that starts at `at`, before the end of `text`.
[[nodiscard]] HeaderLine readHeaderLine(std::string_view text, std::size_t at);

// Carried values, those stored with more than one field, are limited in what
// they add to a block, so that no message makes a table that grows faster than
// itself. Only made-up messages reach the limits. What is copied, because a
// further line changes it or it is decoded once more, may take as many bytes as
// the message, but at least kLeastCarriedBytes; beyond, values are carried as
// they stand. All that is carried may come to kMaximumCarrying times that;
// beyond, fields without a value of their own have the empty one.
inline constexpr std::size_t kLeastCarriedBytes = std::size_t{1} << 18;
inline constexpr std::size_t kMaximumCarrying = 16;

// The pending value of a block.
class PendingValue {
 public:
  explicit PendingValue(std::size_t sizeOfText);

  [[nodiscard]] bool exists() const { return exists_; }

  // Replaces it by the value of a field line.
  void set(const HeaderLine& line);

  // Adds the text of a continuation line; the next line begins at `at` of
  // `text`.
  void extend(const HeaderLine& line, std::string_view text, std::size_t at);

  // Storing the value with a field decodes its encoded words and makes every
  // run of white space one blank; it is pending in that form from then on. The
  // work is done when, and if, the result is asked for.
  void normalise() { ++owed_; }

  // The value as it stands, empty if there is none; the view lives until the
  // next change.
  std::string_view settled();

  // Differs after settled() when the value does.
  [[nodiscard]] std::size_t version() const { return version_; }

  // Says that settled() is also kept at `stored`, for longer; whether it still
  // is what was kept there.
  void moveTo(std::string_view stored);
  [[nodiscard]] bool isStored() const { return isStored_; }

 private:
  // Room for the folded values of honest mail.
  static constexpr std::size_t kUsualCapacity = 1000;

  void own(std::size_t capacity);
  bool spend(std::size_t bytes);
  void normaliseNow();

  bool exists_ = false;
  bool isOwned_ = false;    // view_ is owned_
  bool isStored_ = false;   // view_ is what moveTo() named
  bool isPlain_ = false;    // certainly normalising never changed anything
  bool isNormal_ = false;   // normalising changes nothing any more
  bool isCarried_ = false;  // was stored with a field and not changed since
  std::size_t owed_ = 0;    // normalisations not done yet
  std::size_t version_ = 0;
  std::string_view view_;
  std::string owned_;
  std::size_t carriedBytesLeft_;
};

// Reads the block at a position into a table.
class HeaderBlockReader {
 public:
  // Returns the position of the line break of the blank line that ended the
  // block, or the end of the text; then the last field is lost. Deliberate.
  static std::size_t read(std::string_view text, std::size_t at,
                          HeaderTable& table);

 private:
  HeaderBlockReader(std::string_view text, HeaderTable& table)
      : table_(table),
        textEnd_(text.data() + text.size()),
        value_(text.size()),
        carryingLeft_(kMaximumCarrying *
                      std::max(text.size(), kLeastCarriedBytes)) {}
  std::size_t read(std::string_view text, std::size_t at);
  void readField(const HeaderLine& line);
  void flush();
  void storeName(std::string_view name);
  HeaderTable::StoredField addLater(HeaderTable::Stored value);
  void addPending();

  struct PendingField {
    HeaderTable::StoredField field;
    std::uint32_t hash;
  };
  static constexpr std::size_t kMostPending = 32;

  HeaderTable& table_;
  const char* textEnd_;
  HeaderTable::Stored name_{};  // in lower case; empty before the first
  std::uint32_t nameHash_ = 0;  // of the field line read last
  bool nameIsNew_ = false;      // nothing is filed under it since
  PendingValue value_;
  HeaderTable::Place valuePlace_ = 0;  // once it is stored
  std::size_t carryingLeft_;
  std::vector<PendingField> pending_;  // to be added, in this order
};

// The fields of a part's header that matter: the last of each.
struct PartHeader {
  std::optional<std::string> contentType;
  std::optional<std::string> contentTransferEncoding;
  // Where the block ended, as HeaderBlockReader::read() returns it.
  std::size_t end = 0;
  // Start of the line that alone gave `contentType`, or npos when there is none
  // or the value was carried from another line.
  std::size_t contentTypeLine = std::string_view::npos;
};

enum class PartHeaderExtent {
  kWholeBlock,
  kFirstField,  // stop at the second field line, as if the block ended there
};

[[nodiscard]] PartHeader readPartHeader(
    std::string_view block, std::size_t at,
    PartHeaderExtent extent = PartHeaderExtent::kWholeBlock);

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_HEADER_BLOCK_READER_H_
