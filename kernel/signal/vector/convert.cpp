// Conversion between 16-bit integers and floats, and reversal.
#include "kernel/signal/vector/walk.h"

namespace tnk::signal {
namespace {

f32x8 widen(const int16_t *p) {
  const __m128i v = loadu<__m128i>(p);
  return _mm256_cvtepi32_ps(
      _mm256_set_m128i(_mm_cvtepi16_epi32(_mm_unpackhi_epi64(v, v)), _mm_cvtepi16_epi32(v)));
}

// A NaN gives way to the lower bound, because that is the second operand.
__m128i narrow(f32x8 v, bool nearest) {
  v = _mm256_min_ps(_mm256_max_ps(v, splat<f32x8>(-32768.0f)), splat<f32x8>(32767.0f));
  if (nearest) v = _mm256_round_ps(v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  const __m256i whole = _mm256_cvttps_epi32(v);
  return _mm_packs_epi32(_mm256_castsi256_si128(whole), _mm256_extractf128_si256(whole, 1));
}

// n elements, eight a step; the last ones go through a vector of their own.
template <class From, class To, class Step>
void by_eights(const From *source, To *destination, tnk_int n, Step step) {
  tnk_int i = 0;
  for (; i + 8 <= n; i += 8) step(source + i, destination + i);
  if (i == n) return;
  From in[8] = {};
  To out[8];
  std::copy_n(source + i, n - i, in);
  step(in, out);
  std::copy_n(out, n - i, destination + i);
}

float power_of_two(int32_t exponent) {
  const std::uint32_t bits = static_cast<std::uint32_t>(exponent + 127) << 23;
  float x;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

} // namespace
} // namespace tnk::signal

int32_t e9_vpksConvert_16s32f(const int16_t *source, float *destination, int32_t length) {
  using namespace tnk::signal;
  if (const int32_t status = checked(length, source, destination)) return status;
  by_eights(source, destination, length,
            [](const int16_t *from, float *to) { tnk::storeu(to, widen(from)); });
  return TNK_SIGNAL_OK;
}
int32_t e9_vpksConvert_32f16s_Sfs(const float *source, int16_t *destination, int32_t length, int32_t rounding,
                                  int32_t scale) {
  using namespace tnk::signal;
  if (const int32_t status = checked(length, source, destination)) return status;
  // Two factors, since 2^-scale may lie beyond the floats; past 2^252 nothing of a float is left either way.
  const int32_t exponent = -std::min(std::max(scale, -252), 252);
  const auto first = tnk::splat<tnk::f32x8>(power_of_two(exponent / 2)),
             second = tnk::splat<tnk::f32x8>(power_of_two(exponent - exponent / 2));
  by_eights(source, destination, length, [=](const float *from, int16_t *to) {
    tnk::storeu(to, narrow(tnk::loadu<tnk::f32x8>(from) * first * second, rounding != 0));
  });
  return TNK_SIGNAL_OK;
}
int32_t e9_vpksFlip_32f_I(float *vector, int32_t length) {
  using namespace tnk;
  if (const int32_t status = signal::checked(length, vector)) return status;
  const auto reversed = [](f32x8 v) { return swap_halves(f32x8(_mm256_permute_ps(v, 0x1B))); };
  tnk_int i = 0, j = length;
  for (; j - i >= 16; i += 8, j -= 8) {
    const auto front = loadu<f32x8>(vector + i), back = loadu<f32x8>(vector + j - 8);
    storeu(vector + i, reversed(back));
    storeu(vector + j - 8, reversed(front));
  }
  std::reverse(vector + i, vector + j);
  return TNK_SIGNAL_OK;
}
