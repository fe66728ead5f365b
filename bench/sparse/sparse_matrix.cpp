#include "bench/sparse/sparse_matrix.h"

#include <algorithm>
#include <vector>

namespace tnk::bench {
namespace {

// The part of x that a row reads stays in the first cache.
constexpr tnk_int band = 1024;

class Random {
public:
  // 0 ... bound - 1
  tnk_int below(tnk_int bound) {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    return static_cast<tnk_int>((state >> 32) % static_cast<std::uint64_t>(bound));
  }

private:
  std::uint64_t state = 0x9e3779b97f4a7c15u;
};

struct Entry {
  tnk_int column;
  double value;
};
using Rows = std::vector<std::vector<Entry>>;

double random_value(Random &random) {
  const tnk_int eighths = random.below(16);
  return static_cast<double>(eighths < 8 ? eighths - 8 : eighths - 7) / 8;
}

// `count` columns of first ... first + width - 1: one of each of as many equal parts, so in order and distinct.
void draw(std::vector<Entry> &row, Random &random, tnk_int first, tnk_int width, tnk_int count) {
  for (tnk_int k = 0; k < count; ++k) {
    const tnk_int from = width * k / count, to = width * (k + 1) / count;
    row.push_back({first + from + random.below(to - from), random_value(random)});
  }
}

Rows whole_rows(const Pattern &pattern, tnk_int n) {
  const tnk_int columns = pattern.columns_for(n);
  const tnk_int width = pattern.scattered ? columns : std::min(columns, std::max(band, 4 * pattern.max));
  Random random;
  Rows rows(static_cast<std::size_t>(n));
  for (tnk_int i = 0; i < n; ++i) {
    const tnk_int count = pattern.min + random.below(pattern.max - pattern.min + 1);
    draw(rows[static_cast<std::size_t>(i)], random, std::clamp<tnk_int>(i - width / 2, 0, columns - width),
         width, count);
  }
  return rows;
}

// Half of the entries are drawn below the diagonal, which is all there; the others mirror them.
Rows symmetric_rows(const Pattern &pattern, tnk_int n, Stored stored) {
  Random random;
  Rows lower(static_cast<std::size_t>(n));
  for (tnk_int i = 0; i < n; ++i) {
    const tnk_int width = std::min(i, band / 2);
    auto &row = lower[static_cast<std::size_t>(i)];
    draw(row, random, i - width, width, std::min(width, pattern.max / 2));
    row.push_back({i, random_value(random)});
  }
  if (stored == Stored::lower) return lower;
  Rows rows = stored == Stored::all ? lower : Rows(lower.size());
  for (tnk_int i = 0; i < n; ++i)
    for (const Entry &entry : lower[static_cast<std::size_t>(i)])
      if (stored == Stored::upper || entry.column != i)
        rows[static_cast<std::size_t>(entry.column)].push_back({i, entry.value});
  return rows;
}

Rows rows_of(const Pattern &pattern, tnk_int n, Stored stored) {
  return pattern.symmetric ? symmetric_rows(pattern, n, stored) : whole_rows(pattern, n);
}

template <class I> struct Matrix {
  Pattern pattern = {};
  tnk_int n = 0;
  Store values, columns[2], row_start[2], rows;
  SparseRows<I> view;

  void build(const Pattern &wanted, tnk_int wanted_n, Stored stored) {
    if (wanted_n == n && wanted == pattern) return;
    pattern = wanted, n = wanted_n;
    const Rows drawn = rows_of(pattern, n, stored);
    std::size_t entries = 0;
    for (const auto &row : drawn) entries += row.size();
    auto *const value = reinterpret_cast<double *>(values.at_least(entries * sizeof(double)));
    auto *const number = reinterpret_cast<I *>(rows.at_least(entries * sizeof(I)));
    view.values = value, view.rows = number;
    for (const int base : {0, 1}) {
      auto *column = reinterpret_cast<I *>(columns[base].at_least(entries * sizeof(I)));
      auto *start = reinterpret_cast<I *>(row_start[base].at_least((drawn.size() + 1) * sizeof(I)));
      view.columns[base] = column, view.row_start[base] = start;
      std::size_t p = 0;
      *start++ = static_cast<I>(base);
      for (std::size_t i = 0; i < drawn.size(); ++i) {
        for (const Entry &entry : drawn[i]) {
          value[p] = entry.value;
          number[p] = static_cast<I>(i + 1);
          column[p++] = static_cast<I>(entry.column + base);
        }
        *start++ = static_cast<I>(static_cast<tnk_int>(p) + base);
      }
    }
  }
};

} // namespace

template <class I> SparseRows<I> sparse_matrix(const Pattern &pattern, tnk_int rows, Stored stored) {
  static Matrix<I> kept[3];
  Matrix<I> &matrix = kept[static_cast<int>(stored)];
  matrix.build(pattern, rows, stored);
  return matrix.view;
}

template SparseRows<std::int32_t> sparse_matrix<std::int32_t>(const Pattern &, tnk_int, Stored);
template SparseRows<std::int64_t> sparse_matrix<std::int64_t>(const Pattern &, tnk_int, Stored);

double sparse_entries(const Pattern &pattern, tnk_int rows, Stored stored) {
  if (!pattern.symmetric)
    return static_cast<double>(rows) * static_cast<double>(pattern.min + pattern.max) / 2;
  double below = 0;
  const tnk_int half = pattern.max / 2;
  for (tnk_int i = 0; i < rows; ++i) below += static_cast<double>(std::min({i, band / 2, half}));
  return below * (stored == Stored::all ? 2 : 1) + static_cast<double>(rows);
}

} // namespace tnk::bench
