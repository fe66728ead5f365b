// Sequences of plane rotations, applied from the left: four columns at a time go through the whole sequence.
#include "kernel/frame/transpose.h"
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// ---- Rows of some columns ---------------------------------------------------------------------------------------
// Row: the elements of one row in registers. A block of rows is read and written at once.

// Four complex numbers in double precision fill two vectors.
struct Pair {
  f64x4 low, high;
  friend Pair operator+(Pair a, Pair b) { return {a.low + b.low, a.high + b.high}; }
  friend Pair operator-(Pair a, Pair b) { return {a.low - b.low, a.high - b.high}; }
  friend Pair operator*(double a, Pair b) { return {a * b.low, a * b.high}; }
};

template <class T> struct OneColumn {
  using Row = T;
  static constexpr int block = 1;
  T *a;

  Row get(tnk_int i) const { return tnk::get(a + i); }
  void put(tnk_int i, Row row) const { tnk::put(a + i, row); }
  void get_block(tnk_int i, Row (&rows)[1]) const { rows[0] = get(i); }
  void put_block(tnk_int i, const Row (&rows)[1]) const { put(i, rows[0]); }
};

// Elements are moved as words of their size, four of them a vector: pairs of floats as doubles.
template <class T> struct FourColumns {
  using Word = std::conditional_t<is_complex<T>, double, T>;
  using Words = quad<Word>;
  using Row = std::conditional_t<is_complex<T>, f32x8, Words>;
  static constexpr int block = 4;
  T *a;
  tnk_int lda;

  T *column(tnk_int i, int j) const { return a + i + j * lda; }
  Row get(tnk_int i) const {
    const auto word = [&](int j) { return tnk::get(reinterpret_cast<const Word *>(column(i, j))); };
    return reinterpret_cast<Row>(Words{word(0), word(1), word(2), word(3)});
  }
  void put(tnk_int i, Row row) const {
    for (int j = 0; j < 4; ++j)
      tnk::put(reinterpret_cast<Word *>(column(i, j)), reinterpret_cast<Words>(row)[j]);
  }
  void get_block(tnk_int i, Row (&rows)[4]) const {
    Words word[4];
    for (int j = 0; j < 4; ++j) word[j] = loadu<Words>(column(i, j));
    transpose(word[0], word[1], word[2], word[3]);
    for (int k = 0; k < 4; ++k) rows[k] = reinterpret_cast<Row>(word[k]);
  }
  void put_block(tnk_int i, const Row (&rows)[4]) const {
    Words word[4];
    for (int k = 0; k < 4; ++k) word[k] = reinterpret_cast<Words>(rows[k]);
    transpose(word[0], word[1], word[2], word[3]);
    for (int j = 0; j < 4; ++j) storeu(column(i, j), word[j]);
  }
};
template <> struct FourColumns<tnk_complex16> {
  using Row = Pair;
  static constexpr int block = 2;
  tnk_complex16 *a;
  tnk_int lda;

  double *column(tnk_int i, int j) const { return reinterpret_cast<double *>(a + i + j * lda); }
  Row get(tnk_int i) const {
    return {load_pairs(column(i, 0), column(i, 1)), load_pairs(column(i, 2), column(i, 3))};
  }
  void put(tnk_int i, Row row) const {
    store_pair(column(i, 0), low_half(row.low)), store_pair(column(i, 1), high_half(row.low));
    store_pair(column(i, 2), low_half(row.high)), store_pair(column(i, 3), high_half(row.high));
  }
  void get_block(tnk_int i, Row (&rows)[2]) const {
    const auto two = [&](int j) { return loadu<f64x4>(column(i, j)); };
    rows[0] = {low_halves(two(0), two(1)), low_halves(two(2), two(3))};
    rows[1] = {high_halves(two(0), two(1)), high_halves(two(2), two(3))};
  }
  void put_block(tnk_int i, const Row (&rows)[2]) const {
    storeu(column(i, 0), low_halves(rows[0].low, rows[1].low));
    storeu(column(i, 1), high_halves(rows[0].low, rows[1].low));
    storeu(column(i, 2), low_halves(rows[0].high, rows[1].high));
    storeu(column(i, 3), high_halves(rows[0].high, rows[1].high));
  }
};

