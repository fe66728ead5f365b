// Sizes, Init and Free of power-of-two transforms.
#include "kernel/signal/fft/spec.h"

#include "kernel/signal/fft/large.h"
#include "kernel/signal/fft/recombine.h"

namespace tnk::signal {

// An order that is not cut into parts, so none that a transform brings here: one table of pairs (cos, -sin).
constexpr tnk_int undivided_work = 2097152;

template <class R> static R *fill_undivided(R *table, int order, const QuarterWave<R> &wave) {
  for (tnk_int k = 0; k < tnk_int(1) << order >> 2; ++k, table += 2) {
    const cvec<R> w = wave.root(k, order);
    table[0] = w.re, table[1] = w.im;
  }
  return table;
}

template <class R> void add_large_sizes(int order, tnk_int &spec, tnk_int &work) {
  constexpr tnk_int pair = 2 * sizeof(R);
  const int b = block_order(order), m = order - b;
  if (b == 0) {
    spec += rounded_to_32((pair << order) / 4 + 47);
    work = undivided_work;
    return;
  }
  if (m >= large_order) {
    add_large_sizes<R>(m, spec, work);
  } else {
    spec += rounded_to_32((pair << m) + 47);
    work = rounded_to_32((pair << m) + 31);
  }
  spec += pair << order;
  work = std::max({work, pair << buffer_order<R>(order), tnk_int(32768)});
}
template void add_large_sizes<float>(int, tnk_int &, tnk_int &);
template void add_large_sizes<double>(int, tnk_int &, tnk_int &);

template <class R>
static R *fill_large(R *table, int order, const QuarterWave<R> &wave, bool by_part, fft_spec<R> &spec,
                     int step) {
  const int b = block_order(order), m = order - b;
  if (m >= large_order) {
    table = fill_large(table, m, wave, by_part, spec, step + 1);
  } else {
    spec.twiddles = table;
    table = aligned_to_32(fill_passes(table, m, wave, by_part));
  }
  spec.blocks[step] = table;
  const tnk_int stride = tnk_int(1) << m, columns = tnk_int(1) << (buffer_order<R>(order) - b);
  for (tnk_int c = 0; c < stride; c += columns) {
    int reached = m;
    for (int bits = b; bits > 0;) {
      const int f = log2_of_pass(bits);
      for (tnk_int row = 0; row < tnk_int(1) << (reached - m); ++row)
        table = fill_pass(table, f, reached + f, row * stride + c, columns, wave, by_part);
      reached += f, bits -= f;
    }
  }
  return table;
}

template <class R>
R *fill_large_tables(fft_spec<R> &spec, std::int32_t *memory, int order, const QuarterWave<R> &wave,
                     bool by_part) {
  tnk_int table_size = 0, work_size = 0;
  add_large_sizes<R>(order, table_size, work_size);
  spec.buffer_size = static_cast<std::int32_t>(work_size);
  spec.reversal = memory;
  if (block_order(order) == 0) {
    R *const table = reinterpret_cast<R *>(fill_reversal(memory, order));
    spec.blocks[0] = table;
    return fill_undivided(table, order, wave);
  }
  return fill_large(reinterpret_cast<R *>(fill_block_reversal(memory, order, stripe_order)), order, wave,
                    by_part, spec, 0);
}
template float *fill_large_tables(fft_spec<float> &, std::int32_t *, int, const QuarterWave<float> &, bool);
template double *fill_large_tables(fft_spec<double> &, std::int32_t *, int, const QuarterWave<double> &,
                                   bool);

namespace {

struct Sizes {
  tnk_int spec, init, work;
};

template <class R> Sizes complex_sizes(int order) {
  constexpr tnk_int pair = 2 * sizeof(R);
  const tnk_int n = tnk_int(1) << order;
  Sizes sizes = {168, 0, 0};
  if (order <= small_order) return sizes;
  sizes.spec = 0;
  if (order < large_order)
    sizes.spec = rounded_to_32(pair * n + 47), sizes.work = rounded_to_32(pair * n + 31);
  else
    add_large_sizes<R>(order, sizes.spec, sizes.work);
  sizes.spec += rounded_to_32(n + 35) + 192;
  sizes.work += 32;
  return sizes;
}

// The order of the complex transform under one of this kind; below 0 for real ones that have none.
template <class K> int complex_order(int order) {
  return !K::real ? order : order >= 5 ? order - 1 : -1;
}

template <class K> Sizes sizes_of(int order) {
  using R = typename K::R;
  const tnk_int n = tnk_int(1) << order;
  Sizes sizes = complex_sizes<R>(std::max(complex_order<K>(order), 0));
  if (K::real) sizes.spec += rounded_to_32(recombination_length<R>(n) * tnk_int(sizeof(R)) + 63);
  if (order > fixed_order) sizes.init = rounded_to_32((n / 4 + 1) * tnk_int(sizeof(R)) + 31) + 32;
  return sizes;
}

template <class K>
std::int32_t get_sizes(int order, std::int32_t *spec, std::int32_t *init, std::int32_t *work) {
  if (!spec || !init || !work) return TNK_SIGNAL_NULL;
  if (order < 0 || order > K::highest_order) return TNK_SIGNAL_BAD_ORDER;
  const Sizes sizes = sizes_of<K>(order);
  *spec = static_cast<std::int32_t>(sizes.spec);
  *init = static_cast<std::int32_t>(sizes.init);
  *work = static_cast<std::int32_t>(sizes.work);
  return TNK_SIGNAL_OK;
}

template <class K> using Spec = fft_spec<typename K::R>;
template <class K> Spec<K> *record(tnk_signal_fft *spec) {
  return reinterpret_cast<Spec<K> *>(spec);
}

template <class K>
std::int32_t init_spec(tnk_signal_fft **out, int order, int flag, int hint, std::uint8_t *memory,
                       std::uint8_t *init) {
  using R = typename K::R;
  if (!out || !memory) return TNK_SIGNAL_NULL;
  if (order < 0 || order > K::highest_order) return TNK_SIGNAL_BAD_ORDER;
  std::uint8_t *const begin = aligned_to_32(memory);
  std::memset(begin, 0, record_bytes);
  Spec<K> &spec = *reinterpret_cast<Spec<K> *>(begin);
  const double n = static_cast<double>(tnk_int(1) << order);
  if (flag != 1 && flag != 2 && flag != 4 && flag != 8) return TNK_SIGNAL_BAD_FLAG;
  spec.order = order, spec.hint = hint;
  spec.forward_scaled = flag == 1 || flag == 4;
  spec.inverse_scaled = flag == 2 || flag == 4;
  spec.scale = static_cast<R>(flag == 8 ? 1 : flag == 4 ? 1 / std::sqrt(n) : 1 / n);

  const int c = complex_order<K>(order); // the tables are for
  if (c > small_order || (K::real && c >= 0)) {
    QuarterWave<R> wave{fixed_table<R>(), fixed_order};
    if (order > fixed_order) {
      if (!init) return TNK_SIGNAL_NULL;
      R *const sines = reinterpret_cast<R *>(aligned_to_32(init));
      fill_quarter_wave(sines, order);
      wave = {sines, order};
    }
    std::uint8_t *free = aligned_to_32(begin + record_bytes);
    if (c > small_order) {
      std::int32_t *const reversal = reinterpret_cast<std::int32_t *>(free);
      spec.reversal = reversal;
      spec.buffer_size = static_cast<std::int32_t>(complex_sizes<R>(c).work - 32);
      if (c < large_order) {
        R *const table = reinterpret_cast<R *>(fill_reversal(reversal, c));
        spec.twiddles = table;
        free = reinterpret_cast<std::uint8_t *>(fill_passes(table, c, wave, K::by_part));
      } else {
        free = reinterpret_cast<std::uint8_t *>(fill_large_tables(spec, reversal, c, wave, K::by_part));
      }
    }
    if (K::real) {
      R *const table = aligned_to_32(reinterpret_cast<R *>(free));
      fill_recombination(table, tnk_int(1) << order, [&](tnk_int k) { return wave.root(k, order); });
      spec.recombination = spec.ccs_recombination = table;
    }
  }
  spec.tag = K::tag;
  *out = reinterpret_cast<tnk_signal_fft *>(begin);
  return TNK_SIGNAL_OK;
}

template <class K> std::int32_t init_alloc(tnk_signal_fft **out, int order, int flag, int hint) {
  if (!out) return TNK_SIGNAL_NULL;
  if (order < 0 || order > K::highest_order) return TNK_SIGNAL_BAD_ORDER;
  const Sizes sizes = sizes_of<K>(order);
  std::uint8_t *const memory = e9_vpksMalloc_8u(static_cast<std::int32_t>(sizes.spec));
  std::uint8_t *const init =
      sizes.init > 0 ? e9_vpksMalloc_8u(static_cast<std::int32_t>(sizes.init)) : nullptr;
  std::int32_t status = TNK_SIGNAL_NO_MEMORY;
  tnk_signal_fft *spec = nullptr;
  if (memory && (init || sizes.init == 0)) status = init_spec<K>(&spec, order, flag, hint, memory, init);
  e9_vpksFree(init);
  if (status != TNK_SIGNAL_OK) {
    e9_vpksFree(memory);
    return status;
  }
  record<K>(spec)->owned = 1;
  *out = spec;
  return TNK_SIGNAL_OK;
}

template <class K> std::int32_t free_spec(tnk_signal_fft *spec) {
  if (!spec) return TNK_SIGNAL_NULL;
  if (record<K>(spec)->tag != K::tag) return TNK_SIGNAL_BAD_TAG;
  record<K>(spec)->tag = 0;
  if (record<K>(spec)->owned) e9_vpksFree(spec);
  return TNK_SIGNAL_OK;
}

template <class K> std::int32_t get_buffer_size(const tnk_signal_fft *spec, std::int32_t *size) {
  if (!spec || !size) return TNK_SIGNAL_NULL;
  const Spec<K> &it = *reinterpret_cast<const Spec<K> *>(spec);
  if (it.tag != K::tag) return TNK_SIGNAL_BAD_TAG;
  *size = it.buffer_size > 0 ? it.buffer_size + 32 : 0;
  return TNK_SIGNAL_OK;
}

} // namespace
} // namespace tnk::signal

