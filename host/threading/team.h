// The threads that products are spread over.
#pragma once

namespace tnk::host {

// How many threads a routine called here and now may use.
int usable_threads();

// Calls run(argument, i) for each i below count, each once, spread over that many threads or as many of them as can be
// had. Returns when all have returned.
void spread(int count, void (*run)(const void *argument, int i), const void *argument);

// The same for any function of an int.
template <class F> void spread(int count, const F &f) {
  spread(
      count, [](const void *argument, int i) { (*static_cast<const F *>(argument))(i); }, &f);
}

} // namespace tnk::host
