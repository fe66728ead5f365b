// Power-of-two transforms: their checks, and the way that an order takes.
#include "kernel/signal/fft/transform.h"

#include "kernel/signal/fft/recombine.h"
#include "kernel/signal/fft/small.h"

namespace tnk::signal {
namespace {

template <bool Inverse, class R> bool is_scaled(const fft_spec<R> &spec) {
  return Inverse ? spec.inverse_scaled : spec.forward_scaled;
}
template <class R> const fft_spec<R> &record(const tnk_signal_fft *spec) {
  return *reinterpret_cast<const fft_spec<R> *>(spec);
}

template <class K, bool Inverse, class R>
std::int32_t pairs_transform(const R *source, R *destination, const tnk_signal_fft *record_,
                             std::uint8_t *given) {
  if (!record_) return TNK_SIGNAL_NULL;
  const fft_spec<R> &spec = record<R>(record_);
  if (spec.tag != K::tag) return TNK_SIGNAL_BAD_TAG;
  if (!source || !destination) return TNK_SIGNAL_NULL;
  const bool scaled = is_scaled<Inverse>(spec);
  if (spec.order <= small_order) {
    if (scaled)
      SmallTables<R, Inverse>::tbl_cFFT_small_scale[spec.order](spec.scale, source, destination);
    else
      SmallTables<R, Inverse>::tbl_cFFT_small[spec.order](source, destination);
    return TNK_SIGNAL_OK;
  }
  const Work work(given, spec.buffer_size);
  if (work.failed()) return TNK_SIGNAL_NO_MEMORY;
  any_transform(pairs<const R *, Inverse>{source}, pairs<R *, Inverse>{destination}, spec.order, spec, scaled,
                reinterpret_cast<R *>(work.begin()));
  return TNK_SIGNAL_OK;
}

// An inverse transform is given its parts in exchanged places: it is the forward one then.
template <class K, bool Inverse, class R>
std::int32_t parts_transform(parts<const R *> source, parts<R *> destination, const tnk_signal_fft *record_,
                             std::uint8_t *given) {
  if (!record_) return TNK_SIGNAL_NULL;
  const fft_spec<R> &spec = record<R>(record_);
  if (spec.tag != K::tag) return TNK_SIGNAL_BAD_TAG;
  if (!source.re || !source.im || !destination.re || !destination.im) return TNK_SIGNAL_NULL;
  const bool scaled = is_scaled<Inverse>(spec);
  if (spec.order <= small_order) {
    if (scaled)
      SmallPartsTables<R>::tbl_crFFT_small_scale[spec.order](spec.scale, source.re, source.im, destination.re,
                                                             destination.im);
    else
      SmallPartsTables<R>::tbl_crFFT_small[spec.order](source.re, source.im, destination.re, destination.im);
    return TNK_SIGNAL_OK;
  }
  const Work work(given, spec.buffer_size);
  if (work.failed()) return TNK_SIGNAL_NO_MEMORY;
  any_transform(source, destination, spec.order, spec, scaled, reinterpret_cast<R *>(work.begin()));
  return TNK_SIGNAL_OK;
}

// ---- Real numbers ---------------------------------------------------------------------------------------------

// Up to this order a transform of real numbers is straight code; up to the other one its complex half is.
constexpr int small_real_order = 4, small_half_order = 7;

// The complex transform under a real one, of half the length.
template <class R, bool Inverse>
void half_transform(const R *source, R *destination, const fft_spec<R> &spec, bool scaled, R *buffer) {
  const int order = spec.order - 1;
  if (order <= small_order) {
    if (scaled)
      SmallTables<R, Inverse>::tbl_cFFT_small_scale[order](spec.scale, source, destination);
    else
      SmallTables<R, Inverse>::tbl_cFFT_small[order](source, destination);
    return;
  }
  any_transform(pairs<const R *, Inverse>{source}, pairs<R *, Inverse>{destination}, order, spec, scaled,
                buffer);
}

enum class Spectrum { perm, pack };

template <class R> void perm_to_pack(R *spectrum, tnk_int n) {
  const R last = spectrum[1];
  std::memmove(spectrum + 1, spectrum + 2, static_cast<std::size_t>(n - 2) * sizeof(R));
  spectrum[n - 1] = last;
}
template <class R> void pack_to_perm(const R *source, R *spectrum, tnk_int n) {
  const R first = source[0], last = source[n - 1];
  std::memmove(spectrum + 2, source + 1, static_cast<std::size_t>(n - 2) * sizeof(R));
  spectrum[0] = first, spectrum[1] = last;
}

template <class K, bool Inverse, Spectrum Form, class R>
std::int32_t real_transform(const R *source, R *destination, const tnk_signal_fft *record_,
                            std::uint8_t *given) {
  if (!record_) return TNK_SIGNAL_NULL;
  const fft_spec<R> &spec = record<R>(record_);
  if (spec.tag != K::tag) return TNK_SIGNAL_BAD_TAG;
  if (!source || !destination) return TNK_SIGNAL_NULL;
  const Work work(given, spec.buffer_size);
  if (work.failed()) return TNK_SIGNAL_NO_MEMORY;
  R *const buffer = reinterpret_cast<R *>(work.begin());
  const bool scaled = is_scaled<Inverse>(spec), packed = Form == Spectrum::pack && spec.order > 1;
  const tnk_int n = tnk_int(1) << spec.order;

  const R *from = source;
  if (Inverse && packed) {
    pack_to_perm(source, destination, n);
    from = destination;
  }
  if (spec.order <= small_real_order) {
    if (scaled)
      SmallTables<R, Inverse>::tbl_rFFT_small_scale[spec.order](spec.scale, from, destination);
    else
      SmallTables<R, Inverse>::tbl_rFFT_small[spec.order](from, destination);
  } else if (Inverse) {
    // Through the buffer, where the transform can take it from without need of another one.
    R *const between = spec.order > small_half_order && spec.order <= large_order ? buffer : destination;
    split_spectrum(from, between, n, spec.recombination);
    half_transform<R, true>(between, destination, spec, scaled, between == buffer ? destination : buffer);
  } else {
    half_transform<R, false>(from, destination, spec, scaled, buffer);
    recombine(destination, destination, n, spec.recombination);
  }
  if (!Inverse && packed) perm_to_pack(destination, n);
  return TNK_SIGNAL_OK;
}

using C32fc = Kind<float, Layout::pairs>;
using C32f = Kind<float, Layout::parts>;
using R32f = Kind<float, Layout::real>;
using C64fc = Kind<double, Layout::pairs>;
using C64f = Kind<double, Layout::parts>;
using R64f = Kind<double, Layout::real>;

} // namespace
} // namespace tnk::signal

