// Measures process inspection beside the system's own programs that answer the
// same questions about the same processes.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "benchmarks/measure.h"
#include "benchmarks/process_fixtures.h"
#include "benchmarks/report.h"
#include "quillhaven/system/processes.h"
#include "quillhaven/system/tcp_sockets.h"

namespace quillhaven::benchmarks {
namespace {

namespace fs = std::filesystem;

// What the product asks for: the time of the other as a multiple of ours.
constexpr double kRequiredOfLsof = 10;
constexpr double kRequiredOfSs = 1;
constexpr double kRequiredOfPgrep = 3;

constexpr std::size_t kDescriptorCount = 10'000;
constexpr std::size_t kProcessCount = 2'000;

struct Options {
  int rounds = 7;
  std::string markdownFile;
};

// Answers a question and returns the number of items in the answer.
struct Contender {
  std::string name;
  std::function<std::size_t()> run;
  std::optional<double> required = {};
};

double wallSeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

// Milliseconds of one run, from as many as fit into a tenth of a second.
double millisecondsOf(const Contender& contender) {
  constexpr double kEnough = 0.1;
  const double start = wallSeconds();
  double runs = 0;
  double elapsed = 0;
  do {
    keep(contender.run());
    ++runs;
    elapsed = wallSeconds() - start;
  } while (elapsed < kEnough);
  return elapsed * 1000 / runs;
}

// Lines of `text` that contain `part`.
std::size_t linesWith(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    count += line.find(part) != std::string_view::npos ? 1 : 0;
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return count;
}

Contender program(std::string name, std::vector<std::string> arguments,
                  std::string part, std::optional<double> required = {}) {
  const auto run = [arguments = std::move(arguments), part = std::move(part)] {
    return linesWith(runToEnd(arguments).output, part);
  };
  return {std::move(name), run, required};
}

// Measures all in turn; the first is our command, which the others are compared
// with, and the second what it calls in the library.
Table compareAll(const std::string& title,
                 const std::vector<Contender>& contenders, int rounds) {
  std::vector<std::vector<double>> times(contenders.size());
  std::vector<std::vector<double>> ratios(contenders.size());
  std::vector<std::vector<double>> libraryRatios(contenders.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      showProgress(title + ": " + contenders[i].name);
      times[i].push_back(millisecondsOf(contenders[i]));
      ratios[i].push_back(times[i].back() / times[0].back());
    }
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      libraryRatios[i].push_back(times[i].back() / times[1].back());
    }
  }
  showProgress("");
  Table table;
  table.title = title;
  table.columns = {
      "contender",        "ms",       "it / the command", "smallest to largest",
      "it / the library", "required", "answers"};
  for (std::size_t i = 0; i < contenders.size(); ++i) {
    const double ratio = median(ratios[i]);
    const auto [least, most] =
        std::minmax_element(ratios[i].begin(), ratios[i].end());
    const double libraryRatio = median(libraryRatios[i]);
    std::string marked;
    if (const auto& required = contenders[i].required) {
      marked = "≥ " + threeDigits(*required) + ": the command " +
               std::string(mark(ratio >= *required)) + ", the library " +
               std::string(mark(libraryRatio >= *required));
    }
    table.rows.push_back(
        {contenders[i].name, threeDigits(median(times[i])), threeDigits(ratio),
         i == 0 ? "" : threeDigits(*least) + " to " + threeDigits(*most),
         i == 0 ? "" : threeDigits(libraryRatio), marked,
         grouped(contenders[i].run())});
  }
  return table;
}

std::size_t librarySockets(pid_t pid) {
  std::size_t count = 0;
  for (const auto& [state, sockets] :
       system::TCPSocketsForPID::tcpSocketInfoForPID(pid)) {
    count += sockets.size();
  }
  return count;
}

// What the kernel takes to read the link of each descriptor, which no program
// that looks at one process can do without: on two threads, and nothing else.
std::size_t readLinksAlone(pid_t pid) {
  const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return 0;
  std::atomic<std::size_t> count = 0;
  const auto readHalf = [fd, &count](std::size_t first) {
    std::size_t sockets = 0;
    for (std::size_t i = first; i < kDescriptorCount + 16; i += 2) {
      char link[64];
      const ssize_t size =
          ::readlinkat(fd, std::to_string(i).c_str(), link, sizeof link);
      sockets += size > 0 && link[0] == 's' ? 1U : 0U;
    }
    count += sockets;
  };
  std::thread other(readHalf, 1);
  readHalf(0);
  other.join();
  ::close(fd);
  return count;
}

