// The exported tables of sines. This file does not include their declarations, as arrays: what can be computed at compile
// time is a structure that holds the array.
#include "kernel/signal/roots.h"

namespace {

template <class R> struct Sines {
  R value[257] = {};
  constexpr Sines() {
    for (int i = 0; i <= 256; ++i) value[i] = -tnk::signal::root<R>(i, 1024).im;
  }
};

} // namespace

#pragma GCC visibility push(default)
extern "C" {
extern const Sines<double> fft_fix_twiddle_table_64f;
extern const Sines<float> fft_fix_twiddle_table_32f;
constexpr Sines<double> fft_fix_twiddle_table_64f;
constexpr Sines<float> fft_fix_twiddle_table_32f;
}
#pragma GCC visibility pop
