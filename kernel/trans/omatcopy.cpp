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

// Blocks that halving comes down to: at most so many rows and columns.
constexpr count smallest = 4;

template <bool Conj, class T>
inline void transpose_small(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                            count strideb, T alpha) {
  for (count i = 0; i < rows; ++i)
    for (count j = 0; j < cols; ++j)
      put(b + j * ldb + i * strideb, alpha * conjugated_if<Conj, T>(get(a + i * lda + j * stridea)));
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

template <class T>
void scale_transposed(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                      count strideb, T alpha) {
  // The larger side is halved; the stack holds the first halves only.
  while (rows > smallest || cols > smallest) {
    if (rows > cols) {
      const count half = rows / 2;
      scale_transposed(half, cols, a, lda, stridea, b, ldb, strideb, alpha);
      rows -= half, a += half * lda, b += half * strideb;
    } else {
      const count half = cols / 2;
      scale_transposed(rows, half, a, lda, stridea, b, ldb, strideb, alpha);
      cols -= half, a += half * stridea, b += half * ldb;
    }
  }
  transpose_small<false>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);
}

template <class T>
void transpose_copy(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                    count strideb, T alpha) {
  if (rows == 0 || cols == 0) return;
  if (is_one(alpha) && stridea == 1 && strideb == 1)
    move_transposed(rows, cols, a, lda, b, ldb);
  else
    scale_transposed(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);
}

// Conjugates are never only moved, whatever alpha is.
template <class T>
void transpose_conjugates(count rows, count cols, const T *a, count lda, count stridea, T *b, count ldb,
                          count strideb, T alpha) {
  if (rows == 0 || cols == 0) return;
  if (rows <= smallest && cols <= smallest)
    return transpose_small<true>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);
  if (rows > cols) {
    const count half = rows / 2;
    transpose_conjugates(half, cols, a, lda, stridea, b, ldb, strideb, alpha);
    transpose_conjugates(rows - half, cols, a + half * lda, lda, stridea, b + half * strideb, ldb, strideb,
                         alpha);
  } else {
    const count half = cols / 2;
    transpose_conjugates(rows, half, a, lda, stridea, b, ldb, strideb, alpha);
    transpose_conjugates(rows, cols - half, a + half * stridea, lda, stridea, b + half * ldb, ldb, strideb,
                         alpha);
  }
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
