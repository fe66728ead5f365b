// What tnk bench makes of the lines that the bench program writes.
#include "tools/tnk/bench/chart.h"
#include "tools/tnk/bench/child.h"
#include "tools/tnk/bench/results.h"
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using namespace tnk::tool;
using tnk::test::count, tnk::test::holds;

ReadingsParser parsed(const std::vector<std::string> &lines) {
  ReadingsParser parser;
  for (const std::string &line : lines) parser.take(line);
  return parser;
}

TEST(BenchResults, FindsValuesByTheNameOfTheirColumnAndRefusesBrokenLines) {
  const auto parser = parsed({"# peer: Some: library", "row\tratio\tseconds\tlimited_by\terror\tnew column",
                              "daxpy/100\t1.25\t2e-08\tbytes\t\tx", "scopy/7\t\t\t\tthe result differs\tx"});
  EXPECT_EQ(parser.remarks.at("peer"), "Some: library");
  ASSERT_EQ(parser.rows.size(), 2u);
  const auto &good = parser.rows.at("daxpy/100");
  EXPECT_TRUE(good.ratio == 1.25 && good.seconds == 2e-8 && !good.limit && good.error.empty());
  EXPECT_EQ(parser.rows.at("scopy/7").error, "the result differs");

  EXPECT_THROW(parsed({"row\tseconds\terror", "daxpy/100\t1"}), Failure);
  EXPECT_THROW(parsed({"# no key"}), Failure);
  EXPECT_THROW(listed_row("daxpy/100\taxpy"), Failure);
  // A row that says neither how long it took nor why not is not taken for a good one.
  EXPECT_NE(parsed({"row\tseconds\terror", "daxpy/100\tabc\t"}).rows.at("daxpy/100").error, "");
}

TEST(BenchResults, JoinsTheTwoProcessesByNameAndMissesNone) {
  const auto fair = parsed({"row\tseconds\tratio\terror", "daxpy/100\t1\t1.5\t", "ddot/100\t1\t2\t"}).rows;
  const auto best = parsed({"row\tseconds\tratio\terror", "daxpy/100\t1\t0.5\t"}).rows;
  const BenchRow both = join(listed_row("daxpy/100\taxpy\t"), fair, &best);
  EXPECT_TRUE(both.kernel == "daxpy" && both.n == 100 && both.error().empty());
  EXPECT_TRUE(both.fair.ratio == 1.5 && both.best->ratio == 0.5);
  EXPECT_NE(join({"ddot/100", "dot", ""}, fair, &best).error(), "");
  EXPECT_EQ(join({"ddot/100", "dot", ""}, fair, nullptr).error(), "");
  const BenchRow missing = join(listed_row("dgthr/100\tsparse vectors\tplain loop"), fair, nullptr);
  EXPECT_NE(missing.error(), "");
  EXPECT_EQ(missing.compared_with, "plain loop");
}

TEST(BenchResults, TableHasAColumnForEachCoreAndTheRateOfTheLimit) {
  BenchRow row;
  row.kernel = "daxpy", row.n = 1000;
  row.fair.limited_by = "flops", row.fair.gigaflops = 12.34, row.fair.gigabytes = 99;
  row.fair.limit = 0.5, row.fair.ratio = 1.5;
  row.best = row.fair;
  row.best->ratio = 0.75;
  Table table(24), fair_only(24);
  table.cores = {"SANDYBRIDGE", "Zen"}, fair_only.cores = {"SANDYBRIDGE", ""};
  const std::string with = table.line(row), without = fair_only.line(row);
  EXPECT_TRUE(holds(with, "12.3 Gflop/s  50% flops") && !holds(with, "99")) << with;
  EXPECT_TRUE(holds(with, "0.75") && !holds(without, "0.75"));
  EXPECT_EQ(table.head(false).size(), with.size());
  row.kernel = "a_name_of_24_characters_";
  EXPECT_EQ(table.line(row).size(), with.size());
  row.best->error = "fell";
  EXPECT_TRUE(holds(table.line(row), "error: fell"));
}

