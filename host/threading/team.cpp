// The team: threads of the host's own, made when a job first needs them, asleep between jobs.
//
// A job's slices are dealt out as shares, one a thread. Each thread takes the slices of its own share, then what is
// left of the others', and the caller waits in the end for slices that were begun, not for threads. So a thread that
// the system refused is not missed, nor one that is called late because another program has its processor; and one that
// loses its processor within a slice is lent the caller's. Thread k begins with share k every time: what it left in its
// caches serves it again.
#include "host/threading/team.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <x86intrin.h>

namespace tnk::host {
namespace {

constexpr int most_threads = 256; // the caller included

// ---- Floating-point control ---------------------------------------------------------------------------------------

constexpr unsigned exceptions = 0x3f; // the flags, in MXCSR as in the status word of the x87 unit

struct Control {
  unsigned sse; // MXCSR without flags
  unsigned short x87;
};

Control control_here() {
  Control control{_mm_getcsr() & ~exceptions, 0};
  asm volatile("fnstcw %0" : "=m"(control.x87));
  return control;
}
void take_on(const Control &control) {
  asm volatile("fnclex\n\tfldcw %0" : : "m"(control.x87));
  _mm_setcsr(control.sse);
}
unsigned exceptions_here() {
  unsigned short x87;
  asm volatile("fnstsw %0" : "=m"(x87));
  return (_mm_getcsr() | x87) & exceptions;
}

// ---- Jobs ---------------------------------------------------------------------------------------------------------
// Jobs are numbered, and the number stands beside what a thread looks at before it has a slice: one that comes late,
// with the number of an earlier job, takes nothing of the present one. All else is for those who have a slice, since the
// job stands until that has ended.

struct Job {
  void (*run)(const void *argument, int i);
  const void *argument;
  int slices, threads;
  Control control;

  // Share s begins with this slice, and share s - 1 ends.
  int begin(int s) const { return static_cast<int>(std::int64_t{slices} * s / threads); }
};

// The number of a job and a count, which change together.
struct Numbered {
  std::uint32_t job;
  int count;

  constexpr explicit Numbered(std::uint64_t word)
      : job(static_cast<std::uint32_t>(word >> 32)),
        count(static_cast<int>(static_cast<std::uint32_t>(word))) {}
  constexpr Numbered(std::uint32_t number, int n) : job(number), count(n) {}
  constexpr std::uint64_t word() const {
    return std::uint64_t{job} << 32 | static_cast<std::uint32_t>(count);
  }
};

struct alignas(64) Share {
  std::atomic<std::uint64_t> left; // Numbered: slices that nobody has taken
};

std::atomic<bool> held; // by the caller whose job it is
Job job;
Share shares[most_threads];
alignas(64) std::atomic<std::uint64_t> announced; // Numbered: threads that are called
alignas(64) std::atomic<int> unfinished;          // slices, and caller_sleeps
std::atomic<unsigned> raised;                     // exceptions, by workers
constexpr int caller_sleeps = 1 << 30;
sem_t all_finished; // posted by who ends the last slice while the caller sleeps

// Takes a slice of share s. How many were left, or 0.
int take(std::uint32_t number, int s) {
  std::uint64_t seen = shares[s].left.load(std::memory_order_acquire);
  while (Numbered(seen).job == number && Numbered(seen).count > 0)
    if (shares[s].left.compare_exchange_weak(seen, seen - 1, std::memory_order_acquire))
      return Numbered(seen).count;
  return 0;
}

// Runs what slices there are to be had by run(i), those of share `own` first.
template <class Run> void work(Numbered called, int own, Run run) {
  for (int k = 0; k < called.count; ++k) {
    const int s = (own + k) % called.count;
    while (const int left = take(called.job, s)) run(job.begin(s + 1) - left);
  }
}

// ---- Waiting ------------------------------------------------------------------------------------------------------

// Some 40 microseconds, about what it takes to wake a thread: who waits that long before it sleeps loses at most twice
// what the better choice would have cost.
constexpr std::uint64_t ticks_awake = 100000;

template <class Condition> bool holds_soon(Condition condition) {
  const std::uint64_t start = __rdtsc();
  do {
    if (condition()) return true;
    _mm_pause();
  } while (__rdtsc() - start < ticks_awake);
  return false;
}

void wait_for(sem_t &semaphore) {
  while (sem_wait(&semaphore) != 0) { // interrupted
  }
}

bool wait_for(sem_t &semaphore, long microseconds) {
  timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_nsec += microseconds * 1000;
  until.tv_sec += until.tv_nsec / 1000000000;
  until.tv_nsec %= 1000000000;
  return sem_timedwait(&semaphore, &until) == 0;
}

// ---- Workers ------------------------------------------------------------------------------------------------------

struct alignas(64) Worker {
  std::atomic<bool> sleeps;
  sem_t bell;                  // rung once by who clears `sleeps`
  std::atomic<bool> has_slice; // and has begun it
  std::atomic<bool> is_guest;  // on the caller's processor