// ---- The sequence -----------------------------------------------------------------------------------------------

enum Pivot { variable, top, bottom };
enum Direction { forward, backward };

// Of the two rows of a rotation one stays in a register: with a fixed pivot that row, else the one that the next
// rotation needs too. The other one is read, and one row is written: in its place, or with the variable pivot in that of
// the row that was kept. The chain of a product and a sum through the kept row is what takes the time.
template <Pivot pivot, Direction direction, class R, class Columns>
void rotate_rows(tnk_int m, const R *c, const R *s, const Columns &columns) {
  constexpr bool keeps_upper = pivot == top || (pivot == variable && direction == forward),
                 ends_with_upper = pivot == variable ? !keeps_upper : keeps_upper;
  constexpr tnk_int block = Columns::block, reads = keeps_upper ? 1 : 0,
                    writes = pivot == variable ? 1 - reads : reads;
  using Row = typename Columns::Row;
  Row kept = columns.get(keeps_upper ? 0 : m - 1);
  const auto rotate = [&](tnk_int k, Row &row) {
    const R ck = get(c + k), sk = get(s + k);
    const Row a = keeps_upper ? kept : row, t = keeps_upper ? row : kept;
    const Row upper = sk * t + ck * a, lower = ck * t - sk * a;
    kept = ends_with_upper ? upper : lower;
    row = ends_with_upper ? lower : upper;
  };
  const auto rotate_one = [&](tnk_int k) {
    Row row = columns.get(k + reads);
    rotate(k, row);
    columns.put(k + writes, row);
  };
  Row rows[block];
  if constexpr (direction == forward) {
    tnk_int k = 0;
    for (; k + block <= m - 1; k += block) {
      columns.get_block(k + reads, rows);
      for (tnk_int i = 0; i < block; ++i) rotate(k + i, rows[i]);
      columns.put_block(k + writes, rows);
    }
    for (; k < m - 1; ++k) rotate_one(k);
  } else {
    tnk_int k = m - 1;
    for (; k >= block; k -= block) {
      columns.get_block(k - block + reads, rows);
      for (tnk_int i = block; i-- > 0;) rotate(k - block + i, rows[i]);
      columns.put_block(k - block + writes, rows);
    }
    while (k-- > 0) rotate_one(k);
  }
  columns.put(ends_with_upper ? 0 : m - 1, kept);
}

template <Pivot pivot, Direction direction, class T>
void rotate_from_left(tnk_int m, tnk_int n, const real_of<T> *c, const real_of<T> *s, T *a, tnk_int lda) {
  if (m < 2) return;
  tnk_int j = 0;
  for (; j + 4 <= n; j += 4) rotate_rows<pivot, direction>(m, c, s, FourColumns<T>{a + j * lda, lda});
  for (; j < n; ++j) rotate_rows<pivot, direction>(m, c, s, OneColumn<T>{a + j * lda});
}

} // namespace
} // namespace tnk::lapack

using namespace tnk::lapack;

#define ENTRY(t, T, R, name, pivot, direction)                                                               \
  void tnk_lapack_ps_##t##lasr_l##name(const tnk_int *m, const tnk_int *n, const R *c, const R *s, T *a,     \
                                       const tnk_int *lda) {                                                 \
    rotate_from_left<pivot, direction>(*m, *n, c, s, a, *lda);                                               \
  }
#define ENTRIES(t, T, R)                                                                                     \
  ENTRY(t, T, R, vf, variable, forward)                                                                      \
  ENTRY(t, T, R, vb, variable, backward)                                                                     \
  ENTRY(t, T, R, tf, top, forward)                                                                           \
  ENTRY(t, T, R, tb, top, backward)                                                                          \
  ENTRY(t, T, R, bf, bottom, forward)                                                                        \
  ENTRY(t, T, R, bb, bottom, backward)
ENTRIES(s, float, float)
ENTRIES(d, double, double)
ENTRIES(c, tnk_complex8, float)
ENTRIES(z, tnk_complex16, double)
