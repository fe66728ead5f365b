#include "kernel/signal/fft/small.h"

#include "kernel/signal/fft/recombine.h"

namespace tnk::signal {
namespace {

template <class R, int N, bool Inverse> void plain(const R *source, R *destination) {
  small_transform<N, R, false>(pairs<const R *, Inverse>{source}, pairs<R *, Inverse>{destination}, R(1));
}
template <class R, int N, bool Inverse> void scaled(R scale, const R *source, R *destination) {
  small_transform<N, R, true>(pairs<const R *, Inverse>{source}, pairs<R *, Inverse>{destination}, scale);
}
template <class R, int N> void plain_parts(const R *re, const R *im, R *to_re, R *to_im) {
  small_transform<N, R, false>(parts<const R *>{re, im}, parts<R *>{to_re, to_im}, R(1));
}
template <class R, int N> void scaled_parts(R scale, const R *re, const R *im, R *to_re, R *to_im) {
  small_transform<N, R, true>(parts<const R *>{re, im}, parts<R *>{to_re, to_im}, scale);
}

// Half as many complex numbers, which stay where registers and the stack are.
template <class R, int N, bool Inverse, bool Scaled>
inline void real_transform(const R *source, R *destination, R scale) {
  const auto finished = [&](R x) { return Scaled ? scale * x : x; };
  if constexpr (N == 1) {
    destination[0] = finished(source[0]);
  } else {
    alignas(32) R between[N];
    const pairs<const R *, Inverse> from{Inverse ? between : source};
    if constexpr (Inverse) split_spectrum(source, between, N, constant_recombination<R, N>.value);
    small_transform<N / 2, R, false>(from, pairs<R *, Inverse>{between}, R(1));
    if constexpr (!Inverse) recombine(between, between, N, constant_recombination<R, N>.value);
    for (int i = 0; i < N; ++i) destination[i] = finished(between[i]);
  }
}
template <class R, int N, bool Inverse> void plain_real(const R *source, R *destination) {
  real_transform<R, N, Inverse, false>(source, destination, R(1));
}
template <class R, int N, bool Inverse> void scaled_real(R scale, const R *source, R *destination) {
  real_transform<R, N, Inverse, true>(source, destination, scale);
}

} // namespace

template <class R, bool Inverse>
typename SmallForms<R>::Pairs *const SmallTables<R, Inverse>::tbl_cFFT_small[7] = {
    plain<R, 1, false>,    plain<R, 2, Inverse>,  plain<R, 4, Inverse>, plain<R, 8, Inverse>,
    plain<R, 16, Inverse>, plain<R, 32, Inverse>, plain<R, 64, Inverse>};
template <class R, bool Inverse>
typename SmallForms<R>::ScaledPairs *const SmallTables<R, Inverse>::tbl_cFFT_small_scale[7] = {
    scaled<R, 1, false>,    scaled<R, 2, Inverse>,  scaled<R, 4, Inverse>, scaled<R, 8, Inverse>,
    scaled<R, 16, Inverse>, scaled<R, 32, Inverse>, scaled<R, 64, Inverse>};
template <class R>
typename SmallForms<R>::Parts *const SmallPartsTables<R>::tbl_crFFT_small[7] = {
    plain_parts<R, 1>,  plain_parts<R, 2>,  plain_parts<R, 4>, plain_parts<R, 8>,
    plain_parts<R, 16>, plain_parts<R, 32>, plain_parts<R, 64>};
template <class R>
typename SmallForms<R>::ScaledParts *const SmallPartsTables<R>::tbl_crFFT_small_scale[7] = {
    scaled_parts<R, 1>,  scaled_parts<R, 2>,  scaled_parts<R, 4>, scaled_parts<R, 8>,
    scaled_parts<R, 16>, scaled_parts<R, 32>, scaled_parts<R, 64>};
template <class R, bool Inverse>
typename SmallForms<R>::Pairs *const SmallTables<R, Inverse>::tbl_rFFT_small[6] = {
    plain_real<R, 1, Inverse>, plain_real<R, 2, Inverse>,  plain_real<R, 4, Inverse>,
    plain_real<R, 8, Inverse>, plain_real<R, 16, Inverse>, plain_real<R, 32, Inverse>};
template <class R, bool Inverse>
typename SmallForms<R>::ScaledPairs *const SmallTables<R, Inverse>::tbl_rFFT_small_scale[6] = {
    scaled_real<R, 1, Inverse>, scaled_real<R, 2, Inverse>,  scaled_real<R, 4, Inverse>,
    scaled_real<R, 8, Inverse>, scaled_real<R, 16, Inverse>, scaled_real<R, 32, Inverse>};

template <class R, class Source, class Target> void transform_128(Source source, Target target) {
  small_transform<128, R, false>(source, target, R(1));
}
#define TNK_TRANSFORM_128(R)                                                                                 \
  template void transform_128<R>(pairs<const R *, false>, pairs<R *, false>);                                \
  template void transform_128<R>(pairs<const R *, true>, pairs<R *, true>);                                  \
  template void transform_128<R>(parts<const R *>, parts<R *>);
TNK_TRANSFORM_128(float)
TNK_TRANSFORM_128(double)

template struct SmallTables<float, false>;
template struct SmallTables<float, true>;
template struct SmallTables<double, false>;
template struct SmallTables<double, true>;
template struct SmallPartsTables<float>;
template struct SmallPartsTables<double>;

} // namespace tnk::signal