TEST(BenchResults, TableShowsTheOneRatioOfARowWithAPeerOfItsOwnBeforeThePeersName) {
  BenchRow row;
  row.kernel = "dcsr1ng_5", row.n = 200, row.compared_with = "Eigen", row.fair.ratio = 1.25;
  Table table(9);
  table.cores = {"SANDYBRIDGE", "Zen"};
  const std::string head = table.head(true), line = table.line(row);
  EXPECT_EQ(head.find("SANDYBRIDGE"), head.npos) << head;
  EXPECT_EQ(line.find("Eigen"), head.find("compared with")) << head << line;
  EXPECT_EQ(line.find("1.25") + 4, head.find("ratio") + 5) << head << line;
  table.cores = {}; // without the library
  EXPECT_EQ(table.line(row), line);
}

TEST(BenchResults, CsvQuotesWhatWouldBreakALine) {
  EXPECT_EQ(csv_field("plain text"), "plain text");
  EXPECT_EQ(csv_field("say \"x\"\n"), "\"say \"\"x\"\"\n\"");
  BenchRow row;
  row.kernel = "daxpy", row.group = "a,b", row.n = 5;
  const std::string file = csv_file({row}, {"peer: none"});
  const auto line = file.find("\n\"a,b\",daxpy,5,");
  ASSERT_TRUE(file.rfind("# peer: none\ngroup,", 0) == 0 && line != file.npos) << file;
  // The quoted comma is one of the line's own.
  EXPECT_EQ(count(file.substr(0, line), ",") + 1, count(file.substr(line), ","));
  row.compared_with = "Eigen", row.fair.ratio = 1.25;
  EXPECT_NE(csv_file({row}, {}).find(",Eigen,1.25,,,,"), std::string::npos) << csv_file({row}, {});
}

TEST(BenchChart, PutsRatiosBeyondTheScaleAtItsEnds) {
  std::vector<BenchRow> rows(3);
  for (std::size_t i = 0; i < 3; ++i)
    rows[i].kernel = "a<b", rows[i].n = 10, rows[i].fair.ratio = std::vector{0.01, 1.0, 100.0}[i];
  const std::string svg = ratio_chart(rows, {"SANDYBRIDGE", ""}, "a & b");
  EXPECT_EQ(count(svg, "<path"), 2);
  EXPECT_EQ(count(svg, "<circle"), 2) << "the one within, and the legend's";
  EXPECT_TRUE(count(svg, "a&lt;b") == 1 && count(svg, "a &amp; b") == 1) << "one line for the kernel";
}

TEST(BenchChart, NamesPeersOfTheirOwnAndGathersLengthsThatHaveNoShadeLeft) {
  std::vector<BenchRow> rows;
  for (const long long n : {20, 100, 200, 1000, 20000, 300000, 400000, 5000000, 60000000}) {
    rows.emplace_back();
    rows.back().kernel = "dcsr1ng", rows.back().n = n, rows.back().compared_with = "Eigen",
    rows.back().fair.ratio = 1;
  }
  const std::string svg = ratio_chart(rows, {}, "");
  EXPECT_TRUE(count(svg, ">Eigen<") == 1 && count(svg, "against the core") == 0);
  EXPECT_EQ(count(svg, ">n = "), 7);
  EXPECT_TRUE(count(svg, ">n = 100 to 200<") == 1 && count(svg, ">n = 300 000 to 400 000<") == 1);
  EXPECT_EQ(count(svg, "<circle"), 7 + 9);
}

TEST(Child, GivesLinesAndTheExitCode) {
  std::vector<std::string> lines;
  const auto keep = [&](const std::string &line) { lines.push_back(line); };
  EXPECT_EQ(run_child("/bin/sh", {"-c", "printf 'one\\n\\ntwo'; exit 3"}, keep), 3);
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "", "two"}));
  EXPECT_EQ(run_child("/bin/sh", {"-c", "kill -9 $$"}, keep), 128 + 9);
  EXPECT_THROW(run_child("/no/such/program", {}, keep), Failure);
  const auto refuse = [](const std::string &) { throw Failure("enough"); };
  EXPECT_THROW(run_child("/bin/sh", {"-c", "echo x; exec sleep 60"}, refuse), Failure);
}

} // namespace
