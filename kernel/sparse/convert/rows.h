// Compressed rows of three arrays, read, transposed and filled. Rows, columns and positions are counted from zero here,
// whatever the base of the arrays.
#pragma once

#include "kernel/frame/element.h"
#include "kernel/sparse/wrapped.h"

namespace tnk::sparse {

// ---- Reading ----------------------------------------------------------------------------------------------------

// Row i is the positions begin(i) ... end(i) - 1. Columns and pointers have the one base.
template <class T, class I> struct Rows {
  const T *values;
  const I *columns, *pointer;
  I base;

  I begin(I i) const { return get(pointer + i) - base; }
  I end(I i) const { return get(pointer + i + 1) - base; }
  I column(I k) const { return get(columns + k) - base; }
  T value(I k) const { return get(values + k); }
};

// ---- Filling ----------------------------------------------------------------------------------------------------

template <class T, class I> inline void clear(T *elements, I count) {
  if (count > 0) std::memset(static_cast<void *>(elements), 0, static_cast<std::size_t>(count) * sizeof(T));
}

// Rows whose entries come in any order: count each, then start(), then ask for the place of each. Entries keep their
// order within a row. The pointer of n + 1 elements is all the memory it takes.
template <class I> class RowFiller {
public:
  RowFiller(I *pointer, I n, I base) : pointer_(pointer), n_(n), base_(base) {
    clear(pointer, static_cast<I>(n + 1));
  }
  void count(I row) { advance(row); }
  // Counts become starts, each a row late: once all entries are placed, every row's start has become its end.
  void start() {
    I next = base_;
    put(pointer_, base_);
    for (I i = 0; i < n_; ++i) {
      const I length = get(pointer_ + i + 1);
      put(pointer_ + i + 1, next);
      next += length;
    }
  }
  I place(I row) { return advance(row) - base_; }

private:
  I advance(I row) {
    const I now = get(pointer_ + row + 1);
    put(pointer_ + row + 1, static_cast<I>(now + 1));
    return now;
  }
  I *pointer_, n_, base_;
};

// The rows of a transpose: where its entries stand in the matrix itself, and their rows there. `work` has
// columns + 1 + 2 * entries elements. Rows come out sorted.
template <class T, class I> class TransposedRows {
public:
  TransposedRows(const Rows<T, I> &of, I rows, I columns, I *work)
      : values_(of.values), pointer_(work), positions_(work + columns + 1),
        rows_(positions_ + (rows > 0 ? of.end(rows - 1) - of.begin(0) : 0)) {
    RowFiller<I> filler(work, columns, 0);
    const auto each = [&](auto visit) {
      for (I i = 0; i < rows; ++i)
        for (I k = of.begin(i); k < of.end(i); ++k) visit(i, k);
    };
    each([&](I, I k) { filler.count(of.column(k)); });
    filler.start();
    each([&](I i, I k) {
      const I at = filler.place(of.column(k));
      put(positions_ + at, k);
      put(rows_ + at, i);
    });
  }

  I begin(I i) const { return get(pointer_ + i); }
  I end(I i) const { return get(pointer_ + i + 1); }
  I column(I k) const { return get(rows_ + k); }
  T value(I k) const { return get(values_ + get(positions_ + k)); }

private:
  const T *values_;
  I *pointer_, *positions_, *rows_;
};

// An entry of a form that has an element for it, cleared before. Entries that repeat are added up; a zero that comes
// alone keeps its sign.
template <class T> inline void add_entry(T *element, T value) {
  const T old = get(element);
  put(element, is_zero(old) ? value : old + value);
}

} // namespace tnk::sparse
