// `quillhaven page`: addresses of the product's help pages.
#include <unistd.h>

#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "cli/command.h"
#include "cli/identity_commands.h"
#include "cli/output.h"
#include "quillhaven/identity/website.h"

namespace quillhaven::cli {
namespace {

using identity::Website;

struct PageOptions {
  std::string name;
  bool isList = false;
  bool isOpen = false;
};

// The page with this name or number.
std::optional<Website::Page> pageFrom(std::string_view text) {
  int number = -1;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec == std::errc() && read.ptr == end && number >= 0 &&
      number < Website::kPageCount) {
    return Website::pageWithRawValue(number);
  }
  return Website::pageWithName(text);
}

int listPages() {
  Output output(STDOUT_FILENO);
  for (int number = 0; number < Website::kPageCount; ++number) {
    const auto page = Website::pageWithRawValue(number);
    output.append(std::to_string(number) + "\t" +
                  std::string(Website::name(page)) + "\t" +
                  Website::address(page) + "\n");
  }
  return finish(output, kDone);
}

int showPage(const PageOptions& options) {
  const auto page = pageFrom(options.name);
  if (!page) {
    writeDiagnostics(diagnostic("no page is called \"" + options.name +
                                "\"; \"quillhaven page --list\" shows all"));
    return kWrongUsage;
  }
  Output output(STDOUT_FILENO);
  output.append(Website::address(*page) + "\n");
  if (options.isOpen && !Website::open(*page)) {
    writeDiagnostics(diagnostic("there is no program that opens the page"));
    return finish(output, kFailed);
  }
  return finish(output, kDone);
}

}  // namespace

void addPageCommand(CommandLine& line) {
  Command command = line.addCommand(
      "page", "Print the address of one of the product's help pages.");
  const auto options = std::make_shared<PageOptions>();
  Option name =
      command.argument("NAME", options->name, "the page's name or number");
  Option list = command.flag(
      "--list", options->isList,
      "all pages instead: number, name and address, with tabs between them");
  command
      .flag("--open", options->isOpen,
            "also open the page in the user's browser, with xdg-open")
      .excludes(list);
  name.excludes(list);
  command.footer(
      std::string("Example:\n  quillhaven page uninstall\n\n") +
      "Exit status: 0 done, 1 nothing opens the page, 2 wrong usage, a page "
      "that does\nnot exist included.");
  command.does(
      [options] { return options->isList ? listPages() : showPage(*options); },
      [options] {
        if (!options->isList && options->name.empty()) {
          throw UsageError("NAME is required");
        }
      });
}

}  // namespace quillhaven::cli
