// Triangles and diagonals to be solved with, in the arrays of each storage.
#pragma once

#include "sparse/stored.h"
#include <algorithm>
#include <cmath>

namespace tnk::test {

// The diagonal leads each row. What must not count is NaN: the other triangle, what is stored on a diagonal of ones, of
// several triples on a diagonal all but the last. `strict`: as kernels want them, whose searches stop at nothing but a
// diagonal, so that compressed rows without one are empty; else entries are unique, and both ends have a diagonal.
template <class T, class I> struct Triangle : Stored<T, I> {
  using S = Stored<T, I>;
  using S::columns, S::entries, S::m, S::name, S::random, S::row_end, S::rows, S::store, S::stride, S::values;

  Triangle(const reference::GridName &of, I order, I most, Random &numbers, bool strict)
      : S{of, numbers, kept_small(of.diagonal == 'u', most, numbers), order, order, 1, 0, 0, false} {
    const bool unit = name.diagonal == 'u', triples = name.storage == "coo";
    const auto some = [&](I least, I greatest) { return static_cast<I>(random.integer(least, greatest)); };
    if (name.storage == "dia") {
      stride = m + 2;
      for (I k = -m; k <= m; ++k) {
        if (k != 0 && (some(0, m / most) != 0 || (strict && name.kind == 'd'))) continue;
        rows.push_back(k);
        for (I i = 0; i < stride; ++i)
          if (i < m && i + k >= 0 && i + k < m)
            store(i, i + k);
          else
            values.push_back(junk<T>());
      }
      return;
    }
    if (name.storage == "sky") {
      this->store_skyline(most);
      return;
    }
    const I base = name.base - '0';
    std::vector<I> rows_of;
    for (I i = 0; i < m; ++i) {
      rows.push_back(static_cast<I>(values.size()) + 7);
      std::vector<I> row;
      const bool bare = unit && some(0, 1) && (strict || (i > 0 && i < m - 1)); // ones may be stored or not
      if (!bare) row.push_back(i);
      for (I k = some(0, most); k > 0; --k)
        if (const I j = some(0, m - 1); !bare || !strict || triples) row.push_back(j);
      std::sort(row.begin(), row.end());
      if (!strict || !triples) row.erase(std::unique(row.begin(), row.end()), row.end());
      for (const I j : row) columns.push_back(j + base), store(i, j), rows_of.push_back(i + base);
      row_end.push_back(static_cast<I>(values.size()) + 7);
    }
    rows.push_back(static_cast<I>(values.size()) + 7);
    if (!triples) return;
    rows = rows_of;
    for (std::size_t k = 1; k < values.size(); ++k) { // in any order
      const auto j = static_cast<std::size_t>(random.integer(0, static_cast<tnk_int>(k)));
      std::swap(values[k], values[j]), std::swap(entries[k], entries[j]);
      std::swap(columns[k], columns[j]), std::swap(rows[k], rows[j]);
    }
    std::vector<bool> seen(static_cast<std::size_t>(m));
    for (std::size_t k = entries.size(); k-- > 0 && name.kind == 't';)
      if (auto &e = entries[k]; e.row == e.column && name.diagonal == 'n') {
        if (seen[static_cast<std::size_t>(e.row)]) e.value = T{}, values[k] = junk<T>();
        seen[static_cast<std::size_t>(e.row)] = true;
      }
  }

private:
  // So large on the diagonal and so small beside one of ones that solutions do not grow.
  static auto kept_small(bool unit, I most, Random &numbers) {
    return [=, &numbers](bool diagonal) {
      T v = numbers.number<T>();
      if constexpr (std::is_floating_point_v<T>)
        return diagonal ? std::copysign(static_cast<T>(most) + 1 + std::fabs(v), v)
               : unit   ? v / static_cast<T>(most)
                        : v;
      else if (const auto size = static_cast<decltype(v.re)>(most); diagonal)
        v.im = (2 * size + 2) * (v.im < 0 ? -1 : 1);
      else if (unit)
        v.re /= size, v.im /= size;
      return v;
    };
  }
};

} // namespace tnk::test
