// Real transforms of odd length; spectra are in the Perm layout.
#pragma once

#include "kernel/signal/dft/spec.h"

namespace tnk::signal {

// By definition. work: n real numbers. Source and target may be the same.
template <class R, bool Inverse>
void run_real_direct(int32_t n, const R *source, R *target, const R *table, R *work);

// By the method of the record. work, on a boundary: n complex numbers, a boundary, and what the method needs.
template <class R, bool Inverse>
int32_t run_real_odd(const DftSpec<R> &spec, int32_t n, const R *source, R *target, R *work);

} // namespace tnk::signal
