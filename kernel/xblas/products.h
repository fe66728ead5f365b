// y := alpha A x + beta y for matrices of any storage, and y := alpha A x + beta B x. Made in loops_*.cpp.
#pragma once

#include "kernel/xblas/rows.h"

namespace tnk::xblas {

// A vector; its conjugate is meant where the flag is set.
template <class X> struct Vector {
  X *first; // its element 0, which is the last one in memory where the increment is negative
  tnk_int inc;
  bool conjugated = false;

  X *at(tnk_int k) const { return first + k * inc; }
};
template <class X> inline Vector<X> vector(X *x, tnk_int n, tnk_int inc) {
  return {first_element(x, n, inc), inc};
}

// The vector is x, or x + tail: two sums, which are joined at the end. y may be x where each block of rows reads only what
// later blocks write: upwards where rows begin at the diagonal, downwards where they end there.
template <Path P, class T, class A, class X>
void product(const Rows &matrix, T alpha, const A *a, const Vector<const X> &x, const Vector<const X> *tail,
             T beta, const Vector<T> &y, bool downwards = false);

// Matrices of one shape.
template <Path P, class T, class A, class X>
void sum_of_products(T alpha, const Rows &matrix_a, const A *a, T beta, const Rows &matrix_b, const A *b,
                     const Vector<const X> &x, const Vector<T> &y);

} // namespace tnk::xblas
