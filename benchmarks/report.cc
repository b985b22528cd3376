#include "benchmarks/report.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <thread>

namespace quillhaven::benchmarks {
namespace {

// The number of characters of UTF-8 text.
std::size_t width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(),
      [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// Appends `text` in a column of `columnWidth`; figures stand on the right.
void appendCell(std::string& line, std::string_view text,
                std::size_t columnWidth, bool isFigure) {
  const std::string padding(columnWidth - width(text), ' ');
  if (isFigure) line += padding;
  line += text;
  if (!isFigure) line += padding;
}

std::string escapedForMarkdown(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '|' || c == '<' || c == '*' || c == '_') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

void appendMarkdownRow(std::string& text,
                       const std::vector<std::string>& cells) {
  text += '|';
  for (const std::string& cell : cells) {
    text += ' ' + escapedForMarkdown(cell) + " |";
  }
  text += '\n';
}

}  // namespace

std::string tableAsText(const Table& table) {
  std::vector<std::size_t> widths;
  for (std::size_t column = 0; column < table.columns.size(); ++column) {
    std::size_t most = width(table.columns[column]);
    for (const auto& row : table.rows) {
      most = std::max(most, width(row[column]));
    }
    widths.push_back(most);
  }
  const auto appendRow = [&widths](std::string& text, const auto& cells) {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
      if (column > 0) line += "  ";
      appendCell(line, cells[column], widths[column], column > 0);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  };

  std::string text = table.title + '\n';
  if (!table.caption.empty()) text += table.caption + '\n';
  text += '\n';
  appendRow(text, table.columns);
  for (const auto& row : table.rows) appendRow(text, row);
  for (const std::string& note : table.notes) text += note + '\n';
  return text;
}

std::string tableAsMarkdown(const Table& table) {
  std::string text = "### " + table.title + "\n\n";
  if (!table.caption.empty()) text += table.caption + "\n\n";
  appendMarkdownRow(text, table.columns);
  text += "|---|";
  for (std::size_t i = 1; i < table.columns.size(); ++i) text += "--:|";
  text += '\n';
  for (const auto& row : table.rows) appendMarkdownRow(text, row);
  for (const std::string& note : table.notes) {
    text += '\n' + escapedForMarkdown(note) + '\n';
  }
  return text;
}

std::string fixed(double value, int decimals) {
  char digits[64];
  std::snprintf(digits, sizeof digits, "%.*f", decimals, value);
  return digits;
}

std::string threeDigits(double value) {
  if (!(value > 0)) return "0";
  const double magnitude = std::floor(std::log10(value));
  return fixed(value, std::clamp(2 - static_cast<int>(magnitude), 0, 6));
}

std::string grouped(std::size_t value) {
  std::string digits = std::to_string(value);
  for (std::size_t i = digits.size(); i > 3;) {
    i -= 3;
    digits.insert(i, 1, ',');
  }
  return digits;
}

std::string_view mark(bool isMet) { return isMet ? "met" : "NOT met"; }

std::string machineDescription() {
  std::string processor = "an unknown processor";
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (!line.starts_with("model name")) continue;
    const std::size_t colon = line.find(": ");
    if (colon != std::string::npos) processor = line.substr(colon + 2);
    break;
  }
  return processor + ", " +
         std::to_string(std::thread::hardware_concurrency()) +
         " threads, compiled by "
#if defined(__clang__)
         "clang " __clang_version__;
#else
         "g++ " __VERSION__;
#endif
}

bool writeFile(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file.fail()) return true;
  std::cerr << "cannot write " << path << '\n';
  return false;
}

void showProgress(std::string_view text) {
  static const bool isTerminal = isatty(STDERR_FILENO) == 1;
  if (isTerminal) std::cerr << "\r\033[K" << text << std::flush;
}

}  // namespace quillhaven::benchmarks
