// How routines of matrix and vector are cut for several threads.
#pragma once

#include "host/threading/cut.h"
#include "host/threading/team.h"

#include <algorithm>
#include <cmath>

namespace tnk::host {

// Bytes of A that make it worth while to use one more thread. Two threads against one, square matrices of doubles, awake,
// on a virtual machine of two cores: 1.5 times as fast from 1 MB to 2 MB, 1.4 at 4 MB, 1.0 to 1.3 at 8 MB, 1.3 to 1.5 at
// 200 MB, where the memory is what limits.
constexpr tnk_int bytes_a_thread = 1 << 19;

// How many threads so much of a matrix is worth, in threads and a fraction.
inline double threads_for_bytes(double bytes) {
  return bytes / static_cast<double>(bytes_a_thread);
}
// As many of them as there are.
inline int threads_to_use(double bytes) {
  const double worth_while = threads_for_bytes(bytes);
  if (worth_while < 2) return 1;
  return static_cast<int>(std::min(static_cast<double>(usable_threads()), worth_while));
}

// The columns of a triangle in slices of about the same number of elements. Each begins at a multiple of eight, so that
// groups of columns are the same for any number of slices.
struct TriangleSlices {
  bool upper;
  tnk_int n;
  int count;

  tnk_int begin(int i) const {
    if (i == count) return n;
    const double before = static_cast<double>(i) / count,
                 share = upper ? std::sqrt(before) : 1 - std::sqrt(1 - before);
    return static_cast<tnk_int>(share * static_cast<double>(n)) / 8 * 8;
  }
  // The rows that its columns have elements in.
  tnk_int top(int i) const { return upper ? 0 : begin(i); }
  tnk_int bottom(int i) const { return upper ? begin(i + 1) : n; }
};
template <class S> double bytes_of_triangle(const S &a) {
  return static_cast<double>(a.n) * static_cast<double>(a.n) / 2 * sizeof *a.a;
}

// Where columns add to elements of the result that other columns add to as well, slices have sums of their own, which are
// added up in the end. There are as many as the size asks for, whatever the number of threads, so that the bits stay; more
// than eight would cost more memory and additions than threads could make up for.
constexpr double bytes_a_slice = 1 << 20;
constexpr double most_slices = 8;
template <class S> int number_of_slices(const S &a) {
  return S::banded ? 1 : static_cast<int>(std::clamp(bytes_of_triangle(a) / bytes_a_slice, 1., most_slices));
}

} // namespace tnk::host
