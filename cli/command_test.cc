// Runs the built program.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/testing/program.h"

namespace quillhaven::cli {
namespace {

using testing::Program;
using testing::runProgram;
using testing::RunResult;
using testing::Stream;
using testing::TemporaryFolder;

using Arguments = std::vector<std::string>;
using namespace std::string_view_literals;

const std::string kProgram = QUILLHAVEN_PROGRAM;
constexpr std::string_view kMessage = "Subject: Hello\n\nText\n";
constexpr std::string_view kShown = "Subject: Hello\n\nText\n";

// The lines of a text, without their line feeds.
Arguments linesOf(std::string_view text) {
  Arguments lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

// "/m" and a number: how the path of a generated message ends.
std::string numberedName(std::size_t number) {
  return std::string("/m").append(std::to_string(number));
}

std::string numberedMessage(std::size_t number) {
  // Sizes differ a lot, so that threads finish out of order.
  const std::size_t size = number % 7 == 0 ? 200000 : number % 13 * 100;
  return "Subject: number " + std::to_string(number) + "\n\n" +
         std::string(size, 'x') + "\n";
}

TEST(Command, TellsUsageFromWork) {
  const struct {
    Arguments arguments;
    int status;
    std::string_view start;  // of standard output when done, else of error
  } cases[] = {
      {{}, 2, "Reads stored e-mail messages"},
      {{"--help"}, 0, "Reads stored e-mail messages"},
      {{"--version"}, 0, "quillhaven "},
      {{"parse", "--help"}, 0, "Parse stored"},
      {{"html-to-text", "--help"}, 0, "Convert an HTML"},
      {{"text-to-html", "--help"}, 0, "Convert plain"},
      {{"eval", "--help"}, 0, "Answer one JSON"},
      {{"frobnicate"}, 2, "quillhaven: unknown command or option \"frob"},
      {{"parse"}, 2, "quillhaven: name a FILE"},
      {{"parse", "--jobs", "0", "-"}, 2, "quillhaven: --jobs: \"0\""},
      {{"parse", "--jobs", "-1", "-"}, 2, "quillhaven: --jobs: \"-1\""},
      {{"parse", "--jobs", "2x", "-"}, 2, "quillhaven: --jobs: \"2x\""},
      {{"parse", "--jobs", "", "-"}, 2, "quillhaven: --jobs: \"\""},
      {{"parse", "--format", "xml", "-"}, 2, "quillhaven: --format: xml"},
      {{"parse", "--wrong", "-"}, 2, "quillhaven: The following argument"},
      {{"parse", "-0", "-"}, 2, "quillhaven: -0 needs --from-file"},
      {{"parse", "-", "--from-file", "-"}, 2, "quillhaven: standard input"},
      {{"eval", "file"}, 2, "quillhaven: The following argument"},
      {{"html-to-text", "--charset", "no"},
       2,
       "quillhaven: unknown charset \"no\"\n"},
      {{"html-to-text", "a", "b"}, 2, "quillhaven: The following argument"},
      {{"text-to-html", "--paragraph-tag", "td"},
       2,
       "quillhaven: --paragraph-tag: td"},
      {{"html-to-text", "/nowhere"},
       1,
       "quillhaven: /nowhere: No such file or directory\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.empty() ? "" : c.arguments.back());
    const RunResult run = runProgram(kProgram, c.arguments);
    EXPECT_EQ(run.status, c.status);
    const bool isDone = c.status == 0;
    const std::string& told = isDone ? run.output : run.error;
    EXPECT_TRUE(told.starts_with(c.start)) << told;
    EXPECT_EQ(isDone ? run.error : run.output, "");
  }
}

TEST(ConvertingCommands, WriteExactlyTheResult) {
  const TemporaryFolder folder;
  const std::string latin1 = folder.write("latin1.html", "<p>\xE9</p>");
  const struct {
    Arguments arguments;
    std::string_view input;
    int status;
    std::string output, error;
  } cases[] = {
      {{"html-to-text"}, "<b>x</b>", 0, "x\n", ""},
      {{"html-to-text", "-"}, "", 0, "", ""},
      {{"html-to-text", "--charset", "iso-8859-1", latin1}, "", 0, "é\n", ""},
      {{"html-to-text", latin1},
       "",
       1,
       "",
       "quillhaven: " + latin1 + ": not valid utf-8\n"},
      {{"html-to-text", "--charset", "us-ascii"},
       "é",
       1,
       "",
       "quillhaven: standard input: not valid us-ascii\n"},
      {{"text-to-html"},
       "a\n\nb",
       0,
       "<div>a</div><div><br /></div><div>b</div>",
       ""},
      {{"text-to-html", "--paragraph-tag", "p", "-"}, "a", 0, "<p>a</p>", ""},
      {{"text-to-html", latin1},
       "",
       1,
       "",
       "quillhaven: " + latin1 + ": not valid UTF-8\n"},
      {{"text-to-html", folder.path()},
       "",
       1,
       "",
       "quillhaven: " + folder.path() + ": Is a directory\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.front() + " " + c.arguments.back());
    const RunResult run = runProgram(kProgram, c.arguments, c.input);
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.output, c.output);
    EXPECT_EQ(run.error, c.error);
  }
  const RunResult shown =
      runProgram(kProgram, {"html-to-text"}, "x", Stream::kTerminal);
  EXPECT_EQ(shown.output, "x\r\n");  // the terminal makes "\r\n"
}

TEST(Parse, NamesEveryInputThatIsNoMessageAndGoesOn) {
  const TemporaryFolder folder;
  const std::string good = folder.write("good.eml", kMessage);
  const std::string empty = folder.write("empty.eml", "");
  const std::string binary = folder.write("binary.eml", "Subject: \xFF\n\n");
  const std::string headless = folder.write("headless.eml", "X: y\n\n");
  const std::string large = folder.write("large.eml", "");
  std::filesystem::resize_file(large, 0xFFFFFFFF);  // holes only
  std::filesystem::create_directory(folder.path("bare"));
  std::filesystem::create_symlink("loop", folder.path("loop"));

  const std::string f = folder.path() + "/";
  const RunResult run = runProgram(
      kProgram, {"parse", "--format", "ndjson", empty, f + "missing", binary,
                 f + "bare", headless, f + "loop", large, good, "-"});
  EXPECT_EQ(run.status, 1);
  const std::string q = "quillhaven: " + f;
  EXPECT_EQ(
      linesOf(run.error),
      (Arguments{
          q + "empty.eml: empty",
          q + "missing: No such file or directory",
          q + "binary.eml: not valid UTF-8",
          q + "bare: no messages in this directory",
          "*** Error: Email header is invalid: file://" + f + "headless.eml",
          q + "headless.eml: not a valid message (no Subject, "
              "Content-Type or MIME-Version field)",
          q + "loop: Too many levels of symbolic links",
          q + "large.eml: too large (4294967295 bytes or more)",
          "quillhaven: standard input: empty",
      }));
  const Arguments lines = linesOf(run.output);
  ASSERT_EQ(lines.size(), 8U);  // none for the folder
  const std::string failed = "\",\"parsed\":false}";
  EXPECT_EQ(lines[0], "{\"url\":\"file://" + empty + failed);
  EXPECT_EQ(lines[4], "{\"url\":\"file://" + f + "loop" + failed);
  EXPECT_TRUE(lines[6].starts_with("{\"url\":\"file://" + good +
                                   "\",\"parsed\":true,"));
  EXPECT_EQ(lines[7], "{\"url\":null,\"parsed\":false}");

  const RunResult text = runProgram(kProgram, {"parse", empty, good, good});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.output, std::string(kShown) + "\n" + std::string(72, '-') +
                             "\n\n" + std::string(kShown));
}

TEST(Parse, KeepsTheOrderOfTheInputsWithManyThreads) {
  const TemporaryFolder folder;
  std::string list;
  constexpr std::size_t kCount = 400;
  for (std::size_t i = 0; i < kCount; ++i) {
    const bool isMessage = i % 10 != 3;
    list += folder.write(numberedName(i), isMessage ? numberedMessage(i) : "") +
            "\n";
  }
  const RunResult run = runProgram(
      kProgram,
      {"parse", "--format", "ndjson", "--jobs", "8", "--from-file", "-"}, list);
  EXPECT_EQ(run.status, 1);
  const Arguments lines = linesOf(run.output);
  ASSERT_EQ(lines.size(), kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto object = nlohmann::json::parse(lines[i]);
    EXPECT_TRUE(object["url"].get<std::string>().ends_with(numberedName(i)));
    EXPECT_EQ(object["parsed"], i % 10 != 3);
  }
  const Arguments errors = linesOf(run.error);
  ASSERT_EQ(errors.size(), kCount / 10);
  for (std::size_t i = 0; i < errors.size(); ++i) {
    EXPECT_TRUE(errors[i].ends_with(numberedName(10 * i + 3) + ": empty"));
  }
  // One thread gives the same bytes.
  const RunResult alone = runProgram(
      kProgram,
      {"parse", "--format", "ndjson", "--jobs", "1", "--from-file", "-"}, list);
  EXPECT_TRUE(alone.output == run.output);
}

TEST(Parse, TakesOddNamesFromTheLineAndFromLists) {
  const TemporaryFolder folder;
  for (const char* name : {"[a,b]", "eval", "-x", "new\nline", "\xFF"}) {
    folder.write(name, kMessage);
  }
  ASSERT_EQ(::chdir(folder.path().c_str()), 0);
  const auto count = [](const RunResult& run) {
    EXPECT_EQ(run.status, 0) << run.error;
    return linesOf(run.output).size();
  };
  const Arguments parse{"parse", "--format", "ndjson"};
  const auto with = [&parse](Arguments more) {
    more.insert(more.begin(), parse.begin(), parse.end());
    return more;
  };
  EXPECT_EQ(count(runProgram(kProgram,
                             with({"[a,b]", "eval", "--", "-x", "new\nline"}))),
            4U);
  constexpr std::string_view kList = "new\nline\0\0-x\0\xFF"sv;
  EXPECT_EQ(
      count(runProgram(kProgram, with({"-0", "--from-file", "-"}), kList)), 3U);
  folder.write("list", "eval\n\n[a,b]");
  EXPECT_EQ(
      count(runProgram(kProgram, with({"--from-file", "list", "-"}), kMessage)),
      3U);
  ASSERT_EQ(::chdir("/"), 0);
}

TEST(Parse, ReplacesControlCharactersForATerminalOnly) {
  constexpr std::string_view kOdd =
      "Subject: \x1B[2Jx\n\nbell \a\r\ntab\t\xC2\x9B\n";
  const RunResult piped = runProgram(kProgram, {"parse", "-"}, kOdd);
  EXPECT_NE(piped.output.find("\x1B[2Jx"), std::string::npos);
  const RunResult shown =
      runProgram(kProgram, {"parse", "-"}, kOdd, Stream::kTerminal);
  EXPECT_NE(shown.output.find("Subject: \uFFFD[2Jx"), std::string::npos);
  EXPECT_NE(shown.output.find("bell \uFFFD"), std::string::npos);
  EXPECT_NE(shown.output.find("tab\t\uFFFD"), std::string::npos);
}

TEST(Parse, EndsQuietlyWhenNobodyReadsOn) {
  const TemporaryFolder folder;
  folder.write("m.eml", numberedMessage(7));
  // Few enough for the window: a thread comes to wait for the next path.
  std::string list;
  for (int i = 0; i < 6; ++i) list += folder.path("m.eml") + "\n";
  Program program(kProgram, {"parse", "--format", "ndjson", "--jobs", "2",
                             "--from-file", "-"});
  program.write(list);
  program.readOutputUntil("\n");
  ASSERT_TRUE(program.outputBecomesFull());
  program.closeOutput();
  // The list stays open: the program must not wait for its end.
  EXPECT_EQ(program.wait(), 0);
  EXPECT_EQ(program.error(), "");
}

TEST(Parse, EndsBySignalsWithoutHalfALine) {
  const TemporaryFolder folder;
  const std::string file = folder.write("m.eml", numberedMessage(7)) + "\n";
  for (const int number : {SIGINT, SIGTERM}) {
    Program program(kProgram,
                    {"parse", "--format", "ndjson", "--from-file", "-"});
    for (int i = 0; i < 20; ++i) program.write(file);
    program.readOutputUntil("\n");
    ASSERT_TRUE(program.outputBecomesFull());
    program.signal(number);
    EXPECT_EQ(program.wait(), -number);  // the list stays open
    EXPECT_TRUE(program.output().ends_with("}\n"));
    EXPECT_EQ(program.error(), "");
  }
}

TEST(Parse, ReportsAFullDisk) {
  const TemporaryFolder folder;
  folder.write("a.eml", kMessage);
  folder.write("b.eml", numberedMessage(7));
  for (const char* name : {"a.eml", "b.eml"}) {
    const RunResult run =
        runProgram(kProgram, {"parse", folder.path(name)}, "", Stream::kFull);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error, "quillhaven: cannot write: No space left on device\n");
  }
}

TEST(Parse, ShowsProgressAtATerminalOnly) {
  const TemporaryFolder folder;
  const std::string file = folder.write("m.eml", kMessage) + "\n";
  Program slow(kProgram, {"parse", "--from-file", "-"}, Stream::kPipe,
               Stream::kTerminal);
  slow.write(file);
  slow.readErrorUntil("1 messages");  // appears while it waits for more
  slow.write("missing\n");
  slow.readErrorUntil("missing: No such");
  EXPECT_EQ(slow.closeInputAndWait(), 1);
  // Erased before the diagnostic, and at the end if it came back.
  EXPECT_NE(slow.error().find("\r\x1B[Kquillhaven: missing: No such"),
            std::string::npos);
  const std::size_t drawn = slow.error().rfind(" messages, ");
  EXPECT_LT(drawn, slow.error().rfind("\r\x1B[K"));

  Program single(kProgram, {"parse", "-"}, Stream::kPipe, Stream::kTerminal);
  single.write(kMessage);
  EXPECT_EQ(single.closeInputAndWait(), 0);
  EXPECT_EQ(single.error(), "");
}

TEST(Eval, AnswersBeforeItWaitsForMore) {
  Program program(kProgram, {"eval"});
  program.write("{\"op\":\"isInlineTag\",\"text\":\"b\",\"id\":1}\n");
  EXPECT_EQ(program.readOutputUntil("\n"), "{\"result\":true,\"id\":1}\n");
  program.write("{\"op\":\"isInlineTag\",");
  program.write("\"text\":\"p\"}\n\n{\"op\":");
  program.readOutputUntil("literal\"}\n");
  program.write("\"isInlineTag\",\"text\":\"i\"}");  // without a line feed
  EXPECT_EQ(program.closeInputAndWait(), 0);
  const Arguments lines = linesOf(program.output());
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1], "{\"result\":false}");
  EXPECT_TRUE(lines[2].starts_with("{\"error\":\"line is not JSON"));
  EXPECT_EQ(lines[3], "{\"result\":true}");
  EXPECT_EQ(program.error(), "");
}

TEST(Eval, AnswersLongAndManyLinesInOrder) {
  std::string input;
  std::string expected;
  for (std::size_t i = 0; i < 2000; ++i) {
    const std::string text(i == 1000 ? 8000000 : i % 50, 'x');
    const std::string id = std::to_string(i);
    input.append(R"({"id":)").append(id);
    input.append(R"(,"op":"stringByStrippingTags","text":")").append(text);
    input.append("\"}\n");
    expected.append(R"({"result":")").append(text);
    expected.append(R"(","id":)").append(id).append("}\n");
  }
  const RunResult run = runProgram(kProgram, {"eval"}, input);
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output == expected);
}

TEST(Eval, AnswersWithTextsInTheUsersLanguage) {
  const RunResult run = runProgram(
      "/usr/bin/env", {"LC_ALL=C.UTF-8", "LANGUAGE=de", kProgram, "eval"},
      R"({"op":"quillhavenError","case":"unknown"})");
  EXPECT_NE(run.output.find("Ein unbekannter Fehler ist aufgetreten."),
            std::string::npos)
      << run.output;
}

}  // namespace
}  // namespace quillhaven::cli
