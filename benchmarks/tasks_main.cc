// Measures tasks beside the bare calls of the system that do the same.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/measure.h"
#include "benchmarks/report.h"
#include "quillhaven/system/task.h"

namespace quillhaven::benchmarks {
namespace {

using system::BlockingMode;
using system::Pipe;
using system::Task;
using Clock = std::chrono::steady_clock;

// What the product asks for.
constexpr double kLargestTimeOfTrue = 1.3;    // times posix_spawn and waitpid
constexpr double kSmallestSpeedOfRead = 0.5;  // of a bare read loop

constexpr const char* kTrue = "/bin/true";
constexpr const char* kHead = "/usr/bin/head";

struct Options {
  int rounds = 7;
  int runsOfTrue = 200;                     // in each round
  std::size_t size = std::size_t{1} << 30;  // of the output
  std::string markdownFile;
};

// Fails loudly: a figure of work that was not done is worse than none.
void require(bool condition, std::string_view what) {
  if (condition) return;
  std::cerr << "quillhaven_tasks: " << what << " failed\n";
  std::exit(EXIT_FAILURE);
}

double secondsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void waitFor(pid_t pid) {
  int status = -1;
  require(::waitpid(pid, &status, 0) == pid && status == 0, "waitpid");
}

void runTrueBare() {
  std::array<char*, 2> arguments = {const_cast<char*>(kTrue), nullptr};
  pid_t pid = -1;
  require(::posix_spawn(&pid, kTrue, nullptr, nullptr, arguments.data(),
                        environ) == 0,
          "posix_spawn");
  waitFor(pid);
}

void runTrue(BlockingMode mode, bool isCollected) {
  system::TaskConfiguration configuration = {.executable = kTrue};
  if (isCollected) {
    configuration.standardOutput = Pipe::pipe();
    configuration.standardError = Pipe::pipe();
  }
  Task task(std::move(configuration));
  task.runAndWait(mode);
  require(task.terminationStatus() == 0, "true");
}

void readBare(std::size_t size) {
  int ends[2];
  require(::pipe2(ends, O_CLOEXEC) == 0, "pipe2");
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::string count = std::to_string(size);
  std::array<char*, 5> arguments = {const_cast<char*>(kHead),
                                    const_cast<char*>("-c"), count.data(),
                                    const_cast<char*>("/dev/zero"), nullptr};
  pid_t pid = -1;
  require(::posix_spawn(&pid, kHead, &actions, nullptr, arguments.data(),
                        environ) == 0,
          "posix_spawn");
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  static std::array<char, 64 * 1024> piece;
  std::size_t total = 0;
  ssize_t got;
  while ((got = ::read(ends[0], piece.data(), piece.size())) > 0) {
    total += static_cast<std::size_t>(got);
  }
  ::close(ends[0]);
  waitFor(pid);
  require(total == size, "the bare read loop");
}

void readThroughTask(BlockingMode mode, std::size_t size) {
  Task task({.executable = kHead,
             .arguments = {"-c", std::to_string(size), "/dev/zero"},
             .standardOutput = Pipe::pipe()});
  const auto output = task.runAndWait(mode).standardOutput;
  require(output && output->size() == size, "the task's output");
}

struct Contender {
  std::string name;
  std::function<void()> work;
};

struct Measured {
  double bare = 0;  // seconds, medians
  double ours = 0;
  double ratio = 0;  // ours / bare, the median of the rounds
  double smallest = 0;
  double largest = 0;
};

// Lets both take turns, after one of each that does not count.
Measured measured(const Contender& bare, const Contender& ours, int rounds) {
  showProgress(ours.name);
  bare.work();
  ours.work();
  std::vector<double> bareTimes;
  std::vector<double> ourTimes;
  std::vector<double> ratios;
  for (int i = 0; i < rounds; ++i) {
    bareTimes.push_back(secondsOf(bare.work));
    ourTimes.push_back(secondsOf(ours.work));
    ratios.push_back(ourTimes.back() / bareTimes.back());
  }
  showProgress("");
  const auto [low, high] = std::minmax_element(ratios.begin(), ratios.end());
  return {median(bareTimes), median(ourTimes), median(ratios), *low, *high};
}

Table trueTable(const Options& options) {
  const auto repeated = [&options](std::function<void()> work) {
    return [work = std::move(work), &options] {
      for (int i = 0; i < options.runsOfTrue; ++i) work();
    };
  };
  Table table;
  table.title = "Running true";
  table.caption = "On " + machineDescription() + ". " +
                  std::to_string(options.rounds) + " rounds of " +
                  std::to_string(options.runsOfTrue) +
                  " runs each, ours and the bare calls in turn; shown are "
                  "medians of the time of day.";
  table.columns = {"contender",           "µs a run", "bare, µs", "ours / bare",
                   "smallest to largest", "required"};
  const Contender bare = {"posix_spawn, waitpid", repeated(runTrueBare)};
  const struct {
    std::string name;
    BlockingMode mode;
    bool isCollected;
  } ours[] = {
      {"runAndWait, run loop", BlockingMode::runLoop, false},
      {"runAndWait, run loop, two pipes", BlockingMode::runLoop, true},
      {"runAndWait, dispatch group", BlockingMode::dispatchGroup, false},
      {"runAndWait, dispatch group, two pipes", BlockingMode::dispatchGroup,
       true},
  };
  for (const auto& c : ours) {
    const Measured result = measured(
        bare, {c.name, repeated([&c] { runTrue(c.mode, c.isCollected); })},
        options.rounds);
    const double runs = options.runsOfTrue;
    table.rows.push_back(
        {c.name, fixed(result.ours / runs * 1e6, 0),
         fixed(result.bare / runs * 1e6, 0), fixed(result.ratio, 2),
         fixed(result.smallest, 2) + " to " + fixed(result.largest, 2),
         "≤ " + fixed(kLargestTimeOfTrue, 1) + ": " +
             std::string(mark(result.ratio <= kLargestTimeOfTrue))});
  }
  return table;
}

Table outputTable(const Options& options) {
  Table table;
  table.title = "Output of " + grouped(options.size) + " bytes";
  table.caption =
      "head writes them to a pipe. The bare loop reads 64 KiB at a time into "
      "one buffer and drops them; a task keeps all of them in memory.";
  table.columns = {"contender",           "MB/s",
                   "bare, MB/s",          "speed / bare",
                   "smallest to largest", "required"};
  const Contender bare = {"read loop", [&options] { readBare(options.size); }};
  const struct {
    std::string name;
    BlockingMode mode;
  } ours[] = {{"runAndWait, run loop", BlockingMode::runLoop},
              {"runAndWait, dispatch group", BlockingMode::dispatchGroup}};
  const double megabytes = static_cast<double>(options.size) / 1e6;
  for (const auto& c : ours) {
    const Measured result =
        measured(bare, {c.name, [&] { readThroughTask(c.mode, options.size); }},
                 options.rounds);
    const double speed = 1 / result.ratio;
    table.rows.push_back(
        {c.name, fixed(megabytes / result.ours, 0),
         fixed(megabytes / result.bare, 0), fixed(speed, 2),
         fixed(1 / result.largest, 2) + " to " + fixed(1 / result.smallest, 2),
         "≥ " + fixed(kSmallestSpeedOfRead, 1) + ": " +
             std::string(mark(speed >= kSmallestSpeedOfRead))});
  }
  return table;
}

int run(const Options& options) {
  std::string markdown;
  for (const Table& table : {trueTable(options), outputTable(options)}) {
    std::cout << tableAsText(table) << '\n';
    markdown += tableAsMarkdown(table) + '\n';
  }
  if (options.markdownFile.empty()) return EXIT_SUCCESS;
  return writeFile(options.markdownFile, markdown) ? EXIT_SUCCESS
                                                   : EXIT_FAILURE;
}

constexpr std::string_view kUsage =
    "usage: quillhaven_tasks [--rounds R] [--runs N] [--size BYTES] "
    "[--markdown FILE]\n"
    "  --rounds R        rounds of each pair (default 7)\n"
    "  --runs N          runs of true in a round (default 200)\n"
    "  --size BYTES      output to collect (default 1073741824)\n"
    "  --markdown FILE   also write the tables to FILE\n";

// Reads the arguments; nothing when they are wrong.
std::optional<Options> readOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; i += 2) {
    const std::string_view flag = arguments[i];
    if (i + 1 >= count) return std::nullopt;
    const char* const value = arguments[i + 1];
    if (flag == "--rounds") {
      options.rounds = std::atoi(value);
    } else if (flag == "--runs") {
      options.runsOfTrue = std::atoi(value);
    } else if (flag == "--size") {
      options.size = std::strtoull(value, nullptr, 10);
    } else if (flag == "--markdown") {
      options.markdownFile = value;
    } else {
      return std::nullopt;
    }
  }
  if (options.rounds < 1 || options.runsOfTrue < 1) return std::nullopt;
  return options;
}

}  // namespace
}  // namespace quillhaven::benchmarks

int main(int count, char** arguments) {
  const auto options = quillhaven::benchmarks::readOptions(count, arguments);
  if (!options) {
    std::cerr << quillhaven::benchmarks::kUsage;
    return 2;
  }
  return quillhaven::benchmarks::run(*options);
}
