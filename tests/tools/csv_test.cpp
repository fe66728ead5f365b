#include "tools/tnk/data/csv.h"
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using tnk::test::failure_of;
using tnk::tool::CsvTable;
using tnk::tool::Failure;
using tnk::tool::parse_csv;

TEST(Csv, ReadsWhatProgramsWrite) {
  const CsvTable table = parse_csv("\xEF\xBB\xBF\"year\", \"a, \"\"b\"\"\" ,c\r\n"
                                   "1749,58,-1e3\r\n"
                                   "\r\n"
                                   " 1750.5 ,\"2\",+.25", // the last line lacks its end
                                   "x.csv");
  ASSERT_EQ(table.names, (std::vector<std::string>{"year", "a, \"b\"", "c"}));
  EXPECT_EQ(table.column("year"), (std::vector<double>{1749, 1750.5}));
  EXPECT_EQ(table.column("a, \"b\""), (std::vector<double>{58, 2}));
  EXPECT_EQ(table.column("c"), (std::vector<double>{-1000, 0.25}));
}

TEST(Csv, NamesFileLineAndFault) {
  const struct {
    const char *text, *message;
  } cases[] = {
      {"", "x.csv: the file is empty; a header line was expected"},
      {"\n \n", "x.csv: the file is empty; a header line was expected"},
      {"a,b\n", "x.csv: no line of numbers below the header"},
      {"a,,b\n1,2,3\n", "x.csv, line 1: a column has no name"},
      {"a,b,a\n1,2,3\n", "x.csv, line 1: column \"a\" stands there twice"},
      {"a,b\n1,2\n\n3\n", "x.csv, line 4: 1 fields, where the header has 2"},
      {"a,b\n1,2,\n", "x.csv, line 2: 3 fields, where the header has 2"},
      {"a,b\n1,\n", "x.csv, line 2: column \"b\" holds \"\", which is no finite number"},
      {"a,b\n1,NA\n", "x.csv, line 2: column \"b\" holds \"NA\", which is no finite number"},
      {"a,b\n1,2x\n", "x.csv, line 2: column \"b\" holds \"2x\", which is no finite number"},
      {"a,b\n1,+-2\n", "x.csv, line 2: column \"b\" holds \"+-2\", which is no finite number"},
      {"a\nnan\n", "x.csv, line 2: column \"a\" holds \"nan\", which is no finite number"},
      {"a\n1e999\n", "x.csv, line 2: column \"a\" holds \"1e999\", which is no finite number"},
      {"a\n\"1\n", "x.csv, line 2: a quoted field does not end on its line"},
      {"a\n\"1\"\"\n", "x.csv, line 2: a quoted field does not end on its line"},
      {"a\n\"1\"2\n", "x.csv, line 2: text follows a quoted field"},
  };
  for (const auto &c : cases) EXPECT_EQ(failure_of([&] { parse_csv(c.text, "x.csv"); }), c.message) << c.text;
}

TEST(Csv, MissingFileAndColumn) {
  EXPECT_THROW(tnk::tool::read_csv("/nowhere/at/all.csv"), Failure);
  EXPECT_THROW(tnk::tool::read_csv("/"), Failure);
  const CsvTable table = parse_csv("a,b\n1,2\n", "x.csv");
  EXPECT_EQ(failure_of([&] { table.column("c"); }), "x.csv: no column \"c\"; it has: a, b");
}

} // namespace
