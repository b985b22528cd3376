// Measures tracking links, address checks, digests and encodings beside the
// libraries that a host would use otherwise, on the same bytes in the same
// process.
#include <glib.h>
#include <malloc.h>
#include <openssl/evp.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

#include "benchmarks/measure.h"
#include "benchmarks/report.h"
#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/strings/digests.h"
#include "quillhaven/strings/email_addresses.h"
#include "quillhaven/strings/encodings.h"
#include "quillhaven/strings/testing/newsletter.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::benchmarks {
namespace {

using platform::Uuid;
using strings::bytesOf;
using strings::testing_support::kNewsletterUser;
using strings::testing_support::newsletter;

// What the product asks for: our throughput as a multiple of theirs.
constexpr double kRequiredOfPattern = 1;
constexpr double kRequiredOfMemmem = 0.5;
constexpr double kRequiredOfSmallDigest = 0.8;
constexpr double kRequiredOfLargeDigest = 0.97;
constexpr double kRequiredOfBase64 = 2;
constexpr double kRequiredOfAddressPattern = 10;

constexpr std::size_t kTextSize = std::size_t{1} << 20;

struct Options {
  std::string htmlFolder;  // empty: the generated newsletter alone
  std::string markdownFile;
  MeasureOptions measure;
};

// One line of a table: our operation and the other's on the same input.
struct Pair {
  std::string operation;
  std::string peer;
  std::size_t size;  // of the input of one pass, in bytes
  Pass ours;
  Pass theirs;
  std::optional<double> required;
};

// The same pattern compiled by PCRE2 with its just-in-time compiler.
class JitPattern {
 public:
  JitPattern(const std::string& pattern, std::uint32_t options) {
    int error = 0;
    PCRE2_SIZE where = 0;
    code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()),
                              pattern.size(), PCRE2_CASELESS | options, &error,
                              &where, nullptr));
    if (!code_ || pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE) != 0) {
      throw std::runtime_error("PCRE2 does not compile the pattern");
    }
    data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
  }

  // The number of matches in valid UTF-8.
  [[nodiscard]] std::size_t count(std::string_view text) const {
    const auto* const subject = reinterpret_cast<PCRE2_SPTR>(text.data());
    std::size_t found = 0;
    std::size_t from = 0;
    while (pcre2_jit_match(code_.get(), subject, text.size(), from, 0,
                           data_.get(), nullptr) > 0) {
      from = pcre2_get_ovector_pointer(data_.get())[1];
      ++found;
    }
    return found;
  }

 private:
  template <auto function>
  struct Deleter {
    template <typename Type>
    void operator()(Type* object) const {
      function(object);
    }
  };
  std::unique_ptr<pcre2_code, Deleter<pcre2_code_free>> code_;
  std::unique_ptr<pcre2_match_data, Deleter<pcre2_match_data_free>> data_;
};

std::size_t countByICU(const platform::RegularExpression& pattern,
                       std::string_view text) {
  std::size_t found = 0;
  std::size_t from = 0;
  while (const auto match = pattern.firstMatch(text, from)) {
    from = match->position + match->size;
    ++found;
  }
  return found;
}

// Links of any user in `text` found and marked, against finding them.
std::vector<Pair> linkPairs(const std::string& name, const std::string& text) {
  const std::string pattern = strings::trackingItemRegexPattern();
  const auto bytes = std::make_shared<JitPattern>(pattern, 0);
  const auto utf = std::make_shared<JitPattern>(pattern, PCRE2_UTF | PCRE2_UCP);
  const auto icu = std::make_shared<platform::RegularExpression>(
      pattern, platform::RegularExpression::Options::kIgnoringCase);
  const Uuid user = *Uuid::fromString(kNewsletterUser);
  const auto mark = [&text] {
    keep(strings::addingNoTrackToTrackingURLs(text).size());
  };
  const auto markContact = [&text, user] {
    keep(strings::addingContactIdToTrackingURLs(text, user, Uuid()).size());
  };
  const auto find = [&text](const std::shared_ptr<JitPattern>& jit) {
    return [&text, jit] { keep(jit->count(text)); };
  };
  const std::string operation = "addingNoTrack…, " + name;
  return {
      {operation, "PCRE2 JIT finds, bytes", text.size(), mark, find(bytes), {}},
      {operation, "PCRE2 JIT finds, UTF-8", text.size(), mark, find(utf),
       kRequiredOfPattern},
      {"addingContactId…, " + name, "PCRE2 JIT finds, UTF-8", text.size(),
       markContact, find(utf), kRequiredOfPattern},
      {operation,
       "ICU finds",
       text.size(),
       mark,
       [&text, icu] { keep(countByICU(*icu, text)); },
       {}},
  };
}

