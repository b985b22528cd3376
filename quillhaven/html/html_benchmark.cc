#include <benchmark/benchmark.h>

#include <string>

#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"

namespace quillhaven::html {
namespace {

// A newsletter-like document of about `size` bytes.
std::string document(std::size_t size) {
  std::string html = "<html><head><style>p{margin:0}</style></head><body>";
  while (html.size() < size) {
    html +=
        "<table width=\"600\"><tr><td style=\"padding:8px\">\r\n"
        "<p>Dear reader, the garden society meets on &#8220;Friday&#8221; in "
        "the old hall, as it does <b>every</b> month.</p>\r\n"
        "<ul><li>Seeds</li><li>Tools</li></ul><!-- block -->\r\n"
        "<a href=\"https://example.org/x?y=1&amp;z=2\">More</a><br>\r\n"
        "</td></tr></table>\r\n";
  }
  return html + "</body></html>";
}

template <std::string (*operation)(std::string_view)>
void BM_OnDocument(benchmark::State& state) {
  const std::string html = document(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(html));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(html.size()));
}

BENCHMARK(BM_OnDocument<stringWithHTMLText>)->Range(1 << 10, 1 << 20);
BENCHMARK(BM_OnDocument<stringByConvertingHTMLToPlainText>)
    ->Range(1 << 10, 1 << 20);
BENCHMARK(BM_OnDocument<stringByStrippingTags>)->Range(1 << 10, 1 << 20);
BENCHMARK(BM_OnDocument<stringByLinkifyingURLs>)->Range(1 << 10, 1 << 20);
BENCHMARK(BM_OnDocument<stringByDecodingHTMLEntities>)->Range(1 << 10, 1 << 20);

}  // namespace
}  // namespace quillhaven::html