using namespace tnk::signal;

#define TNK_PAIRS_TRANSFORM(direction, kind, K, C, R, inverse)                                               \
  int32_t e9_vpksFFT##direction##_CToC_##kind(const C *source, C *destination, const tnk_signal_fft *spec,   \
                                              uint8_t *work) {                                               \
    return pairs_transform<K, inverse>(reinterpret_cast<const R *>(source),                                  \
                                       reinterpret_cast<R *>(destination), spec, work);                      \
  }
#define TNK_PARTS_TRANSFORM(kind, K, R)                                                                      \
  int32_t e9_vpksFFTFwd_CToC_##kind(const R *source_re, const R *source_im, R *destination_re,               \
                                    R *destination_im, const tnk_signal_fft *spec, uint8_t *work) {          \
    return parts_transform<K, false, R>({source_re, source_im}, {destination_re, destination_im}, spec,      \
                                        work);                                                               \
  }                                                                                                          \
  int32_t e9_vpksFFTInv_CToC_##kind(const R *source_re, const R *source_im, R *destination_re,               \
                                    R *destination_im, const tnk_signal_fft *spec, uint8_t *work) {          \
    return parts_transform<K, true, R>({source_im, source_re}, {destination_im, destination_re}, spec,       \
                                       work);                                                                \
  }
#define TNK_REAL_TRANSFORM(name, K, R, inverse, form)                                                        \
  int32_t e9_vpksFFT##name(const R *source, R *destination, const tnk_signal_fft *spec, uint8_t *work) {     \
    return real_transform<K, inverse, Spectrum::form>(source, destination, spec, work);                      \
  }

extern "C" {
TNK_PAIRS_TRANSFORM(Fwd, 32fc, C32fc, tnk_complex8, float, false)
TNK_PAIRS_TRANSFORM(Inv, 32fc, C32fc, tnk_complex8, float, true)
TNK_PAIRS_TRANSFORM(Fwd, 64fc, C64fc, tnk_complex16, double, false)
TNK_PAIRS_TRANSFORM(Inv, 64fc, C64fc, tnk_complex16, double, true)
TNK_PARTS_TRANSFORM(32f, C32f, float)
TNK_PARTS_TRANSFORM(64f, C64f, double)
TNK_REAL_TRANSFORM(Fwd_RToPerm_32f, R32f, float, false, perm)
TNK_REAL_TRANSFORM(Inv_PermToR_32f, R32f, float, true, perm)
TNK_REAL_TRANSFORM(Fwd_RToPack_32f, R32f, float, false, pack)
TNK_REAL_TRANSFORM(Inv_PackToR_32f, R32f, float, true, pack)
TNK_REAL_TRANSFORM(Fwd_RToPerm_64f, R64f, double, false, perm)
TNK_REAL_TRANSFORM(Inv_PermToR_64f, R64f, double, true, perm)
}
