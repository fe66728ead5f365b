// Floating-point control of the calling thread, and what a value is.
#include <cstring>
#include <immintrin.h>
#include <tnk/signal_vector.h>

namespace tnk::signal {
namespace {

constexpr uint32_t ssx_at_start = 0x1F80, ssx_rounding = 0x6000, ssx_daz = 0x40,
                   fpu_rounding_precision = 0xF00;

uint32_t replaced(uint32_t word, uint32_t value, uint32_t mask) {
  return (word & ~mask) | (value & mask);
}

constexpr uint64_t exponent_bits = 0x7FF, mantissa_bits = (uint64_t{1} << 52) - 1;
uint64_t bits_of(double x) {
  uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}
bool is_exponent_full(uint64_t bits) {
  return (bits >> 52 & exponent_bits) == exponent_bits;
}

} // namespace
} // namespace tnk::signal

uint32_t ps_get_ssx(void) {
  return _mm_getcsr();
}
uint32_t ps_set_ssx(uint32_t value, uint32_t mask) {
  const uint32_t before = _mm_getcsr();
  _mm_setcsr(tnk::signal::replaced(before, value, mask));
  return before;
}
uint32_t vpk_clear_ssx(void) {
  return ps_set_ssx(tnk::signal::ssx_at_start, ~uint32_t{0});
}
void vpk_set_cw_ssx(uint32_t value) {
  _mm_setcsr(value);
}
uint32_t vpk_set_rc_ssx(uint32_t value) {
  const uint32_t before = _mm_getcsr(),
                 after = tnk::signal::replaced(before, value, tnk::signal::ssx_rounding);
  if (after != before) _mm_setcsr(after); // loading the word is slow
  return before;
}
int32_t vpk_tst_daz_ssx(void) {
  alignas(16) unsigned char state[512] = {};
  asm volatile("fxsave64 %0" : "=m"(state));
  uint32_t mask; // of the bits that the word may have; 0 on processors that are older than the bit
  std::memcpy(&mask, state + 28, sizeof mask);
  return (mask & tnk::signal::ssx_daz) != 0;
}

uint32_t ps_get_cw_fpu(void) {
  uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
uint32_t ps_set_cw_fpu(uint32_t value, uint32_t mask) {
  const uint32_t before = ps_get_cw_fpu();
  vpk_set_cw_fpu(tnk::signal::replaced(before, value, mask));
  return before;
}
void vpk_set_cw_fpu(uint32_t value) {
  const auto word = static_cast<uint16_t>(value);
  asm volatile("fldcw %0" : : "m"(word));
}
uint32_t ps_get_sw_fpu(void) {
  uint16_t word;
  asm volatile("fnstsw %0" : "=m"(word));
  return word;
}
uint32_t ps_clear_fpu(void) {
  const uint32_t before = ps_get_sw_fpu();
  asm volatile("fnclex");
  return before;
}

uint32_t vpk_control87(uint32_t value, uint32_t mask) {
  return ps_set_cw_fpu(value, mask);
}
uint32_t vpk_status87(void) {
  return ps_get_sw_fpu();
}
uint32_t vpk_clear87(void) {
  return ps_clear_fpu();
}
uint32_t vpk_set_rcpc_fpu(uint32_t value) {
  return ps_set_cw_fpu(value, tnk::signal::fpu_rounding_precision);
}

int32_t vpk_isnan(double x) {
  const uint64_t bits = tnk::signal::bits_of(x);
  return tnk::signal::is_exponent_full(bits) && (bits & tnk::signal::mantissa_bits) != 0;
}
int32_t vpk_finite(double x) {
  return !tnk::signal::is_exponent_full(tnk::signal::bits_of(x));
}
