// Lines of numbers, and transforms of one dimension along them.
//
// A kernel takes numbers that stand side by side. Lines whose numbers do not are copied into rows of a buffer, eight lines
// at a time: where lines stand side by side, as the columns of a matrix do, eight of them fill whole lines of the cache.
#pragma once

#include "kernel/dft/node.h"
#include "kernel/dft/small/many.h"
#include "kernel/frame/transpose.h"
#include "kernel/frame/unroll.h"

namespace tnk::dft {

// ---- Where numbers stand ------------------------------------------------------------------------------------------
// All in bytes, since the parts of a packed spectrum need not stand at multiples of a complex number.

struct Walk {
  tnk_int stride;   // from a number of a line to the next one
  tnk_int distance; // from a line to the next one
};

// A dimension, or a batch, on the side that is read and on the one that is written.
struct Loop {
  tnk_int length, in, out;
};

// Calls body(in, out) with the offsets of all indices of `count` loops, until one call returns a failure.
template <class Body> inline tnk_int for_each(const Loop *loops, int count, const Body &body) {
  tnk_int index[DftiMaxDimension + 1] = {}, in = 0, out = 0;
  for (;;) {
    if (const tnk_int status = body(in, out)) return status;
    for (int d = 0;; ++d) {
      if (d == count) return DftiNoError;
      in += loops[d].in, out += loops[d].out;
      if (++index[d] < loops[d].length) break;
      in -= loops[d].length * loops[d].in, out -= loops[d].length * loops[d].out;
      index[d] = 0;
    }
  }
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

inline constexpr int rows_at_once = 8;

// A buffer of rows for the length of a call. Rows are an odd number of cache lines apart: at powers of two all eight would
// want the same places of the cache.
class Rows {
public:
  Rows(tnk_int bytes, tnk_int count) : Rows(Pitch{((bytes + 63) / 64 | 1) * 64}, count) {}
  // Rows at that distance, whole lines of the cache.
  static Rows apart(tnk_int pitch, tnk_int count) { return Rows(Pitch{pitch}, count); }
  Rows(const Rows &) = delete;
  Rows &operator=(const Rows &) = delete;
  ~Rows() {
    if (base_ != here_) tnk_serv_deallocate(base_);
  }

  bool missing() const { return !base_; }
  tnk_int pitch() const { return pitch_; }
  char *operator[](tnk_int i) const { return base_ + i * pitch_; }

private:
  struct Pitch {
    tnk_int bytes;
  };
  Rows(Pitch pitch, tnk_int count) : pitch_(pitch.bytes) {
    const tnk_int bytes = pitch_ * std::min<tnk_int>(rows_at_once, count);
    base_ = bytes <= tnk_int{sizeof here_} ? here_ : static_cast<char *>(tnk_serv_allocate(bytes, granule()));
  }

  tnk_int pitch_;
  char *base_;
  alignas(64) char here_[4096]; // for short lines: to take memory would take as long as their transforms
};

// ---- Copies between lines and rows ------------------------------------------------------------------------------------

template <class T> inline const T *at(const char *p) {
  return reinterpret_cast<const T *>(p);
}
template <class T> inline T *at(char *p) {
  return reinterpret_cast<T *>(p);
}

// A square of elements in registers, a row each. Elements are only moved, so it is their size that counts.
template <class T> struct Square { // of 8 bytes
  using vector = f64x4;
  static constexpr int size = 4;
  static void turn(f64x4 (&r)[4]) { transpose(r[0], r[1], r[2], r[3]); }
};
template <> struct Square<float> {
  using vector = f32x4;
  static constexpr int size = 4;
  static void turn(f32x4 (&r)[4]) { transpose(r[0], r[1], r[2], r[3]); }
};
template <> struct Square<tnk_complex16> {
  using vector = f64x4;
  static constexpr int size = 2;
  static void turn(f64x4 (&r)[2]) {
    const f64x4 low = low_halves(r[0], r[1]);
    r[1] = high_halves(r[0], r[1]), r[0] = low;
  }
};

// Eight lines that stand side by side.
template <class T> void gather_eight(const char *from, tnk_int stride, tnk_int length, const Rows &rows) {
  using V = typename Square<T>::vector;
  constexpr int size = Square<T>::size;
  char *const row = rows[0];
  const tnk_int pitch = rows.pitch();
  tnk_int i = 0;
  for (; i + size <= length; i += size, from += size * stride)
    unrolled<rows_at_once / size>([&](auto g) TNK_INLINED {
      V r[size];
      unrolled<size>([&](auto k) TNK_INLINED { r[k] = loadu<V>(from + k * stride + g * sizeof(V)); });
      Square<T>::turn(r);
      unrolled<size>([&](auto k) TNK_INLINED { store(at<T>(row + (g * size + k) * pitch) + i, r[k]); });
    });
  for (; i < length; ++i, from += stride)
    for (int l = 0; l < rows_at_once; ++l) at<T>(row + l * pitch)[i] = get(at<T>(from) + l);
}
template <class T> void scatter_eight(const Rows &rows, char *to, tnk_int stride, tnk_int length) {
  using V = typename Square<T>::vector;
  constexpr int size = Square<T>::size;
  const char *const row = rows[0];
  const tnk_int pitch = rows.pitch();
  tnk_int i = 0;
  for (; i + size <= length; i += size, to += size * stride)
    unrolled<rows_at_once / size>([&](auto g) TNK_INLINED {
      V r[size];
      unrolled<size>([&](auto k) TNK_INLINED { r[k] = load<V>(at<T>(row + (g * size + k) * pitch) + i); });
      Square<T>::turn(r);
      unrolled<size>([&](auto k) TNK_INLINED { storeu(to + k * stride + g * sizeof(V), r[k]); });
    });
  for (; i < length; ++i, to += stride)
    for (int l = 0; l < rows_at_once; ++l) put(at<T>(to) + l, at<T>(row + l * pitch)[i]);
}

template <class T> inline void gather(const char *from, tnk_int stride, tnk_int length, T *row) {
  for (tnk_int i = 0; i < length; ++i) row[i] = get(at<T>(from + i * stride));
}
template <class T> inline void scatter(const T *row, char *to, tnk_int stride, tnk_int length) {
  for (tnk_int i = 0; i < length; ++i) put(at<T>(to + i * stride), row[i]);
}

// Up to eight lines.
template <class T>
void gather_lines(const char *from, Walk walk, tnk_int length, tnk_int count, const Rows &rows) {
  if (count == rows_at_once && walk.distance == sizeof(T))
    return gather_eight<T>(from, walk.stride, length, rows);
  for (tnk_int l = 0; l < count; ++l) gather(from + l * walk.distance, walk.stride, length, at<T>(rows[l]));
}
template <class T> void scatter_lines(const Rows &rows, char *to, Walk walk, tnk_int length, tnk_int count) {
  if (count == rows_at_once && walk.distance == sizeof(T))
    return scatter_eight<T>(rows, to, walk.stride, length);
  for (tnk_int l = 0; l < count; ++l) scatter(at<T>(rows[l]), to + l * walk.distance, walk.stride, length);
}

// ---- Transforms along lines -------------------------------------------------------------------------------------------

// The transform of one dimension, with the node that the kernel belongs to.
struct Step {
  DftiKernel *kernel;
  DftiNode *node;
  void *work;
  tnk_int operator()(char *source, char *destination) const {
    return kernel(source, destination, node, work);
  }
};

// Numbers of one line on one side.
struct Side {
  char *first;
  Walk walk;
  tnk_int length;
};

// `count` lines of In to as many lines of Out, which are the same ones or do not overlap. The first failure ends it.
template <class In, class Out>
tnk_int along_lines(const Step &step, const Side &from, const Side &to, tnk_int count, const Rows *rows) {
  const bool dense_in = from.walk.stride == sizeof(In), dense_out = to.walk.stride == sizeof(Out);
  if constexpr (std::is_same_v<In, tnk_complex16> && std::is_same_v<Out, tnk_complex16>) {
    const bool beside = from.walk.distance == sizeof(In) && to.walk.distance == sizeof(Out);
    if (Many *const many = dense_in && dense_out ? rows_of(step.kernel, from.length) : nullptr) {
      many(from.first, from.walk.distance, to.first, to.walk.distance, count, step.node);
      return DftiNoError;
    }
    if (Many *const many =
            beside ? columns_of(step.kernel, from.length, from.walk.stride, to.walk.stride) : nullptr) {
      many(from.first, from.walk.stride, to.first, to.walk.stride, count, step.node);
      return DftiNoError;
    }
  }
  for (tnk_int first = 0; first < count; first += rows_at_once) {
    const tnk_int lines = std::min<tnk_int>(rows_at_once, count - first);
    char *const source = from.first + first * from.walk.distance;
    char *const destination = to.first + first * to.walk.distance;
    if (!dense_in) gather_lines<In>(source, from.walk, from.length, lines, *rows);
    for (tnk_int l = 0; l < lines; ++l)
      if (const tnk_int status = step(dense_in ? source + l * from.walk.distance : (*rows)[l],
                                      dense_out ? destination + l * to.walk.distance : (*rows)[l]))
        return status;
    if (!dense_out) scatter_lines<Out>(*rows, destination, to.walk, to.length, lines);
  }
  return DftiNoError;
}
template <class T>
tnk_int along_lines(const Step &step, char *first, Walk walk, tnk_int length, tnk_int count,
                    const Rows *rows) {
  const Side side{first, walk, length};
  return along_lines<T, T>(step, side, side, count, rows);
}

// ---- By precision -----------------------------------------------------------------------------------------------------

template <class R, class Node> inline auto &kernel_pair(Node *node) {
  if constexpr (sizeof(R) == 4)
    return node->kernels.single_pair;
  else
    return node->kernels.double_pair;
}
template <class R, bool Inverse> inline DftiKernel *kernel_of(const DftiNode *node) {
  const DftiKernelPair &pair = kernel_pair<R>(node);
  return Inverse ? pair.inverse : pair.forward;
}

} // namespace tnk::dft
