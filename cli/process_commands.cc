#include "cli/process_commands.h"

#include <unistd.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command.h"
#include "cli/json_writer.h"
#include "cli/output.h"
#include "quillhaven/platform/process/process_sockets.h"
#include "quillhaven/platform/process/process_table.h"
#include "quillhaven/system/processes.h"
#include "quillhaven/system/tcp_sockets.h"

namespace quillhaven::cli {
namespace {

using system::TCPSocketInfo;

struct ProcessOptions {
  std::int32_t pid = 0;
  std::optional<std::string> path;
  std::optional<std::string> bundle;
  std::optional<std::string> name;
  bool isJSON = false;
};

// Writes one item a line, without what a terminal would obey.
void appendLine(Output& output, std::string line) {
  line.push_back('\n');
  output.append(output.isTerminal() ? replacingTerminalControls(line) : line);
}

int writeItems(const std::vector<std::string>& items, int status) {
  Output output(STDOUT_FILENO);
  for (const std::string& item : items) appendLine(output, item);
  return finish(output, status);
}

// Writes the value that `write` makes with a JsonWriter.
template <typename Write>
int writeJSON(const Write& write, int status) {
  std::string json;
  JsonWriter writer(json, JsonWriter::Layout::kIndented);
  write(writer);
  Output output(STDOUT_FILENO);
  output.append(json.append("\n"));
  return finish(output, status);
}

template <typename Elements>
void writeList(JsonWriter& writer, const Elements& elements) {
  writer.beginArray();
  for (const auto& element : elements) writer.value(element);
  writer.endArray();
}

// Says that a process is not there, or why it has no answer.
void reportAbsent(std::int32_t pid, std::string_view reason) {
  writeDiagnostics(diagnostic(
      "PID " + std::to_string(pid),
      system::GetParentProcessID(pid) < 0 ? "no such process" : reason));
}

void writeSocket(JsonWriter& writer, const TCPSocketInfo& socket) {
  writer.beginObject();
  writer.key("state");
  writer.value(socket.state);
  writer.key("stateDescription");
  writer.value(socket.stateDescription());
  writer.key("localAddress");
  writer.value(socket.localAddress);
  writer.key("localPort");
  writer.value(socket.localPort);
  writer.key("remoteAddress");
  writer.value(socket.remoteAddress);
  writer.key("remotePort");
  writer.value(socket.remotePort);
  writer.endObject();
}

// Whether the process can be looked at; the listing has said why not.
bool isReadable(std::int32_t pid) {
  const platform::ProcessTable table;
  platform::TaskSummary summary;
  return platform::processSockets(table, pid)->readTaskSummary(summary).size >
         0;
}

int showSockets(const ProcessOptions& options) {
  const auto byState =
      system::TCPSocketsForPID::tcpSocketInfoForPID(options.pid);
  const int status =
      byState.empty() && !isReadable(options.pid) ? kFailed : kDone;
  if (!options.isJSON) {
    Output output(STDOUT_FILENO);
    for (const auto& [state, sockets] : byState) {
      for (const TCPSocketInfo& socket : sockets) {
        appendLine(output, socket.descriptionWithoutAddress());
      }
    }
    return finish(output, status);
  }
  return writeJSON(
      [&byState](JsonWriter& writer) {
        writer.beginObject();
        for (const auto& [state, sockets] : byState) {
          writer.key(std::to_string(state));
          writer.beginArray();
          for (const TCPSocketInfo& socket : sockets) {
            writeSocket(writer, socket);
          }
          writer.endArray();
        }
        writer.endObject();
      },
      status);
}

int showParent(const ProcessOptions& options) {
  const std::int32_t parent = system::GetParentProcessID(options.pid);
  const bool isKnown = parent >= 0;
  if (!isKnown) reportAbsent(options.pid, "its parent cannot be read");
  const int status = isKnown ? kDone : kFailed;
  if (options.isJSON) {
    return writeJSON(
        [&](JsonWriter& writer) {
          writer.value(isKnown ? std::optional(parent) : std::nullopt);
        },
        status);
  }
  // Not -1: a shell that took it for a process would mean all of them.
  if (!isKnown) return status;
  return writeItems({std::to_string(parent)}, status);
}

int showArguments(const ProcessOptions& options) {
  const auto arguments = system::arguments(options.pid);
  if (!arguments) reportAbsent(options.pid, "its arguments cannot be read");
  const int status = arguments ? kDone : kFailed;
  if (!options.isJSON) {
    return arguments ? writeItems(*arguments, status) : status;
  }
  return writeJSON(
      [&arguments](JsonWriter& writer) {
        if (arguments) {
          writeList(writer, *arguments);
        } else {
          writer.null();
        }
      },
      status);
}

int showPIDs(const ProcessOptions& options) {
  const int ways = int{options.path.has_value()} +
                   int{options.bundle.has_value()} +
                   int{options.name.has_value()};
  if (ways != 1) {
    writeDiagnostics(diagnostic("name one of --path, --bundle and --name"));
    return kWrongUsage;
  }
  const std::vector<std::int32_t> pids =
      options.path ? system::processIdentifiersForPath(*options.path)
      : options.bundle
          ? system::processIdentifiersForBundleName(*options.bundle)
          : system::processIdentifiersForName(*options.name);
  if (options.isJSON) {
    return writeJSON([&pids](JsonWriter& writer) { writeList(writer, pids); },
                     kDone);
  }
  std::vector<std::string> items;
  for (const std::int32_t pid : pids) items.push_back(std::to_string(pid));
  return writeItems(items, kDone);
}

// A command about the process that its argument PID names.
Command addCommand(CommandLine& line, const char* name, const char* description,
                   int (*show)(const ProcessOptions&)) {
  Command command = line.addCommand(name, description);
  const auto options = std::make_shared<ProcessOptions>();
  command.argument("PID", options->pid, "number of the process").required();
  command.flag("--json", options->isJSON, "show JSON");
  command.does([options, show] { return show(*options); });
  return command;
}

}  // namespace

void addSocketsCommand(CommandLine& line) {
  addCommand(line, "sockets",
             "List the TCP sockets of a process that use IPv4, one a line, by "
             "state.",
             showSockets)
      .footer(
          "IPv6 sockets are left out, also where they serve IPv4. With --json: "
          "an object from\nthe number of a state to a list of its sockets.\n\n"
          "Examples:\n"
          "  quillhaven sockets 4711\n"
          "  quillhaven sockets --json $$ | jq '.[\"1\"][].localPort'\n\n"
          "Exit status: 0 done, also without any socket, 1 there is no such "
          "process or it may\nnot be looked at, 2 wrong usage.");
}

void addParentCommand(CommandLine& line) {
  addCommand(line, "parent", "Show the parent of a process.", showParent)
      .footer(
          "The first process has the parent 0.\n\n"
          "Example:\n"
          "  quillhaven parent $$\n\n"
          "Exit status: 0 done, 1 there is no such process (null with --json), "
          "2 wrong usage.");
}

void addArgumentsCommand(CommandLine& line) {
  addCommand(line, "arguments",
             "Show the arguments that a process was started with, one a line, "
             "its own name\nfirst.",
             showArguments)
      .footer(
          "An argument may hold line breaks; --json keeps arguments apart.\n\n"
          "Examples:\n"
          "  quillhaven arguments 4711\n"
          "  quillhaven arguments --json $$ | jq -r '.[0]'\n\n"
          "Exit status: 0 done, 1 there is no such process or it has no "
          "arguments (null with\n--json), 2 wrong usage.");
}

void addPIDsCommand(CommandLine& line) {
  Command command = line.addCommand(
      "pids",
      "List the processes that were started from a path, a bundle or under a "
      "name, one\nnumber a line.");
  const auto options = std::make_shared<ProcessOptions>();
  command.option("--path", "P", options->path,
                 "exactly this path, as the process was given it");
  command.option("--bundle", "B", options->bundle,
                 "a program of the bundle of this name, such as Mail.app");
  command.option("--name", "N", options->name,
                 "exactly this file name, in any "
                 "folder");
  command.flag("--json", options->isJSON, "show a JSON list");
  command.footer(
      "One of --path, --bundle and --name is needed. A value that begins with "
      "a "
      "dash is\nwritten --name=-bash.\n\n"
      "Examples:\n"
      "  quillhaven pids --path /usr/bin/ssh-agent\n"
      "  quillhaven pids --bundle Mail.app\n"
      "  quillhaven pids --name firefox\n\n"
      "Exit status: 0 done, also without any such process, 2 wrong usage.");
  command.does([options] { return showPIDs(*options); });
}

}  // namespace quillhaven::cli
