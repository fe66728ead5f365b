// From the spectrum Z of N/2 complex numbers to that of the N real ones, their parts, and back. With h = N/2 and
// w = exp(-2 pi i / N), the real spectrum is
//    X[k] = (Z[k] + conj Z[h-k]) / 2 + u (Z[k] - conj Z[h-k]),  u = -i w^k / 2,
// and X[h-k] the conjugate of the same with a minus. Backwards, without the halves, u is -conj(i w^k).
#pragma once

#include "kernel/signal/dft/spec.h"

namespace tnk::signal {

// Frequencies 1 to h/2: registers of them as long as they keep clear of their counterparts, then one by one.
template <class R, class Registers, class Single>
inline void by_opposites(int32_t h, Registers registers, Single single) {
  int32_t k = 1;
  for (; k + 2 * per_vector<R> <= h - k + 1; k += per_vector<R>) registers(k);
  for (; 2 * k <= h; ++k) single(k);
}

// The factors u in the order in which they are read; null without memory. base has n values, n a multiple of length.
template <class R> R *new_forward_recombination(int32_t length, const complex<R> *base, int32_t n);
template <class R> R *new_inverse_recombination(int32_t length, const complex<R> *base, int32_t n);

// In place, of length real numbers in the Perm layout: forward from a complex spectrum, inverse to one.
template <class R> void recombine_forward(R *data, int32_t length, const R *factors);
template <class R> void recombine_inverse(R *data, int32_t length, const R *factors);

} // namespace tnk::signal
