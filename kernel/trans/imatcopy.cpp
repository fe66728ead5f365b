// AB := alpha op(AB), inside of one array and without any memory beside it. Matrices that lie densely in a square are
// exchanged about the diagonal; others move row by row, or element by element along the cycles of the permutation that
// transposition is.
#include "kernel/trans/columns.h"
#include "kernel/trans/rows.h"
#include <tnk/trans.h>

namespace tnk::trans {
namespace {

// ---- Squares --------------------------------------------------------------------------------------------------------

template <bool Conj, class T> void scale_square(count n, T *ab, T alpha) {
  for (count i = 0; i < n; ++i) scale_row<Conj, 16>(n, alpha, ab + i * n, ab + i * n);
}

// A tile below the diagonal and its counterpart above it, each a line of the cache wide and as high.
template <bool Conj, class T> inline void exchange_tiles(count n, T *lower, T *upper, T alpha) {
  constexpr int tile = 64 / sizeof(T), rows = per_vector<T>;
  const auto change = [=](Columns<T> &x) TNK_INLINED {
    for (auto &v : x.column) v = scaled(alpha, conjugated_if<Conj, T>(v));
  };
  for (count i = 0; i < tile; i += rows)
    for (count j = 0; j < tile; j += columns_a_block) {
      T *const down = lower + i * n + j, *const up = upper + j * n + i;
      Columns<T> x = load_columns(down, n), y;
      unrolled<columns_a_block>([&](auto k) TNK_INLINED { y.column[k] = loadu<vec_of<T>>(up + k * n); });
      change(x), change(y);
      unrolled<columns_a_block>([&](auto k) TNK_INLINED { storeu(up + k * n, x.column[k]); });
      store_columns(down, n, y);
    }
}

template <bool Conj, class T> void transpose_square(count n, T *ab, T alpha) {
  constexpr count tile = 64 / sizeof(T);
  const auto change = [=](T x) { return alpha * conjugated_if<Conj, T>(x); };
  for (count top = 0; top < n; top += tile) {
    const count bottom = std::min(top + tile, n);
    count left = 0;
    if (bottom - top == tile)
      for (; left < top; left += tile)
        exchange_tiles<Conj>(n, ab + top * n + left, ab + left * n + top, alpha);
    for (count i = top; i < bottom; ++i)
      for (count j = left; j <= i; ++j) {
        T *const lower = ab + i * n + j, *const upper = ab + j * n + i;
        const T x = change(get(lower));
        put(lower, change(get(upper)));
        put(upper, x);
      }
  }
}

// ---- Rows that move -------------------------------------------------------------------------------------------------

// A row and its new place may overlap, as may other rows. Forwards no element is overwritten before it was read where
// places move towards the start, backwards where they move towards the end; a vector is read before it is written.
template <bool Conj, class T> void move_rows(count rows, count cols, T *ab, count lda, count ldb, T alpha) {
  if (cols == 0) return;
  constexpr count step = per_vector<T>;
  const auto one = [=](const T *from, T *to) { put(to, alpha * conjugated_if<Conj, T>(get(from))); };
  const auto vector = [=](const T *from, T *to) TNK_INLINED {
    storeu(to, scaled(alpha, conjugated_if<Conj, T>(in_register(loadu<vec_of<T>>(from)))));
  };
  if (lda >= ldb)
    for (count i = 0; i < rows; ++i) {
      const T *const from = ab + i * lda;
      T *const to = ab + i * ldb;
      count j = 0;
      for (; j + step <= cols; j += step) vector(from + j, to + j);
      for (; j < cols; ++j) one(from + j, to + j);
    }
  else
    for (count i = rows; i-- > 0;) {
      const T *const from = ab + i * lda;
      T *const to = ab + i * ldb;
      count j = cols;
      for (; j >= step; j -= step) vector(from + j - step, to + j - step);
      while (j-- > 0) one(from + j, to + j);
    }
}

// ---- Cycles ---------------------------------------------------------------------------------------------------------

// Positions count through the rectangle of lda by ldb; `next` is where transposition sends one. A cycle belongs to the
// first of its positions that holds an element, and is walked from there with one element in hand. Which position that
// is, a look along the cycle tells anew each time: there is no memory to note it in. Positions between the elements are
// padding; a walk passes them with nothing in hand.
template <bool Conj, class T>
void transpose_cycles(count rows, count cols, T *ab, count lda, count ldb, T alpha) {
  if (cols == 0) return;
  const auto next = [=](count position) { return position / lda + position % lda * ldb; };
  // A position up to s with a column below cols has a row below rows, as s has.
  const auto leads = [=](count s) {
    count q = next(s);
    while (q > s || q % lda >= cols) q = next(q);
    return q == s;
  };
  for (count i = 0; i < rows; ++i)
    for (count j = 0; j < cols; ++j) {
      const count s = i * lda + j;
      if (!leads(s)) continue;
      T carried = get(ab + s);
      bool carries = true;
      count q = s;
      do {
        q = next(q);
        const bool found = q % lda < cols && q / lda < rows;
        const T x = found ? get(ab + q) : T{};
        if (carries) put(ab + q, alpha * conjugated_if<Conj, T>(carried));
        carried = x;
        carries = found;
      } while (q != s);
    }
}

// ---- By letters -----------------------------------------------------------------------------------------------------

template <bool Conj, class T>
void change(bool transposing, char ordering, count rows, count cols, T *ab, count lda, count ldb, T alpha) {
  if (rows == cols && cols == lda && lda == ldb)
    return (transposing ? transpose_square<Conj, T> : scale_square<Conj, T>)(rows, ab, alpha);
  if (is_by_columns(ordering))
    std::swap(rows, cols);
  else if (!is_by_rows(ordering))
    return;
  (transposing ? transpose_cycles<Conj, T> : move_rows<Conj, T>)(rows, cols, ab, lda, ldb, alpha);
}

template <class T>
void change_by_letters(char ordering, char trans, count rows, count cols, T alpha, T *ab, count lda,
                       count ldb) {
  const int form = form_of(trans);
  if (form == forms) return;
  const bool transposing = form & transposes;
  if constexpr (is_complex<T>)
    if (form & conjugates) return change<true>(transposing, ordering, rows, cols, ab, lda, ldb, alpha);
  change<false>(transposing, ordering, rows, cols, ab, lda, ldb, alpha);
}

} // namespace
} // namespace tnk::trans

