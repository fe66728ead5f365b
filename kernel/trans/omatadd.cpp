// C := alpha op(A) + beta op(B). Each product is rounded by itself, the complex ones as a whole, and then their sum.
#include "kernel/trans/chunks.h"
#include "kernel/trans/rows.h"
#include <tnk/trans.h>

namespace tnk::trans {
namespace {

// An operand in a form: its element that meets (i, j) of C, and its part that meets a block of four rows of C.
template <int Form, class T> struct Operand {
  static constexpr bool transposing = Form & transposes, conjugating = is_complex<T> && Form & conjugates;
  const T *data;
  count ld;

  T at(count i, count j) const {
    return conjugated_if<conjugating, T>(get(transposing ? data + j * ld + i : data + i * ld + j));
  }
  Columns<T> block(count i, count j) const {
    Columns<T> x;
    if constexpr (transposing)
      x = load_columns(data + j * ld + i, ld);
    else
      unrolled<columns_a_block>([&](auto k)
                                    TNK_INLINED { x.column[k] = loadu<vec_of<T>>(data + (i + k) * ld + j); });
    unrolled<columns_a_block>([&](auto k)
                                  TNK_INLINED { x.column[k] = conjugated_if<conjugating, T>(x.column[k]); });
    return x;
  }
};

template <class T, class X> inline X weighted_sum(T alpha, X a, T beta, X b) {
  return scaled(alpha, a) + scaled(beta, b);
}

// Both operands in the rows of C.
template <bool ConjA, bool ConjB, class T>
void add_row(count n, T alpha, const T *a, T beta, const T *b, T *c) {
  in_passes<64 / sizeof(T)>(
      n, c,
      [=](count j) {
        put(c + j, weighted_sum(alpha, conjugated_if<ConjA, T>(get(a + j)), beta,
                                conjugated_if<ConjB, T>(get(b + j))));
      },
      [=](count j) TNK_INLINED {
        const auto x = conjugated_if<ConjA, T>(in_register(loadu<vec_of<T>>(a + j)));
        const auto y = conjugated_if<ConjB, T>(in_register(loadu<vec_of<T>>(b + j)));
        storeu(c + j, weighted_sum(alpha, x, beta, y));
      });
}

// One or both of them in its columns: four rows of C at a time, a vector of each; what is left one by one.
template <int FormA, int FormB, class T>
void add_columns(count rows, count cols, Operand<FormA, T> a, Operand<FormB, T> b, T *c, count ldc, T alpha,
                 T beta) {
  const auto one = [=](count i, count j) {
    put(c + i * ldc + j, weighted_sum(alpha, a.at(i, j), beta, b.at(i, j)));
  };
  count i = 0;
  for (; i + columns_a_block <= rows; i += columns_a_block) {
    count j = 0;
    for (; j + per_vector<T> <= cols; j += per_vector<T>) {
      const Columns<T> x = a.block(i, j), y = b.block(i, j);
      unrolled<columns_a_block>([&](auto k) TNK_INLINED {
        storeu(c + (i + k) * ldc + j, weighted_sum(alpha, x.column[k], beta, y.column[k]));
      });
    }
    for (; j < cols; ++j)
      for (count k = 0; k < columns_a_block; ++k) one(i + k, j);
  }
  for (; i < rows; ++i)
    for (count j = 0; j < cols; ++j) one(i, j);
}

// C := alpha C + beta B^T. The rows of B are taken by chunks. With one row or column of C both arrays are walked as they
// lie in memory, side by side, whatever their leading dimensions.
template <class T>
void add_transpose_in_place(count rows, count cols, T *c, count ldc, const T *b, count ldb, T alpha, T beta) {
  if (rows == 1 || cols == 1)
    in_passes<16>(
        std::max(rows, cols), c,
        [=](count k) { put(c + k, weighted_sum(alpha, get(c + k), beta, get(b + k))); },
        [=](count k) TNK_INLINED {
          const auto x = in_register(loadu<vec_of<T>>(c + k)), y = in_register(loadu<vec_of<T>>(b + k));
          storeu(c + k, weighted_sum(alpha, x, beta, y));
        });
  else
    walk_chunks<T>(cols, rows, b, ldb, c, ldc, [=](T *to, auto x) TNK_INLINED {
      decltype(x) sum;
      std::memcpy(&sum, to, sizeof sum);
      sum = weighted_sum(alpha, sum, beta, x);
      std::memcpy(to, &sum, sizeof sum);
    });
}

template <int FormA, int FormB, class T>
void add(count rows, count cols, const T *a, count lda, const T *b, count ldb, T *c, count ldc, T alpha,
         T beta) {
  if (rows == 0 || cols == 0) return;
  if constexpr (FormA == 0 && FormB == transposes)
    if (a == c && lda == ldc) return add_transpose_in_place(rows, cols, c, ldc, b, ldb, alpha, beta);
  if constexpr ((FormA | FormB) & transposes)
    add_columns(rows, cols, Operand<FormA, T>{a, lda}, Operand<FormB, T>{b, ldb}, c, ldc, alpha, beta);
  else
    for (count i = 0; i < rows; ++i)
      add_row<FormA != 0, FormB != 0>(cols, alpha, a + i * lda, beta, b + i * ldb, c + i * ldc);
}

// ---- By letters -----------------------------------------------------------------------------------------------------

template <class T> struct Choice {
  decltype(add<0, 0, T>) *run;
  bool swap; // the operands, with their factors
};

// By the forms of A (rows) and B (columns): N, T, R, C.
constexpr int N = 0, T = transposes, R = conjugates, C = T | R;
template <class E, bool = is_complex<E>>
constexpr Choice<E> choices[forms][forms] = {
    {{add<N, N, E>, false}, {add<N, T, E>, false}, {add<N, N, E>, false}, {add<N, T, E>, false}},
    {{add<N, T, E>, true}, {add<T, T, E>, true}, {add<N, T, E>, true}, {add<T, T, E>, false}},
    {{add<N, N, E>, false}, {add<N, T, E>, false}, {add<N, N, E>, false}, {add<N, T, E>, false}},
    {{add<N, T, E>, true}, {add<T, T, E>, false}, {add<N, T, E>, true}, {add<T, T, E>, false}}};
template <class E>
constexpr Choice<E> choices<E, true>[forms][forms] = {
    {{add<N, N, E>, false}, {add<N, T, E>, false}, {add<R, N, E>, true}, {add<N, C, E>, false}},
    {{add<N, T, E>, true}, {add<T, T, E>, true}, {add<R, T, E>, true}, {add<T, C, E>, false}},
    {{add<R, N, E>, false}, {add<R, T, E>, false}, {add<R, R, E>, false}, {add<R, C, E>, false}},
    {{add<N, C, E>, true}, {add<T, C, E>, true}, {add<R, C, E>, true}, {add<C, C, E>, false}}};

template <class E>
void add_by_letters(char ordering, char transa, char transb, count rows, count cols, E alpha, const E *a,
                    count lda, E beta, const E *b, count ldb, E *c, count ldc) {
  const int forma = form_of(transa), formb = form_of(transb);
  if (forma == forms || formb == forms) return;
  if (is_by_columns(ordering)) std::swap(rows, cols);
  const Choice<E> &choice = choices<E>[forma][formb];
  if (choice.swap)
    choice.run(rows, cols, b, ldb, a, lda, c, ldc, beta, alpha);
  else
    choice.run(rows, cols, a, lda, b, ldb, c, ldc, alpha, beta);
}

} // namespace
} // namespace tnk::trans

