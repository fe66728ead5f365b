// What a family says of its kernels so that they can be measured.
#pragma once

#include "bench/probe.h"

#include <tnk/types.h>

#include <functional>
#include <string>
#include <vector>

namespace tnk::bench {

// The arrays of one measurement, the same for every contender. n is the length of x and y, or the order of the
// matrices that lie in them. All start on a cache line; x and y are finite,
// of magnitude at most 1.5, with few bits, so that products with them and sums of these products are mostly
// exact.
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

// How near two right answers must be.
enum class Law {
  exact, // equal: indices, moved data, sums without a rounding
  close, // each element within some roundings
  sum    // of magnitudes: exact but for two roundings on elements -1, 0 and 1, which the check then uses
};

// Costs of one element, or of one step of a product.
struct Cost {
  double bytes; // read and written, each counted once
  double flops;
  Mix mix;
  Law law;
  int vector_bytes = 32; // width of the kernel's vectors, which its limit is measured with
  bool double_arithmetic = false;
};

// What rows over matrices do not take from the length of a vector.
struct Matrices {
  std::vector<tnk_int> orders;                  // that are measured, whatever lengths were asked for
  std::function<std::size_t(tnk_int n)> stored; // elements that x and y each must hold
  std::function<double(tnk_int n)> costs;       // how often Cost arises
};

struct Row {
  std::string name;  // "daxpy"; with the size "daxpy/1000"
  std::string group; // "axpy": measured by one process
  char element;      // of x and y: s, d, c or z
  Cost cost;
  Call ours, peer;
  Call judge = {}; // a plain loop, asked when the two differ; empty: ours is then wrong
  Matrices matrices = {};
  std::string compared_with = {}; // what the peer is, as in "1 thread"; empty: the BLAS library

  std::size_t elements(tnk_int n) const {
    return matrices.stored ? matrices.stored(n) : static_cast<std::size_t>(n);
  }
  double units(tnk_int n) const { return matrices.costs ? matrices.costs(n) : static_cast<double>(n); }
};

std::size_t element_bytes(char element);

// A call of f for Operands; body(f, n, one, operands) makes one call, n and the increment one being of type
// Int.
template <class Int, class Function, class Body> Call repeated(Function *f, Body body) {
  if (!f) return {};
  return [f, body](Operands &operands, long count) {
    const Int n = static_cast<Int>(operands.n), one = 1;
    for (; count > 0; --count) body(f, n, one, operands);
  };
}

// The families. Each appends its rows.
void add_blas_level1(std::vector<Row> &rows);
void add_sparse_vectors(std::vector<Row> &rows);
void add_products(std::vector<Row> &rows);
void add_sparse_matrices(std::vector<Row> &rows);

} // namespace tnk::bench
