// Prints who wrote a stored message, its subject and its text.
#include <quillhaven/mail/email_message_parser.h>
#include <quillhaven/platform/base/file_url.h>

#include <iostream>

int main(int argc, char** argv) {
  using namespace quillhaven;
  if (argc != 2) {
    std::cerr << "Usage: parse_message FILE\n";
    return 2;
  }
  const auto message = mail::EmailMessageParser::parserWithURLContentsOfURL(
      platform::fileURLFromPath(argv[1]));
  if (!message) return 1;

  for (const auto& sender : message->from()) {
    std::cout << "From: " << sender.name.value_or("") << " <"
              << sender.address.value_or("") << ">\n";
  }
  std::cout << "Subject: " << message->subject().value_or("(none)") << "\n\n"
            << message->plainTextBody().value_or("(no text)") << '\n';
}
