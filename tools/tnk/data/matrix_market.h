// Sparse matrices in files of the Matrix Market's coordinate form (Boisvert, Pozo and Remington, "The Matrix Market
// Exchange Formats", NISTIR 5935, 1996).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tnk::tool {

struct MatrixMarket {
  struct Entry {
    std::int64_t row, column; // from 1
    double value;
  };
  std::string source; // where it came from, for messages
  std::int64_t rows, columns;
  bool symmetric; // the entries are those of the lower triangle
  std::vector<Entry> entries;
};

// Reads a real or integer matrix, or a pattern, whose entries become ones; general or symmetric. Throws Failure, which
// names the file, the line and what is wrong there.
MatrixMarket read_matrix_market(const std::filesystem::path &path);

// The same from text; `source` stands for the file's name in messages.
MatrixMarket parse_matrix_market(std::string_view text, const std::string &source);

} // namespace tnk::tool
