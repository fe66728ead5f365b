// What the bench program reports, read, joined and written.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tnk::tool {

// A row as one process measured it. A value that it did not have is empty.
struct Reading {
  std::optional<double> seconds, gigabytes, gigaflops, limit, peer_seconds, ratio;
  std::string limited_by; // "bytes" or "flops"
  std::string note;       // what else is to be said, as that the peer is wrong and left out
  std::string error;      // why there are no values; else ""
};

// The output of one process, a line at a time: remarks "# key: value", the names of the columns, the rows.
class ReadingsParser {
public:
  // True when the line was a row. Throws Failure on a line that is none of the three.
  bool take(const std::string &line);

  std::map<std::string, Reading> rows; // by name: "daxpy/1000"
  std::map<std::string, std::string> remarks;

private:
  std::vector<std::string> columns_;
};

// A row before it is measured.
struct ListedRow {
  std::string name, group;
  std::string compared_with; // as in "plain loop"; empty: the BLAS library
};

// From a line of the bench program's list. Throws Failure on any other line.
ListedRow listed_row(const std::string &line);

// A row of both processes: against the library's core of the kernels' own instruction set, and against its best. A row
// with a peer of its own has that one's ratio in `fair` and no second process.
struct BenchRow {
  std::string kernel, group, compared_with;
  long long n = 0;
  Reading fair;
  std::optional<Reading> best;

  // The first that is wrong with it; "" when all is well.
  std::string error() const;
};

// Names without their readings are rows in error. With best null there was no second process.
BenchRow join(const ListedRow &listed, const std::map<std::string, Reading> &fair,
              const std::map<std::string, Reading> *best);

// Cores of the library; empty where nothing was compared with them.
struct CoreNames {
  std::string fair, best;
};

// The text table: a head before rows of its kind, and a line a row. The ratios of rows beside the library stand under
// the names of its cores, those of rows with peers of their own before the peers' names.
class Table {
public:
  explicit Table(std::size_t longest_kernel_name) : kernel_width(static_cast<int>(longest_kernel_name)) {}

  CoreNames cores; // a column without a name is left out

  std::string head(bool own_peers) const;
  std::string line(const BenchRow &row) const;

private:
  int kernel_width;
};

// A comma-separated file (RFC 4180) with the remarks as comment lines before it. `ratio` is to what `compared_with`
// names, `ratio_best` to the library's best core.
std::string csv_field(const std::string &text);
std::string csv_file(const std::vector<BenchRow> &rows, const std::vector<std::string> &remarks);

} // namespace tnk::tool
