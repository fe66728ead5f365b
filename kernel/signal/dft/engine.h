// The power-of-two engine by kind of data.
#pragma once

#include "kernel/signal/dft/spec.h"
#include <tnk/signal_fft.h>

namespace tnk::signal {

struct Engine {
  int32_t (*init)(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
  int32_t (*free)(tnk_signal_fft *spec);
  int32_t (*buffer_size)(const tnk_signal_fft *spec, int32_t *size);
};

// For the record of a general transform with that tag.
inline Engine engine_of(int32_t tag) {
  switch (tag) {
  case dft_packed_single:
  case dft_any_order_single:
    return {e9_vpksFFTInitAlloc_C_32fc, e9_vpksFFTFree_C_32fc, e9_vpksFFTGetBufSize_C_32fc};
  case dft_parts_single:
    return {e9_vpksFFTInitAlloc_C_32f, e9_vpksFFTFree_C_32f, e9_vpksFFTGetBufSize_C_32f};
  case dft_real_single:
    return {e9_vpksFFTInitAlloc_R_32f, e9_vpksFFTFree_R_32f, e9_vpksFFTGetBufSize_R_32f};
  case dft_parts_double:
    return {e9_vpksFFTInitAlloc_C_64f, e9_vpksFFTFree_C_64f, e9_vpksFFTGetBufSize_C_64f};
  case dft_real_double:
    return {e9_vpksFFTInitAlloc_R_64f, e9_vpksFFTFree_R_64f, e9_vpksFFTGetBufSize_R_64f};
  default:
    return {e9_vpksFFTInitAlloc_C_64fc, e9_vpksFFTFree_C_64fc, e9_vpksFFTGetBufSize_C_64fc};
  }
}

} // namespace tnk::signal
