// Small numbers made constants, for kernels of a size that is known.
#pragma once

#include "kernel/frame/unroll.h"
#include <tnk/types.h>
#include <type_traits>

namespace tnk::level3 {

// f(n) with n from 1 to Most as a constant; nothing for another n.
template <int Most, class F> TNK_INLINE void with_constant(tnk_int n, F f) {
  if constexpr (Most > 0) {
    if (n == Most) return f(std::integral_constant<int, Most>{});
    with_constant<Most - 1>(n, f);
  }
}

} // namespace tnk::level3
