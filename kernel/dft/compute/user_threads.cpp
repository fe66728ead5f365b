// Which slice of workspace a calling thread has, where several compute by one descriptor.
//
// Thread slots are words: 0, how many threads are known, or that there are more threads than slots; then the threads; then
// whether their slots are busy. While each slot has one thread for itself, a thread finds its own one without the lock.
// Afterwards a slot is whoever's claims it first.
//
// A thread that has just read word 0 as a count and another one that meanwhile makes it the mark may want the same slot. So
// every claim is an exchange, and who finds the slot busy looks on.
#include <immintrin.h>
#include <pthread.h>
#include <tnk/dft_compute.h>
#include <tnk/services.h>

namespace {

constexpr uint64_t more_than_slots = 0x7FFFFFFF;

uint64_t read(const uint64_t *word) {
  return __atomic_load_n(word, __ATOMIC_RELAXED);
}
void write(uint64_t *word, uint64_t value) {
  __atomic_store_n(word, value, __ATOMIC_RELAXED);
}

// What the last owner did in the workspace comes before what the next one does.
bool claim(uint64_t *busy) {
  return __atomic_exchange_n(busy, 1, __ATOMIC_ACQUIRE) == 0;
}

} // namespace

int32_t tnk_dft_grasp_user_thread(DftiNode *node) {
  if (!node->workspace) return 0; // nothing to share
  uint64_t *const known = node->thread_slots, *const threads = known + 1;
  const auto slots = static_cast<uint64_t>(node->user_threads);
  uint64_t *const busy = threads + slots;

  const auto self = static_cast<uint64_t>(pthread_self());
  const uint64_t count = __atomic_load_n(known, __ATOMIC_ACQUIRE); // with the threads that it counts
  if (count != more_than_slots) {
    for (uint64_t i = 0; i < count; ++i)
      if (read(threads + i) == self && claim(busy + i)) return static_cast<int32_t>(i);
    tnk_serv_lock();
    const uint64_t now = read(known);
    if (now < slots) { // and so not the mark
      write(threads + now, self);
      claim(busy + now);
      __atomic_store_n(known, now + 1, __ATOMIC_RELEASE);
      tnk_serv_unlock();
      return static_cast<int32_t>(now);
    }
    write(known, more_than_slots);
    tnk_serv_unlock();
  }

  for (uint64_t i = 0;; i = (i + 1) % slots) {
    if (read(busy + i) != 0) {
      _mm_pause();
      continue;
    }
    tnk_serv_lock();
    const bool mine = claim(busy + i);
    tnk_serv_unlock();
    if (mine) return static_cast<int32_t>(i);
  }
}

void tnk_dft_release_user_thread(DftiNode *node, int32_t slot) {
  if (node->workspace)
    __atomic_store_n(node->thread_slots + 1 + node->user_threads + slot, 0, __ATOMIC_RELEASE);
}