using namespace tnk::signal;

#define TNK_FFT_KIND(kind, R, layout)                                                                        \
  int32_t e9_vpksFFTGetSize_##kind(int32_t order, int32_t, int32_t, int32_t *spec_size, int32_t *init_size,  \
                                   int32_t *work_size) {                                                     \
    return get_sizes<Kind<R, Layout::layout>>(order, spec_size, init_size, work_size);                       \
  }                                                                                                          \
  int32_t e9_vpksFFTInit_##kind(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,            \
                                uint8_t *memory, uint8_t *init) {                                            \
    return init_spec<Kind<R, Layout::layout>>(spec, order, flag, hint, memory, init);                        \
  }                                                                                                          \
  int32_t e9_vpksFFTInitAlloc_##kind(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint) {     \
    return init_alloc<Kind<R, Layout::layout>>(spec, order, flag, hint);                                     \
  }                                                                                                          \
  int32_t e9_vpksFFTFree_##kind(tnk_signal_fft *spec) {                                                      \
    return free_spec<Kind<R, Layout::layout>>(spec);                                                         \
  }                                                                                                          \
  int32_t e9_vpksFFTGetBufSize_##kind(const tnk_signal_fft *spec, int32_t *size) {                           \
    return get_buffer_size<Kind<R, Layout::layout>>(spec, size);                                             \
  }

extern "C" {
TNK_FFT_KIND(C_32fc, float, pairs)
TNK_FFT_KIND(C_32f, float, parts)
TNK_FFT_KIND(R_32f, float, real)
TNK_FFT_KIND(C_64fc, double, pairs)
TNK_FFT_KIND(C_64f, double, parts)
TNK_FFT_KIND(R_64f, double, real)
}
