#include "cli/html_commands.h"

#include <memory>
#include <optional>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/whole_input.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::cli {
namespace {

struct ConversionOptions {
  std::optional<std::string> charset;
  std::string paragraphTag = "div";
  std::string file{kStandardInputPath};
};

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
  return writeWhole(std::move(text));
}

int textToHTML(const ConversionOptions& options) {
  WholeReader reader;
  if (!readWholeText(reader, inputNamed(options.file))) return kFailed;
  return writeWhole(html::stringByConvertingPlainTextToHTMLWithParagraphTag(
      reader.bytes(), options.paragraphTag));
}

}  // namespace

void addHTMLToTextCommand(CommandLine& line) {
  Command command = line.addCommand(
      "html-to-text",
      "Convert an HTML document to readable plain text, with list markers and "
      "line breaks.");
  const auto options = std::make_shared<ConversionOptions>();
  command.option("--charset", "NAME", options->charset,
                 "IANA charset name of the document; default: UTF-8");
  addFileArgument(command, options->file, "what to convert");
  command.footer(
      std::string("Examples:\n"
                  "  quillhaven html-to-text page.html\n"
                  "  quillhaven html-to-text --charset iso-8859-1 < page.html"
                  "\n\n") +
      "Exit status: 0 done, 1 the document cannot be read or converted, 2 "
      "wrong usage.");
  command.does([options] { return htmlToText(*options); });
}

void addTextToHTMLCommand(CommandLine& line) {
  Command command = line.addCommand(
      "text-to-html",
      "Convert plain text in UTF-8 to HTML paragraphs; text that is one HTML "
      "element stays as it is.");
  const auto options = std::make_shared<ConversionOptions>();
  command
      .option("--paragraph-tag", "TAG", options->paragraphTag,
              "what a paragraph is put into: div (the default) or p")
      .oneOf({"div", "p"});
  addFileArgument(command, options->file, "what to convert");
  command.footer(
      std::string("Examples:\n"
                  "  quillhaven text-to-html letter.txt\n"
                  "  printf 'Hello\\n\\nWorld' | quillhaven text-to-html "
                  "--paragraph-tag p\n\n") +
      "Exit status: 0 done, 1 the text cannot be read or is not UTF-8, 2 wrong "
      "usage.");
  command.does([options] { return textToHTML(*options); });
}

}  // namespace quillhaven::cli