std::optional<Table> socketTable(std::size_t fileCount, int rounds) {
  Children children;
  const pid_t pid = children.addSocketHolder(kDescriptorCount, fileCount);
  if (pid < 0) {
    std::cerr << "a process may not open " << kDescriptorCount
              << " descriptors here; raise its limit (ulimit -n)\n";
    return std::nullopt;
  }
  const std::string number = std::to_string(pid);
  return compareAll(
      "Sockets of a process with " + grouped(kDescriptorCount) +
          " descriptors, " + grouped(fileCount) + " of them files",
      {program("quillhaven sockets PID",
               {QUILLHAVEN_PROGRAM, "sockets", number}, "TCPSocketInfo"),
       {"the library in this process", [pid] { return librarySockets(pid); }},
       program("quillhaven --version, its start alone",
               {QUILLHAVEN_PROGRAM, "--version"}, "quillhaven"),
       {"reading the links alone", [pid] { return readLinksAlone(pid); }},
       program("lsof -a -n -P -i4TCP -p PID",
               {"lsof", "-a", "-n", "-P", "-i4TCP", "-p", number}, " TCP ",
               kRequiredOfLsof),
       program("ss -H -4 -t -a -n -p",
               {"ss", "-H", "-4", "-t", "-a", "-n", "-p"},
               "pid=" + number + ",", kRequiredOfSs)},
      rounds);
}

// Copies `program` under a name nothing else has.
class NamedProgram {
 public:
  NamedProgram() {
    const std::string name = "qh_bench_" + std::to_string(::getpid() % 100000);
    path_ = fs::temp_directory_path() / name;
    fs::copy_file("/bin/sleep", path_, fs::copy_options::overwrite_existing);
  }
  NamedProgram(const NamedProgram&) = delete;
  NamedProgram& operator=(const NamedProgram&) = delete;
  ~NamedProgram() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

std::optional<Table> nameTable(std::size_t matchCount, int rounds) {
  const NamedProgram wanted;
  Children children;
  if (!children.addWaiting(matchCount, wanted.path()) ||
      !children.addWaiting(kProcessCount - matchCount, "/bin/sleep")) {
    std::cerr << "cannot start " << kProcessCount << " processes\n";
    return std::nullopt;
  }
  const std::string name = wanted.path().filename();
  const auto inLibrary = [name] {
    return system::processIdentifiersForName(name).size();
  };
  return compareAll(
      "Processes of a name among " + grouped(kProcessCount) + ", " +
          grouped(matchCount) + " of which have it",
      {program("quillhaven pids --name N",
               {QUILLHAVEN_PROGRAM, "pids", "--name", name}, ""),
       {"the library in this process", inLibrary},
       program("pgrep -x N", {"pgrep", "-x", name}, "", kRequiredOfPgrep)},
      rounds);
}

bool isThere(const std::string& program) {
  if (runToEnd({"sh", "-c", "command -v " + program}).output.empty()) {
    std::cerr << "missing program: " << program << '\n';
    return false;
  }
  return true;
}

bool run(const Options& options) {
  if (!isThere("lsof") || !isThere("ss") || !isThere("pgrep")) return false;
  std::string markdown =
      "On " + machineDescription() + ". " + std::to_string(options.rounds) +
      " rounds of all contenders in turn, each for at least 0.1 s of the time "
      "of day a round; shown are medians.\n\n";
  std::cout << markdown;
  const std::function<std::optional<Table>()> tables[] = {
      [&] { return socketTable(0, options.rounds); },
      [&] { return socketTable(kDescriptorCount / 2, options.rounds); },
      [&] { return nameTable(20, options.rounds); },
      [&] { return nameTable(kProcessCount, options.rounds); },
  };
  for (const auto& make : tables) {
    const auto table = make();
    if (!table) return false;
    std::cout << tableAsText(*table) << '\n';
    markdown += tableAsMarkdown(*table) + "\n";
  }
  return options.markdownFile.empty() ||
         writeFile(options.markdownFile, markdown);
}

std::optional<Options> optionsFrom(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i += 2) {
    const std::string_view flag = argv[i];
    if (i + 1 == argc) return std::nullopt;
    if (flag == "--rounds") {
      options.rounds = std::atoi(argv[i + 1]);
    } else if (flag == "--markdown") {
      options.markdownFile = argv[i + 1];
    } else {
      return std::nullopt;
    }
  }
  return options.rounds > 0 ? std::optional(options) : std::nullopt;
}

}  // namespace
}  // namespace quillhaven::benchmarks

int main(int argc, char** argv) {
  const auto options = quillhaven::benchmarks::optionsFrom(argc, argv);
  if (!options) {
    std::cerr << "Usage: quillhaven_process_peers [--rounds R] "
                 "[--markdown FILE]\n";
    return 2;
  }
  return quillhaven::benchmarks::run(*options) ? 0 : 1;
}
