// B := alpha op(A): copies of a matrix, scaled, transposed, conjugated.
#include "kernel/trans/chunks.h"
#include "kernel/trans/rows.h"
#include <tnk/trans.h>

namespace tnk::trans {
namespace {

// ---- As stored ------------------------------------------------------------------------------------------------------

template <bool Conj, class T>
void copy_rows(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb, count strideb,
               T alpha) {
  if (cols == 0) return;
  const bool dense = stridea == 1 && strideb == 1;
  for (count i = 0; i < rows; ++i, a += lda, b += ldb) {
    if (dense) {
      scale_row<Conj, 2 * per_vector<T>>(cols, alpha, a, b);
      continue;
    }
    const auto one = [=](count j) {
      put(b + j * strideb, alpha * conjugated_if<Conj, T>(get(a + j * stridea)));
    };
    count j = 0;
    for (; j + 2 <= cols; j += 2) one(j), one(j + 1);
    if (j < cols) one(j);
  }
}

// ---- Transposed -----------------------------------------------------------------------------------------------------

// Halving: the larger side of a matrix is cut in two until both are at most so long.
constexpr count smallest = 4;

// What stays the same from cut to cut.
template <class T> struct Places {
  count lda, stridea, ldb, strideb;
  T alpha;
};

template <bool Conj, class T>
inline void transpose_small(count rows, count cols, const T *a, T *b, const Places<T> &p) {
  for (count i = 0; i < rows; ++i)
    for (count j = 0; j < cols; ++j)
      put(b + j * p.ldb + i * p.strideb,
          p.alpha * conjugated_if<Conj, T>(get(a + i * p.lda + j * p.stridea)));
}

// The last halvings at once: four blocks come of one of 5 to 8 rows and columns. Where elements lie side by side they are
// covered by four blocks of four by four, which may overlap: no loop, whose end the processor would have to guess for
// each of them.
inline bool has_four_blocks(count rows, count cols) {
  return rows - smallest - 1 < smallest && cols - smallest - 1 < smallest;
}
template <bool Conj, class T>
inline void transpose_blocks(count rows, count cols, const T *a, T *b, const Places<T> &p) {
  const count i = rows - smallest, j = cols - smallest;
  transpose_four<Conj>(a, p.lda, b, p.ldb, p.alpha);
  transpose_four<Conj>(a + j, p.lda, b + j * p.ldb, p.ldb, p.alpha);
  transpose_four<Conj>(a + i * p.lda, p.lda, b + i, p.ldb, p.alpha);
  transpose_four<Conj>(a + i * p.lda + j, p.lda, b + j * p.ldb + i, p.ldb, p.alpha);
}

template <class T> void move_transposed(count rows, count cols, const T *a, count lda, T *b, count ldb) {
  if (rows == 1) {
    count j = 0;
    for (; j + 2 <= cols; j += 2) put(b + j * ldb, get(a + j)), put(b + (j + 1) * ldb, get(a + j + 1));
    if (j < cols) put(b + j * ldb, get(a + j));
  } else if (cols == 1) {
    count i = 0;
    for (; i + 2 <= rows; i += 2) put(b + i, get(a + i * lda)), put(b + i + 1, get(a + (i + 1) * lda));
    if (i < rows) put(b + i, get(a + i * lda));
  } else {
    walk_chunks<T>(rows, cols, a, lda, b, ldb,
                   [](T *to, auto x) TNK_INLINED { std::memcpy(to, &x, sizeof x); });
  }
}

template <bool Dense, class T>
void scale_transposed(count rows, count cols, const T *a, T *b, const Places<T> &p) {
  // The second half by the loop: the stack holds first halves only.
  while (rows > smallest || cols > smallest) {
    if (Dense && has_four_blocks(rows, cols)) return transpose_blocks<false>(rows, cols, a, b, p);
    if (rows > cols) {
      const count half = rows / 2;
      scale_transposed<Dense>(half, cols, a, b, p);
      rows -= half, a += half * p.lda, b += half * p.strideb;
    } else {
      const count half = cols / 2;
      scale_transposed<Dense>(rows, half, a, b, p);
      cols -= half, a += half * p.stridea, b += half * p.ldb;
    }
  }
  transpose_small<false>(rows, cols, a, b, p);
}

template <class T>
void transpose_copy(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                    count strideb, T alpha) {
  if (rows == 0 || cols == 0) return;
  const Places<T> p{lda, stridea, ldb, strideb, alpha};
  const bool dense = stridea == 1 && strideb == 1;
  if (is_one(alpha) && dense)
    move_transposed(rows, cols, a, lda, b, ldb);
  else
    (dense ? scale_transposed<true, T> : scale_transposed<false, T>)(rows, cols, a, b, p);
}

// Conjugates are never only moved, whatever alpha is.
template <bool Dense, class T>
void halve_conjugates(count rows, count cols, const T *a, T *b, const Places<T> &p) {
  if (rows <= smallest && cols <= smallest) {
    transpose_small<true>(rows, cols, a, b, p);
  } else if (Dense && has_four_blocks(rows, cols)) {
    transpose_blocks<true>(rows, cols, a, b, p);
  } else if (rows > cols) {
    const count half = rows / 2;
    halve_conjugates<Dense>(half, cols, a, b, p);
    halve_conjugates<Dense>(rows - half, cols, a + half * p.lda, b + half * p.strideb, p);
  } else {
    const count half = cols / 2;
    halve_conjugates<Dense>(rows, half, a, b, p);
    halve_conjugates<Dense>(rows, cols - half, a + half * p.stridea, b + half * p.ldb, p);
  }
}

template <class T>
void transpose_conjugates(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                          count strideb, T alpha) {
  if (rows == 0 || cols == 0) return;
  const Places<T> p{lda, stridea, ldb, strideb, alpha};
  (stridea == 1 && strideb == 1 ? halve_conjugates<true, T> : halve_conjugates<false, T>)(rows, cols, a, b,
                                                                                          p);
}

// ---- By letters -----------------------------------------------------------------------------------------------------

template <class T>
void copy(char ordering, char trans, count rows, count cols, T alpha, const T *a, count lda, count stridea,
          T *b, count ldb, count strideb) {
  const int form = form_of(trans);
  if (form == forms || !(is_by_rows(ordering) || is_by_columns(ordering))) return;
  if (is_by_columns(ordering)) std::swap(rows, cols);
  const bool conjugating = is_complex<T> && form & conjugates;
  const auto run = form & transposes ? (conjugating ? transpose_conjugates<T> : transpose_copy<T>)
                                     : (conjugating ? copy_rows<true, T> : copy_rows<false, T>);
  run(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);
}

} // namespace
} // namespace tnk::trans

