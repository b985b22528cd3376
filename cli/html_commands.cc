#include "cli/html_commands.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/input_sources.h"
#include "cli/output.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/string_encoding.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::cli {
namespace {

struct ConversionOptions {
  std::optional<std::string> charset;
  std::string paragraphTag = "div";
  std::string file{kStandardInputPath};
};

Input inputNamed(const std::string& file) {
  const bool isStandardInput = file == kStandardInputPath;
  return {isStandardInput ? Input::Kind::kStandardInput : Input::Kind::kFile,
          file,
          {}};
}

// Reads `input` whole; says why when that fails and returns false.
bool readWhole(WholeReader& reader, const Input& input) {
  auto failure = reader.open(input);
  if (!failure) failure = reader.read(std::numeric_limits<std::size_t>::max());
  if (!failure) return true;
  writeDiagnostics(diagnostic(displayName(input), *failure));
  return false;
}

// Writes the result of a conversion exactly; a terminal gets the line break
// that brings the prompt to a line of its own.
int writeResult(std::string result) {
  Output output(STDOUT_FILENO);
  if (output.isTerminal() && !result.ends_with('\n')) result.push_back('\n');
  output.append(result);
  return finish(output, kDone);
}

int htmlToText(const ConversionOptions& options) {
  const std::string charset = options.charset.value_or("utf-8");
  const auto encoding = platform::stringEncodingForIANAName(charset);
  if (encoding == platform::kStringEncodingInvalid) {
    writeDiagnostics(diagnostic("unknown charset \"" + charset + "\""));
    return kWrongUsage;
  }
  WholeReader reader;
  const Input input = inputNamed(options.file);
  if (!readWhole(reader, input)) return kFailed;

  std::string text =
      html::stringWithHTMLData(reader.bytes(), {options.charset});
  // Only a conversion that failed is worth a second one, to tell it from a
  // document without text.
  if (text.empty() && !platform::textFromBytes(reader.bytes(), encoding)) {
    writeDiagnostics(diagnostic(displayName(input), "not valid " + charset));
    return kFailed;
  }
  return writeResult(std::move(text));
}

int textToHTML(const ConversionOptions& options) {
  WholeReader reader;
  const Input input = inputNamed(options.file);
  if (!readWhole(reader, input)) return kFailed;
  if (!platform::isValidUTF8(reader.bytes())) {
    writeDiagnostics(diagnostic(displayName(input), "not valid UTF-8"));
    return kFailed;
  }
  return writeResult(html::stringByConvertingPlainTextToHTMLWithParagraphTag(
      reader.bytes(), options.paragraphTag));
}

void addFile(CLI::App& command, ConversionOptions& options) {
  command
      .add_option("FILE", options.file,
                  "what to convert; - or nothing is standard input")
      ->type_name("");
}

}  // namespace

void addHTMLToTextCommand(CLI::App& app, Work& work) {
  CLI::App* const command = app.add_subcommand(
      "html-to-text",
      "Convert an HTML document to readable plain text, with list markers and "
      "line breaks.");
  const auto options = std::make_shared<ConversionOptions>();
  command
      ->add_option("--charset", options->charset,
                   "IANA charset name of the document; default: UTF-8")
      ->type_name("NAME");
  addFile(*command, *options);
  command->footer(
      std::string("Examples:\n"
                  "  quillhaven html-to-text page.html\n"
                  "  quillhaven html-to-text --charset iso-8859-1 < page.html"
                  "\n\n") +
      "Exit status: 0 done, 1 the document cannot be read or converted, 2 "
      "wrong usage.");
  command->callback(
      [&work, options] { work = [options] { return htmlToText(*options); }; });
}

void addTextToHTMLCommand(CLI::App& app, Work& work) {
  CLI::App* const command = app.add_subcommand(
      "text-to-html",
      "Convert plain text in UTF-8 to HTML paragraphs; text that is one HTML "
      "element stays as it is.");
  const auto options = std::make_shared<ConversionOptions>();
  command
      ->add_option("--paragraph-tag", options->paragraphTag,
                   "what a paragraph is put into: div (the default) or p")
      ->type_name("TAG")
      ->check(CLI::IsMember({"div", "p"}).description(""));
  addFile(*command, *options);
  command->footer(
      std::string("Examples:\n"
                  "  quillhaven text-to-html letter.txt\n"
                  "  printf 'Hello\\n\\nWorld' | quillhaven text-to-html "
                  "--paragraph-tag p\n\n") +
      "Exit status: 0 done, 1 the text cannot be read or is not UTF-8, 2 wrong "
      "usage.");
  command->callback(
      [&work, options] { work = [options] { return textToHTML(*options); }; });
}

}  // namespace quillhaven::cli
