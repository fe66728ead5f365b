// What decides whether AVX code can run, as a function of the processor's own words.
#pragma once

#include <cstdint>

namespace tnk::host {

struct ProcessorWords {
  std::uint32_t features; // CPUID leaf 1, ECX; 0 where the leaf is lacking
  std::uint64_t xcr0;     // what XGETBV reads; looked at only where CPUID says that XGETBV works
};

enum class Avx { usable, absent, not_saved };

// Both words matter: a processor may have AVX while the operating system does not keep the upper halves of
// its registers across a switch of tasks.
constexpr Avx avx_state(const ProcessorWords &words) {
  constexpr std::uint32_t has_xgetbv = 1u << 27, has_avx = 1u << 28;
  constexpr std::uint64_t saves_xmm = 1u << 1, saves_ymm = 1u << 2, saves_both = saves_xmm | saves_ymm;
  if (!(words.features & has_avx)) return Avx::absent;
  if (!(words.features & has_xgetbv) || (words.xcr0 & saves_both) != saves_both) return Avx::not_saved;
  return Avx::usable;
}

// This processor's state. Read once.
Avx this_processor_avx();

} // namespace tnk::host
