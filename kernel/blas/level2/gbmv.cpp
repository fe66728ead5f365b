// y := alpha op(A) x + beta y, A a band matrix.
#include "kernel/blas/level2/gemv_kernels.h"
#include "kernel/blas/level2/vectors.h"
#include <tnk/blas_level2.h>

namespace tnk::level2 {
namespace {

// Rows from `first` on, before `past`; none when past is not above first.
struct Rows {
  tnk_int first, past;
};

template <class T> struct Band {
  tnk_int m, kl, ku;
  const T *a;
  tnk_int lda;

  Rows rows(tnk_int j) const { return {std::max<tnk_int>(0, j - ku), std::min(m, j + kl + 1)}; }
  const T *at(tnk_int i, tnk_int j) const { return a + ku + i - j + j * lda; }
};

// ---- y := y + alpha A x, y with a stride of 1 -------------------------------------------------------------------

// Those lanes of the vector at row r that stand for these rows.
template <class T> vector_start lanes_of(const Rows &rows, tnk_int r) {
  constexpr tnk_int e = per_vector<T>;
  const auto before = [&](tnk_int row) { return start_of<T>(std::clamp<tnk_int>(row - r, 0, e)); };
  const vector_start some = before(rows.past);
  return {some.lanes & ~before(rows.first).lanes, some.bytes};
}
template <class V> V only(const vector_start &lanes, V v) {
  return reinterpret_cast<V>(reinterpret_cast<i32x8>(v) & lanes.lanes);
}

// Neighbouring columns together. Their rows shift by one a column, and those of the next columns by as many vectors as
// are needed for that many elements: so what is loaded of y was stored as just these vectors, and need not wait.
template <class T> constexpr int together = std::max(4, per_vector<T>);

template <int Columns, class T>
void add_columns_of_band(const Band<T> &band, tnk_int j, const T (&factor)[Columns], T *y) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>;
  const Rows first = band.rows(j), last = band.rows(j + Columns - 1);
  for (tnk_int r = first.first; r < last.past; r += e) {
    V sum{};
    if (r >= last.first && r + e <= first.past) {
      for (int k = 0; k < Columns; ++k) sum += scaled(factor[k], loadu<V>(band.at(r, j + k)));
      storeu(y + r, loadu<V>(y + r) + sum);
      continue;
    }
    // Beside the band nothing is read, and an infinite factor adds nothing.
    for (int k = 0; k < Columns; ++k) {
      const vector_start lanes = lanes_of<T>(band.rows(j + k), r);
      sum += only(lanes, scaled(factor[k], load_first<V>(band.at(r, j + k), lanes)));
    }
    const vector_start lanes = lanes_of<T>({first.first, last.past}, r);
    if (r + e <= band.m) {
      const V old = loadu<V>(y + r), added = old + sum;
      storeu(y + r, only(lanes, added) + only({~lanes.lanes, 0}, old));
    } else {
      store_first(y + r, load_first<V>(y + r, lanes) + sum, lanes);
    }
  }
}

template <class T> void add_band(const Band<T> &band, tnk_int n, T alpha, const T *x, tnk_int incx, T *y) {
  const auto columns = [&](tnk_int j, auto count) {
    T factor[count];
    for (int k = 0; k < count; ++k) factor[k] = alpha * get(x + (j + k) * incx);
    add_columns_of_band(band, j, factor, y);
  };
  constexpr std::integral_constant<int, together<T>> some{};
  tnk_int j = 0;
  for (; j + some <= n; j += some) columns(j, some);
  for (; j < n; ++j) columns(j, std::integral_constant<int, 1>());
}

// ---- Any increments, and transposes -------------------------------------------------------------------------------

template <class T>
void add_band(const Band<T> &band, tnk_int n, T alpha, const T *x, tnk_int incx, T *y, tnk_int incy) {
  for (tnk_int j = 0; j < n; ++j) {
    const Rows rows = band.rows(j);
    const T factor = alpha * get(x + j * incx);
    for (tnk_int i = rows.first; i < rows.past; ++i)
      put(y + i * incy, get(y + i * incy) + factor * get(band.at(i, j)));
  }
}

// A column that the band misses adds alpha times 0.
template <class T>
void add_transposed_band(Operation op, const Band<T> &band, tnk_int n, T alpha, const T *x, tnk_int incx,
                         T *y, tnk_int incy) {
  for (tnk_int j = 0; j < n; ++j) {
    const Rows rows = band.rows(j);
    const tnk_int length = std::max<tnk_int>(0, rows.past - rows.first);
    const T *const column = band.at(rows.first, j);
    T element = get(y + j * incy);
    if (incx != 1) {
      T sum{};
      for (tnk_int i = 0; i < length; ++i) {
        const T a = get(column + i);
        sum += (op == transposed ? a : conjugate(a)) * get(x + (rows.first + i) * incx);
      }
      element += alpha * sum;
    } else if (op == transposed) {
      gemv_t<transposed>(length, 1, column, 0, x + rows.first, &element, alpha);
    } else {
      gemv_t<conjugate_transposed>(length, 1, column, 0, x + rows.first, &element, alpha);
    }
    put(y + j * incy, element);
  }
}

template <class T>
void gbmv(const char *trans, tnk_int m, tnk_int n, tnk_int kl, tnk_int ku, T alpha, const T *a, tnk_int lda,
          const T *x, tnk_int incx, T beta, T *y, tnk_int incy) {
  const Operation op = operation_of<T>(trans);
  if (m == 0 || n == 0 || (is_zero(alpha) && is_one(beta))) return;
  const tnk_int of_x = op == as_it_is ? n : m, of_y = op == as_it_is ? m : n;
  x = first_element(x, of_x, incx);
  y = first_element(y, of_y, incy);
  if (!is_one(beta)) scale(of_y, beta, y, incy);
  const Band<T> band{m, kl, ku, a, lda};
  if (op != as_it_is)
    add_transposed_band(op, band, n, alpha, x, incx, y, incy);
  else if (incy == 1)
    add_band(band, n, alpha, x, incx, y);
  else
    add_band(band, n, alpha, x, incx, y, incy);
}

} // namespace
} // namespace tnk::level2

#define GBMV(t, T)                                                                                           \
  void tnk_blas_##t##gbmv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_int *kl,          \
                          const tnk_int *ku, const T *alpha, const T *a, const tnk_int *lda, const T *x,     \
                          const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) {                   \
    tnk::level2::gbmv(trans, *m, *n, *kl, *ku, tnk::get(alpha), a, *lda, x, *incx, tnk::get(beta), y,        \
                      *incy);                                                                                \
  }
GBMV(s, float)
GBMV(d, double)
GBMV(c, tnk_complex8)
GBMV(z, tnk_complex16)
