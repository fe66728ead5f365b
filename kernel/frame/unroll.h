// Functions that become part of their callers however large they are, and loops written out at compile time.
#pragma once

#include <utility>

// For lambdas, between parameters and body, where the standard has no place for such an attribute; and for functions.
#define TNK_INLINED __attribute__((always_inline))
#define TNK_INLINE inline TNK_INLINED

namespace tnk {

// f(0) ... f(N - 1): the indices are constants, so that small arrays of vectors become registers.
template <class F, int... I> TNK_INLINE void unrolled(std::integer_sequence<int, I...>, const F &f) {
  (f(std::integral_constant<int, I>()), ...);
}
template <int N, class F> TNK_INLINE void unrolled(const F &f) {
  unrolled(std::make_integer_sequence<int, N>(), f);
}

} // namespace tnk
