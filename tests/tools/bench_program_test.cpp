// tnk bench beside a bench program that measures nothing but writes down what it was asked.
#include "tools/tnk/support/files.h"
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using tnk::test::count, tnk::test::TemporaryFolder;
using tnk::tool::read_file;
using tnk::tool::write_file;

// Four groups, two beside peers of their own. Ratios tell the processes apart.
constexpr const char *fake_bench = R"(#!/bin/sh
here=$(dirname "$0")
case "$*" in
*--list*)
  printf 'first/10\tplain\tplain loop\nsecond/10\tlibrary\t\nlonger_name_2t/10\tthreads\t1 thread\nlast/10\tmore\t\n'
  exit ;;
esac
echo "$*" >>"$here/calls"
printf '# processor: P\n'
test -e "$here/no_library" && printf '# note: not installed\n' || printf '# peer: L\n# core: Zen\n'
printf 'row\tseconds\tlimited_by\tratio\terror\n'
case "$*" in
*--group=plain*) row=first ratio=1.5 ;;
*--group=threads*) row=longer_name_2t ratio=1.75 ;;
*--group=library*) row=second ratio=2.5 ;;
*) row=last ratio=3.5 ;;
esac
case "$*" in *--core=best*) ratio=0.5 ;; esac
case "$row" in second | last) test -e "$here/no_library" && ratio= ;; esac
printf '%s/10\t1\tbytes\t%s\t\n' $row $ratio
)";

class BenchProgram : public testing::Test {
protected:
  void SetUp() override {
    std::filesystem::copy_file(TNK_TEST_PROGRAM, folder.path() / "tnk");
    write_file(folder.path() / "tnk_bench", fake_bench);
    std::filesystem::permissions(folder.path() / "tnk_bench", std::filesystem::perms::owner_all);
  }

  std::string run() {
    const std::string libraries = std::filesystem::path(TNK_TEST_HOST).parent_path().string();
    const std::string command = "cd '" + folder.path().string() +
                                "' && env -u TNK_KERNEL_PATH LD_LIBRARY_PATH='" + libraries +
                                "' ./tnk bench --out out >table 2>messages";
    EXPECT_EQ(std::system(command.c_str()), 0) << file("messages");
    return file("table");
  }

  std::string file(const std::string &name) const { return read_file(folder.path() / name); }
  bool exists(const std::string &name) const { return std::filesystem::exists(folder.path() / name); }

  const TemporaryFolder folder;
};

TEST_F(BenchProgram, RunsTheSecondProcessForRowsBesideTheLibraryAlone) {
  const std::string table = run(), calls = file("calls");
  EXPECT_EQ(count(calls, "--group"), 6) << calls;
  EXPECT_TRUE(count(calls, "--core=SANDYBRIDGE") == 2 && count(calls, "--core=best") == 2) << calls;
  EXPECT_TRUE(count(table, "vs SANDYBRIDGE  vs Zen\n") == 2 && count(table, "compared with\n") == 2) << table;
  EXPECT_TRUE(count(table, "1.50  plain loop\n") == 1 && count(table, "1.75  1 thread\n") == 1) << table;
  EXPECT_TRUE(count(table, " 2.50    0.50\n") == 1 && count(table, " 3.50    0.50\n") == 1) << table;
  EXPECT_EQ(count(file("out/bench.csv"), ",plain loop,1.5,,,,"), 1);
  EXPECT_EQ(count(file("out/bench.csv"), ",OpenBLAS,2.5,,0.5,,"), 1);
  const std::string library = file("out/bench.svg"), own = file("out/bench_own_peers.svg");
  EXPECT_TRUE(count(library, ">second<") && !count(library, ">first<"));
  EXPECT_TRUE(count(own, ">first<") && count(own, ">longer_name_2t<") && !count(own, ">second<"));
  EXPECT_FALSE(count(own, "SANDYBRIDGE") || count(own, "OpenBLAS") || exists("out/bench_products.svg"));
}

TEST_F(BenchProgram, WithoutTheLibraryKeepsTheRatiosToOtherPeers) {
  write_file(folder.path() / "no_library", "");
  const std::string table = run();
  EXPECT_EQ(count(file("calls"), "--group"), 4) << file("calls");
  EXPECT_EQ(count(file("messages"), "not installed"), 1);
  EXPECT_TRUE(count(table, "1.50  plain loop\n") == 1 && count(table, "vs ") == 0) << table;
  EXPECT_TRUE(exists("out/bench_own_peers.svg") && !exists("out/bench.svg"));
}

} // namespace
