// Measures the mail parser and the HTML conversions beside other libraries that
// do the same work on the same bytes in the same process.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>

#include "benchmarks/measure.h"
#include "benchmarks/peers/contender.h"
#include "benchmarks/report.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::benchmarks {
namespace {

// What the product asks for: our throughput as a multiple of theirs.
constexpr double kRequiredOfGMime = 10;
constexpr double kRequiredOfMimetic = 2;
constexpr double kRequiredOfVmime = 40;
constexpr double kRequiredOfSAX = 5;
constexpr double kRequiredOfValidation = 0.25;

// "Small" messages: all but those with large attachments.
constexpr std::size_t kSmallMessageSize = 100'000;

struct Options {
  std::string messageFolder;
  std::string htmlFolder;  // empty: the HTML bodies of the messages
  std::string only;        // "mail", "headers" or "html"
  std::string markdownFile;
  MeasureOptions measure;
};

struct File {
  std::string name;  // below its folder
  std::string bytes;
};

// Texts that every contender of a table reads; views into files.
struct Input {
  std::vector<std::string_view> texts;
  std::size_t size = 0;  // of all, in bytes

  void add(std::string_view text) {
    texts.push_back(text);
    size += text.size();
  }
};

// Reads the files below `folder` in the order of their names; hidden files and
// those that only describe the collection are left out.
std::vector<File> readFolder(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<File> files;
  for (auto entry = fs::recursive_directory_iterator(folder);
       entry != fs::recursive_directory_iterator(); ++entry) {
    const fs::path& path = entry->path();
    if (path.filename().native().starts_with('.')) {
      if (entry->is_directory()) entry.disable_recursion_pending();
      continue;
    }
    if (!entry->is_regular_file() || path.extension() == ".md" ||
        path.extension() == ".tsv") {
      continue;
    }
    std::ifstream file(path, std::ios::binary);
    files.push_back({path.lexically_relative(folder).string(),
                     {std::istreambuf_iterator<char>(file), {}}});
  }
  std::sort(files.begin(), files.end(),
            [](const File& a, const File& b) { return a.name < b.name; });
  return files;
}

Produced runOnAll(const Contender& contender, const Input& input) {
  Produced all;
  for (const std::string_view text : input.texts) {
    try {
      all += contender.run(text);
    } catch (const std::exception&) {
      ++all.failures;
    }
  }
  return all;
}

struct Peer {
  Contender contender;
  std::optional<double> required;  // our throughput as a multiple of theirs
};

std::string shownRequirement(const Peer& peer, const Comparison& comparison) {
  if (!peer.required) return "";
  const bool isMet = comparison.ratio >= *peer.required;
  return "≥ " + threeDigits(*peer.required) + ": " + std::string(mark(isMet));
}

// The columns that say how much text came out.
enum class TextColumns { kHeaderAndBody, kBody, kNone };

// Measures `ours` against every peer in turn and adds a row for each.
Table compareAll(const std::string& title, const Contender& ours,
                 const std::vector<Peer>& peers, const Input& input,
                 const MeasureOptions& options, TextColumns textColumns) {
  Table table;
  table.title = title;
  table.columns = {"contender", "MB/s", "ours / it", "smallest to largest",
                   "required"};
  if (textColumns == TextColumns::kHeaderAndBody) {
    table.columns.push_back("header text");
  }
  if (textColumns != TextColumns::kNone) table.columns.push_back("body text");
  table.columns.push_back("failures");
  const auto addRow = [&](const Contender& contender,
                          std::vector<std::string> cells) {
    const Produced produced = runOnAll(contender, input);
    const auto shown = [&contender](std::size_t textSize) {
      return contender.makesText ? grouped(textSize) : std::string();
    };
    cells.insert(cells.begin(), contender.name);
    if (textColumns == TextColumns::kHeaderAndBody) {
      cells.push_back(shown(produced.headerText));
    }
    if (textColumns != TextColumns::kNone) {
      cells.push_back(shown(produced.bodyText));
    }
    cells.push_back(grouped(produced.failures));
    table.rows.push_back(std::move(cells));
  };

  std::vector<double> ourRates;
  for (const Peer& peer : peers) {
    showProgress(title + ": " + peer.contender.name);
    const auto passOf = [&input](const Contender& contender) {
      return [&] {
        const Produced produced = runOnAll(contender, input);
        keep(produced.headerText + produced.bodyText);
      };
    };
    const Comparison result =
        compare(passOf(ours), passOf(peer.contender), input.size, options);
    ourRates.push_back(result.ours);
    addRow(peer.contender,
           {threeDigits(result.theirs), threeDigits(result.ratio),
            threeDigits(result.smallestRatio) + " to " +
                threeDigits(result.largestRatio),
            shownRequirement(peer, result)});
  }
  addRow(ours, {threeDigits(median(ourRates)), "1", "", ""});
  std::rotate(table.rows.begin(), table.rows.end() - 1, table.rows.end());
  showProgress("");
  return table;
}

std::string shownSize(const Input& input) {
  return grouped(input.size) + " bytes";
}

Table mailTable(const std::string& title, const Input& input,
                const MeasureOptions& options) {
  return compareAll(
      title + ", " + grouped(input.texts.size()) + " in " + shownSize(input),
      ourMailParser(),
      {{gmime(), kRequiredOfGMime},
       {mimetic(), kRequiredOfMimetic},
       {vmime(), kRequiredOfVmime},
       {copyBytes(), {}},
       {walkNewlines(), {}},
       {validateOurs(), {}},
       {validateICU(), {}},
       {validateGLib(), {}}},
      input, options, TextColumns::kHeaderAndBody);
}

// The header block of a message with the blank line behind it.
std::string_view headerBlockOf(std::string_view message) {
  for (std::size_t at = message.find('\n'); at != std::string_view::npos;
       at = message.find('\n', at + 1)) {
    const std::string_view rest = message.substr(at + 1);
    if (rest.starts_with('\n')) return message.substr(0, at + 2);
    if (rest.starts_with("\r\n")) return message.substr(0, at + 3);
  }
  return message;
}

Table headerTable(const Input& messages, const MeasureOptions& options) {
  Input blocks;
  for (const std::string_view message : messages.texts) {
    const std::string_view block = headerBlockOf(message);
    if (mail::EmailMessageParser::parserWithData(block)) blocks.add(block);
  }
  Table table = compareAll("Header blocks, " + grouped(blocks.texts.size()) +
                               " in " + shownSize(blocks),
                           ourHeaderParser(),
                           {{validateOurs(), kRequiredOfValidation},
                            {validateICU(), kRequiredOfValidation},
                            {validateGLib(), kRequiredOfValidation},
                            {copyBytes(), {}}},
                           blocks, options, TextColumns::kNone);
  table.caption =
      "The header blocks alone, parsed and decoded by us, against the bare "
      "validation of the same bytes as UTF-8. All are valid, so that each "
      "validator reads them to the end.";
  return table;
}

Table htmlTable(const Contender& ours, const Input& documents,
                const MeasureOptions& options) {
  return compareAll(ours.name + ", " + grouped(documents.texts.size()) +
                        " documents in " + shownSize(documents),
                    ours,
                    {{libxml2SAX(), kRequiredOfSAX},
                     {libxml2Tree(), {}},
                     {gumbo(), {}},
                     {copyBytes(), {}}},
                    documents, options, TextColumns::kBody);
}

// The HTML bodies of messages, as files.
std::vector<File> htmlBodiesOf(const Input& messages) {
  std::vector<File> bodies;
  for (const std::string_view bytes : messages.texts) {
    const auto message = mail::EmailMessageParser::parserWithData(bytes);
    if (message && message->htmlBody())
      bodies.push_back({"", *message->htmlBody()});
  }
  return bodies;
}

Input htmlDocuments(const std::vector<File>& files) {
  Input documents;
  for (const File& file : files) {
    if (!file.bytes.empty() && platform::isValidUTF8(file.bytes)) {
      documents.add(file.bytes);
    }
  }
  return documents;
}

// The files that our parser takes; `caption` tells about the others.
Input acceptedMessages(const std::vector<File>& files, std::string& caption) {
  Input accepted;
  std::size_t refused = 0;
  std::string names;
  for (const File& file : files) {
    if (mail::EmailMessageParser::parserWithData(file.bytes)) {
      accepted.add(file.bytes);
    } else {
      names += (refused++ == 0 ? ": " : ", ") + file.name;
    }
  }
  caption = grouped(files.size()) + " messages, of which " +
            grouped(accepted.texts.size()) + " in " + shownSize(accepted) +
            " are fed to all.";
  if (refused > 0) {
    caption += " Our parser refuses the other " + grouped(refused) +
               " (not UTF-8, or without any of the fields that it asks for)" +
               names + '.';
  }
  return accepted;
}

std::string methodDescription(const MeasureOptions& options) {
  return "On " + machineDescription() + ". " + std::to_string(options.rounds) +
         " rounds, ours and the peer in turn, each for at least " +
         fixed(options.minimumSeconds, 2) +
         " s of processor time a round; shown are medians.";
}

Input smallOnes(const Input& messages) {
  Input small;
  for (const std::string_view message : messages.texts) {
    if (message.size() <= kSmallMessageSize) small.add(message);
  }
  return small;
}

// Measures what is wanted and shows each table as soon as it is there.
class Run {
 public:
  explicit Run(const Options& options) : options_(options) {}

