// Straight-line transforms by length: entry n - 1 transforms n numbers. With a factor or without one.
#pragma once

#include "kernel/signal/dft/spec.h"

namespace tnk::signal {

template <class R> struct StraightPacked {
  void (*plain)(const complex<R> *source, complex<R> *target);
  void (*scaled)(R factor, const complex<R> *source, complex<R> *target);
};
template <class R> struct StraightParts {
  void (*plain)(const R *re, const R *im, R *target_re, R *target_im);
  void (*scaled)(R factor, const R *re, const R *im, R *target_re, R *target_im);
};
// Real numbers and their spectrum in the Perm layout.
template <class R> struct StraightReal {
  void (*plain)(const R *source, R *target);
  void (*scaled)(R factor, const R *source, R *target);
};

// [0] forward, [1] inverse.
template <class R> struct StraightTables {
  static const StraightPacked<R> packed[2][largest_straight];
  static const StraightParts<R> parts[largest_straight];
  static const StraightReal<R> real[2][largest_straight];
};
extern template struct StraightTables<float>;
extern template struct StraightTables<double>;

} // namespace tnk::signal
