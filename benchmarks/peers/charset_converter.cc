#include "benchmarks/peers/charset_converter.h"

#include <iconv.h>

#include <cstdint>
#include <map>
#include <memory>

namespace quillhaven::benchmarks {
namespace {

struct CloseConverter {
  void operator()(void* converter) const {
    iconv_close(static_cast<iconv_t>(converter));
  }
};
using Converter = std::unique_ptr<void, CloseConverter>;

std::string lowered(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

// Returns the converter from `charset`, null for an unknown one.
void* converterFor(const std::string& charset) {
  static std::map<std::string, Converter, std::less<>> converters;
  const auto known = converters.find(charset);
  if (known != converters.end()) return known->second.get();
  const iconv_t opened = iconv_open("UTF-8", charset.c_str());
  // iconv_open() reports failure as the pointer of all ones.
  const bool failed = reinterpret_cast<std::intptr_t>(opened) == -1;
  Converter converter(failed ? nullptr : opened);
  return converters.emplace(charset, std::move(converter)).first->second.get();
}

}  // namespace

std::optional<std::string> utf8FromCharset(std::string_view bytes,
                                           std::string_view charset) {
  const std::string name = lowered(charset);
  if (name.empty() || name == "utf-8" || name == "utf8" || name == "us-ascii" ||
      name == "ascii") {
    return std::string(bytes);
  }
  void* const converter = converterFor(name);
  if (converter == nullptr) return std::nullopt;

  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  // No charset that mail uses needs more than three bytes of UTF-8 for a byte.
  std::string text(bytes.size() * 3 + 16, '\0');
  char* from = const_cast<char*>(bytes.data());
  std::size_t fromLeft = bytes.size();
  char* to = text.data();
  std::size_t toLeft = text.size();
  if (iconv(converter, &from, &fromLeft, &to, &toLeft) ==
      static_cast<std::size_t>(-1)) {
    return std::nullopt;
  }
  text.resize(text.size() - toLeft);
  return text;
}

}  // namespace quillhaven::benchmarks