  bool run() {
    const std::vector<File> files = readFolder(options_.messageFolder);
    std::string caption;
    const Input messages = acceptedMessages(files, caption);
    if (messages.texts.empty()) {
      std::cerr << "no messages in " << options_.messageFolder << '\n';
      return false;
    }
    show(methodDescription(options_.measure));
    show(caption);
    measureMail(messages);
    if (isWanted("headers")) show(headerTable(messages, options_.measure));
    measureHTML(messages);
    return options_.markdownFile.empty() ||
           writeFile(options_.markdownFile, markdown_);
  }

 private:
  [[nodiscard]] bool isWanted(std::string_view part) const {
    return options_.only.empty() || options_.only == part;
  }

  void measureMail(const Input& messages) {
    if (!isWanted("mail")) return;
    show(mailTable("All messages", messages, options_.measure));
    const Input small = smallOnes(messages);
    if (small.texts.empty() || small.texts.size() == messages.texts.size()) {
      show("There are no messages on both sides of " +
           grouped(kSmallMessageSize) + " bytes to tell apart.");
      return;
    }
    show(mailTable("Messages of up to 100 kB", small, options_.measure));
  }

  void measureHTML(const Input& messages) {
    if (!isWanted("html")) return;
    const std::vector<File> files = options_.htmlFolder.empty()
                                        ? htmlBodiesOf(messages)
                                        : readFolder(options_.htmlFolder);
    const Input documents = htmlDocuments(files);
    if (documents.texts.empty()) {
      show("No HTML documents to measure.");
      return;
    }
    show(htmlTable(ourHTMLData(), documents, options_.measure));
    show(htmlTable(ourPlainText(), documents, options_.measure));
  }

