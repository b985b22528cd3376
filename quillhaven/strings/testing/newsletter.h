// A generated newsletter, for benchmarks.
#ifndef QUILLHAVEN_STRINGS_TESTING_NEWSLETTER_H_
#define QUILLHAVEN_STRINGS_TESTING_NEWSLETTER_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace quillhaven::strings::testing_support {

inline constexpr std::string_view kNewsletterUser =
    "7C9E6679-7425-40DE-944B-E07FC1F90AE7";

// Returns an HTML text of at least `size` bytes: every block, about 1,200
// bytes, has a picture, a plain link and a tracking link, which is how many
// links the newsletters of our mail have. Without `links` all are of another
// scheme.
inline std::string newsletter(std::size_t size, bool links = true) {
  std::string html = "<html><head><style>p{margin:0}</style></head><body>\r\n";
  for (std::size_t i = 0; html.size() < size; ++i) {
    const std::string number = std::to_string(i * 7919);
    const std::string scheme = links ? "https://" : "http://";
    html +=
        "<table width=\"600\" cellpadding=\"0\"><tr><td style=\"padding:8px\">"
        "\r\n<img src=\"" +
        scheme + "images.example.org/2026/11/header-" + number +
        ".jpg\" alt=\"\" width=\"584\" height=\"120\" "
        "style=\"display:block;border:0;outline:none;text-decoration:none\">"
        "\r\n</td></tr><tr><td align=\"left\" valign=\"top\" "
        "style=\"padding:8px 16px;font-family:Georgia,serif;font-size:16px;"
        "line-height:24px;color:#333333;mso-line-height-rule:exactly\">\r\n"
        "<p style=\"margin:0 0 16px 0\">Dear reader, the garden society meets "
        "on &#8220;Friday&#8221; in the old hall, as it does <b>every</b> "
        "month; tea: 5 &euro;, caf\u00E9 at 17:30. Bring seeds to swap, "
        "gloves, "
        "and whoever has not been there yet. The path behind the church is "
        "open again, so nobody need climb the wall.</p>\r\n"
        "<p style=\"margin:0\">Read on <a href=\"" +
        scheme + "www.example.org/read?article=" + number +
        "\">in the archive</a> or <a style=\"color:#336699;font-weight:bold;"
        "text-decoration:underline\" target=\"_blank\" href=\"" +
        scheme + "track.quillhaven.test/" + std::string(kNewsletterUser) +
        "/item-" + number + "?campaign=autumn&amp;n=" + number +
        "\">here &raquo;</a></p>\r\n</td></tr></table>\r\n";
  }
  return html + "</body></html>\r\n";
}

}  // namespace quillhaven::strings::testing_support

#endif  // QUILLHAVEN_STRINGS_TESTING_NEWSLETTER_H_
