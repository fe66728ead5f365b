// What the bench program reports, read, joined and written.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tnk::tool {

// The output of one process, a line at a time: remarks "# key: value", the names of the columns, and a line a row.
class TabbedLines {
public:
  using Fields = std::map<std::string, std::string>; // by column

  // The fields of a row, null when the line was none. Throws Failure on a line that is none of the three.
  const Fields *take(const std::string &line);

  std::map<std::string, std::string> remarks;

private:
  std::vector<std::string> columns_;
  Fields fields_;
};

// A row before it is measured.
struct ListedRow {
  std::string full_name, group, name; // "level1/axpy/daxpy/1000", "level1/axpy", "daxpy"
  long long size = 0;
  std::string picture, peer; // "vectors", "OpenBLAS"
  bool curve = false;        // whether a picture shows its rate over the sizes
  bool cores = false;        // whether the peer has cores of its own to choose from
};

ListedRow listed_row(const TabbedLines::Fields &fields);

// A row as one process measured it. A value that it did not have is empty.
struct Reading {
  std::optional<double> seconds, rate, limit, peer_seconds, ratio;
  std::string unit, limited_by;
  std::string peer, core; // "OpenBLAS 0.3.21", "Sandybridge"
  std::string absent;     // how to get a peer that is not installed
  std::string skipped;    // why it was not measured on this machine
  std::string note;       // what else is to be said, as that the peer is wrong and left out
  std::string error;      // why there are no values; else ""
};

Reading reading(const TabbedLines::Fields &fields);
using Readings = std::map<std::string, Reading>; // by the row's full name

// A row of both processes: with the peer on its core of the kernels' own instruction set, and on its best. A row whose
// peer has no cores has no second process.
struct BenchRow {
  ListedRow listed;
  Reading same;
  std::optional<Reading> best;

  // The first that is wrong with it; "" when all is well.
  std::string error() const;
};

// Rows without their readings are in error. With best null there was no second process.
BenchRow join(const ListedRow &listed, const Readings &same, const Readings *best);

// The text table: a head and a line a row.
class Table {
public:
  Table(std::size_t longest_name, bool with_best)
      : name_width_(static_cast<int>(longest_name)), with_best_(with_best) {}

  std::string head() const;
  std::string line(const BenchRow &row) const;
  // Which cores the ratios of a row are to, when that was not said before; else "".
  std::string cores(const BenchRow &row);

private:
  int name_width_;
  bool with_best_;
  std::string cores_;
};

// A rate with a prefix: "12.3 Gflop/s".
struct Prefix {
  const char *text; // "G"
  double factor;    // 1e9
};
Prefix prefix_for(double rate);
std::string rate_text(double rate, const std::string &unit);

// A comma-separated file (RFC 4180) with the remarks as comment lines before it.
std::string csv_field(const std::string &text);
std::string csv_file(const std::vector<BenchRow> &rows, const std::vector<std::string> &remarks);

} // namespace tnk::tool
