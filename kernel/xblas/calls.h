// What all entries share: reports, and their spelling from the list in tnk/xblas.h.
#pragma once

#include "kernel/xblas/products.h"

namespace tnk::xblas {

// Bad arguments in the name of a routine. It goes on with them.
class Reports {
public:
  explicit Reports(const char *routine) : routine_(routine) {}

  void least(int position, tnk_int value, tnk_int least) const {
    if (value < least) tnk_xblas_BLAS_error(routine_, -position, value, nullptr);
  }
  void size(int position, tnk_int value) const { least(position, value, 0); }
  void increment(int position, tnk_int value) const {
    if (value == 0) tnk_xblas_BLAS_error(routine_, -position, value, nullptr);
  }
  // Of a matrix with lines of so many elements by either ordering; for another one nothing is known of it.
  void leading(int position, tnk_int value, int32_t order, tnk_int by_rows, tnk_int by_columns) const {
    if (order == TNK_XBLAS_ROWMAJOR) least(position, value, by_rows);
    if (order == TNK_XBLAS_COLMAJOR) least(position, value, by_columns);
  }

private:
  const char *routine_;
};

// A factor as it travels.
template <class T> using factor = std::conditional_t<is_complex<T>, const T *, T>;

// The vector of a call, in two parts where there is a tail. What follows in the argument list is then one place further.
template <class X> struct Parts {
  const X *head, *tail;
  tnk_int inc;
  int further() const { return tail ? 1 : 0; }
};

// y := alpha A x + beta y on the path of the call.
template <class T, class A, class X>
void multiply(int32_t prec, const Rows &matrix, factor<T> alpha, const A *a, const Parts<X> &x,
              factor<T> beta, T *y, tnk_int incy) {
  const Vector<const X> head = vector(x.head, matrix.columns, x.inc);
  const Vector<const X> tail = vector(x.further() ? x.tail : x.head, matrix.columns, x.inc);
  by_path<T>(prec, [&](auto path) {
    product<path, T, A, X>(matrix, value_of(alpha), a, head, x.further() ? &tail : nullptr, value_of(beta),
                           vector(y, matrix.rows, incy));
  });
}

// The enumerations of triangles; any other value is lower, non-unit.
inline bool is_upper(int32_t uplo) {
  return uplo == TNK_XBLAS_UPPER;
}
inline bool is_unit(int32_t diag) {
  return diag == TNK_XBLAS_UNIT;
}

} // namespace tnk::xblas

// An entry and its twin, which compute by tnk::xblas::op<T, A, X>(name, prec, arguments).
#define TNK_XBLAS_D_LOADED(name) TNK_XBLAS_COLMAJOR,
#define TNK_XBLAS_N_LOADED(name) *name
#define TNK_XBLAS_S_LOADED(t, name) TNK_XBLAS_LOAD_##t name
#define TNK_XBLAS_LOAD_s *
#define TNK_XBLAS_LOAD_d *
#define TNK_XBLAS_LOAD_c
#define TNK_XBLAS_LOAD_z
#define TNK_XBLAS_PREC_MEANT_plain TNK_XBLAS_DOUBLE
#define TNK_XBLAS_PREC_MEANT_extra prec
#define TNK_XBLAS_PREC_LOADED_plain
#define TNK_XBLAS_PREC_LOADED_extra , *prec
#define TNK_XBLAS_ENTRY(op, t, u, v, name, form)                                                             \
  void tnk_xblas_BLAS_##name(TNK_XBLAS_VALUES(op, t, u, v) TNK_XBLAS_PREC_VALUE_##form) {                    \
    tnk::xblas::op<TNK_XBLAS_TYPE_##t, TNK_XBLAS_TYPE_##u, TNK_XBLAS_TYPE_##v>(                              \
        "BLAS_" #name, TNK_XBLAS_PREC_MEANT_##form, TNK_XBLAS_NAMES(op, t, u, v));                           \
  }                                                                                                          \
  void tnk_xblas_blas_##name(TNK_XBLAS_ADDRESSES(op, t, u, v) TNK_XBLAS_PREC_ADDRESS_##form) {               \
    tnk_xblas_BLAS_##name(TNK_XBLAS_ARGS_##op(TNK_XBLAS_D_LOADED, TNK_XBLAS_N_LOADED, TNK_XBLAS_N_LOADED,    \
                                              TNK_XBLAS_S_LOADED, TNK_XBLAS_T_NAME, TNK_XBLAS_T_NAME, t, u,  \
                                              v) TNK_XBLAS_PREC_LOADED_##form);                              \
  }