#define REC(name, T, kernel)                                                                                 \
  void name(std::uint64_t rows, std::uint64_t cols, const T *a, std::uint64_t lda, std::uint64_t stridea,    \
            T *b, std::uint64_t ldb, std::uint64_t strideb, T alpha) {                                       \
    tnk::trans::kernel(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);                                 \
  }
#define COPIES(t, T)                                                                                         \
  void tnk_trans_tnk_##t##omatcopy(char ordering, char trans, std::uint64_t rows, std::uint64_t cols,        \
                                   T alpha, const T *a, std::uint64_t lda, T *b, std::uint64_t ldb) {        \
    tnk::trans::copy(ordering, trans, rows, cols, alpha, a, lda, 1, b, ldb, 1);                              \
  }                                                                                                          \
  void tnk_trans_tnk_##t##omatcopy2(char ordering, char trans, std::uint64_t rows, std::uint64_t cols,       \
                                    T alpha, const T *a, std::uint64_t lda, std::uint64_t stridea, T *b,     \
                                    std::uint64_t ldb, std::uint64_t strideb) {                              \
    tnk::trans::copy(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                  \
  }                                                                                                          \
  REC(tnk_trans_tnk_##t##omatcopy2_rec_n, T, copy_rows<false>)                                               \
  REC(tnk_trans_tnk_##t##omatcopy2_rec_t, T, transpose_copy)
#define CONJUGATING(t, T)                                                                                    \
  REC(tnk_trans_tnk_##t##omatcopy2_rec_r, T, copy_rows<true>)                                                \
  REC(tnk_trans_tnk_##t##omatcopy2_rec_c, T, transpose_conjugates)
COPIES(s, float)
COPIES(d, double)
COPIES(c, tnk_complex8)
COPIES(z, tnk_complex16)
CONJUGATING(c, tnk_complex8)
CONJUGATING(z, tnk_complex16)
#undef CONJUGATING
#undef COPIES
#undef REC
