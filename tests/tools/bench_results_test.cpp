// What tnk bench makes of the lines that the bench program writes.
#include "tools/tnk/bench/chart.h"
#include "tools/tnk/bench/results.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/child.h"
#include "tools/tools_support.h"
#include <cstdio>
#include <gtest/gtest.h>

namespace {

using namespace tnk::tool;
using tnk::test::count, tnk::test::holds;

Readings parsed(const std::vector<std::string> &texts) {
  TabbedLines lines;
  Readings rows;
  for (const std::string &text : texts)
    if (const auto *fields = lines.take(text)) rows[fields->at("row")] = reading(*fields);
  return rows;
}

BenchRow made(const std::string &name, long long size, const std::string &peer, double ratio) {
  BenchRow row;
  row.listed.group = "level1/axpy", row.listed.name = name, row.listed.size = size, row.listed.peer = peer;
  row.same.unit = "flop", row.same.limited_by = "flops", row.same.peer = peer;
  row.same.rate = 12.34e9, row.same.limit = 0.5, row.same.ratio = ratio;
  return row;
}

BenchRow with_best(BenchRow row, double ratio) {
  row.same.core = "Sandybridge";
  row.best = row.same;
  row.best->core = "Zen", row.best->ratio = ratio;
  return row;
}

TEST(BenchResults, FindsValuesByTheNameOfTheirColumnAndRefusesBrokenLines) {
  const auto rows = parsed({"# peer: Some: library", "row\tratio\tseconds\tlimited_by\terror\tnew column",
                            "daxpy/100\t1.25\t2e-08\tbytes\t\tx", "scopy/7\t\t\t\tthe result differs\tx"});
  ASSERT_EQ(rows.size(), 2u);
  const Reading &good = rows.at("daxpy/100");
  EXPECT_TRUE(good.ratio == 1.25 && good.seconds == 2e-8 && !good.limit && good.error.empty());
  EXPECT_EQ(rows.at("scopy/7").error, "the result differs");

  EXPECT_THROW(parsed({"row\tseconds\terror", "daxpy/100\t1"}), Failure);
  EXPECT_THROW(parsed({"# no key"}), Failure);
  // A row that says neither how long it took nor why not is not taken for a good one.
  EXPECT_NE(parsed({"row\tseconds\terror", "daxpy/100\tabc\t"}).at("daxpy/100").error, "");
  const Reading skipped = parsed({"row\tseconds\tskipped\terror", "dft/9\t\tneeds 6 GB\t"}).at("dft/9");
  EXPECT_TRUE(skipped.error.empty() && skipped.skipped == "needs 6 GB") << skipped.error;
}

TEST(BenchResults, JoinsTheTwoProcessesByNameAndMissesNone) {
  const auto same = parsed({"row\tseconds\tratio\terror", "a/daxpy/100\t1\t1.5\t", "a/ddot/100\t1\t2\t"});
  const auto best = parsed({"row\tseconds\tratio\terror", "a/daxpy/100\t1\t0.5\t"});
  ListedRow daxpy, ddot, missing;
  daxpy.full_name = "a/daxpy/100", ddot.full_name = "a/ddot/100", missing.full_name = "a/dgthr/100";
  const BenchRow both = join(daxpy, same, &best);
  EXPECT_TRUE(both.error().empty() && both.same.ratio == 1.5 && both.best->ratio == 0.5);
  EXPECT_NE(join(ddot, same, &best).error(), "");
  EXPECT_EQ(join(ddot, same, nullptr).error(), "");
  EXPECT_NE(join(missing, same, nullptr).error(), "");
}

TEST(BenchResults, TableHasRateLimitRatiosAndPeerUnderTheirHeads) {
  const BenchRow row = with_best(made("daxpy", 1000, "OpenBLAS", 1.5), 0.75),
                 own = made("dmv", 200, "Eigen", 1.25);
  Table table(24, true), same_only(24, false);
  const std::string head = table.head(), line = table.line(row);
  EXPECT_TRUE(holds(line, "12.3 Gflop/s   50% flops") && holds(line, "1.50    0.75")) << line;
  EXPECT_EQ(line.find("1.50") + 4, head.find("ratio") + 5) << head << line;
  EXPECT_EQ(line.find("0.75") + 4, head.find(" best") + 5) << head << line;
  for (const std::string &text : {line, table.line(own)})
    EXPECT_EQ(std::max(text.find("OpenBLAS") + 1, text.find("Eigen") + 1), head.find("compared with") + 1)
        << text;
  EXPECT_FALSE(holds(same_only.line(row), "0.75") || holds(same_only.head(), "best"));
  EXPECT_EQ(table.line(made("a_name_of_24_characters_", 1, "OpenBLAS", 1)).find("OpenBLAS"),
            line.find("OpenBLAS"));
  EXPECT_TRUE(holds(table.cores(row), "Zen") && table.cores(row).empty() && table.cores(own).empty());
  BenchRow fallen = row;
  fallen.best->error = "fell";
  EXPECT_TRUE(holds(table.line(fallen), "error: fell"));
}

TEST(BenchResults, RatesTakeAPrefix) {
  EXPECT_EQ(rate_text(0, "B"), "0.0 B/s");
  EXPECT_EQ(rate_text(999.94, "call"), "999.9 call/s");
  EXPECT_EQ(rate_text(999.96, "call"), "1.0 kcall/s");
  EXPECT_EQ(rate_text(2.5e7, "point"), "25.0 Mpoint/s");
  EXPECT_EQ(rate_text(3e15, "flop"), "3000.0 Tflop/s");
}

TEST(BenchResults, CsvQuotesWhatWouldBreakALine) {
  EXPECT_EQ(csv_field("plain text"), "plain text");
  EXPECT_EQ(csv_field("say \"x\"\n"), "\"say \"\"x\"\"\n\"");
  BenchRow row = made("daxpy", 5, "Eigen", 1.25);
  row.listed.group = "a,b";
  const std::string file = csv_file({row}, {"peer: none"});
  const auto line = file.find("\n\"a,b\",daxpy,5,");
  ASSERT_TRUE(file.rfind("# peer: none\ngroup,", 0) == 0 && line != file.npos) << file;
  // The quoted comma is one of the line's own.
  EXPECT_EQ(count(file.substr(0, line), ",") + 1, count(file.substr(line), ","));
  EXPECT_TRUE(holds(file, ",Eigen,,1.25,,,,,,,\n")) << file;
}

TEST(BenchChart, PutsRatiosBeyondTheScaleAtItsEnds) {
  std::vector<BenchRow> rows;
  for (const double ratio : {0.01, 1.0, 100.0}) rows.push_back(made("a<b", 10, "L", ratio));
  const std::string svg = ratio_chart(rows, "two_words", "a & b");
  EXPECT_EQ(count(svg, "<path"), 2);
  EXPECT_EQ(count(svg, "<circle"), 2) << "the one within, and the legend's";
  EXPECT_TRUE(count(svg, "a&lt;b") == 1 && count(svg, "a &amp; b") == 1) << "one line for the routine";
  EXPECT_TRUE(count(svg, ">against L<") == 1 && count(svg, "two words") == 1);
  EXPECT_EQ(tnk::test::xml_fault(svg), "");
}

// The only circles that are not the legend's tell where a ratio is drawn.
TEST(BenchChart, DrawsFasterFurtherToTheRightAndTheBestCoreInAPanelOfItsOwn) {
  const auto across = [](const BenchRow &row) {
    const std::string svg = ratio_chart({row}, "", "");
    const auto at = svg.rfind("<circle cx=\"");
    return std::stod(svg.substr(at + 12));
  };
  EXPECT_LT(across(made("a", 1, "L", 0.5)), across(made("a", 1, "L", 1)));
  EXPECT_LT(across(made("a", 1, "L", 1)), across(made("a", 1, "L", 2)));
  const BenchRow both = with_best(made("a", 1, "L", 2), 2);
  EXPECT_GT(across(both), across(made("a", 1, "L", 2)) + 400);
  const std::string svg = ratio_chart({both, made("b", 1, "Eigen", 1)}, "", "");
  EXPECT_TRUE(count(svg, ">Eigen<") == 1 && count(svg, ">L, core Sandybridge<") == 1);
  EXPECT_TRUE(count(svg, ">against L, core Zen<") == 1 &&
              count(svg, ">against what stands on the right<") == 1);
}

TEST(BenchChart, GathersSizesThatHaveNoShadeLeft) {
  std::vector<BenchRow> rows;
  for (const long long n : {20, 100, 200, 1000, 20000, 300000, 400000, 5000000, 60000000})
    rows.push_back(made("dmv", n, "Eigen", 1));
  const std::string svg = ratio_chart(rows, "", "");
  EXPECT_EQ(count(svg, ">n = "), 7);
  EXPECT_TRUE(count(svg, ">n = 100 to 200<") == 1 && count(svg, ">n = 300 000 to 400 000<") == 1);
  EXPECT_EQ(count(svg, "<circle"), 7 + 9);
}

TEST(BenchChart, DrawsRatesOfRoutinesWithSeveralSizes) {
  EXPECT_EQ(rate_chart({made("alone", 8, "L", 1)}, "", ""), "");
  const std::vector<BenchRow> rows = {made("alone", 8, "L", 1), with_best(made("dgemm", 8, "L", 1), 0.5),
                                      with_best(made("dgemm", 64, "L", 2), 0.5)};
  const std::string svg = rate_chart(rows, "two_words", "");
  EXPECT_EQ(tnk::test::xml_fault(svg), "");
  EXPECT_TRUE(count(svg, ">dgemm<") == 1 && count(svg, ">alone<") == 0 && count(svg, ">Gflop/s<") == 1);
  // Upwards is faster: ours stays, the peer falls to a half, the best core is at double.
  const auto heights = [&](const std::string &stroke) {
    const auto colour = svg.find("stroke=\"" + stroke), path = svg.rfind("d=\"M", colour);
    double x, first, last;
    EXPECT_EQ(std::sscanf(svg.c_str() + path, "d=\"M%lf %lfL%lf %lf", &x, &first, &x, &last), 4) << stroke;
    return std::make_pair(first, last);
  };
  const auto ours = heights(colour::blue), peer = heights(colour::vermilion), best = heights(colour::green);
  EXPECT_TRUE(ours.first == ours.second && peer.first == ours.first && peer.second > ours.second);
  EXPECT_TRUE(best.first == best.second && best.first < ours.first);
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
