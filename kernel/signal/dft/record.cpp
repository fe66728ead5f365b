// Which method serves a length, and the tables that it needs.
#include "kernel/signal/dft/record.h"
#include "kernel/signal/dft/engine.h"
#include "kernel/signal/dft/recombine.h"

namespace tnk::signal {
namespace {

template <class R> int32_t set_scale(DftSpec<R> &spec, int32_t flag) {
  const double n = spec.length;
  spec.forward_scaled = flag == 1 || flag == 4;
  spec.inverse_scaled = flag == 2 || flag == 4;
  spec.scale = static_cast<R>(flag == 4 ? 1 / std::sqrt(n) : 1 / n);
  return flag == 1 || flag == 2 || flag == 4 || flag == 8 ? TNK_SIGNAL_OK : TNK_SIGNAL_BAD_FLAG;
}

template <class R> int32_t init_power_of_two(DftSpec<R> &spec, int32_t flag) {
  const Engine engine = engine_of(spec.tag);
  int32_t order = 0;
  while (spec.length >> order > 1) ++order;
  tnk_signal_fft *fft = nullptr;
  const int32_t status = engine.init(&fft, order, flag, spec.hint);
  if (status != TNK_SIGNAL_OK) return status;
  spec.fft = fft;
  spec.is_power_of_two = 1;
  return engine.buffer_size(fft, &spec.buffer_size);
}

// For the n numbers of the complex transform, from a base table of spec.length values.
template <class R> int32_t init_method(DftSpec<R> &spec, int32_t n, const complex<R> *base) {
  if (n <= largest_straight) return TNK_SIGNAL_OK;
  if (find_factors(spec, n)) return init_factors(spec, n, base, spec.length);
  if (n > largest_direct)
    return n > largest_convolved ? TNK_SIGNAL_BAD_LENGTH : init_convolution(spec, n, base, spec.length);
  spec.direct = new_direct_table<R>(n, base, spec.length);
  spec.buffer_size = static_cast<int32_t>(sizeof(complex<R>)) * n + boundary;
  return spec.direct ? TNK_SIGNAL_OK : TNK_SIGNAL_NO_MEMORY;
}

template <class R> int32_t init_any_length(DftSpec<R> &spec) {
  if (spec.length > largest_length) return TNK_SIGNAL_BAD_LENGTH;
  const Scoped<complex<R>> base{new_base_table<R>(spec.length)};
  if (!base.p) return TNK_SIGNAL_NO_MEMORY;
  if (is_real(spec.tag)) {
    if (spec.length % 2 == 0) {
      spec.forward_recombination = new_forward_recombination<R>(spec.length, base.p, spec.length);
      spec.inverse_recombination = new_inverse_recombination<R>(spec.length, base.p, spec.length);
      if (!spec.forward_recombination || !spec.inverse_recombination) return TNK_SIGNAL_NO_MEMORY;
      return init_method(spec, spec.length / 2, base.p);
    }
    // The numbers as complex ones, in front of what their transform needs; sums by definition take them as they are.
    const int32_t status = init_method(spec, spec.length, base.p);
    if (status != TNK_SIGNAL_OK || spec.direct) return status;
    const std::int64_t bytes = std::int64_t{sizeof(complex<R>)} * spec.length + boundary + spec.buffer_size;
    if (bytes > std::numeric_limits<int32_t>::max()) return TNK_SIGNAL_NO_MEMORY;
    spec.buffer_size = static_cast<int32_t>(bytes);
    return TNK_SIGNAL_OK;
  }
  return init_method(spec, spec.length, base.p);
}

template <class R> int32_t init(DftSpec<R> &spec, int32_t flag) {
  const int32_t status = set_scale(spec, flag);
  if (status != TNK_SIGNAL_OK || spec.length <= largest_straight) return status;
  return (spec.length & (spec.length - 1)) == 0 ? init_power_of_two(spec, flag) : init_any_length(spec);
}

template <class R> void release(DftSpec<R> *spec) {
  if (spec->fft) engine_of(spec->tag).free(static_cast<tnk_signal_fft *>(spec->fft));
  if (spec->convolution) release(spec->convolution);
  e9_vpksFree(spec->direct);
  e9_vpksFree(spec->forward_recombination);
  e9_vpksFree(spec->inverse_recombination);
  e9_vpksFree(spec->chirp);
  e9_vpksFree(spec->spectrum);
  e9_vpksFree(spec->order);
  for (DftFactor<R> &factor : spec->factors) {
    e9_vpksFree(factor.direct);
    e9_vpksFree(factor.twiddles);
  }
  spec->tag = 0;
  e9_vpksFree(spec);
}

} // namespace

template <class R>
int32_t init_dft(tnk_signal_dft **out, int32_t tag, int32_t length, int32_t flag, int32_t hint) {
  if (!out) return TNK_SIGNAL_NULL;
  if (length < 1) return TNK_SIGNAL_BAD_LENGTH;
  auto *const spec = new_table<DftSpec<R>>(1);
  if (!spec) return TNK_SIGNAL_NO_MEMORY;
  e9_vpksZero_8u(reinterpret_cast<uint8_t *>(spec), sizeof *spec);
  spec->tag = tag, spec->length = length, spec->hint = hint;
  spec->is_any_order = tag == dft_any_order_single || tag == dft_any_order_double;
  const int32_t status = init(*spec, flag);
  if (status == TNK_SIGNAL_OK)
    *out = reinterpret_cast<tnk_signal_dft *>(spec);
  else
    release(spec);
  return status;
}

template <class R> int32_t free_dft(tnk_signal_dft *spec, int32_t tag) {
  if (const int32_t status = checked_record<R>(spec, tag)) return status;
  release(reinterpret_cast<DftSpec<R> *>(spec));
  return TNK_SIGNAL_OK;
}

template <class R> int32_t dft_buffer_size(const tnk_signal_dft *spec, int32_t tag, int32_t *size) {
  if (!spec || !size) return TNK_SIGNAL_NULL;
  if (const int32_t status = checked_record<R>(spec, tag)) return status;
  *size = record<R>(spec)->buffer_size;
  return TNK_SIGNAL_OK;
}

template int32_t init_dft<float>(tnk_signal_dft **, int32_t, int32_t, int32_t, int32_t);
template int32_t init_dft<double>(tnk_signal_dft **, int32_t, int32_t, int32_t, int32_t);

} // namespace tnk::signal

