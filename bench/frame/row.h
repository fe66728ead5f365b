// What a family says of a routine so that it can be measured. docs/HACKING.md shows how to add one.
#pragma once

#include "bench/frame/peer.h"

#include <tnk/types.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace tnk::bench {

// Runs a routine `count` times on the operands of a case.
using Run = std::function<void(long count)>;

// How far a number may lie from the right one; the three add up. A NaN is never right.
struct Tolerance {
  double absolute = 0;
  double relative = 0;   // to the right number
  double of_largest = 0; // relative to the largest right number of the same result
};
constexpr Tolerance equal = {};

// Where every contender leaves a result.
struct Result {
  enum Kind { float32, float64, bytes } kind;
  const void *data;
  std::size_t count; // of numbers, two for a complex one; or of bytes, which are right when equal
  Tolerance tolerance;
};

// T is float, double, a complex structure of these, or anything whose bytes are compared.
template <class T> Result result(const T *data, std::size_t count, const Tolerance &tolerance = equal) {
  using Plain = std::remove_cv_t<T>;
  if constexpr (std::is_same_v<Plain, float>) return {Result::float32, data, count, tolerance};
  if constexpr (std::is_same_v<Plain, double>) return {Result::float64, data, count, tolerance};
  if constexpr (std::is_same_v<Plain, tnk_complex8>) return {Result::float32, data, 2 * count, tolerance};
  if constexpr (std::is_same_v<Plain, tnk_complex16>) return {Result::float64, data, 2 * count, tolerance};
  return {Result::bytes, data, count * sizeof(T), equal};
}

// What no routine can be faster than: one call takes at least as long as `times` runs of a probe.
struct Limit {
  std::string name; // "bytes", "flops"
  Run probe;
  double times;
};

// A row at one size, ready to run. The callbacks own what they work on.
struct Case {
  std::string skip; // why it cannot be measured on this machine, as for want of memory; "" when it can
  Run ours;         // empty: the library has no such routine, which is an error
  Run peer;         // empty: the peer is not there
  double work = 0;  // of one call, in units of the row
  std::vector<Limit> limits;

  // Makes the operands what they were at first. Called before every run that is judged.
  std::function<void()> reset;
  // Makes them what they are to be while the clock runs, when that is something else.
  std::function<void()> reset_for_timing;
  // For routines that overwrite what they read, such as a factorization: called before each single call, untimed.
  std::function<void()> before_each;

  // Judged either by what is left behind, which is compared with the peer's, ...
  std::vector<Result> results;
  // ... and, when the two differ or there is no peer, with that of a plain way to it,
  Run reference;
  // or by how wrong it is on its own, as by a residual: at most `allowed`. This is used when it is there.
  std::function<double()> error;
  double allowed = 0;
};

struct Row {
  std::string group;          // "level1/axpy"; rows of one group stand together and share a process
  std::string name;           // "daxpy"
  std::vector<tnk_int> sizes; // that are measured unless others are asked for
  std::string unit;           // of Case::work: "flop", "B", "call", "point"
  std::string picture;        // "vectors": the picture bench_vectors.svg holds it
  Library *library = nullptr; // that the peer's routine is looked up in, or
  std::string peer = {};      // what else it is: "Eigen", "plain loop", "1 thread"
  std::function<Case(tnk_int size)> prepare;
  bool curve = false;                // whether bench_vectors_rates.svg shows the rates over the sizes
  int threads = 1, peer_threads = 1; // of this library, while ours runs and while the peer does
  tnk_int quick = 1000000;           // largest size of a quick run

  std::string full_name(tnk_int size) const { return group + "/" + name + "/" + std::to_string(size); }
  std::string peer_name() const { return library ? library->name() : peer; }
};

} // namespace tnk::bench
