// Matrices as sparse kernels have them.
#pragma once

#include "reference/sparse_grid.h"
#include "support/random.h"
#include "support/sides.h"
#include <functional>
#include <numeric>

namespace tnk::test {

// A matrix as it is stored, and which entries that is. `rows` has row numbers, row pointers or distances of diagonals.
template <class T, class I> struct Stored {
  reference::GridName name;
  Random &random;
  std::function<T(bool on_diagonal)> number;
  tnk_int m, n, block; // m by n blocks
  tnk_int count = 0, stride = 0;
  bool all_are_numbers = name.adds_whole_rows();
  std::vector<reference::SparseEntry<T>> entries = {};
  std::vector<T> values = {};
  std::vector<I> rows = {}, columns = {}, row_end = {};
  tnk_int spare_rows = 0, spare_columns = 0; // of the last blocks, beyond the matrix

  // In any order, some on the diagonal, some more than once.
  tnk_int some_column(tnk_int row) const {
    return row < n && random.integer(0, 15) == 0 ? row : random.integer(0, n - 1);
  }
  // What is no element of the matrix is junk as well, but where kernels add it first.
  void store(tnk_int row, tnk_int column) {
    const bool is_inside = row < m * block - spare_rows && column < n * block - spare_columns;
    const bool is_number = is_inside && (all_are_numbers || name.counts(row, column));
    values.push_back(is_number ? number(row == column) : junk<T>());
    if (is_inside) entries.push_back({row, column, values.back()});
  }

  // Rows of so many entries, the first on the diagonal if there must be one. Unless contiguous, the rows behind the first
  // one stand in any order, with junk in between, and the arrays end with one of them.
  void compress(tnk_int pointer_base, bool contiguous, tnk_int least, tnk_int most) {
    const bool down_first = name.layout == 'f'; // in a block
    std::vector<tnk_int> order(m);
    std::iota(order.begin(), order.end(), 0);
    for (tnk_int k = 1; k < m && !contiguous; ++k) std::swap(order[k], order[random.integer(k, m - 1)]);
    rows.resize(m + contiguous), row_end.resize(m);
    for (const tnk_int row : order) {
      const tnk_int length = random.integer(least, most);
      for (tnk_int gap = contiguous || row == 0 || length == 0 ? 0 : random.integer(0, 2); gap > 0; --gap) {
        columns.push_back(junk<I>());
        values.insert(values.end(), block * block, junk<T>());
      }
      rows[row] = columns.size() + pointer_base;
      for (tnk_int k = 0; k < length; ++k) {
        const tnk_int column = k == 0 && least > 0 && row < n ? row : some_column(row);
        columns.push_back(column + (name.base - '0'));
        for (tnk_int e = 0; e < block * block; ++e) {
          const tnk_int down = down_first ? e % block : e / block, right = e / block + e % block - down;
          store(row * block + down, column * block + right);
        }
      }
      row_end[row] = columns.size() + pointer_base;
    }
    if (contiguous) rows.back() = row_end.back();
  }

  // On average so many in a row.
  void list_triples(tnk_int least, tnk_int most) {
    count = 1 + random.integer(least, most) * m;
    for (tnk_int k = 0; k < count; ++k) {
      const tnk_int row = random.integer(0, m - 1), column = some_column(row);
      store(row, column);
      rows.push_back(row + (name.base - '0'));
      columns.push_back(column + (name.base - '0'));
    }
  }

  // Rows of a lower triangle, or columns of an upper one, as far as the diagonal.
  void store_skyline(tnk_int most) {
    rows.push_back(3);
    for (tnk_int i = 0; i < m; ++i) {
      for (tnk_int j = i - random.integer(0, std::min(i, most)); j <= i; ++j)
        name.triangle == 'u' ? store(j, i) : store(i, j);
      rows.push_back(3 + values.size());
    }
  }

  // About half of the diagonals, of a large matrix less, and some that lie outside altogether; ascending. What a
  // diagonal has outside is junk.
  void store_diagonals() {
    stride = m + 3;
    for (tnk_int distance = -m - 1; distance <= n + 1; ++distance) {
      if (random.integer(0, distance == 0 || m < 100 ? 1 : m / 8) != 0) continue;
      rows.push_back(distance);
      ++count;
      for (tnk_int i = 0; i < stride; ++i)
        if (i < m && i + distance >= 0 && i + distance < n)
          store(i, i + distance);
        else
          values.push_back(junk<T>());
    }
  }
};

} // namespace tnk::test
