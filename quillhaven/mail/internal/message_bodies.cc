#include "quillhaven/mail/internal/message_bodies.h"

#include <string_view>
#include <utility>

#include "quillhaven/mail/internal/body_decoding.h"

namespace quillhaven::mail::internal {
namespace {

constexpr std::string_view kSeparator = "\n\n";

// Texts are joined at once up to this size, and small attached messages, so
// that a great many tiny ones take no more room than they must.
constexpr std::size_t kBlockSize = std::size_t{64} * 1024;

void appendAfterSeparator(std::string& text, std::string_view next) {
  text.append(kSeparator).append(next);
}

}  // namespace

std::string_view MessageBodies::Piece::plainText() const {
  if (!attached) return text;
  const std::optional<std::string>& plain = attached->plainText();
  return plain ? std::string_view(*plain) : std::string_view();
}

std::shared_ptr<MessageBodies> MessageBodies::goingOnFrom(
    std::shared_ptr<MessageBodies> bodies) {
  if (!bodies) return std::make_shared<MessageBodies>();
  const bool isOurs = bodies.use_count() == 1;
  if (isOurs && !bodies->isJoined_ && !bodies->documentCharset_) return bodies;
  auto next = std::make_shared<MessageBodies>();
  const std::optional<std::string>& plainText = bodies->plainText();
  next->isPlainTaken_ = plainText.has_value();
  next->isFilled_ = plainText && !plainText->empty();
  if (next->isFilled_) next->pieces_.push_back({*plainText, true, nullptr});
  next->html_ = bodies->html();
  return next;
}

void MessageBodies::takePlainText(std::string text) {
  if (text.empty()) return;
  size_ += text.size();
  isPlainTaken_ = true;
  Piece* const last = pieces_.empty() ? nullptr : &pieces_.back();
  if (isFilled_) {
    if (last->isSettled && last->text.size() + text.size() < kBlockSize) {
      appendAfterSeparator(last->text, text);
    } else {
      pieces_.push_back({std::move(text), true, nullptr});
    }
    return;
  }
  const std::size_t length = lengthWithoutNewlinesAtEnd(text);
  if (last == nullptr) {
    if (length == 0) return;
    text.resize(length);
    pieces_.push_back({std::move(text), true, nullptr});
  } else if (length == 0 && !last->attached) {
    appendAfterSeparator(last->text, text);  // newlines after newlines
  } else {
    pieces_.push_back({std::move(text), false, nullptr});
  }
  isFilled_ = length != 0;
}

void MessageBodies::takeHTML(std::string html) {
  if (html.empty()) return;
  size_ += html.size();
  noteHTML();
  html_ = std::move(html);
  htmlOwner_.reset();
}

void MessageBodies::takeHTMLDocument(std::string html,
                                     platform::StringEncoding charset) {
  if (html.empty()) return;
  takeHTML(std::move(html));
  documentCharset_ = charset;
}

void MessageBodies::takeAttached(std::shared_ptr<MessageBodies> attached) {
  if (!attached) return;
  if (attached->size_ < kBlockSize) {
    attached->ensureJoined();
    if (attached->plainText_) takePlainText(*std::move(attached->plainText_));
    if (attached->html_) takeHTML(*std::move(attached->html_));
    return;
  }
  size_ += attached->size_;
  pieces_.push_back({std::string(), false, attached});
  if (!attached->html_ && !attached->htmlOwner_) return;
  noteHTML();
  html_.reset();
  htmlOwner_ = std::move(attached);
}

// Called before HTML comes.
void MessageBodies::noteHTML() {
  if (!html_ && !htmlOwner_) return;
  plainBeforeHTML_ = {pieces_.size(),
                      pieces_.empty() ? 0 : pieces_.back().text.size()};
}

const std::optional<std::string>& MessageBodies::plainText() {
  ensureJoined();
  return plainText_;
}

const std::optional<std::string>& MessageBodies::html() {
  // As it came, it needs no joining.
  if (htmlOwner_ || plainBeforeHTML_) ensureJoined();
  return html_;
}

void MessageBodies::ensureJoined() {
  if (isJoined_.load(std::memory_order_acquire)) return;
  const std::lock_guard lock(joining_);
  if (isJoined_.load(std::memory_order_relaxed)) return;
  join();
  isJoined_.store(true, std::memory_order_release);
}

// Other threads may look whether there is an htmlOwner_ or a plainBeforeHTML_.
void MessageBodies::join() {
  if (documentCharset_) {
    std::string text = plainTextOfHTML(*html_, *documentCharset_);
    if (text.empty()) return;
    text.resize(lengthWithoutNewlinesAtEnd(text));
    plainText_ = std::move(text);
    return;
  }
  // Memory may run out: pieces go when what they make is there, and what is
  // there is not made again.
  if (!sizeBeforeHTML_) {
    joinPlainText();
    if (htmlOwner_) htmlOwner_->plainText_.reset();
  }
  std::optional<std::string>& last = htmlOwner_ ? htmlOwner_->html_ : html_;
  if (plainBeforeHTML_) {
    std::string joined;
    joined.reserve(*sizeBeforeHTML_ + kSeparator.size() + last->size());
    if (plainText_) joined.append(*plainText_, 0, *sizeBeforeHTML_);
    appendAfterSeparator(joined, *last);
    last.reset();
    html_ = std::move(joined);
  } else if (htmlOwner_) {
    html_ = std::move(last);
  }
}

// Joins the pieces and tells how much of them stands before the HTML that
// counts.
void MessageBodies::joinPlainText() {
  if (htmlOwner_) htmlOwner_->ensureJoined();
  std::size_t size = 0;
  for (const Piece& piece : pieces_) {
    size += kSeparator.size() + piece.plainText().size();
  }
  const bool isOne = pieces_.size() == 1 && !pieces_.front().attached;
  std::string joined;
  if (!isOne) joined.reserve(size);

  std::size_t before = 0;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    Piece& piece = pieces_[i];
    const bool isFirst = joined.empty();
    const std::string_view text = piece.plainText();
    isPlainTaken_ |= !text.empty();
    if (!isFirst && !text.empty()) joined.append(kSeparator);
    const std::size_t start = joined.size();
    if (isOne) {
      joined = std::move(piece.text);
    } else if (isFirst && !piece.isSettled) {
      joined.append(text, 0, lengthWithoutNewlinesAtEnd(text));
    } else {
      joined.append(text);
    }
    if (plainBeforeHTML_ && plainBeforeHTML_->pieces == i + 1) {
      before =
          piece.isSettled ? start + plainBeforeHTML_->bytes : joined.size();
    }
  }
  sizeBeforeHTML_ = before;
  pieces_.clear();
  if (isPlainTaken_) plainText_ = std::move(joined);
}

}  // namespace quillhaven::mail::internal
