// Gathers the bodies of one message from its parts and joins them.
#ifndef QUILLHAVEN_MAIL_INTERNAL_MESSAGE_BODIES_H_
#define QUILLHAVEN_MAIL_INTERNAL_MESSAGE_BODIES_H_

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail::internal {

// The plain-text and the HTML body. Parts are kept as they come; they are
// joined when a body is first asked for. Joined bodies, and the plain text of
// an HTML message, may be larger than the message, and parsing alone needs
// neither.
//
// One thread at a time while texts are taken; then any number may ask.
class MessageBodies {
 public:
  // Returns bodies that go on from `bodies`, which may be null: itself where
  // nobody else holds it and it was not asked for anything, else new ones.
  [[nodiscard]] static std::shared_ptr<MessageBodies> goingOnFrom(
      std::shared_ptr<MessageBodies> bodies);

  // The first text loses the newlines at its end, further ones come after
  // "\n\n". An empty one is ignored, here and below.
  void takePlainText(std::string text);

  // Further HTML replaces what was joined so far by the plain text up to now,
  // "\n\n" and itself; of several only the last is ever seen. Deliberate.
  void takeHTML(std::string html);

  // Takes the only part of a message: the plain text of `html`, by
  // plainTextOfHTML(), and then itself. Nothing else may have been taken.
  void takeHTMLDocument(std::string html, platform::StringEncoding charset);

  // Takes the bodies of an attached message, first the plain one. May be null;
  // nobody else may hold it.
  void takeAttached(std::shared_ptr<MessageBodies> attached);

  // The bodies; absent when no text was taken. Nothing may be taken afterwards.
  [[nodiscard]] const std::optional<std::string>& plainText();
  [[nodiscard]] const std::optional<std::string>& html();

 private:
  // What was taken as plain text: some texts, already joined, or the plain text
  // of an attached message.
  struct Piece {
    std::string text;
    // It is added as it stands: the first one, whose newlines are gone already,
    // or one that surely has text before it. Others come after attached
    // messages, which may turn out to have no text; what is then the first one
    // loses its newlines when it is joined.
    bool isSettled = false;
    std::shared_ptr<MessageBodies> attached;

    [[nodiscard]] std::string_view plainText() const;
  };
  // The plain text up to some moment: so many pieces, the last one with so many
  // bytes.
  struct Extent {
    std::size_t pieces;
    std::size_t bytes;
  };

  void noteHTML();
  void ensureJoined();
  void join();
  void joinPlainText();

  std::vector<Piece> pieces_;
  bool isFilled_ = false;      // the plain text is certainly not empty
  bool isPlainTaken_ = false;  // it is there, and perhaps empty
  std::optional<std::string> html_;
  std::shared_ptr<MessageBodies> htmlOwner_;  // whose HTML counts, if not html_
  std::optional<Extent> plainBeforeHTML_;     // where HTML came before
  std::optional<std::size_t> sizeBeforeHTML_;  // the same once that is joined
  std::optional<platform::StringEncoding> documentCharset_;
  std::size_t size_ = 0;  // of all texts taken

  // Not std::call_once(), which asks the kernel to wake others each time.
  std::mutex joining_;
  std::atomic<bool> isJoined_ = false;
  std::optional<std::string> plainText_;
};

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_MESSAGE_BODIES_H_
