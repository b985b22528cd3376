#include <gtest/gtest.h>

#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/mail/email_message_parser.h"

namespace quillhaven::mail {
namespace {

// What four threads see that ask a copy of their own at the same time.
template <typename Ask>
void expectOneAnswer(const EmailMessageParser& message, const Ask& ask) {
  const std::string* seen[4] = {};
  std::latch start(4);
  {
    std::vector<std::jthread> threads;
    for (const std::string*& mine : seen) {
      threads.emplace_back([&] {
        const EmailMessageParser copy = message;
        start.arrive_and_wait();
        mine = &ask(copy);
      });
    }
  }
  for (const std::string* const text : seen) EXPECT_EQ(text, seen[0]);
}

TEST(Bodies, AreTheSameForAllThreads) {
  // The first one is made from HTML, the second one joined; large ones take
  // their time.
  const std::string html =
      "Content-Type: text/html\n\n" + std::string(100'000, 'a');
  std::string mixed = "Content-Type: multipart/mixed; boundary=b\n\n";
  for (int i = 0; i < 2; ++i) {
    mixed += "--b\nContent-Type: message/rfc822\n\n" + html + "\n";
  }
  for (const std::string& bytes : {html, mixed}) {
    const auto message = EmailMessageParser::parserWithData(bytes);
    ASSERT_TRUE(message);
    expectOneAnswer(
        *message, [](const EmailMessageParser& copy) -> auto& {
          return *copy.htmlBody();
        });
    expectOneAnswer(
        *message, [](const EmailMessageParser& copy) -> auto& {
          return *copy.plainTextBody();
        });
  }
}

}  // namespace
}  // namespace quillhaven::mail
