// The kernel library's operations, and whether there is memory.
#include "host/routines/integer/call.h"

#include <algorithm>
#include <atomic>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"

namespace tnk::host::integer {
namespace {

// All of them at the first call; null after a report. Threads that come here together find the same.
const Operations *operations(const char *routine) {
  static Operations table;
  static std::atomic<bool> known{false};
  if (__builtin_expect(known.load(std::memory_order_acquire), 1)) return &table;
  Operations found;
#define TNK_INTEGER_FIND(name)                                                                               \
  found.z_##name =                                                                                           \
      reinterpret_cast<decltype(found.z_##name)>(require_kernel_entry(routine, "tnk_gmp___gmpz_" #name));    \
  if (!found.z_##name) return nullptr;
  TNK_INTEGER_OPERATIONS(TNK_INTEGER_FIND)
#undef TNK_INTEGER_FIND
  static std::atomic_flag writing = ATOMIC_FLAG_INIT;
  if (writing.test_and_set()) {
    while (!known.load(std::memory_order_acquire)) { // a copy of addresses, not longer
    }
    return &table;
  }
  table = found;
  known.store(true, std::memory_order_release);
  return &table;
}

} // namespace

bool Call::ready(double limbs) {
  operations_ = operations(routine_);
  if (!operations_) return fail(TNK_INTEGER_NO_KERNEL);
  if (limbs <= 0) return true;
  // Blocks of the kernels' allocator have a header, and a pad before it.
  constexpr double spare = 1024;
  void *const block =
      tnk_serv_tnk_malloc(static_cast<std::int64_t>(limbs * sizeof(tnk_gmp_limb) + spare), 32);
  if (tnk_serv_check_ptr(block, routine_)) return fail(TNK_INTEGER_NO_MEMORY);
  tnk_serv_tnk_free(block);
  return true;
}

// Measured, with n limbs of result: up to 2.5 n by short methods; by transforms, of up to 32768 limbs each, 45 n, and for
// lengths with a large prime factor up to 129 n.
double product_limbs(double n) {
  constexpr double from = 2 * 8192, up_to = 2 * 32768;
  if (n < 18) return 2 * n + 16;
  return 5 * n + 1024 + (n <= from ? 0 : 144 * std::min(n, up_to));
}

} // namespace tnk::host::integer
