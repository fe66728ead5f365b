// y1 := alpha A x1 + beta y1 and y2 := alpha A^H x2 + beta y2 in one pass over A.
#include "kernel/blas/level2/gemv_kernels.h"
#include "kernel/blas/level2/vectors.h"
#include <tnk/blas_level2.h>

namespace tnk::level2 {
namespace {

template <bool Ahead, int Columns, class T>
TNK_INLINE void both_products(tnk_int m, const T *a, tnk_int lda, const T *x1, const T *x2, T *y1,
                              LastRows<T> &last, T *y2, T alpha) {
  using V = vec_of<T>;
  const Factors<Columns, T> factor(alpha, x1);
  Sums<Columns, T> sums;
  over_rows<T>(
      m, [&](tnk_int i) { ask_for_line<Ahead, Columns>(a + i, lda); },
      [&](tnk_int i, int k) {
        const Slice<Columns, T> slice(a + i, lda, loadu<V, T>);
        const auto add_to_sums = [&] { sums.add(k, slice, Multiplier<T>(loadu<V>(x2 + i))); };
        // Many sums come first and are done with here: one that waits in memory would make the next rows wait for it.
        constexpr bool sums_first = sums.turns == 1;
        if constexpr (sums_first) add_to_sums(), sums.end_row();
        storeu(y1 + i, with_columns(loadu<V>(y1 + i), factor, slice));
        if constexpr (!sums_first) add_to_sums();
      },
      [&](tnk_int i, const vector_start &some) {
        const auto load = [&](const T *p) { return load_first<V>(p, some); };
        const Slice<Columns, T> slice(a + i, lda, load);
        last.held = with_columns(last.held, factor, slice);
        sums.add(1, slice, Multiplier<T>(load(x2 + i)));
      });
  sums.add_to(y2, alpha, is_complex<T>);
}

template <bool Ahead, class T>
void add_all(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x1, const T *x2, T *y1, T *y2, T alpha) {
  LastRows<T> last(m, y1);
  over_columns<4>(n, [=, &last](tnk_int j, auto columns) {
    both_products<Ahead, columns>(m, a + j * lda, lda, x1 + j, x2, y1, last, y2 + j, alpha);
  });
  last.put_back();
}

// Unit strides, both sums added to what is there.
template <class T>
void add_both(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x1, const T *x2, T *y1, T *y2,
              T alpha) {
  const auto add = is_far<T>(m, n) ? add_all<true, T> : add_all<false, T>;
  add(m, n, a, lda, x1, x2, y1, y2, alpha);
}

template <class T>
void kernel_route(tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x1, tnk_int incx1,
                  const T *x2, tnk_int incx2, T *y1, tnk_int incy1, T *y2, tnk_int incy2) {
  // Rows, which y1 and x2 have in common, then columns, which y2 and x1 have.
  on_contiguous(m, y1, incy1, [&](tnk_int i, tnk_int size1, T *part_y1) {
    on_contiguous(size1, x2 + i * incx2, incx2, [&](tnk_int k, tnk_int rows, const T *part_x2) {
      on_contiguous(n, y2, incy2, [&](tnk_int j, tnk_int size2, T *part_y2) {
        on_contiguous(size2, x1 + j * incx1, incx1, [&](tnk_int l, tnk_int columns, const T *part_x1) {
          add_both(rows, columns, a + i + k + (j + l) * lda, lda, part_x1, part_x2, part_y1 + k, part_y2 + l,
                   alpha);
        });
      });
    });
  });
}

// Any addresses and increments, an element at a time.
template <class T>
void plain_route(tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x1, tnk_int incx1,
                 const T *x2, tnk_int incx2, T *y1, tnk_int incy1, T *y2, tnk_int incy2) {
  for (tnk_int j = 0; j < n; ++j, a += lda) {
    const T factor = alpha * get(x1 + j * incx1);
    T sum{};
    for (tnk_int i = 0; i < m; ++i) {
      const T element = get(a + i);
      put(y1 + i * incy1, get(y1 + i * incy1) + factor * element);
      sum += conjugate(element) * get(x2 + i * incx2);
    }
    put(y2 + j * incy2, get(y2 + j * incy2) + alpha * sum);
  }
}

template <class T>
void gem2v(tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x1, tnk_int incx1, const T *x2,
           tnk_int incx2, T beta, T *y1, tnk_int incy1, T *y2, tnk_int incy2) {
  if (m == 0 || n == 0) return;
  scal(m, beta, y1, incy1);
  scal(n, beta, y2, incy2);
  x1 = first_element(x1, n, incx1), y2 = first_element(y2, n, incy2);
  x2 = first_element(x2, m, incx2), y1 = first_element(y1, m, incy1);
  // With an increment of 0 the one element of a sum must see what was added to it before.
  const bool plain = incy1 == 0 || incy2 == 0 || !is_element_aligned(a) || !is_element_aligned(x1) ||
                     !is_element_aligned(x2) || !is_element_aligned(y1) || !is_element_aligned(y2);
  const auto route = plain ? plain_route<T> : kernel_route<T>;
  route(m, n, alpha, a, lda, x1, incx1, x2, incx2, y1, incy1, y2, incy2);
}

} // namespace
} // namespace tnk::level2

using namespace tnk;
using namespace tnk::level2;

#define GEM2V(name, T)                                                                                       \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda,   \
                       const T *x1, const tnk_int *incx1, const T *x2, const tnk_int *incx2, const T *beta,  \
                       T *y1, const tnk_int *incy1, T *y2, const tnk_int *incy2) {                           \
    gem2v(*m, *n, tnk::get(alpha), a, *lda, x1, *incx1, x2, *incx2, tnk::get(beta), y1, *incy1, y2, *incy2); \
  }
GEM2V(sgem2vu, float)
GEM2V(dgem2vu, double)
GEM2V(cgem2vc, tnk_complex8)
GEM2V(zgem2vc, tnk_complex16)

#define INNER(name, T)                                                                                       \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x1,      \
                       const T *x2, T *y1, T *y2, const T *alpha) {                                          \
    add_both(*m, *n, a, *lda, x1, x2, y1, y2, tnk::get(alpha));                                              \
  }
INNER(sgem2vu_even, float)
INNER(sgem2vu_odd, float)
INNER(dgem2vu_even, double)
INNER(dgem2vu_odd, double)
INNER(cgem2vc_f, tnk_complex8)
INNER(zgem2vc_f, tnk_complex16)
