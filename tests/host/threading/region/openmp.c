/* A program's own OpenMP: what calls the library from inside a parallel region. */
#include <omp.h>

void call_in_region(int threads, void (*call)(void)) {
#pragma omp parallel num_threads(threads)
  call();
}

void set_openmp_threads(int threads) {
  omp_set_num_threads(threads);
}
