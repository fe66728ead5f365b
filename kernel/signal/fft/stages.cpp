// The stages of power-of-two transforms as entries of their own.
#include <tnk/signal_fft_stages.h>

#include "kernel/signal/fft/large.h"
#include "kernel/signal/fft/recombine.h"
#include "kernel/signal/fft/small.h"
#include "kernel/signal/fft/transform.h"

namespace tnk::signal {
namespace {

template <class R> R *reals(complex<R> *p) {
  return reinterpret_cast<R *>(p);
}
template <class R> const R *reals(const complex<R> *p) {
  return reinterpret_cast<const R *>(p);
}
template <class R> R *reals(std::uint8_t *p) {
  return reinterpret_cast<R *>(p);
}

template <class R, bool Inverse, class C>
void radix4_normal(const C *source, C *destination, std::int32_t length, const R *twiddles,
                   const std::int32_t *reversal, std::uint8_t *work) {
  cached_transform(pairs<const R *, Inverse>{reals<R>(source)}, pairs<R *, Inverse>{reals<R>(destination)},
                   log2_of(length), twiddles, reversal, reals<R>(work));
}
template <class R, bool Inverse, class C>
void large(const tnk_signal_fft *spec, const C *source, C *destination, std::uint8_t *work) {
  const auto &record = *reinterpret_cast<const fft_spec<R> *>(spec);
  large_transform(pairs<const R *, Inverse>{reals<R>(source)}, pairs<R *, Inverse>{reals<R>(destination)},
                  record.order, record, Inverse ? record.inverse_scaled : record.forward_scaled,
                  reals<R>(work));
}
template <class R>
void recombine_either(const R *source, R *destination, std::int32_t half, const R *table,
                      std::int32_t direction) {
  if (direction < 0)
    recombine_pairs<R, true>(source, destination, half, table);
  else
    recombine_pairs<R, false>(source, destination, half, table);
}
template <class R> void recombination_table(R *table, int order, const QuarterWave<R> &wave) {
  fill_recombination(table, tnk_int(1) << order, [&](tnk_int k) { return wave.root(k, order); });
}
template <class R> void sizes_of_large(int order, std::int32_t *table_size, std::int32_t *work_size) {
  tnk_int table = 0, work = 0;
  add_large_sizes<R>(order, table, work);
  *table_size = static_cast<std::int32_t>(table), *work_size = static_cast<std::int32_t>(work);
}

} // namespace
} // namespace tnk::signal

using namespace tnk::signal;

#define TNK_DIRECTED_STAGES(Fwd, fwd, inverse, fc, C, R)                                                     \
  void e9_vpks_cFFT##fwd##_4_##fc(const C *source, C *destination) {                                         \
    SmallTables<R, inverse>::tbl_cFFT_small[2](reals<R>(source), reals<R>(destination));                     \
  }                                                                                                          \
  void e9_vpks_cRadix4##Fwd##Norm_##fc(const C *source, C *destination, int32_t length, const R *twiddles,   \
                                       const int32_t *reversal, uint8_t *work) {                             \
    radix4_normal<R, inverse>(source, destination, length, twiddles, reversal, work);                        \
  }                                                                                                          \
  void e9_vpks_cRadix4##Fwd##_##fc(C *data, int32_t length, const R *twiddles, uint8_t *work) {              \
    transform_reversed(pairs<R *, inverse>{reals<R>(data)}, blocks<R>{reals<R>(work)}, log2_of(length),      \
                       twiddles);                                                                            \
  }                                                                                                          \
  void e9_vpks_cFft##Fwd##_Large_##fc(const tnk_signal_fft *spec, const C *source, C *destination,           \
                                      uint8_t *work) {                                                       \
    large<R, inverse>(spec, source, destination, work);                                                      \
  }                                                                                                          \
  void e9_vpks_cFft##Fwd##_Fact4_##fc(C *data, int32_t length, int32_t part, const R *twiddles) {            \
    combine_all(2, pairs<R *, inverse>{reals<R>(data)}, length, part, twiddles);                             \
  }                                                                                                          \
  void e9_vpks_cFft##Fwd##_Fact8_##fc(C *data, int32_t length, int32_t part, const R *twiddles) {            \
    combine_all(3, pairs<R *, inverse>{reals<R>(data)}, length, part, twiddles);                             \
  }

