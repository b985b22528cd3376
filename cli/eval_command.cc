#include "cli/eval_command.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <string_view>
#include <unordered_map>

#include "cli/command.h"
#include "cli/eval_line.h"
#include "cli/eval_operation.h"
#include "cli/input_sources.h"
#include "cli/interruption.h"

namespace quillhaven::cli {
namespace {

using nlohmann::json;

constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

// Adding a family of operations takes one line here.
constexpr std::span<const EvalOperation> (*kFamilies[])() = {
    mailOperations,        htmlOperations,     errorOperations,
    stringOperations,      digestOperations,   linkOperations,
    concurrencyOperations, identityOperations, processOperations,
    scriptOperations,      uiOperations,
};

const EvalOperation& operationNamed(std::string_view name) {
  using Table = std::unordered_map<std::string_view, const EvalOperation*>;
  static const Table table = [] {
    Table all;
    for (const auto family : kFamilies) {
      for (const EvalOperation& operation : family()) {
        all.emplace(operation.name, &operation);
      }
    }
    return all;
  }();
  const auto found = table.find(name);
  if (found != table.end()) return *found->second;
  throw EvalError(
      std::string("unknown operation \"").append(name).append("\""));
}

// Returns what nlohmann::json says about a malformed line, without its prefix
// and without the part of the line it quotes, which may be long.
std::string syntaxFault(const json::exception& error) {
  std::string_view text = error.what();
  const std::size_t column = text.find(": ");
  if (column != std::string_view::npos) text.remove_prefix(column + 2);
  return std::string(text.substr(0, text.find("; last read")));
}

json parsedObject(const EvalLine& line) {
  if (line.isTooDeep) {
    throw EvalError("line nests deeper than " +
                    std::to_string(kMaximumEvalDepth) + " levels");
  }
  json object;
  try {
    object = json::parse(line.text);
  } catch (const json::exception& error) {
    throw EvalError("line is not JSON: " + syntaxFault(error));
  }
  if (!object.is_object()) throw EvalError("line is not an object");
  return object;
}

// Returns the JSON of the member "id", or nothing. As written where possible: a
// number keeps all its digits and an object its order.
std::string idOf(const json& object, const EvalLine& line) {
  const auto member = object.find("id");
  if (member == object.end()) return {};
  return line.id.empty() ? member->dump() : line.id;
}

// Writes "result" and its value, or throws.
void writeResult(const json& object, JsonWriter& answer) {
  const Arguments arguments(object);
  const EvalOperation& operation = operationNamed(arguments.string("op"));
  answer.key("result");
  operation.run(arguments, answer);
}

// Returns an object with what `write` puts into it and, if there is one, the
// id.
template <typename Write>
std::string answerWith(const std::string& id, const Write& write) {
  std::string text;
  JsonWriter answer(text);
  answer.beginObject();
  write(answer);
  if (!id.empty()) {
    answer.key("id");
    answer.literal(id);
  }
  answer.endObject();
  return text;
}

}  // namespace

std::string evalAnswer(std::string lineText) {
  const EvalLine line = prepareEvalLine(std::move(lineText), kMaximumEvalDepth);
  std::string id;
  std::string fault;
  try {
    const json object = parsedObject(line);
    id = idOf(object, line);
    return answerWith(id,
                      [&](JsonWriter& answer) { writeResult(object, answer); });
  } catch (const std::bad_alloc&) {
    fault = "not enough memory";
  } catch (const std::exception& error) {
    fault = error.what();
  }
  return answerWith(id, [&](JsonWriter& answer) {
    answer.key("error");
    answer.value(fault);
  });
}

int evalLines(int input, Output& output) {
  std::string buffer;    // its size is the room for reading
  std::size_t used = 0;  // bytes at its start that are not answered yet
  const auto answerOne = [&](std::size_t start, std::size_t end) {
    return output.append(evalAnswer(buffer.substr(start, end - start)) + "\n");
  };
  while (true) {
    if (!output.flush()) return finish(output, kDone);
    if (buffer.size() - used < kPieceSize) {
      buffer.resize(std::max(2 * used, used + kPieceSize));
    }
    const auto count =
        readSome(input, buffer.data() + used, buffer.size() - used);
    if (!count) {
      writeDiagnostics(diagnostic("standard input", errorText(errno)));
      return finish(output, kFailed);
    }
    if (*count == 0) {
      if (used > 0) answerOne(0, used);  // a last line without a line feed
      return finish(output, kDone);
    }
    const std::string_view unanswered(buffer.data(), used + *count);
    std::size_t start = 0;
    std::size_t end = unanswered.find('\n', used);
    for (; end != std::string_view::npos; end = unanswered.find('\n', start)) {
      if (!answerOne(start, end)) return finish(output, kDone);
      start = end + 1;
    }
    used = unanswered.size() - start;
    std::memmove(buffer.data(), buffer.data() + start, used);
  }
}

void addEvalCommand(CommandLine& line) {
  Command command = line.addCommand(
      "eval",
      "Answer one JSON object a line from standard input with one on standard "
      "output, in order.");
  command.footer(
      std::string(
          "A line names an operation and its arguments, byte arguments in "
          "Base64. The answer\nholds \"result\" or \"error\", and the \"id\" "
          "of the line if it has one.\n\n"
          "Example:\n"
          "  echo '{\"op\": \"stringByStrippingTags\", \"text\": "
          "\"<b>Hi</b>\", \"id\": 1}' |\n"
          "      quillhaven eval\n"
          "prints\n"
          "  {\"result\":\"Hi\",\"id\":1}\n\n") +
      "Exit status: 0 done, errors in answers included, 1 reading or writing "
      "failed,\n2 wrong usage.");
  command.does([] {
    throwFatalErrors();
    Output output(STDOUT_FILENO);
    const Interruption interruption([&output] { output.close(); });
    return evalLines(STDIN_FILENO, output);
  });
}

}  // namespace quillhaven::cli