Pair containsPair(const std::string& name, const std::string& text) {
  return {"containsTrackingURL, " + name,
          "memmem \"https://\"",
          text.size(),
          [&text] { keep(strings::containsTrackingURL(text)); },
          [&text] {
            constexpr std::string_view kStart = "https://";
            keep(::memmem(text.data(), text.size(), kStart.data(),
                          kStart.size()) == nullptr);
          },
          kRequiredOfMemmem};
}

// Calls `function` on pieces of `size` bytes of `bytes` until they are used up:
// a single small digest is too short for the clock.
template <typename Function>
Pass onPieces(const std::string& bytes, std::size_t size, Function function) {
  return [&bytes, size, function] {
    const std::string_view all = bytes;
    for (std::size_t at = 0; at + size <= all.size(); at += size) {
      keep(function(bytesOf(all.substr(at, size))));
    }
  };
}

std::size_t firstByteOf(const auto& digest) {
  return std::to_integer<std::size_t>(digest[0]);
}

// libcrypto called as a host would that looks the algorithm up once.
template <std::size_t size>
auto oneShot(const std::shared_ptr<EVP_MD>& algorithm) {
  return [algorithm](std::span<const std::byte> data) {
    std::array<std::byte, size> digest;
    EVP_Digest(data.data(), data.size(),
               reinterpret_cast<unsigned char*>(digest.data()), nullptr,
               algorithm.get(), nullptr);
    return firstByteOf(digest);
  };
}

template <std::size_t length, typename Ours>
void addDigestPairs(std::vector<Pair>& pairs, const char* name,
                    const std::string& bytes, Ours ours) {
  const std::shared_ptr<EVP_MD> algorithm(EVP_MD_fetch(nullptr, name, nullptr),
                                          EVP_MD_free);
  for (const std::size_t size : {std::size_t{64}, kTextSize}) {
    const bool isSmall = size < kTextSize;
    pairs.push_back(
        {std::string(name) + ", " + grouped(size) + " bytes", "EVP_Digest",
         bytes.size(), onPieces(bytes, size, ours),
         onPieces(bytes, size, oneShot<length>(algorithm)),
         isSmall ? kRequiredOfSmallDigest : kRequiredOfLargeDigest});
  }
}

std::vector<Pair> digestPairs(const std::string& bytes) {
  using Data = std::span<const std::byte>;
  std::vector<Pair> pairs;
  addDigestPairs<16>(pairs, "MD5", bytes,
                     [](Data d) { return firstByteOf(strings::md5(d)); });
  addDigestPairs<20>(pairs, "SHA1", bytes,
                     [](Data d) { return firstByteOf(strings::sha1(d)); });
  addDigestPairs<32>(pairs, "SHA256", bytes,
                     [](Data d) { return firstByteOf(strings::sha256(d)); });
  const auto hmac = [](Data data) {
    return firstByteOf(strings::hmac(data, strings::HMACAlgorithm::SHA256,
                                     bytesOf("0123456789abcdef")));
  };
  const auto theirHmac = [](Data data) {
    std::array<std::byte, 32> result;
    std::size_t size = 0;
    EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, "0123456789abcdef",
              16, reinterpret_cast<const unsigned char*>(data.data()),
              data.size(), reinterpret_cast<unsigned char*>(result.data()),
              result.size(), &size);
    return firstByteOf(result);
  };
  pairs.push_back({"HMAC-SHA256, 64 bytes",
                   "EVP_Q_mac",
                   bytes.size(),
                   onPieces(bytes, 64, hmac),
                   onPieces(bytes, 64, theirHmac),
                   {}});
  return pairs;
}

