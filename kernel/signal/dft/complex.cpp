// Complex transforms with both parts side by side, and the stages that they are made of.
#include "kernel/signal/dft/any_order.h"
#include "kernel/signal/dft/engine.h"
#include "kernel/signal/dft/methods.h"
#include "kernel/signal/dft/record.h"
#include "kernel/signal/dft/straight_tables.h"

namespace tnk::signal {
namespace {

template <bool Inverse>
int32_t run_engine(const void *fft, const tnk_complex8 *source, tnk_complex8 *target, float *work) {
  return (Inverse ? e9_vpksFFTInv_CToC_32fc : e9_vpksFFTFwd_CToC_32fc)(
      source, target, static_cast<const tnk_signal_fft *>(fft), reinterpret_cast<uint8_t *>(work));
}
template <bool Inverse>
int32_t run_engine(const void *fft, const tnk_complex16 *source, tnk_complex16 *target, double *work) {
  return (Inverse ? e9_vpksFFTInv_CToC_64fc : e9_vpksFFTFwd_CToC_64fc)(
      source, target, static_cast<const tnk_signal_fft *>(fft), reinterpret_cast<uint8_t *>(work));
}

} // namespace

template <class R, bool Inverse>
int32_t run_packed(const DftSpec<R> &spec, int32_t n, const complex<R> *source, complex<R> *target, R *work) {
  const auto from = packed_source<Inverse, R>(source);
  const auto to = packed_target<Inverse, R>(target);
  if (spec.is_power_of_two) return run_engine<Inverse>(spec.fft, source, target, work);
  if (n <= largest_straight)
    StraightTables<R>::packed[Inverse][n - 1].plain(source, target);
  else if (spec.has_factors)
    run_factors(spec, from, to, work);
  else if (n <= largest_direct)
    run_direct(n, from, to, spec.direct, work);
  else
    return run_convolution(spec, source, target, n, Inverse, work);
  return TNK_SIGNAL_OK;
}

namespace {

template <class R, bool Inverse>
int32_t transform_packed(const complex<R> *source, complex<R> *target, const tnk_signal_dft *handle,
                         int32_t tag, uint8_t *buffer) {
  if (const int32_t status = checked_record<R>(handle, tag)) return status;
  if (!source || !target) return TNK_SIGNAL_NULL;
  const DftSpec<R> &spec = *record<R>(handle);
  const int32_t n = spec.length;
  const bool is_scaled = Inverse ? spec.inverse_scaled : spec.forward_scaled;
  if (n <= largest_straight) {
    const StraightPacked<R> &straight = StraightTables<R>::packed[Inverse][n - 1];
    if (is_scaled)
      straight.scaled(spec.scale, source, target);
    else
      straight.plain(source, target);
    return TNK_SIGNAL_OK;
  }
  return with_work(spec, buffer, [&](R *work) {
    const bool is_any_order = spec.is_any_order && spec.has_factors;
    const int32_t status = is_any_order ? run_any_order<R, Inverse>(spec, source, target, work)
                                        : run_packed<R, Inverse>(spec, n, source, target, work);
    if (status == TNK_SIGNAL_OK && is_scaled && !spec.is_power_of_two)
      scale(spec.scale, reinterpret_cast<R *>(target), 2 * n);
    return status;
  });
}

} // namespace

template int32_t run_packed<float, false>(const DftSpec<float> &, int32_t, const tnk_complex8 *,
                                          tnk_complex8 *, float *);
template int32_t run_packed<float, true>(const DftSpec<float> &, int32_t, const tnk_complex8 *,
                                         tnk_complex8 *, float *);
template int32_t run_packed<double, false>(const DftSpec<double> &, int32_t, const tnk_complex16 *,
                                           tnk_complex16 *, double *);
template int32_t run_packed<double, true>(const DftSpec<double> &, int32_t, const tnk_complex16 *,
                                          tnk_complex16 *, double *);

} // namespace tnk::signal

#define TNK_TRANSFORM(name, C, R, inverse, tag)                                                              \
  int32_t name(const C *source, C *destination, const tnk_signal_dft *spec, uint8_t *work) {                 \
    return tnk::signal::transform_packed<R, inverse>(source, destination, spec, tnk::signal::tag, work);     \
  }
TNK_TRANSFORM(e9_vpksDFTFwd_CToC_32fc, tnk_complex8, float, false, dft_packed_single)
TNK_TRANSFORM(e9_vpksDFTInv_CToC_32fc, tnk_complex8, float, true, dft_packed_single)
TNK_TRANSFORM(e9_vpksDFTFwd_CToC_64fc, tnk_complex16, double, false, dft_packed_double)
TNK_TRANSFORM(e9_vpksDFTInv_CToC_64fc, tnk_complex16, double, true, dft_packed_double)
TNK_TRANSFORM(e9_vpksDFTOutOrdFwd_CToC_32fc, tnk_complex8, float, false, dft_any_order_single)
TNK_TRANSFORM(e9_vpksDFTOutOrdInv_CToC_32fc, tnk_complex8, float, true, dft_any_order_single)
TNK_TRANSFORM(e9_vpksDFTOutOrdFwd_CToC_64fc, tnk_complex16, double, false, dft_any_order_double)
TNK_TRANSFORM(e9_vpksDFTOutOrdInv_CToC_64fc, tnk_complex16, double, true, dft_any_order_double)
