// What the processor is asked, and control words: each is put back.
#include "kernel/signal/vector/cache_sizes.h"

#include <cfenv>
#include <cmath>
#include <cpuid.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <tnk/signal_vector.h>
#include <utility>
#include <xmmintrin.h>

namespace {

TEST(SignalProcessor, SaysWhatTheCompilersRunTimeSays) {
  const auto has = [](bool it_has) { return it_has ? 1 : 0; };
  EXPECT_EQ(vpk_has_cpuid(), 1);
  EXPECT_EQ(vpk_max_cpuid_input(), static_cast<int32_t>(__get_cpuid_max(0, nullptr)));
  EXPECT_EQ(vpk_is_mmx_extension(), vpk_is_ssx_extension()); // SSE brought what the former asks for
  EXPECT_EQ(vpk_is_ssx_extension(), has(__builtin_cpu_supports("sse")));
  EXPECT_EQ(vpk_is_wni_extension(), has(__builtin_cpu_supports("sse2")));
  EXPECT_EQ(vpk_is_pni_extension(), has(__builtin_cpu_supports("sse3")));
  EXPECT_EQ(vpk_is_mni_extension(), has(__builtin_cpu_supports("ssse3")));
  EXPECT_EQ(vpk_is_sse41_extension(), has(__builtin_cpu_supports("sse4.1")));
  EXPECT_EQ(vpk_is_sse42_extension(), has(__builtin_cpu_supports("sse4.2")));
  EXPECT_EQ(vpk_is_avx_extension(), has(__builtin_cpu_supports("avx")));
  EXPECT_EQ(vpk_is_vendor_cpu(), has(__builtin_cpu_is("amd")));
  EXPECT_EQ(vpk_is_64bit_extension(), 1);
  unsigned a = 0, b = 0, c = 0, d = 0;
  ASSERT_EQ(__get_cpuid(1, &a, &b, &c, &d), 1);
  EXPECT_EQ(static_cast<unsigned>(vpk_get_processor_ident()), a);
  EXPECT_EQ(vpk_is_movbe(), has(c & bit_MOVBE));
  EXPECT_EQ(vpk_is_htt_extension(), has((d >> 28 & 1) && (b >> 16 & 0xFF) > 1));
  EXPECT_GE(vpk_get_cores_on_die(), 1);
  ASSERT_EQ(vpk_has_rdtsc(), 1);
  const uint64_t earlier = vpk_get_cycle_counter();
  EXPECT_GT(vpk_get_cycle_counter(), earlier);
}

// Processors of the imagination, by leaf and subleaf; what they do not list is zero.
using Leaves = std::map<std::pair<unsigned, unsigned>, tnk::signal::Registers>;
auto processor(const Leaves &leaves) {
  return [=](unsigned leaf, unsigned subleaf) {
    const auto found = leaves.find({leaf, subleaf});
    return found == leaves.end() ? tnk::signal::Registers{} : found->second;
  };
}

TEST(SignalProcessor, FindsTheLargestCache) {
  using tnk::signal::largest_described, tnk::signal::largest_enumerated;
  const auto described = [](tnk::signal::Registers leaf) {
    return largest_described(processor({{{2, 0}, leaf}}));
  };
  EXPECT_EQ(described({0x00000001, 0x00007A00, 0x43000000, 0x41}), 512 << 10);
  EXPECT_EQ(described({0x00000001, 0x80007A00, 0x80000043, 0x41}),
            128 << 10); // two registers that hold nothing
  EXPECT_EQ(described({0xEC0001, 0, 0, 0}), 24 << 20);
  EXPECT_EQ(described({0x00000041, 0, 0, 0}), -1);    // the count of questions is no cache
  EXPECT_EQ(described({0x41000002, 0x43, 0, 0}), -1); // two questions
  EXPECT_EQ(described({0x00000001, 0xFF, 0, 0}), -1);
  const auto cache = [](unsigned type, unsigned ways, unsigned partitions, unsigned line, unsigned sets) {
    return tnk::signal::Registers{type, (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1), sets - 1, 0};
  };
  EXPECT_EQ(largest_enumerated(processor({{{4, 0}, cache(1, 8, 1, 64, 64)},
                                          {{4, 1}, cache(2, 32, 2, 64, 8192)}, // instructions
                                          {{4, 2}, cache(3, 16, 2, 64, 1024)},
                                          {{4, 4}, cache(3, 16, 1, 64, 65536)}})), // behind the end
            2 << 20);
  EXPECT_EQ(largest_enumerated(processor({})), 0);
}

// The answer is 36 on a processor of a vendor that is not known, and 0 or 37 on others; the second call repeats it.
TEST(SignalProcessor, CacheSizeIsKept) {
  EXPECT_EQ(vpkGetMaxCacheSizeB(nullptr), TNK_SIGNAL_NULL);
  int32_t size = -1, again = -1;
  const int32_t status = vpkGetMaxCacheSizeB(&size);
  EXPECT_EQ(status == TNK_SIGNAL_FOREIGN_CPU, !vpk_is_vendor_cpu());
  EXPECT_EQ(status == TNK_SIGNAL_OK, size > 0);
  EXPECT_EQ(vpkGetMaxCacheSizeB(&again), status);
  EXPECT_EQ(again, size);
}

TEST(SignalControl, WordsOfTheThread) {
  const uint32_t ssx = _mm_getcsr(), fpu = ps_get_cw_fpu();
  EXPECT_EQ(ps_set_ssx(0x6040, 0x2040), ssx); // one of the two rounding bits
  EXPECT_EQ(ps_get_ssx(), ssx | 0x2040);
  EXPECT_EQ(vpk_set_rc_ssx(0x7FFF), ssx | 0x2040);
  EXPECT_EQ(_mm_getcsr(), ssx | 0x6040);
  vpk_set_cw_ssx(0x9F80);
  EXPECT_EQ(vpk_clear_ssx(), 0x9F80u);
  EXPECT_EQ(_mm_getcsr(), 0x1F80u);
  _mm_setcsr(ssx);
  EXPECT_EQ(vpk_tst_daz_ssx(), 1); // every processor with AVX

  std::fesetround(FE_UPWARD); // both units
  EXPECT_EQ(ps_get_cw_fpu() & 0xC00u, 0x800u);
  EXPECT_EQ(vpk_set_rcpc_fpu(0xFFFF & ~0x400u) & 0xC00u, 0x800u);
  EXPECT_EQ(ps_get_cw_fpu(), (fpu & ~0xF00u) | 0xB00u);
  EXPECT_EQ(ps_set_cw_fpu(0, 0x400) & 0xF00u, 0xB00u);
  EXPECT_EQ(vpk_control87(0, 0) & 0xF00u, 0xB00u);
  vpk_set_cw_fpu(fpu);
  EXPECT_EQ(ps_get_cw_fpu(), fpu);
  std::fesetround(FE_TONEAREST);
  _mm_setcsr(ssx);

  volatile long double zero = 0, infinite = 1 / zero;
  EXPECT_TRUE(infinite > 0 && (ps_get_sw_fpu() & 4) && (vpk_status87() & 4));
  EXPECT_TRUE(ps_clear_fpu() & 4);
  EXPECT_EQ(vpk_clear87() & 0xFFu, 0u);
}

TEST(SignalControl, Values) {
  using limits = std::numeric_limits<double>;
  for (const double x : {0.0, -1.0, limits::max(), limits::denorm_min(), limits::infinity(),
                         -limits::infinity(), limits::quiet_NaN(), -limits::signaling_NaN()}) {
    EXPECT_EQ(vpk_isnan(x) != 0, std::isnan(x)) << x;
    EXPECT_EQ(vpk_finite(x) != 0, std::isfinite(x)) << x;
  }
}

} // namespace
