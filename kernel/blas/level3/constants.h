// Small numbers made constants, for loops that are written out and for kernels of a size that is known.
#pragma once

#include <tnk/types.h>
#include <type_traits>
#include <utility>

#define TNK_INLINE inline __attribute__((always_inline))
#define TNK_INLINE_LAMBDA __attribute__((always_inline))

namespace tnk::level3 {

// f(0) ... f(N - 1), written out: the indices are constants, so that small arrays of vectors become registers.
template <class F, int... I> TNK_INLINE void write_out(F f, std::integer_sequence<int, I...>) {
  (f(std::integral_constant<int, I>{}), ...);
}
template <int N, class F> TNK_INLINE void write_out(F f) {
  write_out(f, std::make_integer_sequence<int, N>{});
}

// f(n) with n from 1 to Most as a constant; nothing for another n.
template <int Most, class F> TNK_INLINE void with_constant(tnk_int n, F f) {
  if constexpr (Most > 0) {
    if (n == Most) return f(std::integral_constant<int, Most>{});
    with_constant<Most - 1>(n, f);
  }
}

} // namespace tnk::level3
