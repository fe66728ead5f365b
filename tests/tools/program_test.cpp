// Runs the program as a user does: arguments in, exit code and text out.
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using namespace tnk::test;
using tnk::tool::write_file;

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
      {"", "bench --sizes 8,0", 2, "", "not a list of sizes"},
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
      {"", "info --blas /bin/sh", 1, "", "no BLAS"},
      {"", "info --blas no-such-program", 1, "", "no-such-program"},
      {"", "info --blas " TNK_TEST_DROPIN "/libblas64.so.3", 1, "", "no BLAS"},
      {"", "info --blas " TNK_TEST_DROPIN "/../../bin/test_dropin", 0, "whose           of tnk", ""},
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
  EXPECT_EQ(outcome.out, "") << "tried before the work";
}

} // namespace
