// Charset conversion by iconv, for the peers that have none.
#ifndef QUILLHAVEN_BENCHMARKS_PEERS_CHARSET_CONVERTER_H_
#define QUILLHAVEN_BENCHMARKS_PEERS_CHARSET_CONVERTER_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::benchmarks {

// Returns `bytes` in UTF-8, or nothing when the charset is not known or the
// bytes do not convert. UTF-8, ASCII and an empty name cost a copy only. The
// converters are opened once. One thread at a time.
[[nodiscard]] std::optional<std::string> utf8FromCharset(
    std::string_view bytes, std::string_view charset);

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_PEERS_CHARSET_CONVERTER_H_
