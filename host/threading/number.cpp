// How many threads: what the program, OpenMP or the user's environment says, else the processors.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sched.h>
#include <tnk/host.h>
#include <unistd.h>

#include "host/dispatch/check.h"
#include "host/service/errno_keeper.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

std::atomic<int> chosen{0}; // 0: none

// A child of fork is often one of many that share the processors, so it has to ask for threads.
[[gnu::constructor]] void watch_forks() {
  pthread_atfork(nullptr, nullptr, [] { chosen.store(1, std::memory_order_relaxed); });
}

// ---- OpenMP -------------------------------------------------------------------------------------------------------
// The program may use it, or a library that it loads. The host asks the runtime that is there, and brings none.

using Query = int();
std::atomic<Query *> max_threads{nullptr}, in_parallel{nullptr}; // found for good; the second one last

// Objects that the process has loaded so far, those included that are gone.
unsigned long long loads() {
  unsigned long long count = 0;
  dl_iterate_phdr(
      [](dl_phdr_info *info, std::size_t, void *result) {
        *static_cast<unsigned long long *>(result) = info->dlpi_adds;
        return 1;
      },
      &count);
  return count;
}

void look_for_openmp() {
  // By name too: a runtime that came with a library may be hidden from all others.
  constexpr const char *names[] = {nullptr, "libgomp.so.1", "libomp.so.5", "libomp.so"};
  for (const char *const name : names) {
    void *const library = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    if (!library) continue;
    void *const max = dlsym(library, "omp_get_max_threads"), *const in = dlsym(library, "omp_in_parallel");
    Dl_info file;
    if (max && in && dladdr(in, &file) != 0) {
      dlopen(file.dli_fname, RTLD_LAZY | RTLD_NOLOAD); // never closed: the functions shall stay
      max_threads.store(reinterpret_cast<Query *>(max));
      in_parallel.store(reinterpret_cast<Query *>(in));
      return;
    }
  }
}

bool has_openmp() {
  static std::atomic<unsigned long long> loads_seen{0};
  if (in_parallel.load(std::memory_order_acquire)) return true;
  const unsigned long long now = loads();
  if (loads_seen.exchange(now) != now) look_for_openmp();
  return in_parallel.load(std::memory_order_acquire) != nullptr;
}

// ---- Without it ---------------------------------------------------------------------------------------------------

// The first number of OMP_NUM_THREADS, which may be a list; 0 if it is none.
int number_in_environment() {
  static const int number = [] {
    const char *const text = secure_getenv("OMP_NUM_THREADS");
    if (!text) return 0;
    char *end;
    const long value = std::strtol(text, &end, 10);
    while (*end == ' ' || *end == '\t') ++end;
    return (*end == '\0' || *end == ',') && value > 0 && value <= INT32_MAX ? static_cast<int>(value) : 0;
  }();
  return number;
}

// Those that this thread may run on.
int processors() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return CPU_COUNT(&set);
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  return online > 0 ? static_cast<int>(online) : 1;
}

} // namespace

int usable_threads() {
  const ErrnoKeeper keeper;
  if (in_slice() || (has_openmp() && in_parallel.load(std::memory_order_relaxed)())) return 1;
  return tnk_get_max_threads();
}

} // namespace tnk::host

void tnk_set_num_threads(int threads) {
  const tnk_int value = threads;
  if (tnk::host::Check("tnk_set_num_threads").dimension(1, "threads", &value))
    tnk::host::chosen.store(threads, std::memory_order_relaxed);
}

int tnk_get_max_threads(void) {
  using namespace tnk::host;
  const ErrnoKeeper keeper;
  const int own = chosen.load(std::memory_order_relaxed);
  if (own > 0) return own;
  if (has_openmp()) return max_threads.load(std::memory_order_relaxed)();
  const int named = number_in_environment();
  return named > 0 ? named : processors();
}
