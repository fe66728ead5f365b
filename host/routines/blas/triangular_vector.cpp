// Public products and solves of a triangular matrix and a vector, in the place of the vector: full, packed and banded.
#include <tnk/blas.h>

#include "host/routines/blas/cut_matrix.h"
#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

// What is done with the triangle: x := op(A) x, or the solution of op(A) y = x.
template <bool Solve, bool Transposed, bool Conjugated> struct Task {
  static constexpr bool solve = Solve, transposed = Transposed;
  bool unit; // the diagonal, which is not read then

  template <class T> static T element(T stored) { return conjugate_if<Conjugated>(stored); }
  template <class T> static T with(T value, T product) { return Solve ? value - product : value + product; }
  template <class T, class E> T on_diagonal(T value, const E &stored) const {
    if (unit) return value;
    return Solve ? value / element<T>(stored) : element<T>(stored) * value;
  }
};

// The square on the diagonal, a column at a time in the order in which columns can be done.
template <class W, class S, class T, class Width>
void in_square(const W &task, const S &a, tnk_int first, Width width, T *x) {
  constexpr bool ascending = (S::upper != W::transposed) != W::solve;
  T v[S::together];
  x += first;
  for (tnk_int i = 0; i < width; ++i) v[i] = x[i];
  for (tnk_int k = 0; k < width; ++k) {
    const tnk_int c = ascending ? k : width - 1 - k;
    const auto *const column = a.column(first + c) + first;
    if (W::solve != W::transposed) v[c] = task.on_diagonal(v[c], column[c]);
    for (tnk_int i = S::upper ? 0 : c + 1; i < (S::upper ? c : tnk_int{width}); ++i) {
      T &to = W::transposed ? v[c] : v[i];
      to = W::with(to, W::element(column[i]) * (W::transposed ? v[i] : v[c]));
    }
    if (W::solve == W::transposed) v[c] = task.on_diagonal(v[c], column[c]);
  }
  for (tnk_int i = 0; i < width; ++i) x[i] = v[i];
}

// What a group has off its square: added to the other elements of x, or transposed, taken from them.
template <class W, class S, class T>
void off_square(AddProduct<T> *add, const S &a, tnk_int first, tnk_int width, T *x) {
  const Group<S> group(a, first, width);
  const T alpha = from_real<T>(W::solve ? -1 : 1);
  const tnk_int rows = group.rows(), lda = a.step(first);
  if (rows > 0) {
    T *const there = x + group.top, *const here = x + first;
    add(&rows, &width, a.column(first) + group.top, &lda, W::transposed ? there : here,
        W::transposed ? here : there, &alpha);
  }
  group.at_far_ends([&](tnk_int c, tnk_int from, tnk_int to) {
    const auto *const column = a.column(c);
    for (tnk_int i = from; i < to; ++i) {
      T &changes = W::transposed ? x[c] : x[i];
      changes = W::with(changes, W::element(column[i]) * (W::transposed ? x[i] : x[c]));
    }
  });
}

template <class W, class S, class T>
void by_groups(const W &task, AddProduct<T> *add, const S &a, tnk_int from, tnk_int past, T *x) {
  // A product starts where the elements are that nothing else needs any more, a solve where they need nothing else.
  constexpr bool ascending = (S::upper != W::transposed) != W::solve;
  over_groups<S>(from, past, ascending, [&](tnk_int first, auto width) {
    // Elements that are needed elsewhere as they were before, or are summed up first: the square is done last.
    constexpr bool square_last = W::transposed == W::solve;
    if (!square_last) in_square(task, a, first, width, x);
    off_square<W>(add, a, first, width, x);
    if (square_last) in_square(task, a, first, width, x);
  });
}

// Halves in the order of the groups, with the square between them in between.
template <class W, class S, class T> void solve(const W &task, AddProduct<T> *add, const S &a, T *x) {
  if constexpr (S::divisible)
    if (is_to_be_halved(a)) {
      constexpr bool ascending = S::upper == W::transposed;
      const Halves<S> halves(a);
      const tnk_int rows = halves.rows(), columns = halves.columns();
      const T alpha = from_real<T>(-1);
      T *const there = x + halves.top(), *const here = x + halves.left();
      solve(task, add, halves.half(ascending), x + (ascending ? 0 : halves.first));
      add(&rows, &columns, halves.square(), &a.lda, W::transposed ? there : here,
          W::transposed ? here : there, &alpha);
      return solve(task, add, halves.half(!ascending), x + (ascending ? halves.first : 0));
    }
  by_groups(task, add, a, 0, a.n, x);
}

// In slices, each with a vector of its own: of the elements that its columns are multiplied by and of what they add to.
template <class W, class S, class T>
void multiply_slices(const W &task, AddProduct<T> *add, const S &a, const TriangleSlices &slices, T *vectors,
                     T *x) {
  spread(slices.count, threads_to_use(bytes_of_triangle(a)), [&](int i) {
    T *const vector = vectors + i * a.n;
    const tnk_int top = slices.top(i), bottom = slices.bottom(i), from = slices.begin(i),
                  past = slices.begin(i + 1);
    for (tnk_int row = top; row < bottom; ++row)
      vector[row] = W::transposed || (row >= from && row < past) ? x[row] : T{};
    by_groups(task, add, a, from, past, vector);
  });
  std::fill_n(x, a.n, T{});
  for (int i = 0; i < slices.count; ++i) {
    const T *const vector = vectors + i * a.n;
    const tnk_int top = W::transposed ? slices.begin(i) : slices.top(i),
                  bottom = W::transposed ? slices.begin(i + 1) : slices.bottom(i);
    for (tnk_int row = top; row < bottom; ++row) x[row] = x[row] + vector[row];
  }
}

