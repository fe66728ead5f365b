// Complex transforms of arrays by part. The inverse is the forward transform of parts in exchanged places.
#include "kernel/signal/dft/engine.h"
#include "kernel/signal/dft/methods.h"
#include "kernel/signal/dft/record.h"
#include "kernel/signal/dft/straight_tables.h"

namespace tnk::signal {
namespace {

int32_t run_engine(bool inverse, parts<const float *> source, parts<float *> target, const void *fft,
                   float *work) {
  return (inverse ? e9_vpksFFTInv_CToC_32f : e9_vpksFFTFwd_CToC_32f)(
      source.re, source.im, target.re, target.im, static_cast<const tnk_signal_fft *>(fft),
      reinterpret_cast<uint8_t *>(work));
}
int32_t run_engine(bool inverse, parts<const double *> source, parts<double *> target, const void *fft,
                   double *work) {
  return (inverse ? e9_vpksFFTInv_CToC_64f : e9_vpksFFTFwd_CToC_64f)(
      source.re, source.im, target.re, target.im, static_cast<const tnk_signal_fft *>(fft),
      reinterpret_cast<uint8_t *>(work));
}

// The convolution works on pairs: its work area is where they come from and where they go.
template <class R>
int32_t run_convolution(const DftSpec<R> &spec, parts<const R *> source, parts<R *> target, R *work) {
  auto *const numbers = reinterpret_cast<complex<R> *>(convolution_begin(work));
  interleave(source, numbers, spec.length);
  const int32_t status = run_convolution(spec, numbers, numbers, spec.length, false, work);
  if (status == TNK_SIGNAL_OK) separate(numbers, target, spec.length);
  return status;
}

template <class R>
int32_t transform_parts(bool inverse, parts<const R *> source, parts<R *> target,
                        const tnk_signal_dft *handle, int32_t tag, uint8_t *buffer) {
  if (const int32_t status = checked_record<R>(handle, tag)) return status;
  if (!source.re || !source.im || !target.re || !target.im) return TNK_SIGNAL_NULL;
  const DftSpec<R> &spec = *record<R>(handle);
  const int32_t n = spec.length;
  const bool is_scaled = inverse ? spec.inverse_scaled : spec.forward_scaled;
  if (spec.is_power_of_two)
    return with_work(spec, buffer,
                     [&](R *work) { return run_engine(inverse, source, target, spec.fft, work); });
  if (inverse) std::swap(source.re, source.im), std::swap(target.re, target.im);
  if (n <= largest_straight) {
    const StraightParts<R> &straight = StraightTables<R>::parts[n - 1];
    if (is_scaled)
      straight.scaled(spec.scale, source.re, source.im, target.re, target.im);
    else
      straight.plain(source.re, source.im, target.re, target.im);
    return TNK_SIGNAL_OK;
  }
  return with_work(spec, buffer, [&](R *work) {
    int32_t status = TNK_SIGNAL_OK;
    if (spec.has_factors)
      run_factors(spec, source, target, work);
    else if (n <= largest_direct)
      run_direct(n, source, target, spec.direct, work);
    else
      status = run_convolution(spec, source, target, work);
    if (status == TNK_SIGNAL_OK && is_scaled)
      scale(spec.scale, target.re, n), scale(spec.scale, target.im, n);
    return status;
  });
}

} // namespace
} // namespace tnk::signal

#define TNK_TRANSFORM(name, R, inverse, tag)                                                                 \
  int32_t name(const R *source_re, const R *source_im, R *destination_re, R *destination_im,                 \
               const tnk_signal_dft *spec, uint8_t *work) {                                                  \
    return tnk::signal::transform_parts<R>(inverse, {source_re, source_im},                                  \
                                           {destination_re, destination_im}, spec, tnk::signal::tag, work);  \
  }
TNK_TRANSFORM(e9_vpksDFTFwd_CToC_32f, float, false, dft_parts_single)
TNK_TRANSFORM(e9_vpksDFTInv_CToC_32f, float, true, dft_parts_single)
TNK_TRANSFORM(e9_vpksDFTFwd_CToC_64f, double, false, dft_parts_double)
TNK_TRANSFORM(e9_vpksDFTInv_CToC_64f, double, true, dft_parts_double)
