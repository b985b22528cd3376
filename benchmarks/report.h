// Tables for the terminal and for Markdown.
#ifndef QUILLHAVEN_BENCHMARKS_REPORT_H_
#define QUILLHAVEN_BENCHMARKS_REPORT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::benchmarks {

// A table whose first column is text and whose others are figures.
struct Table {
  std::string title;
  std::string caption;  // sentences above the table; may be empty
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;  // as long as `columns`
  std::vector<std::string> notes;              // below the table
};

// Both end in a line feed. The headings of the Markdown one are of level 3.
[[nodiscard]] std::string tableAsText(const Table& table);
[[nodiscard]] std::string tableAsMarkdown(const Table& table);

// "1234.5" with `decimals` digits after the point.
[[nodiscard]] std::string fixed(double value, int decimals);

// A throughput or ratio with three significant digits, never as a power of ten.
[[nodiscard]] std::string threeDigits(double value);

// "1,234,567".
[[nodiscard]] std::string grouped(std::size_t value);

// "met" or "NOT met".
[[nodiscard]] std::string_view mark(bool isMet);

// "CPU, compiler" of this run in one sentence, for captions.
[[nodiscard]] std::string machineDescription();

// Writes `text` to `path`; prints a message and returns false if that fails.
[[nodiscard]] bool writeFile(const std::string& path, std::string_view text);

// Shows `text` on one line of standard error that the next call overwrites; an
// empty text removes it. Does nothing unless standard error is a terminal.
void showProgress(std::string_view text);

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_REPORT_H_
