// tnk bench beside a bench program that measures nothing but writes down what it was asked.
#include "tools/tnk/support/files.h"
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using tnk::test::count, tnk::test::quoted, tnk::test::TemporaryFolder;
using tnk::tool::read_file;
using tnk::tool::write_file;

// Four groups; rows of the second and the last have a library as their peer. Ratios tell the processes apart.
constexpr const char *fake_bench = R"sh(#!/bin/sh
here=$(dirname "$0")
row() { # group, name, size, picture, peer, cores
  printf '%s/%s/%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$1" "$2" "$3" "$1" "$2" "$3" "$4" "$5" "$6"
}
case "$*" in
*--list*)
  printf 'row\tgroup\tname\tsize\tpicture\tpeer\tcores\n'
  row a/plain first 10 'our own' 'plain loop' ''
  row a/library second 10 library L same,best
  row a/library kernel 10 'our own' 'public routine' ''
  row b/threads longer_name_2t 10 'our own' '1 thread' ''
  row b/more last 10 library L same,best
  exit ;;
esac
echo "$*" >>"$here/calls"
core=Sandy ratio=2.5
case "$*" in *--core=best*) core=Zen ratio=0.5 ;; esac
absent=
if test -e "$here/no_library"; then absent='L is not installed' core= ratio=; fi
test -e "$here/breaks" && exit 3
printf '# processor: P\nrow\tseconds\trate\tunit\tratio\tpeer\tcore\tabsent\terror\n'
line() { printf '%s/10\t1\t2e9\tflop\t%s\t%s\t%s\t%s\t%s\n' "$@"; }
case "$*" in
*--group=a/plain*) line a/plain/first 1.5 'plain loop' '' '' '' ;;
*--group=b/threads*) line b/threads/longer_name_2t 1.75 '1 thread' '' '' '' ;;
*--group=a/library*)
  line a/library/second "$ratio" 'L 1' "$core" "$absent" ''
  test "$core" = Zen || line a/library/kernel 1.25 'public routine' '' '' '' ;;
*) line b/more/last "$ratio" 'L 1' "$core" "$absent" "$(cat "$here/wrong" 2>/dev/null)" ;;
esac
)sh";

class BenchProgram : public testing::Test {
protected:
  void SetUp() override {
    std::filesystem::copy_file(TNK_TEST_PROGRAM, folder.path() / "tnk");
    write_file(folder.path() / "tnk_bench", fake_bench);
    std::filesystem::permissions(folder.path() / "tnk_bench", std::filesystem::perms::owner_all);
  }

  // In that folder; returns the exit code.
  int run(const std::string &arguments = "--out out") {
    const auto libraries = std::filesystem::path(TNK_TEST_HOST).parent_path();
    outcome =
        tnk::test::run("bench " + arguments,
                       "-C " + quoted(folder.path()) + " LD_LIBRARY_PATH=" + quoted(libraries), "", "./tnk");
    return outcome.code;
  }

  std::string file(const std::string &name) const { return read_file(folder.path() / name); }
  bool exists(const std::string &name) const { return std::filesystem::exists(folder.path() / name); }

  const TemporaryFolder folder;
  tnk::test::Outcome outcome{};
};

TEST_F(BenchProgram, RunsTheSecondProcessForRowsWhosePeerHasCores) {
  ASSERT_EQ(run(), 0) << outcome.err;
  const std::string &table = outcome.out, calls = file("calls");
  EXPECT_TRUE(count(calls, "--core=same") == 4 && count(calls, "--core=best") == 2) << calls;
  EXPECT_EQ(count(table, "L 1: ratio is to its core Sandy, best to its core Zen\n"), 1) << table;
  EXPECT_EQ(count(table, " 2.50    0.50  L\n"), 2) << table;
  EXPECT_TRUE(count(table, "1.50          plain loop\n") == 1 &&
              count(table, "1.75          1 thread\n") == 1)
      << table;
  EXPECT_EQ(count(table, "2.0 Gflop/s"), 5) << table;
  EXPECT_EQ(count(file("out/bench.csv"), ",plain loop,,1.5,"), 1);
  EXPECT_EQ(count(file("out/bench.csv"), ",L 1,Sandy,2.5,,Zen,0.5,"), 2);
  const std::string library = file("out/bench_library.svg"), own = file("out/bench_our_own.svg");
  EXPECT_TRUE(count(library, ">second<") && count(library, ">last<") && !count(library, ">first<"));
  EXPECT_TRUE(count(own, ">first<") && count(own, ">kernel<") && !count(own, ">second<"));
}

TEST_F(BenchProgram, WithoutTheLibrarySaysSoOnceAndKeepsOtherRatios) {
  write_file(folder.path() / "no_library", "");
  ASSERT_EQ(run(), 0) << outcome.err;
  EXPECT_EQ(count(outcome.err, "not installed"), 1);
  EXPECT_EQ(count(outcome.out, "1.50          plain loop\n"), 1) << outcome.out;
  EXPECT_TRUE(exists("out/bench_our_own.svg") && !exists("out/bench_library.svg"));
}

TEST_F(BenchProgram, HandsOnWhatIsToBeMeasured) {
  ASSERT_EQ(run("--filter 'a/library|first' --sizes 3,4 --rounds 7 --quick --no-best"), 0);
  const std::string calls = file("calls"), &table = outcome.out;
  EXPECT_TRUE(count(calls, "--filter=a/library|first --sizes=3,4 --quick") == 4 &&
              count(calls, "--rounds=7") == 4);
  EXPECT_TRUE(count(calls, "best") == 0 && count(table, "best") == 0) << table;
}

TEST_F(BenchProgram, AWrongRowOrAFallenProcessIsAFailure) {
  write_file(folder.path() / "wrong", "the result differs");
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(count(outcome.out, "error: the result differs\n"), 1) << outcome.out;
  EXPECT_EQ(count(outcome.err, "1 of 5 rows are in error"), 1) << outcome.err;
  write_file(folder.path() / "breaks", "");
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(count(outcome.err, "exit code 3"), 1) << outcome.err;
}

TEST_F(BenchProgram, NothingIsMeasuredThatCouldNotBeKept) {
  write_file(folder.path() / "taken", "");
  EXPECT_EQ(run("--out taken/out"), 1);
  EXPECT_TRUE(count(outcome.err, "taken/out") == 1 && !exists("calls")) << outcome.err;
}

TEST_F(BenchProgram, WithoutTheProgramThatMeasuresSaysWhatToDo) {
  std::filesystem::remove(folder.path() / "tnk_bench");
  for (const char *arguments : {"", "--list"}) {
    EXPECT_EQ(run(arguments), 1);
    EXPECT_EQ(count(outcome.err, "run make bench in the source tree"), 1) << outcome.err;
  }
}

} // namespace
