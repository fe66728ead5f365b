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

// Bit for bit: a negative zero beside the band keeps its sign.
template <class V> V either_of(const i32x8 &lanes, V inside, V outside) {
  return reinterpret_cast<V>((reinterpret_cast<i32x8>(inside) & lanes) |
                             (reinterpret_cast<i32x8>(outside) & ~lanes));
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
      storeu(y + r, either_of(lanes.lanes, added, old));
    } else {
      store_first(y + r, load_first<V>(y + r, lanes) + sum, lanes);
    }
  }
}

// The same away from the ends of y, where the band has its whole width and is not narrower than the columns are many:
// the shape of its edges does not change from columns to columns, nor do the masks.
template <class T>
void add_columns_inside(const Band<T> &band, tnk_int j, const T (&factor)[together<T>], T *y) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>, words = sizeof(T) / 4;
  alignas(64) static constexpr std::int32_t table[32] = {-1, -1, -1, -1, -1, -1, -1, -1,
                                                         -1, -1, -1, -1, -1, -1, -1, -1};
  // The lanes of the first `count` elements, -e <= count <= 2 e.
  const auto first = [](tnk_int count) { return loadu<i32x8>(table + 16 - count * words); };
  const tnk_int width = band.kl + band.ku + 1, step = band.lda - 1;
  const T *const a = band.a + j * band.lda;
  y += j - band.ku;
  const auto term = [&](int k, tnk_int r, const i32x8 &lanes) __attribute__((always_inline)) {
    return only({lanes, 0}, scaled(factor[k], load_first<V>(a + r + k * step, {lanes, 0})));
  };
  tnk_int r = 0;
#pragma GCC unroll 4
  for (; r < together<T>; r += e) {
    V sum{};
    for (int k = 0; k < std::min<tnk_int>(together<T>, r + e); ++k)
      sum += k <= r ? scaled(factor[k], loadu<V>(a + r + k * step)) : term(k, r, ~first(k - r));
    storeu(y + r, loadu<V>(y + r) + sum);
  }
  // A stream of the processor's own would end with its column. As many bytes as are read are asked for in the order in
  // which they lie, two groups of columns ahead: that is soon enough for memory, and cost nothing in cache.
  constexpr std::uintptr_t group_bytes = together<T> * sizeof(V);
  const tnk_int ahead = 2 * together<T> * band.lda;
  for (; r + e <= width; r += e) {
    V sum{};
    const std::uintptr_t next = address(a) + static_cast<std::uintptr_t>(ahead + r * together<T>) * sizeof(T);
    for (std::uintptr_t at = 0; at < group_bytes; at += 64)
      __builtin_prefetch(reinterpret_cast<const void *>(next + at));
    for (int k = 0; k < together<T>; ++k) sum += scaled(factor[k], loadu<V>(a + r + k * step));
    storeu(y + r, loadu<V>(y + r) + sum);
  }
  const tnk_int past = width + together<T> - 1;
  for (; r < past; r += e) {
    V sum{};
    for (int k = 0; k < together<T>; ++k) sum += term(k, r, first(width + k - r));
    if (r + e <= past) {
      storeu(y + r, loadu<V>(y + r) + sum);
    } else {
      const V old = loadu<V>(y + r), added = old + sum;
      const i32x8 lanes = first(past - r);
      storeu(y + r, either_of(lanes, added, old));
    }
  }
}

template <class T> void add_band(const Band<T> &band, tnk_int n, T alpha, const T *x, tnk_int incx, T *y) {
  constexpr std::integral_constant<int, together<T>> some{};
  const bool is_wide = band.kl + band.ku >= some;
  const auto columns = [&](tnk_int j, auto count) {
    T factor[count];
    for (int k = 0; k < count; ++k) factor[k] = alpha * get(x + (j + k) * incx);
    if constexpr (count == some) {
      // The last vector of y ends past the last row that is added to by less than one vector.
      if (is_wide && j >= band.ku && j + some + band.kl + per_vector<T> <= band.m)
        return add_columns_inside(band, j, factor, y);
    }
    add_columns_of_band(band, j, factor, y);
  };
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
    } else {
      gemv_t(op, length, 1, column, 0, x + rows.first, &element, alpha);
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
