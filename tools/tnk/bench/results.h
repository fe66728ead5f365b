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

// A row of both processes: against the peer's core of the kernels' own instruction set, and against its best.
struct BenchRow {
  std::string kernel, group;
  long long n = 0;
  Reading fair;
  std::optional<Reading> best;

  // The first that is wrong with it; "" when all is well.
  std::string error() const;
};

// Names without their readings are rows in error. With best null there was no second process.
BenchRow join(const std::string &name, const std::string &group, const std::map<std::string, Reading> &fair,
              const std::map<std::string, Reading> *best);

// The text table: its head, and a line a row. A column without a name is left out.
struct CoreNames {
  std::string fair, best;
};
std::string table_head(const CoreNames &cores);
std::string table_line(const BenchRow &row, const CoreNames &cores);

// A comma-separated file (RFC 4180) with the remarks as comment lines before it.
std::string csv_field(const std::string &text);
std::string csv_file(const std::vector<BenchRow> &rows, const std::vector<std::string> &remarks);

} // namespace tnk::tool
