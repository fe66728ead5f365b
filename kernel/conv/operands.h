// Operands of one to seven dimensions, and dense copies of them.
#pragma once

#include "kernel/frame/element.h"
#include <tnk/conv_kernels.h>
#include <tnk/services.h>

namespace tnk::conv {

using Vector = int64_t[TNK_CONV_MOST_DIMS];

// A number in the arithmetic's type A.
template <class A, class T> inline A widened(T x) {
  if constexpr (std::is_same_v<A, T>)
    return x;
  else if constexpr (is_complex<T>)
    return {x.re, x.im};
  else
    return x;
}
template <class T, class A> inline T narrowed(A x) {
  if constexpr (std::is_same_v<A, T>)
    return x;
  else if constexpr (is_complex<T>)
    return {static_cast<float>(x.re), static_cast<float>(x.im)};
  else
    return static_cast<float>(x);
}

// Scratch memory of one call, aligned to 128 bytes.
template <class T> class Scratch {
public:
  Scratch() = default;
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  ~Scratch() {
    if (block_) tnk_serv_deallocate(block_);
  }
  // Null if there is none; at most once.
  T *take(int64_t count) {
    block_ = tnk_serv_allocate(count * static_cast<int64_t>(sizeof(T)), 128);
    return static_cast<T *>(block_);
  }

private:
  void *block_ = nullptr;
};

// An array as a kernel meets it. Element (i, j, ...) stands at base + i * stride[0] + j * stride[1] + ..., base being that
// of logical element 0: with a negative stride at the far end of what the caller gave the lowest address of.
template <class T> struct Array {
  T *base;
  int32_t dims;
  Vector shape = {}, stride = {};

  Array(T *lowest, int32_t dimensions, const int32_t *lengths, const int32_t *strides)
      : base(lowest), dims(dimensions) {
    for (int32_t k = 0; k < dims; ++k) {
      shape[k] = lengths[k], stride[k] = strides[k];
      base = first_element(base, shape[k], stride[k]);
    }
  }
  // The array of these lengths packed at `memory`.
  template <class Other> Array(T *memory, const Array<Other> &other) : base(memory), dims(other.dims) {
    int64_t count = 1;
    for (int32_t k = 0; k < dims; ++k) shape[k] = other.shape[k], stride[k] = count, count *= shape[k];
  }
  int64_t count() const {
    int64_t product = 1;
    for (int32_t k = 0; k < dims; ++k) product *= shape[k];
    return product;
  }
  // Whether the strides from dimension `from` on are those of an array without gaps.
  bool is_dense(int32_t from) const {
    int64_t dense = 1;
    for (int32_t k = 0; k < dims; ++k) {
      if (k >= from && stride[k] != dense) return false;
      dense *= shape[k];
    }
    return true;
  }
};

// The next position of dimensions `from` to dims - 1 of a counter that runs from `first` to `last`, both included, the
// lowest of them fastest; false after the last one.
inline bool next(Vector &counter, int32_t from, int32_t dims, const Vector &first, const Vector &last) {
  for (int32_t k = from; k < dims; ++k) {
    if (counter[k] < last[k]) {
      ++counter[k];
      return true;
    }
    counter[k] = first[k];
  }
  return false;
}

// src without gaps, in the type of dst; reverse 1: with the order of all its dimensions reversed.
template <class A, class T> void pack(A *dst, const Array<const T> &src, int32_t reverse) {
  Vector counter = {}, last = {};
  for (int32_t k = 0; k < src.dims; ++k) last[k] = src.shape[k] - 1;
  // Reversing every dimension reverses the whole.
  const int64_t length = src.shape[0], step = reverse ? -1 : 1;
  if (reverse) dst += src.count() - 1;
  do {
    const T *from = src.base;
    for (int32_t k = 1; k < src.dims; ++k) from += counter[k] * src.stride[k];
    for (int64_t i = 0; i < length; ++i) dst[i * step] = widened<A>(get(from + i * src.stride[0]));
    dst += length * step;
  } while (next(counter, 1, src.dims, Vector{}, last));
}

// The other way: elements without gaps to where they belong.
template <class T> void unpack(const Array<T> &to, const T *from) {
  Vector counter = {}, last = {};
  for (int32_t k = 0; k < to.dims; ++k) last[k] = to.shape[k] - 1;
  do {
    T *row = to.base;
    for (int32_t k = 1; k < to.dims; ++k) row += counter[k] * to.stride[k];
    for (int64_t i = 0; i < to.shape[0]; ++i) put(row + i * to.stride[0], *from++);
  } while (next(counter, 1, to.dims, Vector{}, last));
}

} // namespace tnk::conv
