// The readers of data: what they take, and what they say of the rest.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/data/matrix_market.h"
#include "tools/tools_support.h"
#include <gtest/gtest.h>

namespace {

using namespace tnk::tool;
using tnk::test::failure_of;

struct Refusal {
  std::string text, message;
};

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
  const Refusal cases[] = {
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
  EXPECT_THROW(read_csv("/nowhere/at/all.csv"), Failure);
  EXPECT_THROW(read_csv("/"), Failure);
  const CsvTable table = parse_csv("a,b\n1,2\n", "x.csv");
  EXPECT_EQ(failure_of([&] { table.column("c"); }), "x.csv: no column \"c\"; it has: a, b");
}

TEST(MatrixMarket, ReadsWhatProgramsWrite) {
  const MatrixMarket a =
      parse_matrix_market("%%MatrixMarket MATRIX Coordinate REAL general\r\n% by hand\r\n\r\n"
                          "2 3 3\r\n 1\t3  -1.5e2\r\n2 1 +.25\r\n\r\n1 3 1e-400",
                          "x.mtx");
  EXPECT_TRUE(a.rows == 2 && a.columns == 3 && !a.symmetric);
  ASSERT_EQ(a.entries.size(), 3u);
  EXPECT_TRUE(a.entries[0].row == 1 && a.entries[0].column == 3 && a.entries[0].value == -150);
  EXPECT_TRUE(a.entries[1].value == 0.25 && a.entries[2].value == 0);
  const MatrixMarket b =
      parse_matrix_market("%%MatrixMarket matrix coordinate pattern symmetric\n2 2 1\n2 1\n", "y");
  EXPECT_TRUE(b.symmetric);
  EXPECT_EQ(b.entries.at(0).value, 1);
}

TEST(MatrixMarket, NamesFileLineAndFault) {
  const std::string general = "%%MatrixMarket matrix coordinate real general\n",
                    symmetric = "%%MatrixMarket matrix coordinate real symmetric\n%\n";
  const Refusal cases[] = {
      {"", "x.mtx: the file is empty"},
      {"1 1 1\n", "x.mtx, line 1: expected \"%%MatrixMarket matrix\" and three words more"},
      {"%%MatrixMarket matrix array real general\n",
       "x.mtx, line 1: the form \"array\" cannot be read, only: coordinate"},
      {"%%MatrixMarket matrix coordinate complex general\n",
       "x.mtx, line 1: the form \"complex\" cannot be read, only: real, integer, pattern"},
      {general, "x.mtx: no line of sizes"},
      {general + "2 2\n", "x.mtx, line 2: expected three sizes: rows, columns, entries"},
      {general + "-2 2 1\n",
       "x.mtx, line 2: the number of rows is \"-2\", expected an integer from 0 to 2147483648"},
      {symmetric + "2 3 0\n", "x.mtx, line 3: a symmetric matrix must be square"},
      {symmetric + "2 2 1\n1 2 5\n",
       "x.mtx, line 4: an entry of the upper triangle in a symmetric matrix, which lists the lower one"},
      {general + "2 2 1\n3 1 5\n", "x.mtx, line 3: the row is \"3\", expected an integer from 1 to 2"},
      {general + "2 2 1\n1 0 5\n", "x.mtx, line 3: the column is \"0\", expected an integer from 1 to 2"},
      {general + "2 2 1\n1 1\n", "x.mtx, line 3: expected a row, a column and a value"},
      {general + "2 2 1\n1 1 nan\n", "x.mtx, line 3: the value is \"nan\", expected a finite number"},
      {general + "2 2 1\n1 1 1e999\n", "x.mtx, line 3: the value is \"1e999\", expected a finite number"},
      {general + "2 2 1\n1 1 5\n\n1 2 5\n", "x.mtx, line 5: more entries than the 1 announced"},
      {general + "2 2 9\n1 1 5\n", "x.mtx: ends after 1 entries of the 9 announced"},
  };
  for (const auto &c : cases)
    EXPECT_EQ(failure_of([&] { parse_matrix_market(c.text, "x.mtx"); }), c.message) << c.text;
}

} // namespace
