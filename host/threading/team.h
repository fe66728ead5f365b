// The threads that large jobs are spread over.
//
//   const int threads = operations < worth_while ? 1 : usable_threads();
//   ...
//   spread(slices, threads, [&](int i) { ... slice i of the job ... });
//
// Slices are parts of the job and not of the team: which thread runs one, and when, is left open and must not show in
// the result. Memory of its own belongs to a slice. Where cutting finer costs nothing, there are `slices_a_thread` of
// them, so that a thread that is held up leaves work to the others; where their number moves bits, or each repeats some
// work, as many as threads.
#pragma once

namespace tnk::host {

inline constexpr int slices_a_thread = 4;

// How many threads a job that is begun here and now may use: 1 within a slice of another one. It asks the operating
// system, so the size of the job comes first.
int usable_threads();

// Calls run(argument, i) for each i below `slices`, each once, on this thread and up to `threads` - 1 others, and
// returns when all calls have returned. Every slice meets the floating-point control of this thread, and the exceptions
// that slices raise are raised here. While another thread's job has the team, this thread does all by itself.
void spread(int slices, int threads, void (*run)(const void *argument, int i), const void *argument);

// The same for any function of an int.
template <class F> void spread(int slices, int threads, const F &f) {
  spread(
      slices, threads, [](const void *argument, int i) { (*static_cast<const F *>(argument))(i); }, &f);
}

// Whether this thread is running a slice.
bool in_slice();

} // namespace tnk::host