#define TNK_STAGES(f, fc, C, R)                                                                              \
  TNK_DIRECTED_STAGES(Fwd, fwd, false, fc, C, R)                                                             \
  TNK_DIRECTED_STAGES(Inv, inv, true, fc, C, R)                                                              \
  void e9_vpks_cFFT_1_##fc(const C *source, C *destination) {                                                \
    *destination = *source;                                                                                  \
  }                                                                                                          \
  void e9_vpks_cFFT_2_##fc(const C *source, C *destination) {                                                \
    SmallTables<R, false>::tbl_cFFT_small[1](reals<R>(source), reals<R>(destination));                       \
  }                                                                                                          \
  void e9_vpks_cFft_BlkMerge_##fc(const C *source, int32_t stride, int32_t rows, int32_t length,             \
                                  C *buffer) {                                                               \
    merge_stripes(source, stride, rows, length, buffer);                                                     \
  }                                                                                                          \
  void e9_vpks_cFft_BlkSplit_##fc(const C *buffer, int32_t rows, int32_t length, C *destination,             \
                                  int32_t stride) {                                                          \
    split_stripes(buffer, rows, length, destination, stride);                                                \
  }                                                                                                          \
  void e9_vpks_cRealRecombine_##f(R *data, int32_t half, const R *table, int32_t direction) {                \
    recombine_either(data, data, half, table, direction);                                                    \
  }                                                                                                          \
  void e9_vpks_cCcsRecombine_##f(const R *source, R *destination, int32_t half, const R *table,              \
                                 int32_t direction) {                                                        \
    recombine_either(source, destination, half, table, direction);                                           \
  }                                                                                                          \
  void e9_vpks_initTabTwdBase_##f(R *table, int32_t order) {                                                 \
    fill_quarter_wave(table, order);                                                                         \
  }                                                                                                          \
  R *e9_vpks_initTabTwd_L1_##f(R *table, int32_t order, const R *base, int32_t base_order,                   \
                               int32_t by_part) {                                                            \
    return fill_passes(table, order, QuarterWave<R>{base, base_order}, by_part != 0);                        \
  }                                                                                                          \
  R *e9_vpks_initTabTwd_Large_##f(tnk_signal_fft *spec, uint8_t *memory, int32_t order, const R *base,       \
                                  int32_t base_order, int32_t by_part) {                                     \
    return fill_large_tables(*reinterpret_cast<fft_spec<R> *>(spec), reinterpret_cast<int32_t *>(memory),    \
                             order, QuarterWave<R>{base, base_order}, by_part != 0);                         \
  }                                                                                                          \
  void e9_vpks_getSizeTwd_Large_##f(int32_t order, int32_t *table_size, int32_t *work_size) {                \
    sizes_of_large<R>(order, table_size, work_size);                                                         \
  }                                                                                                          \
  void e9_vpks_initTabTwdRealRec_##f(R *table, int32_t order, const R *base, int32_t base_order) {           \
    recombination_table(table, order, QuarterWave<R>{base, base_order});                                     \
  }                                                                                                          \
  void e9_vpks_initTabTwdCcsRec_##f(R *table, int32_t order, const R *base, int32_t base_order) {            \
    recombination_table(table, order, QuarterWave<R>{base, base_order});                                     \
  }

extern "C" {
TNK_STAGES(64f, 64fc, tnk_complex16, double)
TNK_STAGES(32f, 32fc, tnk_complex8, float)

void e9_vpks_zBitRev1_Blk(tnk_complex16 *block, const int32_t *swaps) {
  swap_by_list(block, swaps);
}
void e9_vpks_cBitRev1_Blk(tnk_complex8 *block, const int32_t *swaps) {
  swap_by_list(block, swaps);
}
int32_t *e9_vpks_initTabBitRevNorm(int32_t *table, int32_t order) {
  return fill_reversal(table, order);
}
void e9_vpks_initTabBitRev(int32_t *table, int32_t order) {
  fill_swaps(table, order);
}
int32_t *e9_vpks_initTabBitRevLarge(int32_t *table, int32_t order, int32_t k) {
  return fill_block_reversal(table, order, k);
}
}
