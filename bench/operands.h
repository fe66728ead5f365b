// Two vectors, or matrices that lie in them: what rows of the vector and matrix routines work on.
#pragma once

#include "bench/frame/probe.h"
#include "bench/frame/row.h"

#include <cstddef>

namespace tnk::bench {

// n is the length of x and y, or the order of the matrices. All start on a cache line; x and y are finite, of
// magnitude at most 1.5, with few bits, so that products with them and sums of these products are mostly exact.
struct Operands {
  tnk_int n = 0;
  void *x_data = nullptr, *y_data = nullptr;
  tnk_int *indx = nullptr; // a permutation of 1 ... n
  alignas(16) unsigned char value[16] = {};

  template <class T> T *x() const { return static_cast<T *>(x_data); }
  template <class T> T *y() const { return static_cast<T *>(y_data); }
  template <class T> T *result() { return reinterpret_cast<T *>(value); }
};

// Runs a routine `count` times. Empty when the routine is not there.
using Call = std::function<void(Operands &, long count)>;

// A call of f for Operands; body(f, n, one, operands) makes one call, n and the increment one being of type Int.
template <class Int, class Function, class Body> Call repeated(Function *f, Body body) {
  if (!f) return {};
  return [f, body](Operands &operands, long count) {
    const Int n = static_cast<Int>(operands.n), one = 1;
    for (; count > 0; --count) body(f, n, one, operands);
  };
}

// How near two right answers must be.
enum class Law {
  exact, // equal: indices, moved data, sums without a rounding
  close, // each element within some roundings
  sum    // of magnitudes: exact but for two roundings on elements -1, 0 and 1, which are then used to judge
};

struct Contest {
  char element = 'd';       // of x and y: s, d, c or z
  std::size_t elements = 0; // that x and y each hold
  double bytes = 0;         // that a call reads and writes, each counted once; 0: not what limits it
  double flops = 0;
  Mix mix = Mix::read;
  Law law = Law::exact;
  int vector_bytes = 32; // width of the kernel's vectors, which its limits are measured with
  bool double_arithmetic = false;
};

// The case with `bytes` or `flops` as its work, by the unit. The operands are the same memory for every case.
Case on_operands(const Contest &contest, const std::string &unit, tnk_int n, const Call &ours,
                 const Call &peer, const Call &reference = {});

} // namespace tnk::bench
