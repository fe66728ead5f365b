// Real transforms. N numbers, N even, are N/2 complex ones, whose spectrum is recombined; an odd N has stages of its own.
// Everything is done in the Perm layout; the others differ by where they keep the two real values.
#include "kernel/signal/dft/real.h"
#include "kernel/signal/dft/engine.h"
#include "kernel/signal/dft/methods.h"
#include "kernel/signal/dft/recombine.h"
#include "kernel/signal/dft/record.h"
#include "kernel/signal/dft/straight_tables.h"

namespace tnk::signal {
namespace {

enum Layout { ccs, pack, perm };

// ---- Layouts ------------------------------------------------------------------------------------------------------

template <class R> void move(const R *source, R *target, tnk_int n) {
  if (source != target && n > 0) std::memmove(target, source, static_cast<std::size_t>(n) * sizeof(R));
}

// In place, from Perm.
template <Layout To, class R> void arrange(R *data, int32_t n) {
  if constexpr (To == ccs) {
    if (n % 2 == 0) {
      const R last = n > 1 ? data[1] : 0;
      data[1] = 0, data[n] = last, data[n + 1] = 0;
    } else {
      move(data + 1, data + 2, n - 1);
      data[1] = 0;
    }
  } else if constexpr (To == pack) {
    if (n % 2 == 0) {
      const R last = data[1];
      move(data + 2, data + 1, n - 2);
      data[n - 1] = last;
    }
  }
}

// To Perm; source and target may be the same.
template <Layout From, class R> void arrange_back(const R *source, R *target, int32_t n) {
  const bool is_even = n % 2 == 0;
  const R first = source[0], last = !is_even       ? 0
                                    : From == ccs  ? source[n]
                                    : From == pack ? source[n - 1]
                                                   : source[1];
  if (is_even)
    move(source + (From == pack ? 1 : 2), target + 2, n - 2);
  else
    move(source + (From == ccs ? 2 : 1), target + 1, n - 1);
  target[0] = first;
  if (is_even) target[1] = last;
}

// ---- Methods --------------------------------------------------------------------------------------------------------

int32_t run_engine(bool inverse, const float *source, float *target, const void *fft, float *work) {
  return (inverse ? e9_vpksFFTInv_PermToR_32f : e9_vpksFFTFwd_RToPerm_32f)(
      source, target, static_cast<const tnk_signal_fft *>(fft), reinterpret_cast<uint8_t *>(work));
}
int32_t run_engine(bool inverse, const double *source, double *target, const void *fft, double *work) {
  return (inverse ? e9_vpksFFTInv_PermToR_64f : e9_vpksFFTFwd_RToPerm_64f)(
      source, target, static_cast<const tnk_signal_fft *>(fft), reinterpret_cast<uint8_t *>(work));
}

// Sums by definition of real numbers x0, a pair (s, d) for each opposite two: store(q, even, odd) takes
// x0 + sum of s cos and the sum of d sin, with the lanes along q from 1 to h.
template <class R, class Store>
void direct_sums(int32_t n, R x0, const R *table, const R *pairs_of_two, const Store &store) {
  using V = vec<R>;
  const int32_t h = n / 2, row = direct_row<R>(n);
  for (int32_t first = 0; first < h; first += lanes<V>) {
    V even = splat<V>(x0), odd{};
    const R *w = table + 2 * first;
    for (int32_t j = 0; j < h; ++j, w += row) {
      even += load<V>(w) * pairs_of_two[2 * j];
      odd += load<V>(w + lanes<V>) * pairs_of_two[2 * j + 1];
    }
    for (int32_t lane = 0; lane < lanes<V> && first + lane < h; ++lane)
      store(first + lane + 1, even[lane], odd[lane]);
  }
}

// Odd n as complex numbers, the method of that length, and back. `work` begins with room for them.
template <class R, class Method>
int32_t as_complex_forward(int32_t n, const R *source, R *target, R *work, const Method &method) {
  auto *const numbers = reinterpret_cast<complex<R> *>(work);
  for (int32_t j = 0; j < n; ++j) numbers[j] = {source[j], 0};
  if (const int32_t status = method(numbers, aligned_up(work + std::ptrdiff_t{2} * n))) return status;
  target[0] = numbers[0].re;
  for (int32_t k = 1; k <= n / 2; ++k) target[2 * k - 1] = numbers[k].re, target[2 * k] = numbers[k].im;
  return TNK_SIGNAL_OK;
}
template <class R, class Method>
int32_t as_complex_inverse(int32_t n, const R *source, R *target, R *work, const Method &method) {
  auto *const numbers = reinterpret_cast<complex<R> *>(work);
  numbers[0] = {source[0], 0};
  for (int32_t k = 1; k <= n / 2; ++k) {
    const R re = source[2 * k - 1], im = source[2 * k];
    numbers[k] = {re, im}, numbers[n - k] = {re, 0 - im};
  }
  if (const int32_t status = method(numbers, aligned_up(work + std::ptrdiff_t{2} * n))) return status;
  for (int32_t j = 0; j < n; ++j) target[j] = numbers[j].re;
  return TNK_SIGNAL_OK;
}

} // namespace

template <class R, bool Inverse>
void run_real_direct(int32_t n, const R *source, R *target, const R *table, R *work) {
  const int32_t h = n / 2;
  const R x0 = source[0];
  R total = x0;
  for (int32_t j = 1; j <= h; ++j) {
    const R a = Inverse ? source[2 * j - 1] : source[j], b = Inverse ? source[2 * j] : source[n - j];
    work[2 * j - 2] = Inverse ? 2 * a : a + b;
    work[2 * j - 1] = Inverse ? 2 * b : a - b;
    total += work[2 * j - 2];
  }
  target[0] = total;
  direct_sums(n, x0, table, work, [&](int32_t q, R even, R odd) {
    if constexpr (Inverse)
      target[q] = even - odd, target[n - q] = even + odd;
    else
      target[2 * q - 1] = even, target[2 * q] = 0 - odd;
  });
}

template <class R, bool Inverse>
int32_t run_real_odd(const DftSpec<R> &spec, int32_t n, const R *source, R *target, R *work) {
  if (!spec.has_factors && n <= largest_direct) {
    run_real_direct<R, Inverse>(n, source, target, spec.direct, work);
    return TNK_SIGNAL_OK;
  }
  const auto method = [&](complex<R> *numbers, R *rest) {
    return run_packed<R, Inverse>(spec, n, numbers, numbers, rest);
  };
  return Inverse ? as_complex_inverse(n, source, target, work, method)
                 : as_complex_forward(n, source, target, work, method);
}

namespace {

template <class R, bool Inverse>
int32_t run_real(const DftSpec<R> &spec, const R *source, R *target, R *work) {
  const int32_t n = spec.length;
  if (spec.is_power_of_two) return run_engine(Inverse, source, target, spec.fft, work);
  int32_t status = TNK_SIGNAL_OK;
  if (n % 2 != 0) {
    status = run_real_odd<R, Inverse>(spec, n, source, target, work);
  } else {
    auto *const numbers = reinterpret_cast<complex<R> *>(target);
    if constexpr (Inverse) {
      move(source, target, n);
      recombine_inverse(target, n, spec.inverse_recombination);
      status = run_packed<R, true>(spec, n / 2, numbers, numbers, work);
    } else {
      status = run_packed<R, false>(spec, n / 2, reinterpret_cast<const complex<R> *>(source), numbers, work);
      if (status == TNK_SIGNAL_OK) recombine_forward(target, n, spec.forward_recombination);
    }
  }
  if (status == TNK_SIGNAL_OK && (Inverse ? spec.inverse_scaled : spec.forward_scaled))
    scale(spec.scale, target, n);
  return status;
}

template <class R, bool Inverse> void run_straight(const DftSpec<R> &spec, const R *source, R *target) {
  const StraightReal<R> &straight = StraightTables<R>::real[Inverse][spec.length - 1];
  if (Inverse ? spec.inverse_scaled : spec.forward_scaled)
    straight.scaled(spec.scale, source, target);
  else
    straight.plain(source, target);
}

template <class R, bool Inverse, Layout Spectrum>
int32_t transform_real(const R *source, R *target, const tnk_signal_dft *handle, int32_t tag,
                       uint8_t *buffer) {
  if (const int32_t status = checked_record<R>(handle, tag)) return status;
  if (!source || !target) return TNK_SIGNAL_NULL;
  const DftSpec<R> &spec = *record<R>(handle);
  const int32_t n = spec.length;
  const auto run = [&](R *work) -> int32_t {
    const R *from = source;
    if constexpr (Inverse && Spectrum != perm) {
      arrange_back<Spectrum>(source, target, n);
      from = target;
    }
    int32_t status = TNK_SIGNAL_OK;
    if (n <= largest_straight)
      run_straight<R, Inverse>(spec, from, target);
    else
      status = run_real<R, Inverse>(spec, from, target, work);
    if (!Inverse && status == TNK_SIGNAL_OK) arrange<Spectrum>(target, n);
    return status;
  };
  return with_work(spec, buffer, run);
}

} // namespace

template void run_real_direct<float, false>(int32_t, const float *, float *, const float *, float *);
template void run_real_direct<float, true>(int32_t, const float *, float *, const float *, float *);
template void run_real_direct<double, false>(int32_t, const double *, double *, const double *, double *);
template void run_real_direct<double, true>(int32_t, const double *, double *, const double *, double *);
template int32_t run_real_odd<float, false>(const DftSpec<float> &, int32_t, const float *, float *, float *);
template int32_t run_real_odd<float, true>(const DftSpec<float> &, int32_t, const float *, float *, float *);
template int32_t run_real_odd<double, false>(const DftSpec<double> &, int32_t, const double *, double *,
                                             double *);
template int32_t run_real_odd<double, true>(const DftSpec<double> &, int32_t, const double *, double *,
                                            double *);

} // namespace tnk::signal

