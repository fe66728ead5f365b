// How vector operations check their arguments and walk their vectors.
#pragma once

#include "kernel/frame/vector.h"
#include <tnk/signal_vector.h>

namespace tnk::signal {

// The status of addresses and a length: addresses first.
template <class... T> inline int32_t checked(int32_t length, const T *...addresses) {
  if ((... || !addresses)) return TNK_SIGNAL_NULL;
  return length < 1 ? TNK_SIGNAL_BAD_LENGTH : TNK_SIGNAL_OK;
}

// n values of R: whole vectors by step(i, vec<R>{}), then one of half the size, then value by value; the second argument
// says how wide a step is. Complex numbers are pairs of values, and a pair of floats a step of its own.
template <class R, bool Complex = false, class Step> inline void along(tnk_int n, Step step) {
  constexpr int lanes = per_vector<R>;
  tnk_int i = 0;
  for (; i + 4 * lanes <= n; i += 4 * lanes)
    for (int j = 0; j < 4; ++j) step(i + j * lanes, vec<R>{});
  for (; i + lanes <= n; i += lanes) step(i, vec<R>{});
  if (i + lanes / 2 <= n) {
    step(i, half<R>{});
    i += lanes / 2;
  }
  for (; i < n; i += Complex ? 2 : 1) step(i, R{});
}

} // namespace tnk::signal