std::size_t urlSafeByGLib(std::span<const std::byte> data) {
  gchar* const text = g_base64_encode(
      reinterpret_cast<const guchar*>(data.data()), data.size());
  std::string result(text);
  g_free(text);
  for (char& c : result) {
    if (c == '+') c = '-';
    if (c == '/') c = '_';
  }
  while (result.ends_with('=')) result.pop_back();
  return result.size();
}

std::vector<Pair> encodingPairs(const std::string& bytes) {
  const auto ours = [](std::span<const std::byte> data) {
    return strings::base64URLEncodedString(data).size();
  };
  std::vector<Pair> pairs;
  for (const std::size_t size :
       {std::size_t{16}, std::size_t{4096}, kTextSize}) {
    pairs.push_back({"base64URLEncodedString, " + grouped(size) + " bytes",
                     "g_base64_encode and replacing", bytes.size(),
                     onPieces(bytes, size, ours),
                     onPieces(bytes, size, urlSafeByGLib), kRequiredOfBase64});
  }
  return pairs;
}

// As they stand in headers and forms, some of them mistyped.
constexpr std::string_view kAddresses[] = {
    "jun@heronpress.example.org",
    "Amélie Duval <amelie.duval@ferry-company.example>",
    "<no-reply+4711@notifications.mail.example.com>",
    "john.doe42@mail.example",
    "john doe at mail.example",
    "\"Doe, John\" <john.doe@mail.example>",
    "岡部 純 <jun@heronpress.example.org>",
    "undisclosed-recipients:;",
};

// Calls `check` with each address, often enough for the clock.
template <typename Check>
Pass onAddresses(Check check) {
  return [check] {
    for (int i = 0; i < 100; ++i) {
      for (const std::string_view text : kAddresses) keep(check(text) ? 1 : 0);
    }
  };
}

// The patterns are searched for in UTF-8 as it is, which spares ICU even the
// counting of characters that ours does.
std::vector<Pair> addressPairs() {
  using platform::RegularExpression;
  constexpr auto kIgnoringCase = RegularExpression::Options::kIgnoringCase;
  const auto valid = std::make_shared<RegularExpression>(
      R"(^.+@([A-Za-z0-9-]+\.)+[A-Za-z]{2}[A-Za-z]*$)");
  const auto formatted = std::make_shared<RegularExpression>(
      R"(^([^<]+ )?<[A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6}>$)", kIgnoringCase);
  const auto address = std::make_shared<RegularExpression>(
      R"([A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6})", kIgnoringCase);
  std::size_t size = 0;
  for (const std::string_view text : kAddresses) size += 100 * text.size();
  return {
      {"isValidEmail", "ICU pattern", size, onAddresses(strings::isValidEmail),
       onAddresses([valid](std::string_view t) { return valid->matches(t); }),
       kRequiredOfAddressPattern},
      {"isFormattedEmail", "ICU pattern", size,
       onAddresses(strings::isFormattedEmail),
       onAddresses([formatted](std::string_view t) {
         return formatted->firstMatch(t).has_value();
       }),
       kRequiredOfAddressPattern},
      {"emailAddress", "ICU pattern", size, onAddresses(strings::emailAddress),
       onAddresses([address](std::string_view t) {
         return address->firstMatch(t).has_value();
       }),
       kRequiredOfAddressPattern},
  };
}

Table tableOf(const std::string& title, const std::vector<Pair>& pairs,
              const MeasureOptions& options) {
  Table table;
  table.title = title;
  table.columns = {"ours",     "MB/s",      "beside",
                   "its MB/s", "ours / it", "smallest to largest",
                   "required"};
  for (const Pair& pair : pairs) {
    showProgress(pair.operation + ": " + pair.peer);
    const Comparison result =
        compare(pair.ours, pair.theirs, pair.size, options);
    std::string required;
    if (pair.required) {
      required = "≥ " + threeDigits(*pair.required) + ": " +
                 std::string(mark(result.ratio >= *pair.required));
    }
    table.rows.push_back({pair.operation, threeDigits(result.ours), pair.peer,
                          threeDigits(result.theirs), threeDigits(result.ratio),
                          threeDigits(result.smallestRatio) + " to " +
                              threeDigits(result.largestRatio),
                          required});
    showProgress("");
  }
  return table;
}