#define TNK_TRANSFORM(name, R, inverse, layout, tag)                                                         \
  int32_t name(const R *source, R *destination, const tnk_signal_dft *spec, uint8_t *work) {                 \
    using namespace tnk::signal;                                                                             \
    return transform_real<R, inverse, layout>(source, destination, spec, tag, work);                         \
  }
TNK_TRANSFORM(e9_vpksDFTFwd_RToCCS_32f, float, false, ccs, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTInv_CCSToR_32f, float, true, ccs, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTFwd_RToPack_32f, float, false, pack, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTInv_PackToR_32f, float, true, pack, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTFwd_RToPerm_32f, float, false, perm, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTInv_PermToR_32f, float, true, perm, dft_real_single)
TNK_TRANSFORM(e9_vpksDFTFwd_RToCCS_64f, double, false, ccs, dft_real_double)
TNK_TRANSFORM(e9_vpksDFTInv_CCSToR_64f, double, true, ccs, dft_real_double)
TNK_TRANSFORM(e9_vpksDFTFwd_RToPack_64f, double, false, pack, dft_real_double)
TNK_TRANSFORM(e9_vpksDFTInv_PackToR_64f, double, true, pack, dft_real_double)
TNK_TRANSFORM(e9_vpksDFTFwd_RToPerm_64f, double, false, perm, dft_real_double)
TNK_TRANSFORM(e9_vpksDFTInv_PermToR_64f, double, true, perm, dft_real_double)
