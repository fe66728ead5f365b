// Transforms by factors that leave the spectrum in the order of their passes, and take it in that order: decimation in
// frequency one way, in time the other way, with the same tables. No pass has to bring numbers together from afar.
#pragma once

#include "kernel/signal/dft/methods.h"

namespace tnk::signal {

// work: scratch memory for sums, where a factor has to be summed.
template <class R, bool Inverse>
int32_t run_any_order(const DftSpec<R> &spec, const complex<R> *source, complex<R> *target, R *work);

} // namespace tnk::signal