// Returns 1 MiB of the HTML files below `folder`, with a tracking link between
// two tags every 1,250 bytes or so: as many as such documents have links.
std::string textFromFolder(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<fs::path> paths;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const auto extension = entry.path().extension();
    if (extension == ".html" || extension == ".htm") {
      paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  if (paths.empty()) throw std::runtime_error("no HTML below " + folder);
  std::string text;
  std::size_t last = 0;
  for (std::size_t i = 0; text.size() < kTextSize; ++i) {
    std::ifstream file(paths[i % paths.size()], std::ios::binary);
    for (std::string tag; std::getline(file, tag, '>');) {
      text += tag + '>';
      if (text.size() - last < 1250) continue;
      text += "<a href=\"https://track.quillhaven.test/" +
              std::string(kNewsletterUser) + "/item-" + std::to_string(i) +
              "?n=1\">more</a>";
      last = text.size();
    }
  }
  return text;
}

std::string withoutLinks(std::string text) {
  constexpr std::string_view kStart = "https://";
  for (std::size_t at = text.find(kStart); at != std::string::npos;
       at = text.find(kStart, at)) {
    text.erase(at + 4, 1);
  }
  return text;
}

// Makes malloc() keep what is freed. Otherwise the system hands out the pages
// of a result of a megabyte afresh every time, or not, as earlier allocations
// have it, and that costs several times what is measured.
void keepFreedMemory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

bool run(const Options& options) {
  keepFreedMemory();
  const std::string letter = newsletter(kTextSize);
  const std::string plainLetter = newsletter(kTextSize, false);
  const std::string bytes = letter.substr(0, kTextSize);
  std::vector<Pair> links = linkPairs("newsletter", letter);
  std::string real;
  std::string plainReal;
  if (!options.htmlFolder.empty()) {
    real = textFromFolder(options.htmlFolder);
    plainReal = withoutLinks(real);
    for (const Pair& pair : linkPairs("real HTML", real)) links.push_back(pair);
  }
  links.push_back(containsPair("no link", plainLetter));
  if (!real.empty()) links.push_back(containsPair("real HTML", plainReal));
  std::string markdown;
  for (const Table& table :
       {tableOf("Tracking links in 1 MiB", links, options.measure),
        tableOf("Addresses", addressPairs(), options.measure),
        tableOf("Digests", digestPairs(bytes), options.measure),
        tableOf("URL-safe Base64", encodingPairs(bytes), options.measure)}) {
    std::cout << tableAsText(table) << std::endl;
    markdown += tableAsMarkdown(table) + '\n';
  }
  return options.markdownFile.empty() ||
         writeFile(options.markdownFile, markdown);
}

constexpr std::string_view kUsage =
    "usage: quillhaven_strings_peers [--rounds R] [--min-time S] "
    "[--markdown FILE]\n"
    "           [HTML]\n"
    "  HTML  a folder with HTML documents to put tracking links into\n";

std::optional<Options> readOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (!argument.starts_with("--")) {
      if (!options.htmlFolder.empty()) return std::nullopt;
      options.htmlFolder = argument;
      continue;
    }
    if (++i == count) return std::nullopt;
    const char* const value = arguments[i];
    if (argument == "--rounds") {
      options.measure.rounds = std::atoi(value);
    } else if (argument == "--min-time") {
      options.measure.minimumSeconds = std::atof(value);
    } else if (argument == "--markdown") {
      options.markdownFile = value;
    } else {
      return std::nullopt;
    }
  }
  if (options.measure.rounds < 1) return std::nullopt;
  return options;
}

}  // namespace
}  // namespace quillhaven::benchmarks

int main(int count, char** arguments) {
  namespace benchmarks = quillhaven::benchmarks;
  const auto options = benchmarks::readOptions(count, arguments);
  if (!options) {
    std::cerr << benchmarks::kUsage;
    return 2;
  }
  try {
    return benchmarks::run(*options) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
