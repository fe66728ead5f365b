// What both faces, Fortran's and C's, are written in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tnk/types.h>
#include <type_traits>

#include "dropin/behind.h"

namespace tnk::dropin {

// One source, two libraries: libblas.so.3 and libblas64.so.3 differ in this.
#ifdef TNK_DROPIN_WIDE
using Int = std::int64_t;
#else
using Int = std::int32_t;
#endif

// An integer of a face as the routines behind take it, by address. Products of integers are formed after this, never before.
struct Wide {
  tnk_int value;
  operator const tnk_int *() const { return &value; }
};
inline Wide wide(Int value) {
  return {value};
}

template <class T> struct RealOf { using type = T; };
template <> struct RealOf<tnk_complex8> { using type = float; };
template <> struct RealOf<tnk_complex16> { using type = double; };
template <class T> using real_of = typename RealOf<T>::type;
template <class T> constexpr bool is_complex = !std::is_same_v<T, real_of<T>>;

template <class T> bool is_zero(const T &a) {
  if constexpr (is_complex<T>)
    return a.re == 0 && a.im == 0;
  else
    return a == 0;
}
template <class T> bool is_one(const T &a) {
  if constexpr (is_complex<T>)
    return a.re == 1 && a.im == 0;
  else
    return a == 1;
}

// In which letters come is left to the caller.
inline char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Scalars come by value in the real types, by address in the complex ones; behind this always by address.
inline const float *at(const float &value) {
  return &value;
}
inline const double *at(const double &value) {
  return &value;
}
template <class T> const T *at(const T *address) {
  return address;
}

// ---- Reports ---------------------------------------------------------------------------------------------------------

// How a call came here. By rows: through the C face, turned round for the routines behind, which know columns alone.
enum class Way { fortran, c_by_columns, c_by_rows };

// A call as its report names it.
struct Call {
  const char *name; // "dgemm"
  Way way;

  // Argument `position` of the Fortran routine is bad: xerbla_ of this library or of the program hears of it.
  [[gnu::cold]] void refuse(int position) const;
  // Argument `position` of the C function is no value of its enumeration: so does cblas_xerbla.
  [[gnu::cold]] void refuse_setting(int position, const char *argument, int value) const;
};

} // namespace tnk::dropin

// X(letter, type) for element types.
#define TNK_REAL_TYPES(X) X(s, float) X(d, double)
#define TNK_COMPLEX_TYPES(X) X(c, tnk_complex8) X(z, tnk_complex16)
#define TNK_TYPES(X) TNK_REAL_TYPES(X) TNK_COMPLEX_TYPES(X)
// X(letter, type, how a scalar comes to the C face)
#define TNK_C_TYPES(X)                                                                                       \
  X(s, float, float)                                                                                         \
  X(d, double, double)                                                                                       \
  X(c, tnk_complex8, const tnk_complex8 *)                                                                   \
  X(z, tnk_complex16, const tnk_complex16 *)
