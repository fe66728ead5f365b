// Threads by OpenMP. The number in force is one atomic; all else is OpenMP's.
#include "host/threading/team.h"

#include <atomic>
#include <omp.h>
#include <pthread.h>
#include <tnk/host.h>

#include "host/dispatch/check.h"

namespace tnk::host {
namespace {

std::atomic<int> chosen{0}; // 0: OpenMP's number

// The team that OpenMP keeps for its next region does not live on in a child of fork, and a region there would wait
// for it forever.
void stay_alone() {
  chosen.store(1, std::memory_order_relaxed);
}

[[gnu::constructor]] void watch_forks() {
  pthread_atfork(nullptr, nullptr, stay_alone);
}

} // namespace

int usable_threads() {
  return omp_in_parallel() ? 1 : tnk_get_max_threads();
}

void spread(int count, void (*run)(const void *argument, int i), const void *argument) {
  // A loop over the slices and not one slice a thread: OpenMP may give fewer threads than were asked for.
#pragma omp parallel for num_threads(count) schedule(static, 1)
  for (int i = 0; i < count; ++i) run(argument, i);
}

} // namespace tnk::host

void tnk_set_num_threads(int threads) {
  const tnk_int value = threads;
  if (tnk::host::Check("tnk_set_num_threads").dimension(1, "threads", &value))
    tnk::host::chosen.store(threads, std::memory_order_relaxed);
}

int tnk_get_max_threads(void) {
  const int own = tnk::host::chosen.load(std::memory_order_relaxed);
  return own > 0 ? own : omp_get_max_threads();
}
