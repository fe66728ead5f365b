// isamax ... izamax, isamin ... izamin: the first element of extreme magnitude.
#include "kernel/frame/element.h"
#include "kernel/frame/unroll.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

enum class Extreme { largest, smallest };

// The leader falls when it does not hold against the candidate. Written as a negation, which with numbers
// keeps the first of equals, and with a NaN on either side lets the candidate win.
template <Extreme Which, class R> inline bool falls(R best, R candidate) {
  if constexpr (Which == Extreme::largest)
    return !(best >= candidate);
  else
    return !(best <= candidate);
}

template <Extreme Which, class R> struct Leader {
  R best;
  tnk_int index;
};

template <Extreme Which, class R> inline void meet(Leader<Which, R> &lead, R candidate, tnk_int index) {
  if (falls<Which>(lead.best, candidate)) lead = {candidate, index};
}

// Inlined twice, with the step known and unknown.
template <Extreme Which, class T> TNK_INLINE tnk_int search(tnk_int n, const T *x, tnk_int step) {
  Leader<Which, real_of<T>> lead = {abs1(get(x)), 0};
  tnk_int i = 1;
  for (; i + 1 < n; i += 2) {
    meet(lead, abs1(get(x + i * step)), i);
    meet(lead, abs1(get(x + (i + 1) * step)), i + 1);
  }
  if (i < n) meet(lead, abs1(get(x + i * step)), i);
  return lead.index + 1;
}

template <Extreme Which, class T> tnk_int position(tnk_int n, const T *x, tnk_int incx) {
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  return incx == 1 ? search<Which>(n, x, 1) : search<Which>(n, x, incx);
}

} // namespace
} // namespace tnk::level1

#define TNK_EXTREME(name, which, T)                                                                          \
  tnk_int name(const tnk_int *n, const T *x, const tnk_int *incx) {                                          \
    return tnk::level1::position<tnk::level1::Extreme::which>(*n, x, *incx);                                 \
  }

TNK_EXTREME(tnk_blas_isamax, largest, float)
TNK_EXTREME(tnk_blas_idamax, largest, double)
TNK_EXTREME(tnk_blas_icamax, largest, tnk_complex8)
TNK_EXTREME(tnk_blas_izamax, largest, tnk_complex16)
TNK_EXTREME(tnk_blas_isamin, smallest, float)
TNK_EXTREME(tnk_blas_idamin, smallest, double)
TNK_EXTREME(tnk_blas_icamin, smallest, tnk_complex8)
TNK_EXTREME(tnk_blas_izamin, smallest, tnk_complex16)
