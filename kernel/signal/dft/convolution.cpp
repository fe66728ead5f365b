// A transform of n numbers as a circular convolution of M >= 2 n - 1: j k = (j^2 + k^2 - (k - j)^2) / 2.
#include "kernel/signal/dft/methods.h"
#include "kernel/signal/dft/record.h"

namespace tnk::signal {
namespace {

// Lengths that factor well and lie between powers of two, so that one just above a power does not pay for the next.
constexpr int32_t tbl_len_conv[] = {128,  144,  160,  192,  200,  256,  288,  320,  384,  400,  512,
                                    576,  640,  768,  800,  1024, 1152, 1280, 1536, 1600, 2048, 2304,
                                    2560, 3072, 3200, 4096, 4608, 5120, 6144, 6400, 8192};

int32_t convolution_length(int32_t n) {
  const int32_t least = 2 * n - 1;
  for (const int32_t length : tbl_len_conv)
    if (length >= least) return length;
  int32_t length = 8192;
  while (length < least) length *= 2;
  return length;
}

} // namespace

template <class R>
int32_t init_convolution(DftSpec<R> &spec, int32_t length, const complex<R> *base, int32_t n) {
  const int32_t m = convolution_length(length);
  spec.convolution_length = m;
  spec.chirp = new_table<complex<R>>(length);
  spec.spectrum = new_table<complex<R>>(m);
  const Scoped<complex<R>> twice{n == length ? new_base_table<R>(2 * length) : nullptr};
  if (!spec.chirp || !spec.spectrum || (n == length && !twice.p)) return TNK_SIGNAL_NO_MEMORY;
  const complex<R> *const walk = twice.p ? twice.p : base;

  // The index runs through j^2 modulo 2 length: squares differ by 1, 3, 5, ....
  for (int32_t j = 0, index = 0; j < length; ++j) {
    spec.chirp[j] = walk[index];
    index = static_cast<int32_t>((std::int64_t{index} + 2 * j + 1) % (2 * length));
  }
  clear(spec.spectrum, m);
  for (int32_t j = 0; j < length; ++j) {
    const complex<R> w{spec.chirp[j].re, 0 - spec.chirp[j].im};
    spec.spectrum[j] = w;
    if (j > 0) spec.spectrum[m - j] = w;
  }

  constexpr int32_t tag = sizeof(R) == 4 ? dft_packed_single : dft_packed_double, unscaled = 8;
  tnk_signal_dft *inner = nullptr;
  if (const int32_t status = init_dft<R>(&inner, tag, m, unscaled, 0)) return status;
  spec.convolution = reinterpret_cast<DftSpec<R> *>(inner);
  const int32_t status = with_work(*spec.convolution, nullptr, [&](R *work) {
    return run_packed<R, false>(*spec.convolution, m, spec.spectrum, spec.spectrum, work);
  });
  scale(R(1) / static_cast<R>(m), reinterpret_cast<R *>(spec.spectrum), 2 * m);
  spec.buffer_size = static_cast<int32_t>(sizeof(complex<R>)) * m + spec.convolution->buffer_size + boundary;
  return status;
}

template <class R>
int32_t run_convolution(const DftSpec<R> &spec, const complex<R> *source, complex<R> *target, int32_t n,
                        bool inverse, R *work) {
  const int32_t m = spec.convolution_length;
  R *const begin = convolution_begin(work), *const rest = begin + std::ptrdiff_t{2} * m;
  auto *const product = reinterpret_cast<complex<R> *>(begin);
  multiply(spec.chirp, source, product, n);
  clear(product + n, m - n);
  if (const int32_t status = run_packed<R, false>(*spec.convolution, m, product, product, rest))
    return status;
  multiply(spec.spectrum, product, product, m);
  if (const int32_t status = run_packed<R, true>(*spec.convolution, m, product, product, rest)) return status;
  multiply(spec.chirp, product, target, n);
  if (inverse) std::reverse(target + 1, target + n);
  return TNK_SIGNAL_OK;
}

#define TNK_INSTANCES(R)                                                                                     \
  template int32_t init_convolution(DftSpec<R> &, int32_t, const complex<R> *, int32_t);                     \
  template int32_t run_convolution(const DftSpec<R> &, const complex<R> *, complex<R> *, int32_t, bool, R *);
TNK_INSTANCES(float)
TNK_INSTANCES(double)

} // namespace tnk::signal
