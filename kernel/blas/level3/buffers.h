// The buffers of a product: their sizes and their places in one block of memory. Written into the caller, where
// mostly the mode is known.
#pragma once

#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm.h"
#include <algorithm>
#include <cstdint>
#include <tnk/services.h>

namespace tnk::level3 {

// The buffers of a mode, in the order in which they are laid out.
enum Buffer { no_buffer, a_buffer, b_buffer, work_buffer };
struct BufferList {
  Buffer order[3];
  bool allocated;
};
constexpr BufferList buffers_by_mode[] = {{{a_buffer, work_buffer, b_buffer}, true}, // both_packed
                                          {{a_buffer}, true},
                                          {{b_buffer}, true},
                                          {{a_buffer, b_buffer}, false},
                                          {{work_buffer, b_buffer}, true},
                                          {{a_buffer, work_buffer}, true},
                                          {{work_buffer}, true}}; // none_packed

constexpr const BufferList *buffers_of(int32_t mode) {
  return mode < both_packed || mode > none_packed ? nullptr : &buffers_by_mode[mode - both_packed];
}

// A buffer holds its panels and this much more, in bytes.
constexpr tnk_int beyond = 512;

template <class T>
TNK_INLINE int32_t size_buffers(int32_t mode, int32_t sizes, tnk_int m, tnk_int n, tnk_int k,
                                tnk_gemm_descriptor *d) {
  const BufferList *const buffers = buffers_of(mode);
  if (!buffers || (sizes != clamped_sizes && sizes != whole_sizes)) return 1;
  const auto block = [=](tnk_int size, tnk_int dimension, tnk_int unroll) {
    return rounded_up(sizes == clamped_sizes ? std::min(size, dimension) : size, unroll);
  };
  const tnk_int mb = block(d->mb, m, d->mr), nb = block(d->nb, n, d->nr), kb = block(d->kb, k, d->kr);
  constexpr tnk_int element = sizeof(T), page = 12, cache_lines = 7;
  for (const Buffer which : buffers->order) {
    if (which == a_buffer)
      d->a.stride = d->mr * kb, d->a.size = element * mb * kb + beyond, d->a.shift = page;
    if (which == b_buffer)
      d->b.stride = d->nr * kb, d->b.size = element * nb * kb + beyond, d->b.shift = page;
    if (which == work_buffer)
      d->work.size = element * kb * d->nr * d->work_factor + beyond, d->work.shift = cache_lines;
  }
  return 0;
}

// One allocation. Addresses are numbers here: there may be no block to point into.
TNK_INLINE int32_t place_buffers(int32_t mode, void **raw, tnk_gemm_descriptor *d) {
  *raw = nullptr;
  const BufferList *const buffers = buffers_of(mode);
  if (!buffers || !buffers->allocated) return 1;
  struct Place {
    void **data;
    tnk_int size, shift;
  };
  const auto place_of = [d](Buffer which) -> Place {
    if (which == a_buffer) return {&d->a.data, d->a.size, d->a.shift};
    if (which == b_buffer) return {&d->b.data, d->b.size, d->b.shift};
    return {&d->work.data, d->work.size, d->work.shift};
  };

  tnk_int total = 0;
  for (const Buffer which : buffers->order)
    if (which != no_buffer) total += place_of(which).size + (tnk_int{2} << place_of(which).shift);
  *raw = tnk_serv_allocate(total, 128);

  auto end = reinterpret_cast<std::uintptr_t>(*raw);
  for (const Buffer which : buffers->order) {
    if (which == no_buffer) break;
    const Place next = place_of(which);
    const std::uintptr_t unit = std::uintptr_t{1} << next.shift;
    end = (end + unit - 1) & ~(unit - 1);
    *next.data = reinterpret_cast<void *>(end);
    end += static_cast<std::uintptr_t>(next.size);
  }
  return 0;
}

} // namespace tnk::level3
