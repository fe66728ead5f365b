// Tables of numbers in comma-separated files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tnk::tool {

struct CsvTable {
  std::string source;                       // where it came from, for messages
  std::vector<std::string> names;           // of the columns, from the header line
  std::vector<std::vector<double>> columns; // one vector a name, all of one length

  std::size_t rows() const { return columns.front().size(); }

  // The column of that name. Throws Failure when there is none.
  const std::vector<double> &column(std::string_view name) const;
};

// Reads a file (RFC 4180) with a header line and nothing but finite numbers below it. A field may stand in
// quotes; blank lines count for nothing. Throws Failure, which names the file, the line and what is wrong
// there.
CsvTable read_csv(const std::filesystem::path &path);

// The same from text; `source` stands for the file's name in messages.
CsvTable parse_csv(std::string_view text, const std::string &source);

} // namespace tnk::tool
