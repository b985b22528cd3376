// Runs the parser and the text operations on input made to hurt and shows how
// time and memory grow with its size.
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "benchmarks/heap_counter.h"
#include "benchmarks/measure.h"
#include "benchmarks/report.h"
#include "benchmarks/shapes.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_entities.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/base/log.h"

namespace quillhaven::benchmarks {
namespace {

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;
constexpr std::size_t kSmallestSize = 64 * kKiB;
constexpr std::size_t kSmallestDoubledSize = 256 * kKiB;
constexpr double kShortestDoubledSeconds = 0.001;

// Counting takes some fifty times as long as running.
constexpr std::size_t kLargestCountedSize = kMiB;
// Tells the program under callgrind where that writes its counts.
constexpr const char* kWorkFileVariable = "QUILLHAVEN_WORK_FILE";

// What the product asks for.
constexpr double kLargestFactor = 2.3;
constexpr std::size_t kLargestMemoryFactor = 4;
constexpr std::size_t kMemoryAllowance = kMiB;

// What takes no longer than so many copies of its input goes at the speed of
// the memory, and that falls by half and more where a cache is full. It is said
// of such an operation, and excuses nothing.
constexpr double kCopiesAtMemorySpeed = 4;

// How often all courses in which a doubling looks too slow are measured again.
constexpr int kRetries = 15;

// A size that takes longer is the last one that is tried.
constexpr double kPatienceSeconds = 10;

struct Options {
  std::size_t maximumSize = 16 * kMiB;
  std::string only;  // part of the name of a shape or operation
  bool countsWork = false;
  std::string markdownFile;
};

// Something that reads a text; `run` returns the size of the result in bytes,
// or another figure that depends on it. Where the others are given, time is
// that of `run`, memory that of `runForMemory`, and that of `runForMore` is
// shown beside it.
struct Operation {
  std::string_view name;
  std::size_t (*run)(std::string_view text);
  std::size_t (*runForMemory)(std::string_view text) = nullptr;
  std::size_t (*runForMore)(std::string_view text) = nullptr;
};

// Returns the number of distinct fields, at least one, or 0 when the message is
// refused.
std::size_t parse(std::string_view text) {
  const auto message = mail::EmailMessageParser::parserWithData(text);
  return message ? message->headerDictionary().size() : 0;
}

// Bodies are made when they are first asked for.
void readBodies(const mail::EmailMessageParser& message) {
  keep(message.plainTextBody().has_value());
  keep(message.htmlBody().has_value());
}

std::size_t parseAndReadBodies(std::string_view text) {
  const auto message = mail::EmailMessageParser::parserWithData(text);
  if (!message) return 0;
  readBodies(*message);
  return message->headerDictionary().size();
}

// And with the addresses, which are made anew whenever they are asked for.
std::size_t parseAndReadAll(std::string_view text) {
  const auto message = mail::EmailMessageParser::parserWithData(text);
  if (!message) return 0;
  readBodies(*message);
  return message->headerDictionary().size() + message->from().size() +
         message->to().size() + message->replyTo().size();
}

constexpr Operation kParse = {"parserWithData", parseAndReadAll, parse,
                              parseAndReadBodies};

constexpr Operation kTextOperations[] = {
    {"stringByConvertingHTMLToPlainText",
     [](std::string_view text) {
       return html::stringByConvertingHTMLToPlainText(text).size();
     }},
    {"stringWithHTMLText",
     [](std::string_view text) {
       return html::stringWithHTMLText(text).size();
     }},
    {"stringByStrippingTags",
     [](std::string_view text) {
       return html::stringByStrippingTags(text).size();
     }},
    {"stringByLinkifyingURLs",
     [](std::string_view text) {
       return html::stringByLinkifyingURLs(text).size();
     }},
    {"stringWithNewLinesAsBRs",
     [](std::string_view text) {
       return html::stringWithNewLinesAsBRs(text).size();
     }},
    {"stringByConvertingPlainTextToHTML",
     [](std::string_view text) {
       return html::stringByConvertingPlainTextToHTML(text).size();
     }},
    {"stringByRemovingNewLinesAndWhitespace",
     [](std::string_view text) {
       return html::stringByRemovingNewLinesAndWhitespace(text).size();
     }},
    {"gtm_stringByUnescapingFromHTML",
     [](std::string_view text) {
       return html::gtm_stringByUnescapingFromHTML(text).size();
     }},
    {"gtm_stringByEscapingForAsciiHTML",
     [](std::string_view text) {
       return html::gtm_stringByEscapingForAsciiHTML(text).size();
     }},
    {"dictionaryOfAttributesFromTag",
     [](std::string_view text) -> std::size_t {
       const auto attributes = html::dictionaryOfAttributesFromTag(text);
       return attributes ? attributes->size() : 0;
     }},
    {"containsHTMLTag",
     [](std::string_view text) -> std::size_t {
       return html::containsHTMLTag(text) ? 1 : 0;
     }},
    {"peekNextTag",
     [](std::string_view text) -> std::size_t {
       const auto tag = html::peekNextTag(platform::Scanner(text));
       return tag ? tag->size() : 0;
     }},
};

// A copy of the text, as something that cannot be but linear.
constexpr Operation kCopy = {"copy", [](std::string_view text) {
                               const std::string copied(text);
                               return copied.size() +
                                      static_cast<unsigned char>(copied.back());
                             }};

// Returns the instructions that callgrind counts of one run. It tells them in
// files alone, whose numbers go up.
double instructionsOf(const Operation& operation, std::string_view text) {
  static int dumps = 0;
  CALLGRIND_ZERO_STATS;
  keep(operation.run(text));
  CALLGRIND_DUMP_STATS;
  const std::string path = std::string(std::getenv(kWorkFileVariable)) + '.' +
                           std::to_string(++dumps);
  std::ifstream file(path);
  double count = 0;
  for (std::string word; file >> word;) {
    if (word == "totals:" || word == "summary:") file >> count;
  }
  std::filesystem::remove(path);
  if (count > 0) return count;
  std::cerr << "quillhaven_shapes: callgrind counted nothing\n";
  std::exit(EXIT_FAILURE);
}

struct Sample {
  std::size_t requestedSize = 0;  // a power of two, in bytes
  std::size_t size = 0;           // of the text
  double seconds = 0;
  std::size_t peak = 0;  // bytes, those of the text included
  std::size_t morePeak = 0;
  std::size_t result = 0;  // what the operation returned
};

// Returns the best time of a few runs, fewer the longer they take.
double bestSeconds(const Operation& operation, std::string_view text) {
  double best = 0;
  double total = 0;
  for (int run = 0; run < 5 || total < 0.02; ++run) {
    const double start = threadSeconds();
    keep(operation.run(text));
    const double elapsed = threadSeconds() - start;
    best = run == 0 ? elapsed : std::min(best, elapsed);
    total += elapsed;
    if (run >= 1 && total > 1) break;
    if (elapsed > kPatienceSeconds) break;
  }
  return best;
}

// The bytes that `run` takes of the heap at its peak.
template <typename Run>
std::size_t peakOf(const Run& run) {
  resetHeapPeak();
  const std::size_t before = heapInUse();
  run();
  return heapPeak() - before;
}

Sample sampleOf(const Operation& operation, std::string_view text) {
  Sample sample;
  sample.size = text.size();
  const auto run = operation.runForMemory != nullptr ? operation.runForMemory
                                                     : operation.run;
  sample.peak = text.size() + peakOf([&] { sample.result = run(text); });
  if (operation.runForMore != nullptr) {
    sample.morePeak =
        text.size() + peakOf([&] { keep(operation.runForMore(text)); });
  }
  sample.seconds = bestSeconds(operation, text);
  return sample;
}

// How one operation takes one shape at doubling sizes.
struct Course {
  const Operation* operation;
  const Shape* shape;
  std::vector<Sample> samples = {};
  double nanosecondsPerByte = 0;  // at 1 MiB, or the largest size below
  std::optional<double> factor =
      {};                   // the largest; nothing if all is too short
  double memoryFactor = 0;  // at the largest size, as the next two
  double moreMemoryFactor = 0;
  double resultFactor = 0;  // size of the result / size
  bool isLinear = true;
  bool isMemorysSpeed = true;  // all that is not linear
  bool isSmall = true;
  bool isComplete = true;  // false when patience ended it
};

double factorAt(const Course& course, std::size_t index) {
  return course.samples[index].seconds / course.samples[index - 1].seconds;
}

// Processor time of a copy of a text of `size` bytes, measured once.
double secondsOfCopy(std::size_t size) {
  static std::map<std::size_t, double> known;
  const auto [at, isNew] = known.try_emplace(size);
  if (isNew) at->second = bestSeconds(kCopy, std::string(size, 'x'));
  return at->second;
}

double largestFactorOfCopies(std::size_t maximumSize) {
  double factor = 0;
  for (std::size_t size = 2 * kSmallestDoubledSize; size <= maximumSize;
       size *= 2) {
    factor = std::max(factor, secondsOfCopy(size) / secondsOfCopy(size / 2));
  }
  return factor;
}

bool countsAsDoubling(const Course& course, std::size_t index) {
  const Sample& smaller = course.samples[index - 1];
  return smaller.size >= kSmallestDoubledSize &&
         smaller.seconds >= kShortestDoubledSeconds;
}

bool goesAtMemorySpeed(const Sample& sample) {
  return sample.seconds <=
         kCopiesAtMemorySpeed * secondsOfCopy(sample.requestedSize);
}

bool looksTooSlow(const Course& course, std::size_t index) {
  return countsAsDoubling(course, index) &&
         factorAt(course, index) > kLargestFactor;
}

void sumUp(Course& course) {
  for (std::size_t i = 0; i < course.samples.size(); ++i) {
    const Sample& sample = course.samples[i];
    const auto size = static_cast<double>(sample.size);
    if (i == 0 || sample.size < kMiB + kMiB / 2) {
      course.nanosecondsPerByte = sample.seconds * 1e9 / size;
    }
    course.memoryFactor = static_cast<double>(sample.peak) / size;
    course.moreMemoryFactor = static_cast<double>(sample.morePeak) / size;
    course.resultFactor = static_cast<double>(sample.result) / size;
    if (sample.peak > kLargestMemoryFactor * sample.size + kMemoryAllowance) {
      course.isSmall = false;
    }
    if (i == 0 || !countsAsDoubling(course, i)) continue;
    course.factor = std::max(course.factor.value_or(0), factorAt(course, i));
    if (!looksTooSlow(course, i)) continue;
    course.isLinear = false;
    course.isMemorysSpeed &= goesAtMemorySpeed(sample);
  }
}

bool looksTooSlow(const Course& course) {
  for (std::size_t i = 1; i < course.samples.size(); ++i) {
    if (looksTooSlow(course, i)) return true;
  }
  return false;
}

// Measures all sizes again, from the smallest to the largest; the best of each
// counts. Where the text and what is made of it lie can cost twice the time for
// one size and not for the next. So all memory is given back before, and they
// are kept from more and more of the places that were free.
void measureAgain(Course& course, int retry) {
  for (Sample& sample : course.samples) {
    // What takes seconds is beyond the reach of noise.
    if (sample.seconds > kPatienceSeconds / 10) break;
    malloc_trim(0);
    std::vector<std::string> taken(static_cast<std::size_t>(retry));
    for (std::string& place : taken) place.reserve(sample.size);
    const std::string text = course.shape->make(sample.requestedSize);
    sample.seconds =
        std::min(sample.seconds, bestSeconds(*course.operation, text));
  }
}

Course courseOf(const Operation& operation, const Shape& shape,
                std::size_t maximumSize) {
  Course course{.operation = &operation, .shape = &shape};
  for (std::size_t size = kSmallestSize; size <= maximumSize; size *= 2) {
    course.samples.push_back(sampleOf(operation, shape.make(size)));
    course.samples.back().requestedSize = size;
    if (course.samples.back().seconds > kPatienceSeconds) {
      course.isComplete = size * 2 > maximumSize;
      break;
    }
  }
  return course;
}

std::string nameOf(const Course& course) {
  return std::string(course.operation->name) + " on " + course.shape->name;
}

// Noise can only add time, and it comes in spells that outlast a course. So
// those in which a doubling looks too slow have another try after all others.
void settle(std::vector<Course>& courses) {
  for (int retry = 1; retry <= kRetries; ++retry) {
    for (Course& course : courses) {
      if (!looksTooSlow(course)) continue;
      showProgress("again (" + std::to_string(retry) + "): " + nameOf(course));
      measureAgain(course, retry);
    }
  }
  showProgress("");
  for (Course& course : courses) sumUp(course);
}

bool isMet(const Course& course) {
  return course.isLinear && course.isSmall && course.isComplete;
}

std::string shownSize(std::size_t size) {
  return size >= kMiB ? std::to_string(size / kMiB) + " MiB"
                      : std::to_string(size / kKiB) + " KiB";
}

std::string shownFactor(const Course& course) {
  return course.factor ? fixed(*course.factor, 2) : "under 1 ms";
}

std::string shownMark(const Course& course) {
  std::string text(mark(isMet(course)));
  if (!course.isLinear && course.isMemorysSpeed) text += ", memory's speed";
  if (course.samples.back().result == 0) text += ", refused";
  if (!course.isComplete) {
    text += ", gave up at " + shownSize(course.samples.back().requestedSize);
  }
  return text;
}

// Every size of one course, for a closer look.
std::string detailsOf(const Course& course) {
  Table table;
  table.title = nameOf(course);
  table.columns = {"size", "ms", "ns/byte", "factor", "memory / size"};
  for (std::size_t i = 0; i < course.samples.size(); ++i) {
    const Sample& sample = course.samples[i];
    const auto size = static_cast<double>(sample.size);
    table.rows.push_back({shownSize(sample.requestedSize),
                          fixed(sample.seconds * 1e3, 3),
                          threeDigits(sample.seconds * 1e9 / size),
                          i == 0 ? "" : fixed(factorAt(course, i), 2),
                          fixed(static_cast<double>(sample.peak) / size, 2)});
  }
  return tableAsText(table) + '\n';
}

bool isWanted(const Options& options, std::string_view name) {
  return options.only.empty() || name.find(options.only) != std::string::npos;
}

std::vector<Course> messageCourses(const Options& options) {
  std::vector<Course> courses;
  for (const Shape& shape : hostileMessages()) {
    if (!isWanted(options, shape.name) && !isWanted(options, kParse.name)) {
      continue;
    }
    showProgress(std::string(kParse.name) + " on " + shape.name);
    courses.push_back(courseOf(kParse, shape, options.maximumSize));
  }
  return courses;
}

std::vector<Course> textCourses(const Options& options) {
  std::vector<Course> courses;
  for (const Operation& operation : kTextOperations) {
    for (const Shape& shape : hostileTexts()) {
      if (!isWanted(options, shape.name) &&
          !isWanted(options, operation.name)) {
        continue;
      }
      showProgress(std::string(operation.name) + " on " + shape.name);
      courses.push_back(courseOf(operation, shape, options.maximumSize));
    }
  }
  return courses;
}

std::string requirement(const Options& options) {
  return "Required: a factor of at most " + fixed(kLargestFactor, 1) +
         " and memory of at most " + std::to_string(kLargestMemoryFactor) +
         " times the size and 1 MiB. A bare copy of the text has one of up "
         "to " +
         fixed(largestFactorOfCopies(options.maximumSize), 2) +
         " on this machine, where its caches are full; what takes no longer "
         "than " +
         fixed(kCopiesAtMemorySpeed, 0) +
         " such copies goes at memory's speed.";
}

Table messageTable(const Options& options, const std::vector<Course>& courses) {
  Table table;
  table.title = "Hostile messages";
  table.caption =
      "parserWithData on messages from " + shownSize(kSmallestSize) + " to " +
      shownSize(options.maximumSize) +
      ", with the bodies and the addresses of From, To and Reply-To in the "
      "time but not in the memory; the bodies are in the memory beside it. " +
      requirement(options);
  table.columns = {"shape",         "ns/byte at 1 MiB", "largest factor",
                   "memory / size", "with the bodies",  "required",
                   "what it is"};
  for (const Course& course : courses) {
    table.rows.push_back({course.shape->name,
                          threeDigits(course.nanosecondsPerByte),
                          shownFactor(course), fixed(course.memoryFactor, 2),
                          fixed(course.moreMemoryFactor, 2), shownMark(course),
                          course.shape->description});
  }
  return table;
}

// The course of `courses` with the largest figure.
template <typename Figure>
const Course& worst(const std::vector<Course>& courses, Figure figure) {
  return *std::max_element(courses.begin(), courses.end(),
                           [&figure](const Course& a, const Course& b) {
                             return figure(a) < figure(b);
                           });
}

// Names the courses that fail, by what they fail in.
std::string shownMark(const std::vector<Course>& courses) {
  if (std::all_of(courses.begin(), courses.end(), isMet)) {
    return std::string(mark(true));
  }
  std::string marked(mark(false));
  const auto add = [&](std::string_view what, auto fails) {
    std::string separator = std::string(": ").append(what).append(" (");
    if (!marked.ends_with("met")) separator.replace(0, 1, ";");
    for (const Course& course : courses) {
      if (!fails(course)) continue;
      marked += std::exchange(separator, ", ") + course.shape->name;
    }
    if (separator == ", ") marked += ')';
  };
  add("time", [](const Course& course) {
    return !course.isComplete || (!course.isLinear && !course.isMemorysSpeed);
  });
  add("time at memory's speed", [](const Course& course) {
    return !course.isLinear && course.isMemorysSpeed;
  });
  add("memory", [](const Course& course) { return !course.isSmall; });
  return marked;
}

std::vector<std::string> operationRow(const Operation& operation,
                                      const std::vector<Course>& courses) {
  const Course& slowest =
      worst(courses, [](const Course& c) { return c.nanosecondsPerByte; });
  const Course& steepest =
      worst(courses, [](const Course& c) { return c.factor.value_or(0); });
  const Course& largest =
      worst(courses, [](const Course& c) { return c.memoryFactor; });
  return {std::string(operation.name),
          threeDigits(slowest.nanosecondsPerByte) + " (" + slowest.shape->name +
              ")",
          steepest.factor
              ? shownFactor(steepest) + " (" + steepest.shape->name + ")"
              : shownFactor(steepest),
          fixed(largest.memoryFactor, 2) + " (" + largest.shape->name + ")",
          fixed(largest.resultFactor, 2),
          shownMark(courses)};
}

Table operationTable(const Options& options,
                     const std::vector<Course>& courses) {
  Table table;
  table.title = "Hostile texts";
  table.caption = "Each operation on " + std::to_string(hostileTexts().size()) +
                  " texts from " + shownSize(kSmallestSize) + " to " +
                  shownSize(options.maximumSize) +
                  "; shown is the worst of them. " + requirement(options);
  table.columns = {"operation",     "ns/byte at 1 MiB",  "largest factor",
                   "memory / size", "its result / size", "required"};
  for (const Operation& operation : kTextOperations) {
    std::vector<Course> own;
    std::copy_if(courses.begin(), courses.end(), std::back_inserter(own),
                 [&operation](const Course& course) {
                   return course.operation == &operation;
                 });
    if (!own.empty()) table.rows.push_back(operationRow(operation, own));
  }
  return table;
}

// Measures all courses, and those that look too slow again, before any is
// judged.
std::vector<Table> timeTables(const Options& options) {
  std::vector<Course> courses = messageCourses(options);
  const auto messageCount = static_cast<std::ptrdiff_t>(courses.size());
  std::ranges::move(textCourses(options), std::back_inserter(courses));
  settle(courses);
  if (!options.only.empty()) {
    for (const Course& course : courses) std::cout << detailsOf(course);
  }
  const auto texts = courses.begin() + messageCount;
  return {messageTable(options, {courses.begin(), texts}),
          operationTable(options, {texts, courses.end()})};
}

// How the work of one operation on one shape grows.
struct WorkCourse {
  std::string shape;
  double instructionsPerByte = 0;  // at the largest size
  double factor = 0;               // the largest
};

WorkCourse workCourseOf(const Operation& operation, const Shape& shape,
                        std::size_t maximumSize) {
  WorkCourse course;
  course.shape = shape.name;
  double before = 0;
  for (std::size_t size = kSmallestDoubledSize; size <= maximumSize;
       size *= 2) {
    const std::string text = shape.make(size);
    const double count = instructionsOf(operation, text);
    if (before > 0) course.factor = std::max(course.factor, count / before);
    course.instructionsPerByte = count / static_cast<double>(text.size());
    before = count;
  }
  return course;
}

Table workTable(const Options& options) {
  const std::size_t maximumSize =
      std::min(options.maximumSize, kLargestCountedSize);
  Table table;
  table.title = "Work";
  table.caption = "Sizes from " + shownSize(kSmallestDoubledSize) + " to " +
                  shownSize(maximumSize) + ". Required: a factor of at most " +
                  fixed(kLargestFactor, 1) + '.';
  table.columns = {"operation", "shape", "instructions/byte", "largest factor",
                   "required"};
  const auto add = [&table](const Operation& operation,
                            const WorkCourse& course) {
    table.rows.push_back({std::string(operation.name), course.shape,
                          threeDigits(course.instructionsPerByte),
                          fixed(course.factor, 3),
                          std::string(mark(course.factor <= kLargestFactor))});
  };
  for (const Shape& shape : hostileMessages()) {
    if (!isWanted(options, shape.name)) continue;
    showProgress("counting parserWithData on " + shape.name);
    add(kParse, workCourseOf(kParse, shape, maximumSize));
  }
  for (const Operation& operation : kTextOperations) {
    std::vector<WorkCourse> courses;
    for (const Shape& shape : hostileTexts()) {
      if (!isWanted(options, shape.name) &&
          !isWanted(options, operation.name)) {
        continue;
      }
      showProgress("counting " + std::string(operation.name) + " on " +
                   shape.name);
      courses.push_back(workCourseOf(operation, shape, maximumSize));
    }
    // The worst of each.
    const auto steepest = std::max_element(
        courses.begin(), courses.end(),
        [](const auto& a, const auto& b) { return a.factor < b.factor; });
    if (steepest != courses.end()) add(operation, *steepest);
  }
  showProgress("");
  return table;
}

// Runs this program anew under callgrind and returns its exit status.
int countUnderCallgrind(int count, char** arguments) {
  std::string folder =
      std::filesystem::temp_directory_path() / "quillhaven-work-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) {
    std::perror(folder.c_str());
    return EXIT_FAILURE;
  }
  const std::string file = folder + "/counts";
  const std::string output = "--callgrind-out-file=" + file;
  std::vector<const char*> command = {"valgrind", "-q", "--tool=callgrind",
                                      output.c_str()};
  command.insert(command.end(), arguments, arguments + count);
  command.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv(kWorkFileVariable, file.c_str(), 1);
    ::execvp(command[0], const_cast<char* const*>(command.data()));
    std::perror(command[0]);
    ::_exit(EXIT_FAILURE);
  }
  int status = -1;
  const bool hasRun = child > 0 && ::waitpid(child, &status, 0) == child;
  std::filesystem::remove_all(folder);
  return hasRun && WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

// Makes malloc() keep what is freed. Otherwise blocks above a certain size, and
// no others, come from the system afresh every time, and the cost of their
// pages makes a step in the times that has nothing to do with the code.
void keepFreedMemory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

int run(const Options& options) {
  keepFreedMemory();
  platform::setLogSink([](const platform::LogMessage&) {});
  std::string markdown;
  std::vector<Table> tables;
  if (options.countsWork) {
    tables.push_back(workTable(options));
  } else {
    tables = timeTables(options);
  }
  for (const Table& table : tables) {
    if (table.rows.empty()) continue;
    std::cout << tableAsText(table) << '\n';
    markdown += tableAsMarkdown(table) + '\n';
  }
  if (markdown.empty()) {
    std::cerr << "no shape or operation is called " << options.only << '\n';
    return EXIT_FAILURE;
  }
  if (options.markdownFile.empty()) return EXIT_SUCCESS;
  return writeFile(options.markdownFile, markdown) ? EXIT_SUCCESS
                                                   : EXIT_FAILURE;
}

constexpr std::string_view kUsage =
    "usage: quillhaven_shapes [--max-size BYTES] [--only NAME] "
    "[--markdown FILE] [--count-work]\n"
    "  --max-size BYTES  the largest size, 65536 or more (default 16777216)\n"
    "  --only NAME       only shapes and operations with NAME in their name,\n"
    "                    and every size of them\n"
    "  --markdown FILE   also write the tables to FILE\n"
    "  --count-work      count instructions, with valgrind's callgrind, "
    "instead\n"
    "                    of measuring time and memory\n";

// Reads the arguments; nothing when they are wrong.
std::optional<Options> readOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; i += 2) {
    const std::string_view flag = arguments[i];
    if (flag == "--count-work") {
      options.countsWork = true;
      --i;
      continue;
    }
    if (i + 1 >= count) return std::nullopt;
    const char* const value = arguments[i + 1];
    if (flag == "--max-size") {
      options.maximumSize = std::strtoull(value, nullptr, 10);
      if (options.maximumSize < kSmallestSize) return std::nullopt;
    } else if (flag == "--only") {
      options.only = value;
    } else if (flag == "--markdown") {
      options.markdownFile = value;
    } else {
      return std::nullopt;
    }
  }
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
  if (options->countsWork && RUNNING_ON_VALGRIND == 0) {
    return quillhaven::benchmarks::countUnderCallgrind(count, arguments);
  }
  return quillhaven::benchmarks::run(*options);
}
