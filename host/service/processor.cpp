// The processor's class.
#include "host/service/processor.h"

#include <cpuid.h>
#include <tnk/kernel.h>
#include <tnk/services.h>

namespace tnk::host {
namespace {

ProcessorWords read_processor() {
  std::uint32_t eax, ebx, ecx, edx;
  ProcessorWords words{};
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return words;
  words.features = ecx;
  if (ecx & bit_OSXSAVE) {
    std::uint32_t low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    words.xcr0 = std::uint64_t{high} << 32 | low;
  }
  return words;
}

} // namespace

Avx this_processor_avx() {
  static const Avx state = avx_state(read_processor());
  return state;
}

} // namespace tnk::host

int32_t tnk_serv_cpu_detect(void) {
  return tnk::host::this_processor_avx() == tnk::host::Avx::usable ? TNK_CLASS_AVX : TNK_CLASS_NONE;
}