  // For who holds the team.
  pthread_t thread;
  int kept_off;           // this processor; -1: none
  std::int64_t time_used; // of processors, when last looked at
};
Worker workers[most_threads]; // the first place is the caller's
int hired = 0;
int jobs_without_hiring = 0; // after a refusal

thread_local bool inside = false;

// Waits for a job that calls this worker; `last` is the one that it knows.
Numbered next_job(Worker &me, std::uint32_t &last) {
  Numbered seen(0);
  const auto is_called = [&] {
    seen = Numbered(announced.load());
    if (seen.job == last) return false;
    last = seen.job;
    return seen.count > &me - workers;
  };
  if (!me.is_guest.load(std::memory_order_relaxed) && holds_soon(is_called)) return seen;
  for (;;) {
    // Either the caller sees that this thread sleeps, or this thread sees the caller's job.
    me.sleeps.store(true);
    const bool called = is_called();
    if (!called || !me.sleeps.exchange(false)) wait_for(me.bell);
    if (called || is_called()) return seen;
  }
}

void run_for_caller(Worker &me, int i) {
  me.has_slice.store(true, std::memory_order_relaxed);
  take_on(job.control);
  job.run(job.argument, i);
  const unsigned here = exceptions_here();
  if (here & ~raised.load(std::memory_order_relaxed)) raised.fetch_or(here, std::memory_order_relaxed);
  me.has_slice.store(false, std::memory_order_relaxed);
  if (unfinished.fetch_sub(1, std::memory_order_acq_rel) == caller_sleeps + 1) sem_post(&all_finished);
}

void *serve(void *argument) {
  Worker &me = *static_cast<Worker *>(argument);
  inside = true;
  for (std::uint32_t last = 0;;) {
    const Numbered called = next_job(me, last);
    work(called, static_cast<int>(&me - workers), [&](int i) { run_for_caller(me, i); });
  }
}

// Signals are for the program's own threads, but for those that a thread brings upon itself.
bool hire(Worker &worker) {
  sigset_t foreign, before;
  sigfillset(&foreign);
  for (const int own : {SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) sigdelset(&foreign, own);
  worker.sleeps.store(false);
  worker.is_guest.store(false);
  worker.kept_off = -1;
  worker.time_used = -1;
  sem_init(&worker.bell, 0, 0);
  pthread_sigmask(SIG_SETMASK, &foreign, &before);
  const bool done = pthread_create(&worker.thread, nullptr, serve, &worker) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (done) pthread_detach(worker.thread);
  return done;
}

// Keeps a worker off the caller's processor. A scheduler may leave both on one while others are idle: virtual machines
// were seen to do so for seconds.
void keep_off(Worker &worker, int processor) {
  if (worker.kept_off == processor) return;
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
  CPU_CLR(processor, &allowed);
  if (CPU_COUNT(&allowed) > 0) pthread_setaffinity_np(worker.thread, sizeof allowed, &allowed);
  worker.kept_off = processor;
  worker.is_guest.store(false, std::memory_order_relaxed);
}

// The workers of a job that has been announced.
void call(int threads) {
  const int processor = sched_getcpu();
  for (int k = 1; k <= hired && k < threads; ++k) {
    Worker &worker = workers[k];
    keep_off(worker, processor);
    if (worker.sleeps.load() && worker.sleeps.exchange(false)) sem_post(&worker.bell);
  }
  if (jobs_without_hiring > 0) --jobs_without_hiring;
  while (hired < threads - 1 && jobs_without_hiring == 0)
    if (hire(workers[hired + 1]))
      keep_off(workers[++hired], processor);
    else
      jobs_without_hiring = 100;
}

std::int64_t time_used_by(const Worker &worker) {
  clockid_t clock;
  timespec time;
  if (pthread_getcpuclockid(worker.thread, &clock) != 0 || clock_gettime(clock, &time) != 0) return -1;
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

// Workers that have a slice but have not run since the last look come to the processor that the caller leaves idle.
void lend_processor(int threads) {
  for (int k = 1; k <= hired && k < threads; ++k) {
    Worker &worker = workers[k];
    if (!worker.has_slice.load(std::memory_order_relaxed)) continue;
    const std::int64_t before = worker.time_used;
    worker.time_used = time_used_by(worker);
    if (worker.time_used != before || before < 0) continue;
    cpu_set_t here;
    CPU_ZERO(&here);
    CPU_SET(sched_getcpu(), &here);
    worker.kept_off = -1;
    worker.is_guest.store(true, std::memory_order_relaxed);
    pthread_setaffinity_np(worker.thread, sizeof here, &here);
  }
}

void wait_for_slices(int threads) {
  if (holds_soon([] { return unfinished.load(std::memory_order_acquire) == 0; }) ||
      unfinished.fetch_add(caller_sleeps, std::memory_order_acq_rel) == 0)
    return;
  lend_processor(threads);
  for (long pause = 100; !wait_for(all_finished, pause); pause = pause < 1000 ? 2 * pause : pause)
    lend_processor(threads);
  // What the semaphore has ordered, said in a way that every reader and tool sees.
  unfinished.load(std::memory_order_acquire);
}

// ---- Processes ----------------------------------------------------------------------------------------------------

// A child of fork has the calling thread alone, and the team may have been another one's.
void begin_without_workers() {
  sem_init(&all_finished, 0, 0);
  hired = jobs_without_hiring = 0;
  held.store(false);
}

[[gnu::constructor]] void start() {
  begin_without_workers();
  pthread_atfork(nullptr, nullptr, begin_without_workers);
}

void run_alone(int slices, void (*run)(const void *argument, int i), const void *argument) {
  const bool outer = inside;
  inside = true;
  for (int i = 0; i < slices; ++i) run(argument, i);
  inside = outer;
}

} // namespace

bool in_slice() {
  return inside;
}

void spread(int slices, int threads, void (*run)(const void *argument, int i), const void *argument) {
  if (threads > slices) threads = slices;
  if (threads > most_threads) threads = most_threads;
  if (threads <= 1 || inside || held.exchange(true)) return run_alone(slices, run, argument);

  const int saved = errno;
  job = {run, argument, slices, threads, control_here()};
  unfinished.store(slices, std::memory_order_relaxed);
  raised.store(0, std::memory_order_relaxed);
  const Numbered called(Numbered(announced.load(std::memory_order_relaxed)).job + 1, threads);
  for (int s = 0; s < threads; ++s)
    shares[s].left.store(Numbered(called.job, job.begin(s + 1) - job.begin(s)).word(),
                         std::memory_order_release);
  announced.store(called.word());
  call(threads);

  inside = true;
  work(called, 0, [](int i) {
    job.run(job.argument, i);
    unfinished.fetch_sub(1, std::memory_order_acq_rel);
  });
  inside = false;
  wait_for_slices(threads);
  if (const unsigned theirs = raised.load(std::memory_order_relaxed)) _mm_setcsr(_mm_getcsr() | theirs);
  errno = saved;
  held.store(false, std::memory_order_release);
}

} // namespace tnk::host