// The same for a narrow band, row by row.
template <class W, bool Conjugated, class B, class T> void by_rows(const W &task, const B &a, T *x) {
  const HalfRow<W::transposed, Conjugated, B> half(a);
  constexpr bool ascending = (half.side > 0) != W::solve;
  const auto row = [&](tnk_int i, auto count) {
    const T sum = half.product(i, count, x);
    const auto &diagonal = a.column(i)[i];
    x[i] = W::solve ? task.on_diagonal(x[i] - sum, diagonal) : task.on_diagonal(x[i], diagonal) + sum;
  };
  const tnk_int ends = std::min(a.k, a.n);
  const auto at_the_end = [&] { // rows that the end of the matrix cuts short
    for (tnk_int l = 0; l < ends; ++l) {
      const tnk_int count = W::solve ? l : ends - 1 - l;
      row(half.side > 0 ? a.n - 1 - count : count, count);
    }
  };
  const auto elsewhere = [&] {
    with_constant(a.k, [&](auto k) {
      const tnk_int first = half.side > 0 ? 0 : ends, past = half.side > 0 ? a.n - ends : a.n;
      for (tnk_int l = 0; l < past - first; ++l) row(ascending ? first + l : past - 1 - l, k);
    });
  };
  if (W::solve) at_the_end();
  elsewhere();
  if (!W::solve) at_the_end();
}

template <bool Solve, bool Transposed, bool Conjugated, class S, class T>
void run(const char *routine, bool unit, const S &a, AddProduct<T> *add, T *x) {
  const Task<Solve, Transposed, Conjugated> task = {unit};
  if constexpr (S::banded)
    if (a.k <= narrow) return by_rows<decltype(task), Conjugated>(task, a, x);
  if constexpr (Solve) {
    solve(task, add, a, x);
  } else {
    const TriangleSlices slices = {S::upper, a.n, number_of_slices(a)};
    if (slices.count == 1) return by_groups(task, add, a, 0, a.n, x);
    Scratch<T> scratch;
    if (T *const vectors = scratch.take(routine, slices.count * a.n))
      multiply_slices(task, add, a, slices, vectors, x);
  }
}

template <bool Solve, class S, class T>
void run(const char *routine, const char *trans, bool unit, const S &a, AddProduct<T> *add, T *x) {
  if (is_plain(*trans))
    run<Solve, false, false>(routine, unit, a, add, x);
  else if (is_complex<T> && is_letter(*trans, 'c'))
    run<Solve, true, is_complex<T>>(routine, unit, a, add, x);
  else
    run<Solve, true, false>(routine, unit, a, add, x);
}

template <bool Solve, class T, class A>
void triangular(const char *routine, const char *uplo, const char *trans, const char *diag, const tnk_int *n,
                const A &a, T *x, const tnk_int *incx) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !given.option("trans", trans, "NTC") ||
      !given.option("diag", diag, "NU") || !a.order(given, n) || !a.array(given, *n, *n > 0) ||
      !given.vector("x", x, *n > 0, "incx", incx, *n) || *n == 0)
    return;
  auto &kernels = matrix_kernels<T>;
  AddProduct<T> *const add = (is_plain(*trans)         ? kernels.plain
                              : is_letter(*trans, 'c') ? kernels.conjugated
                                                       : kernels.transposed)
                                 .get(routine);
  if (!add) return;
  const SideBySide<T> elements(routine, *n, x, incx);
  if (!elements) return;
  const bool unit = is_letter(*diag, 'u');
  if (is_letter(*uplo, 'u'))
    run<Solve>(routine, trans, unit, a.template triangle<true>(*n), add, elements.elements());
  else
    run<Solve>(routine, trans, unit, a.template triangle<false>(*n), add, elements.elements());
  elements.put_back();
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T, operation, solve)                                                                   \
  void tnk_blas_##t##tr##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const T *a, const tnk_int *lda, T *x, const tnk_int *incx) {              \
    tnk::host::triangular<solve>("tnk_blas_" #t "tr" #operation, uplo, trans, diag, n,                       \
                                 tnk::host::FullArguments<const T>{a, lda}, x, incx);                        \
  }                                                                                                          \
  void tnk_blas_##t##tp##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const T *ap, T *x, const tnk_int *incx) {                                 \
    tnk::host::triangular<solve>("tnk_blas_" #t "tp" #operation, uplo, trans, diag, n,                       \
                                 tnk::host::PackedArguments<const T>{ap}, x, incx);                          \
  }                                                                                                          \
  void tnk_blas_##t##tb##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const tnk_int *k, const T *a, const tnk_int *lda, T *x,                   \
                                   const tnk_int *incx) {                                                    \
    tnk::host::triangular<solve>("tnk_blas_" #t "tb" #operation, uplo, trans, diag, n,                       \
                                 tnk::host::BandArguments<const T>{k, a, lda}, x, incx);                     \
  }
#define TNK_BOTH(t, T) TNK_PUBLIC(t, T, mv, false) TNK_PUBLIC(t, T, sv, true)
TNK_BOTH(s, float)
TNK_BOTH(d, double)
TNK_BOTH(c, tnk_complex8)
TNK_BOTH(z, tnk_complex16)
#undef TNK_BOTH
#undef TNK_PUBLIC
