// What a stub asks for at its first call: the address of its kernel entry, and the addresses of all others with it.
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tnk/host.h>

extern "C" {

// The tables of stubs.S, in the order of the stubs.
extern const char tnk_front_stubs[];
extern const char tnk_front_names[];
extern const std::uint32_t tnk_front_offsets[];
extern std::atomic<void *> tnk_front_slots[], tnk_front_slots_end[];

struct Found {
  void *entry;         // null after a report
  std::int64_t status; // what a call without an entry returns, if it returns an integer
};
Found tnk_front_find(const char *in_stub);
}

namespace {

constexpr std::ptrdiff_t stub_size = 32;

// What a function returns that could not be run, by the first prefix that fits its name. Where none does, or where it
// returns an address, it is 0: no class of processor, no memory, no result.
constexpr struct {
  const char *prefix;
  std::int64_t status;
} failing[] = {
    {"tnk_blas_i", 0}, // positions count from 1
    {"tnk_blas_", 1},
    {"e9_vpksMalloc_", 0}, // addresses
    {"e9_vpks_initTab", 0},
    {"e9_vpks_createTab", 0},
    {"e9_vpks", -9},                // no memory
    {"tnk_conv_", -2000},           // no such kernel
    {"tnk_gmp___gmpz_set_str", -1}, // no number
    {"tnk_gmp___gmpz_init_set_str", -1},
    {"tnk_gmp__impGetDigitValue", -1},
    {"vpkGetMax", 36}, // no processor that is known
    {"DftiError", 0},  // texts, and not of that class
    {"tnk_dft_dftierror", 0},
    {"tnk_dft_dfti_error", 0},
    {"tnk_dft_Iotensor_is", 0}, // no
    {"tnk_dft_vpk_can", 0},
    {"tnk_dft_determine", 0}, // no arrays
    {"tnk_dft_grasp", -1},    // no slot
    {"Dfti", 7},              // DftiInternalError
    {"tnk_dft_", 7},
};

std::int64_t failing_status(const char *name) {
  for (const auto &family : failing)
    if (std::strncmp(name, family.prefix, std::strlen(family.prefix)) == 0) return family.status;
  return 0;
}

const char *name_of(std::ptrdiff_t stub) {
  return tnk_front_names + tnk_front_offsets[stub];
}

// Threads that come here together each find their own; one of them goes on with the rest, and nobody waits.
void *find(std::ptrdiff_t stub) {
  void *const entry = tnk_kernel_require(name_of(stub));
  if (!entry) return nullptr;
  tnk_front_slots[stub].store(entry, std::memory_order_release);
  static std::atomic<bool> taken{false};
  if (taken.exchange(true)) return entry;
  for (std::ptrdiff_t other = 0; other < tnk_front_slots_end - tnk_front_slots; ++other)
    if (void *const address = tnk_kernel_entry(name_of(other)))
      tnk_front_slots[other].store(address, std::memory_order_release);
  return entry;
}

} // namespace

Found tnk_front_find(const char *in_stub) {
  const int before = errno;
  const std::ptrdiff_t stub = (in_stub - tnk_front_stubs) / stub_size;
  void *const entry = find(stub);
  errno = before;
  return {entry, failing_status(name_of(stub))};
}
