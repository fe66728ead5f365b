// Convolution and correlation by their definition.
#include "kernel/signal/vector/walk.h"

namespace tnk::signal {
namespace {

// Which k from 0 to m - 1 keep first + Step k within 0 ... n - 1, for Step 1 and -1: from `begin`, up to `end`.
struct Range {
  tnk_int begin, end;
};
template <int Step> Range within(tnk_int first, tnk_int m, tnk_int n) {
  const Range all = Step > 0 ? Range{-first, n - first} : Range{first - n + 1, first + 1};
  return {std::max<tnk_int>(all.begin, 0), std::min(all.end, m)};
}

// out[i] := sum over k of a[k] b[i + shift + Step k], elements outside b being 0. Four vectors of outputs are summed in
// registers: as many independent sums as an addition takes cycles, and each a[k] is spread once for all of them.
template <int Step, class R>
void sums(const R *a, tnk_int m, const R *b, tnk_int n, R *out, tnk_int count, tnk_int shift) {
  constexpr int lanes = per_vector<R>, block = 4 * lanes;
  const auto term_by_term = [=](tnk_int i, tnk_int begin, tnk_int end, R sum) {
    for (tnk_int k = begin; k < end; ++k) sum += a[k] * b[i + shift + Step * k];
    return sum;
  };
  tnk_int i = 0;
  for (; i + block <= count; i += block) {
    const Range first = within<Step>(i + shift, m, n), last = within<Step>(i + block - 1 + shift, m, n);
    const tnk_int begin = std::max(first.begin, last.begin),
                  end = std::max(begin, std::min(first.end, last.end));
    vec<R> sum[4] = {};
    for (tnk_int k = begin; k < end; ++k) {
      const vec<R> factor = splat<vec<R>>(a[k]);
      const R *const p = b + i + shift + Step * k;
      for (int j = 0; j < 4; ++j) sum[j] += factor * loadu<vec<R>>(p + j * lanes);
    }
    for (int j = 0; j < 4; ++j) storeu(out + i + j * lanes, sum[j]);
    // What reaches b for some of the outputs only.
    for (tnk_int o = i; o < i + block; ++o) {
      const Range own = within<Step>(o + shift, m, n);
      out[o] = term_by_term(o, std::max(own.begin, end), own.end,
                            term_by_term(o, own.begin, std::min(own.end, begin), out[o]));
    }
  }
  for (; i < count; ++i) {
    const Range own = within<Step>(i + shift, m, n);
    out[i] = term_by_term(i, own.begin, own.end, 0);
  }
}

template <class T>
int32_t checked_pair(const T *a, int32_t length_a, const T *b, int32_t length_b, T *destination) {
  if (const int32_t status = checked(std::min(length_a, length_b), a, b, destination)) return status;
  return tnk_int{length_a} + length_b - 1 > std::numeric_limits<int32_t>::max() ? TNK_SIGNAL_BAD_LENGTH
                                                                                : TNK_SIGNAL_OK;
}

template <class R>
int32_t convolve(const R *a, int32_t length_a, const R *b, int32_t length_b, R *destination) {
  if (const int32_t status = checked_pair(a, length_a, b, length_b, destination)) return status;
  if (length_a > length_b) std::swap(a, b), std::swap(length_a, length_b);
  sums<-1>(a, length_a, b, length_b, destination, tnk_int{length_a} + length_b - 1, 0);
  return TNK_SIGNAL_OK;
}

// sum times 2^-scale to the nearest, to even in the middle, within 16 bits.
int16_t scaled_down(std::int64_t sum, int32_t scale) {
  constexpr std::int64_t lowest = -32768, highest = 32767;
  if (scale > 0) {
    if (scale > 62) return 0; // sums stay below 2^61
    const std::int64_t below = (std::int64_t{1} << (scale - 1)) - 1;
    sum = (sum + below + (sum >> scale & 1)) >> scale;
  } else {
    for (; scale < 0 && sum > lowest && sum < highest && sum != 0; ++scale) sum *= 2;
  }
  return static_cast<int16_t>(std::min(std::max(sum, lowest), highest));
}

} // namespace
} // namespace tnk::signal

int32_t e9_vpksConv_32f(const float *a, int32_t length_a, const float *b, int32_t length_b,
                        float *destination) {
  return tnk::signal::convolve(a, length_a, b, length_b, destination);
}
int32_t e9_vpksConv_64f(const double *a, int32_t length_a, const double *b, int32_t length_b,
                        double *destination) {
  return tnk::signal::convolve(a, length_a, b, length_b, destination);
}
int32_t e9_vpksConv_16s_Sfs(const int16_t *a, int32_t length_a, const int16_t *b, int32_t length_b,
                            int16_t *destination, int32_t scale) {
  using namespace tnk::signal;
  if (const int32_t status = checked_pair(a, length_a, b, length_b, destination)) return status;
  for (tnk_int i = 0; i < tnk_int{length_a} + length_b - 1; ++i) {
    const Range own = within<-1>(i, length_a, length_b);
    std::int64_t sum = 0;
    for (tnk_int k = own.begin; k < own.end; ++k) sum += a[k] * b[i - k];
    destination[i] = scaled_down(sum, scale);
  }
  return TNK_SIGNAL_OK;
}
int32_t e9_vpksCrossCorr_32f(const float *a, int32_t length_a, const float *b, int32_t length_b,
                             float *destination, int32_t length, int32_t low_lag) {
  using namespace tnk::signal;
  const int32_t shortest = std::min(length, std::min(length_a, length_b));
  if (const int32_t status = checked(shortest, a, b, destination)) return status;
  sums<1>(a, length_a, b, length_b, destination, length, low_lag);
  return TNK_SIGNAL_OK;
}