#define SQUARE(name, T, kernel)                                                                              \
  void name(std::uint64_t n, T *ab, T alpha) {                                                               \
    tnk::trans::kernel(n, ab, alpha);                                                                        \
  }
#define GENERAL(name, T, kernel)                                                                             \
  void name(std::uint64_t rows, std::uint64_t cols, T *ab, std::uint64_t lda, std::uint64_t ldb, T alpha) {  \
    tnk::trans::kernel(rows, cols, ab, lda, ldb, alpha);                                                     \
  }
#define KERNELS(e, T, plain, transposing, conj)                                                              \
  SQUARE(tnk_trans_tnk_##e##imatcopy_square_##plain, T, scale_square<conj>)                                  \
  SQUARE(tnk_trans_tnk_##e##imatcopy_square_##transposing, T, transpose_square<conj>)                        \
  GENERAL(tnk_trans_tnk_##e##imatcopy_mipt_##plain, T, move_rows<conj>)                                      \
  GENERAL(tnk_trans_tnk_##e##imatcopy_mipt_##transposing, T, transpose_cycles<conj>)
#define IN_PLACE(e, T)                                                                                       \
  void tnk_trans_tnk_##e##imatcopy(char ordering, char trans, std::uint64_t rows, std::uint64_t cols,        \
                                   T alpha, T *ab, std::uint64_t lda, std::uint64_t ldb) {                   \
    tnk::trans::change_by_letters(ordering, trans, rows, cols, alpha, ab, lda, ldb);                         \
  }                                                                                                          \
  KERNELS(e, T, n, t, false)
IN_PLACE(s, float)
IN_PLACE(d, double)
IN_PLACE(c, tnk_complex8)
IN_PLACE(z, tnk_complex16)
KERNELS(c, tnk_complex8, r, c, true)
KERNELS(z, tnk_complex16, r, c, true)
#undef IN_PLACE
#undef KERNELS
#undef GENERAL
#undef SQUARE
