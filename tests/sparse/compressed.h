// Compressed rows of small integers, to be converted, added and multiplied.
#pragma once

#include "reference/dense.h"
#include "sparse/aux_form.h"
#include <algorithm>
#include <numeric>
#include <tnk/spblas_convert.h>

namespace tnk::test {

using tnk::reference::Dense;

// Compressed rows, with what they stand for.
template <class T, class I> struct Csr {
  Csr(I rows, I across, I from) : m(rows), n(across), base(from), pointer(1, from) {}
  Csr(I rows, I across, I from, I entries) : Csr(rows, across, from) {
    pointer.assign(at(rows) + 1, I{-7});
    columns.assign(at(entries), I{-7});
    values.assign(at(entries), narrow<T>(-7));
  }
  void append(I column, T value) { columns.push_back(column + base), values.push_back(value); }
  void end_row() { pointer.push_back(base + static_cast<I>(columns.size())); }
  auto arrays() const { return std::tuple(values.data(), columns.data(), pointer.data()); }
  I entries() const { return static_cast<I>(columns.size()); }
  // visit(row, column, place) for each entry in turn.
  template <class Visit> void each(Visit visit) const {
    for (I i = 0; i < m; ++i)
      for (I k = pointer[at(i)] - base; k < pointer[at(i) + 1] - base; ++k)
        visit(i, columns[at(k)] - base, at(k));
  }
  // Entries that repeat are added up.
  Dense dense() const {
    Dense a(m, n);
    each([&](I i, I j, std::size_t k) { a(i, j) += widened(values[k]); });
    return a;
  }
  bool operator==(const Csr &other) const {
    return pointer == other.pointer && columns == other.columns && wide_values() == other.wide_values();
  }
  std::vector<wide> wide_values() const {
    std::vector<wide> all;
    for (const T &v : values) all.push_back(widened(v));
    return all;
  }
  static std::size_t at(I i) { return static_cast<std::size_t>(i); }

  I m, n, base;
  std::vector<T> values;
  std::vector<I> columns, pointer;
};

template <class Form> struct SparseConvert : InEachForm<Form> {
  using Number = typename Form::first_type;
  using Index = typename Form::second_type;
  using Matrix = Csr<Number, Index>;

  Number nonzero() {
    return narrow<Number>(this->pair(this->random.integer(1, 4), this->random.integer(-3, 3)));
  }
  // Rows of up to `most` entries, some of none; sorted and without repetition, or neither.
  Matrix matrix(Index m, Index n, Index base, Index most, bool sorted = true) {
    Matrix a(m, n, base);
    for (Index i = 0; i < m; ++i) {
      std::vector<Index> columns(a.at(n));
      std::iota(columns.begin(), columns.end(), Index{0});
      const Index length = std::min<Index>(n, static_cast<Index>(this->random.integer(0, most)));
      for (Index k = 0; k < length; ++k)
        std::swap(columns[a.at(k)], columns[a.at(static_cast<Index>(this->random.integer(k, n - 1)))]);
      columns.resize(a.at(length));
      if (sorted)
        std::sort(columns.begin(), columns.end());
      else if (length > 1)
        columns.back() = columns.front();
      for (const Index column : columns) a.append(column, nonzero());
      a.end_row();
    }
    return a;
  }
  // visit(matrix, base of the other form) over sizes and bases.
  template <class Visit> void each_matrix(bool sorted, Visit visit) {
    for (const Index n : {0, 1, 2, 5, 17})
      for (const int bases : {0, 1, 2, 3})
        for (const Index most : {0, 2, 9})
          visit(matrix(n, n, bases & 1, most, sorted), static_cast<Index>(bases / 2));
  }
};

} // namespace tnk::test
