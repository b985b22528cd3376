#include "cli/parse_command.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/input_sources.h"
#include "cli/interruption.h"
#include "cli/message_output.h"
#include "cli/message_pipeline.h"
#include "cli/output.h"
#include "cli/progress_bar.h"

namespace quillhaven::cli {
namespace {

// More threads than this only cost memory.
constexpr std::size_t kMaximumJobs = 256;

// How long finished results may wait for more before they are written.
constexpr std::chrono::milliseconds kPatience{20};

struct ParseOptions {
  std::string format = "text";
  std::optional<std::string> jobs;
  std::optional<std::string> list;
  bool listEndsInNUL = false;
  std::vector<std::string> files;
};

MessageFormat formatNamed(const std::string& name) {
  if (name == "json") return MessageFormat::kJson;
  if (name == "ndjson") return MessageFormat::kNewlineJson;
  return MessageFormat::kText;
}

// A number of 1 or more, saturated; nothing for any other text.
std::optional<std::size_t> positiveNumber(const std::string& text) {
  std::size_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (stop != end || error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc::result_out_of_range) return kMaximumJobs;
  return number > 0 ? std::optional(number) : std::nullopt;
}

std::size_t numberOfJobs(const ParseOptions& options) {
  const std::size_t processors =
      std::max(1U, std::thread::hardware_concurrency());
  const auto jobs = positiveNumber(options.jobs.value_or(""));
  return std::min(jobs.value_or(processors), kMaximumJobs);
}

// What does not depend on the kind of command-line library; empty when right.
std::string usageFault(const ParseOptions& options) {
  if (options.files.empty() && !options.list) {
    return "name a FILE, or a list with --from-file";
  }
  if (options.listEndsInNUL && !options.list) {
    return "-0 needs --from-file";
  }
  if (options.list == kStandardInputPath &&
      std::count(options.files.begin(), options.files.end(),
                 kStandardInputPath) > 0) {
    return "standard input cannot be both the list and a message";
  }
  return {};
}

// Writes results in order as they come, diagnostics first.
class ResultWriter {
 public:
  ResultWriter(Output& output, ProgressBar& bar, MessageFormat format)
      : output_(output), bar_(bar), format_(format) {}

  // Returns false when output can no longer be written.
  bool write(const MessageResult& result) {
    failed_ = failed_ || result.failed;
    if (!result.diagnostics.empty()) {
      // Where both streams lead to one place, the order is kept.
      if (!flush()) return false;
      bar_.clear();
      writeDiagnostics(result.diagnostics);
    }
    if (result.output.empty()) return true;
    if (output_.isTerminal()) bar_.clear();
    hasPending_ = true;
    const bool parts = format_ == MessageFormat::kText && !isFirst_;
    isFirst_ = false;
    if (!parts && !output_.isTerminal()) return output_.append(result.output);
    std::string record(parts ? kMessageSeparator : "");
    record.append(output_.isTerminal()
                      ? replacingTerminalControls(result.output)
                      : result.output);
    return output_.append(record);
  }

  bool flush() {
    hasPending_ = false;
    return output_.flush();
  }

  // True when something may still wait in the output.
  [[nodiscard]] bool hasPending() const { return hasPending_; }
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  Output& output_;
  ProgressBar& bar_;
  const MessageFormat format_;
  bool isFirst_ = true;
  bool hasPending_ = false;
  bool failed_ = false;
};

// Writes all results; returns false when output can no longer be written.
bool writeResults(MessagePipeline& pipeline, ResultWriter& writer,
                  ProgressBar& bar) {
  MessageResult result;
  while (true) {
    const bool mayWait = !writer.hasPending() && !bar.isEnabled();
    const auto patience = mayWait ? std::nullopt : std::optional(kPatience);
    switch (pipeline.next(result, patience)) {
      case MessagePipeline::Next::kResult:
        if (!writer.write(result)) return false;
        break;
      case MessagePipeline::Next::kNotYet:
        if (!writer.flush()) return false;
        break;
      case MessagePipeline::Next::kEnd:
        return writer.flush();
    }
    bar.update(pipeline.count());
  }
}

int parse(const ParseOptions& options) {
  throwFatalErrors();
  Output output(STDOUT_FILENO);
  std::optional<PathList> list;
  if (options.list) {
    list.emplace(*options.list, options.listEndsInNUL ? '\0' : '\n');
  }
  InputSources sources(options.files, std::move(list),
                       options.list == kStandardInputPath);
  const bool showsProgress = ::isatty(STDERR_FILENO) == 1;
  ProgressBar bar(STDERR_FILENO,
                  showsProgress ? sources.count() : std::nullopt);
  const MessageFormat format = formatNamed(options.format);
  ResultWriter writer(output, bar, format);

  const Interruption interruption([&] {
    bar.end();
    output.close();
  });
  MessagePipeline pipeline(sources, format, numberOfJobs(options));
  const bool written = writeResults(pipeline, writer, bar);
  bar.end();
  const int status = finish(output, writer.failed() ? kFailed : kDone);
  // Nobody reads on, and the threads may be waiting for input that never comes.
  if (!written) std::_Exit(status);
  return status;
}

}  // namespace

void addParseCommand(CommandLine& line) {
  Command command = line.addCommand(
      "parse",
      "Parse stored e-mail messages and show their subject, addresses and "
      "bodies.");
  const auto options = std::make_shared<ParseOptions>();
  command
      .option("--format", "FORMAT", options->format,
              "text for reading (the default), json for an indented "
              "object a message, ndjson for one object a line")
      .oneOf({"text", "json", "ndjson"});
  command
      .option("--jobs", "N", options->jobs,
              "messages parsed at the same time; default: one for each "
              "processor")
      .refuses([](const std::string& text) {
        return positiveNumber(text)
                   ? std::string()
                   : "\"" + text + "\" is not a number of 1 or more";
      });
  command.option("--from-file", "LIST", options->list,
                 "also parse the paths in LIST, one a line; - is standard "
                 "input");
  command.flag("-0", options->listEndsInNUL,
               "the paths in LIST end in NUL characters");
  command.argument("FILE", options->files,
                   "messages, folders to walk (hidden files are left out), or "
                   "- for standard input");
  command.takesPaths();
  command.footer(
      std::string("Examples:\n"
                  "  quillhaven parse message.eml\n"
                  "  quillhaven parse --format ndjson Mail/ | jq .subject\n"
                  "  find . -name '*.eml' -print0 |\n"
                  "      quillhaven parse --format ndjson -0 --from-file -\n"
                  "\n"
                  "Results come in the order of the inputs. What is no message "
                  "is named on\nstandard error, and the rest goes on.\n\n") +
      "Exit status: 0 done, 1 at least one input is not a message, 2 wrong "
      "usage.");
  command.does([options] { return parse(*options); },
               [options] {
                 const std::string fault = usageFault(*options);
                 if (!fault.empty()) throw UsageError(fault);
               });
}

}  // namespace quillhaven::cli
