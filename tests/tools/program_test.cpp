// Runs the program as a user does: arguments in, exit code and text out.
#include "tools/tnk/support/files.h"
#include "tools/tools_support.h"
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

using tnk::test::holds;
using tnk::test::TemporaryFolder;
using tnk::tool::read_file;
using tnk::tool::write_file;

struct Outcome {
  int code;
  std::string out, err;
};

// `settings` go in front of the command, as "NAME=value"; `tail` behind it.
Outcome run(const std::string &arguments, const std::string &settings = "", const std::string &tail = "") {
  const TemporaryFolder folder;
  const auto out = folder.path() / "out", err = folder.path() / "err";
  const std::string command = "env -u TNK_KERNEL_PATH " + settings + " '" TNK_TEST_PROGRAM "' " + arguments +
                              " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null " + tail;
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out), read_file(err)};
}

std::string quoted(const std::filesystem::path &path) {
  return "'" + path.string() + "'";
}

TEST(Program, ExitCodesAndMessages) {
  const struct {
    const char *settings, *arguments;
    int code;
    const char *out, *err; // parts of the texts; an empty one means that the text is empty
  } cases[] = {
      {"", "--help", 0, "tour", ""},
      {"", "--version", 0, "tnk 0.", ""},
      {"", "info --help", 0, "Exit code", ""},
      {"", "tour --help", 0, "--scene", ""},
      {"", "tour --list", 0, "vectors ", ""},
      {"", "bench --help", 0, "Exit code", ""},
      {"", "bench --filter '('", 2, "", "regular expression"},
      {"", "bench --rounds 0", 2, "", "--rounds"},
      {"TNK_KERNEL_PATH=/nowhere/k.so", "bench", 1, "", "/nowhere/k.so"},
      {"", "", 2, "", "subcommand"},
      {"", "dance", 2, "", "dance"},
      {"", "tour --scene nothing", 2, "", "nothing"},
      {"", "tour --out", 2, "", "--out"},
      {"", "info", 0, "tnk_blas_", ""},
      {"TNK_KERNEL_PATH=/nowhere/k.so", "info", 1, "processor", "/nowhere/k.so"},
      {"TNK_KERNEL_PATH=" TNK_TEST_HOST, "info", 1, "refused", TNK_TEST_HOST},
      {"TNK_KERNEL_PATH=" TNK_TEST_OTHER_CLASS, "info", 1, "dll_cpu_version", "class"},
      {"TNK_KERNEL_PATH=/nowhere/k.so", "tour", 1, "", "/nowhere/k.so"},
      {"", "tour --data /nowhere/data", 1, "", "/nowhere/data"},
  };
  for (const auto &c : cases) {
    const Outcome outcome = run(c.arguments, c.settings);
    EXPECT_EQ(outcome.code, c.code) << c.arguments << "\n" << outcome.err;
    EXPECT_TRUE(*c.out ? holds(outcome.out, c.out) : outcome.out.empty()) << c.arguments << "\n"
                                                                          << outcome.out;
    EXPECT_TRUE(*c.err ? holds(outcome.err, c.err) : outcome.err.empty()) << c.arguments << "\n"
                                                                          << outcome.err;
  }
}

TEST(Program, OutputThatCannotBeWrittenIsAFailure) {
  EXPECT_EQ(run("tour --list", "", ">/dev/full").code, 1);
  const TemporaryFolder folder;
  write_file(folder.path() / "file", "");
  const Outcome outcome = run("tour --out " + quoted(folder.path() / "file"));
  EXPECT_EQ(outcome.code, 1);
  EXPECT_TRUE(holds(outcome.err, (folder.path() / "file").string())) << outcome.err;
}

TEST(Program, TourFindsTheSolarCycleAndDrawsIt) {
  const TemporaryFolder folder;
  const Outcome outcome = run("tour --scene vectors --out " + quoted(folder.path() / "new"));
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_TRUE(holds(outcome.out, "125 months")) << outcome.out;
  EXPECT_TRUE(holds(outcome.out, "253.8, October 1957")) << outcome.out;
  const auto picture = folder.path() / "new" / "vectors.svg";
  EXPECT_TRUE(holds(outcome.out, picture.string())) << outcome.out;
  const std::string svg = read_file(picture);
  EXPECT_EQ(tnk::test::xml_fault(svg), "");
  EXPECT_FALSE(holds(svg, "nan") || holds(svg, "inf"));
}

TEST(Program, TourNamesWhatIsWrongWithItsInput) {
  std::string gap = "year,spots\n", flat = gap, line = gap, ancient = gap, negative = gap;
  for (int i = 0; i < 1200; ++i) {
    const std::string year = std::to_string(1800 + i / 12.0);
    flat += year + ",7\n";
    line += year + "," + std::to_string(i) + "\n";
    ancient += std::to_string(-50 + i / 12.0) + "," + std::to_string(i % 130) + "\n";
    negative += year + "," + std::to_string(i % 130 - 1) + "\n";
    if (i != 600) gap += year + "," + std::to_string(i % 130) + "\n";
  }
  const struct {
    std::string text;
    const char *message;
  } cases[] = {{"", "the file is empty"},
               {"year,spots\n1749,x\n", "line 2: column \"spots\""},
               {"year,dots\n1749,1\n", "no column \"spots\""},
               {"year,spots\n1749,1\n", "too few"},
               {gap, "does not follow"},
               {ancient, "year -50.0000 is negative"},
               {negative, "year 1800.0000 has a negative number of spots, -1"},
               {flat, "all values are equal"},
               {line, "no peak"}};
  const TemporaryFolder folder;
  EXPECT_TRUE(holds(run("tour --data " + quoted(folder.path())).err, "sunspots.csv: No such file"));
  for (const auto &c : cases) {
    write_file(folder.path() / "sunspots.csv", c.text);
    const Outcome outcome =
        run("tour --data " + quoted(folder.path()) + " --out " + quoted(folder.path() / "out"));
    EXPECT_EQ(outcome.code, 1) << c.message;
    EXPECT_TRUE(holds(outcome.err, "sunspots.csv") && holds(outcome.err, c.message)) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "out" / "vectors.svg")) << c.message;
  }
}

} // namespace
