// The checked extended-precision routines of tnk/xblas.h for C++17: one name for an operation, overloaded over its types.
// Link with -ltnk.
//
//     double r = 0;
//     tnk::xblas::dot(tnk::xblas::conjugation::none, n, 1.0, x, 1, 0.0, y, 1, &r, tnk::xblas::precision::extra);
//     tnk::xblas::gemv(ordering::by_rows, operation::as_it_is, m, n, -1.0, a, n, x, 1, 1.0, b, 1, precision::extra);
//
// Arguments are those of the C routines, complex numbers std::complex, factors by value. x and A may be of single
// precision, or real, where tnk/xblas.h lists a routine for that; other combinations do not compile. Without a precision
// such a mixed call computes as with precision::plain.
#ifndef TNK_XBLAS_HPP
#define TNK_XBLAS_HPP

#include <complex>
#include <tnk/xblas.h>

namespace tnk::xblas {

enum class ordering : int32_t { by_rows = TNK_XBLAS_ROWMAJOR, by_columns = TNK_XBLAS_COLMAJOR };
enum class operation : int32_t {
  as_it_is = TNK_XBLAS_NO_TRANS,
  transposed = TNK_XBLAS_TRANS,
  conjugate_transposed = TNK_XBLAS_CONJ_TRANS
};
enum class triangle : int32_t { upper = TNK_XBLAS_UPPER, lower = TNK_XBLAS_LOWER };
enum class diagonal : int32_t { stored = TNK_XBLAS_NON_UNIT, unit = TNK_XBLAS_UNIT };
enum class factor : int32_t { left = TNK_XBLAS_LEFT, right = TNK_XBLAS_RIGHT };
enum class conjugation : int32_t { of_x = TNK_XBLAS_CONJ, none = TNK_XBLAS_NO_CONJ };
enum class precision : int32_t {
  single = TNK_XBLAS_SINGLE,
  plain = TNK_XBLAS_DOUBLE, // double
  indigenous = TNK_XBLAS_INDIGENOUS,
  extra = TNK_XBLAS_EXTRA
};

namespace detail {

inline float passed(float x) {
  return x;
}
inline double passed(double x) {
  return x;
}
inline const tnk_complex8 *passed(const std::complex<float> &x) {
  return reinterpret_cast<const tnk_complex8 *>(&x);
}
inline const tnk_complex16 *passed(const std::complex<double> &x) {
  return reinterpret_cast<const tnk_complex16 *>(&x);
}
template <class T> inline T *array(T *x) {
  return x;
}
inline const tnk_complex8 *array(const std::complex<float> *x) {
  return reinterpret_cast<const tnk_complex8 *>(x);
}
inline const tnk_complex16 *array(const std::complex<double> *x) {
  return reinterpret_cast<const tnk_complex16 *>(x);
}
inline tnk_complex8 *array(std::complex<float> *x) {
  return reinterpret_cast<tnk_complex8 *>(x);
}
inline tnk_complex16 *array(std::complex<double> *x) {
  return reinterpret_cast<tnk_complex16 *>(x);
}

} // namespace detail

// An overload for each name of the list.
#define TNK_XBLAS_CPP_s float
#define TNK_XBLAS_CPP_d double
#define TNK_XBLAS_CPP_c std::complex<float>
#define TNK_XBLAS_CPP_z std::complex<double>
#define TNK_XBLAS_CPP_order ordering
#define TNK_XBLAS_CPP_trans operation
#define TNK_XBLAS_CPP_transa operation
#define TNK_XBLAS_CPP_transb operation
#define TNK_XBLAS_CPP_uplo triangle
#define TNK_XBLAS_CPP_diag diagonal
#define TNK_XBLAS_CPP_side factor
#define TNK_XBLAS_CPP_conj conjugation
#define TNK_XBLAS_CPP_D(name) TNK_XBLAS_CPP_##name name,
#define TNK_XBLAS_CPP_E(name) TNK_XBLAS_CPP_##name name
#define TNK_XBLAS_CPP_N(name) tnk_int name
#define TNK_XBLAS_CPP_S(t, name) TNK_XBLAS_CPP_##t name
#define TNK_XBLAS_CPP_R(t, name) const TNK_XBLAS_CPP_##t *name
#define TNK_XBLAS_CPP_W(t, name) TNK_XBLAS_CPP_##t *name
#define TNK_XBLAS_CPP_PREC_plain
#define TNK_XBLAS_CPP_PREC_extra , precision prec
#define TNK_XBLAS_PASS_D(name) static_cast<int32_t>(name),
#define TNK_XBLAS_PASS_E(name) static_cast<int32_t>(name)
#define TNK_XBLAS_PASS_S(t, name) detail::passed(name)
#define TNK_XBLAS_PASS_A(t, name) detail::array(name)
#define TNK_XBLAS_PASS_PREC_plain
#define TNK_XBLAS_PASS_PREC_extra , static_cast<int32_t>(prec)
#define TNK_XBLAS_OVERLOAD(op, t, u, v, name, form)                                                          \
  inline void op(TNK_XBLAS_ARGS_##op(TNK_XBLAS_CPP_D, TNK_XBLAS_CPP_E, TNK_XBLAS_CPP_N, TNK_XBLAS_CPP_S,     \
                                     TNK_XBLAS_CPP_R, TNK_XBLAS_CPP_W, t, u, v) TNK_XBLAS_CPP_PREC_##form) { \
    tnk_xblas_##name(TNK_XBLAS_ARGS_##op(TNK_XBLAS_PASS_D, TNK_XBLAS_PASS_E, TNK_XBLAS_N_NAME,               \
                                         TNK_XBLAS_PASS_S, TNK_XBLAS_PASS_A, TNK_XBLAS_PASS_A, t, u, v)      \
                         TNK_XBLAS_PASS_PREC_##form);                                                        \
  }
TNK_XBLAS_EACH(TNK_XBLAS_OVERLOAD)

#undef TNK_XBLAS_CPP_s
#undef TNK_XBLAS_CPP_d
#undef TNK_XBLAS_CPP_c
#undef TNK_XBLAS_CPP_z
#undef TNK_XBLAS_CPP_order
#undef TNK_XBLAS_CPP_trans
#undef TNK_XBLAS_CPP_transa
#undef TNK_XBLAS_CPP_transb
#undef TNK_XBLAS_CPP_uplo
#undef TNK_XBLAS_CPP_diag
#undef TNK_XBLAS_CPP_side
#undef TNK_XBLAS_CPP_conj
#undef TNK_XBLAS_CPP_D
#undef TNK_XBLAS_CPP_E
#undef TNK_XBLAS_CPP_N
#undef TNK_XBLAS_CPP_S
#undef TNK_XBLAS_CPP_R
#undef TNK_XBLAS_CPP_W
#undef TNK_XBLAS_CPP_PREC_plain
#undef TNK_XBLAS_CPP_PREC_extra
#undef TNK_XBLAS_PASS_D
#undef TNK_XBLAS_PASS_E
#undef TNK_XBLAS_PASS_S
#undef TNK_XBLAS_PASS_A
#undef TNK_XBLAS_PASS_PREC_plain
#undef TNK_XBLAS_PASS_PREC_extra
#undef TNK_XBLAS_OVERLOAD

} // namespace tnk::xblas

#endif
