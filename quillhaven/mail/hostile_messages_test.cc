// Messages made to hurt must not make the parser's work grow faster than they
// do. Work is counted as bytes allocated, because time is noisy: what is copied
// too often shows. The benchmarks measure the same shapes in time, up to 16
// MiB.
#include <gtest/gtest.h>

#include <string>

#include "benchmarks/heap_counter.h"
#include "benchmarks/shapes.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/mail/testing/log_capture.h"

namespace quillhaven::mail {
namespace {

using benchmarks::heapTotal;

// Bytes allocated while `operation` runs.
template <typename Operation>
std::size_t allocatedBy(const Operation& operation) {
  const std::size_t before = heapTotal();
  operation();
  return heapTotal() - before;
}

// A fixed part of the work, such as tables made once, does not grow.
constexpr std::size_t kFixed = std::size_t{64} << 10;

void expectLinear(std::size_t once, std::size_t twice) {
  EXPECT_LE(twice, once * 23 / 10 + kFixed);
}

TEST(HostileMessages, MakeNoMoreThanLinearWork) {
  for (const benchmarks::Shape& shape : benchmarks::hostileMessages()) {
    SCOPED_TRACE(shape.name);
    testing_support::LogCapture log;
    const auto work = [&](std::size_t size) {
      const std::string message = shape.make(size);
      return allocatedBy([&] {
        const auto parser = EmailMessageParser::parserWithData(message);
        ASSERT_TRUE(parser);
        static_cast<void>(parser->subject());
        static_cast<void>(parser->to());
        static_cast<void>(parser->plainTextBody());
        static_cast<void>(parser->htmlBody());
      });
    };
    work(1 << 12);  // makes what is made once
    expectLinear(work(1 << 17), work(1 << 18));
  }
}

TEST(HostileMessages, TakeLittleMemory) {
  // Four times the message, itself included, and 1 MiB.
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  for (const benchmarks::Shape& shape : benchmarks::hostileMessages()) {
    SCOPED_TRACE(shape.name);
    testing_support::LogCapture log;
    const std::string message = shape.make(4 * kMiB);
    const std::size_t before = benchmarks::heapInUse();
    benchmarks::resetHeapPeak();
    ASSERT_TRUE(EmailMessageParser::parserWithData(message));
    EXPECT_LE(benchmarks::heapPeak() - before, 3 * message.size() + kMiB);
  }
}

TEST(HostileTexts, MakeNoMoreThanLinearWork) {
  using Conversion = std::string (*)(std::string_view);
  const Conversion conversions[] = {
      html::stringWithHTMLText,
      html::stringByConvertingHTMLToPlainText,
      html::stringByConvertingPlainTextToHTML,
      html::stringByStrippingTags,
      html::stringByLinkifyingURLs,
      html::stringWithNewLinesAsBRs,
      html::stringByDecodingHTMLEntities,
  };
  for (const benchmarks::Shape& shape : benchmarks::hostileTexts()) {
    for (const Conversion convert : conversions) {
      SCOPED_TRACE(shape.name);
      const auto work = [&](std::size_t size) {
        const std::string text = shape.make(size);
        return allocatedBy([&] { static_cast<void>(convert(text)); });
      };
      expectLinear(work(1 << 15), work(1 << 16));
    }
  }
}

}  // namespace
}  // namespace quillhaven::mail