#define TNK_RECORDS(family, kind, R, tag)                                                                    \
  int32_t e9_vpks##family##InitAlloc_##kind(tnk_signal_dft **spec, int32_t length, int32_t flag,             \
                                            int32_t hint) {                                                  \
    return tnk::signal::init_dft<R>(spec, tnk::signal::tag, length, flag, hint);                             \
  }                                                                                                          \
  int32_t e9_vpks##family##Free_##kind(tnk_signal_dft *spec) {                                               \
    return tnk::signal::free_dft<R>(spec, tnk::signal::tag);                                                 \
  }                                                                                                          \
  int32_t e9_vpks##family##GetBufSize_##kind(const tnk_signal_dft *spec, int32_t *size) {                    \
    return tnk::signal::dft_buffer_size<R>(spec, tnk::signal::tag, size);                                    \
  }
TNK_RECORDS(DFT, C_32fc, float, dft_packed_single)
TNK_RECORDS(DFT, C_32f, float, dft_parts_single)
TNK_RECORDS(DFT, R_32f, float, dft_real_single)
TNK_RECORDS(DFT, C_64fc, double, dft_packed_double)
TNK_RECORDS(DFT, C_64f, double, dft_parts_double)
TNK_RECORDS(DFT, R_64f, double, dft_real_double)
TNK_RECORDS(DFTOutOrd, C_32fc, float, dft_any_order_single)
TNK_RECORDS(DFTOutOrd, C_64fc, double, dft_any_order_double)