  void show(const Table& table) {
    std::cout << tableAsText(table) << std::endl;
    markdown_ += tableAsMarkdown(table) + '\n';
  }

  void show(const std::string& paragraph) {
    std::cout << paragraph << '\n' << std::endl;
    markdown_ += paragraph + "\n\n";
  }

  const Options& options_;
  std::string markdown_;
};

constexpr std::string_view kUsage =
    "usage: quillhaven_peers [FLAGS] MESSAGES [HTML]\n"
    "  MESSAGES          a folder with one message a file\n"
    "  HTML              a folder with one HTML document a file (default: the\n"
    "                    HTML bodies of the messages)\n"
    "  --rounds R        rounds of each pair (default 7)\n"
    "  --min-time S      seconds of each contender in a round (default 0.2)\n"
    "  --only PART       mail, headers or html\n"
    "  --markdown FILE   also write the tables to FILE\n";

// Reads the arguments; nothing when they are wrong.
std::optional<Options> readOptions(int count, char** arguments) {
  Options options;
  std::vector<std::string> folders;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (!argument.starts_with("--")) {
      folders.emplace_back(argument);
      continue;
    }
    if (++i == count) return std::nullopt;
    const char* const value = arguments[i];
    if (argument == "--rounds") {
      options.measure.rounds = std::atoi(value);
    } else if (argument == "--min-time") {
      options.measure.minimumSeconds = std::atof(value);
    } else if (argument == "--only") {
      options.only = value;
    } else if (argument == "--markdown") {
      options.markdownFile = value;
    } else {
      return std::nullopt;
    }
  }
  if (folders.empty() || folders.size() > 2 || options.measure.rounds < 1) {
    return std::nullopt;
  }
  options.messageFolder = folders[0];
  if (folders.size() == 2) options.htmlFolder = folders[1];
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
  quillhaven::platform::setLogSink(
      [](const quillhaven::platform::LogMessage&) {});
  try {
    return benchmarks::Run(*options).run() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