#define KERNEL(name, T, FormA, FormB)                                                                        \
  void name(std::uint64_t rows, std::uint64_t cols, const T *a, std::uint64_t lda, const T *b,               \
            std::uint64_t ldb, T *c, std::uint64_t ldc, T alpha, T beta) {                                   \
    tnk::trans::add<tnk::trans::FormA, tnk::trans::FormB>(rows, cols, a, lda, b, ldb, c, ldc, alpha, beta);  \
  }
#define SUMS(t, E)                                                                                           \
  void tnk_trans_tnk_##t##omatadd(char ordering, char transa, char transb, std::uint64_t rows,               \
                                  std::uint64_t cols, E alpha, const E *a, std::uint64_t lda, E beta,        \
                                  const E *b, std::uint64_t ldb, E *c, std::uint64_t ldc) {                  \
    tnk::trans::add_by_letters(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);   \
  }                                                                                                          \
  KERNEL(tnk_trans_tnk_##t##omatadd_nn, E, N, N)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_nt, E, N, T)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_tt, E, T, T)
#define CONJUGATING(t, E)                                                                                    \
  KERNEL(tnk_trans_tnk_##t##omatadd_nc, E, N, C)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_rn, E, R, N)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_rt, E, R, T)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_rc, E, R, C)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_rr, E, R, R)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_tc, E, T, C)                                                             \
  KERNEL(tnk_trans_tnk_##t##omatadd_cc, E, C, C)
SUMS(s, float)
SUMS(d, double)
SUMS(c, tnk_complex8)
SUMS(z, tnk_complex16)
CONJUGATING(c, tnk_complex8)
CONJUGATING(z, tnk_complex16)
#undef CONJUGATING
#undef SUMS
#undef KERNEL
