// Elements in registers: one, side by side in 128 or 256 bits, gathered by column numbers, and added up.
//
// Column numbers are used as they are stored. Vectors are handed over shifted, so that element j of them belongs to
// column j: so one body serves both index bases.
#pragma once

#include "kernel/frame/mask.h"

namespace tnk::sparse {

// ---- One element -----------------------------------------------------------------------------------------------

// An element as it is computed with: a number, or for complex types its parts in the low lanes of a 128-bit register,
// the lanes above them being of no account.
template <class T> struct register_form { using type = T; };
template <> struct register_form<tnk_complex8> { using type = f32x4; };
template <> struct register_form<tnk_complex16> { using type = f64x2; };
template <class T> using in_lanes = typename register_form<T>::type;

template <class T> inline in_lanes<T> fetch(const T *p) {
  if constexpr (is_complex<T>)
    return load_pair(reinterpret_cast<const real_of<T> *>(p));
  else
    return get(p);
}
template <class T> inline void deposit(T *p, in_lanes<T> v) {
  if constexpr (is_complex<T>)
    store_pair(reinterpret_cast<real_of<T> *>(p), v);
  else
    put(p, v);
}
template <class T> inline void add_to(T *target, in_lanes<T> v) {
  deposit(target, fetch(target) + v);
}

// The elements of v counted from element `origin`, which may lie outside of it.
template <class T, class I> inline T *counted_from(T *v, I origin) {
  return reinterpret_cast<T *>(address(v) - sizeof(T) * static_cast<std::uintptr_t>(origin));
}

// ---- 128 bits of elements --------------------------------------------------------------------------------------

template <class T> inline half_of<T> every_lane(in_lanes<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    const double pair = reinterpret_cast<f64x2>(v)[0];
    return reinterpret_cast<f32x4>(f64x2{pair, pair});
  } else if constexpr (is_complex<T>) {
    return v;
  } else {
    return splat<half_of<T>>(v);
  }
}

template <class T, class I> inline half_of<T> gather(const T *x, const I *columns) {
  if constexpr (std::is_same_v<T, float>)
    return f32x4{get(x + get(columns)), get(x + get(columns + 1)), get(x + get(columns + 2)),
                 get(x + get(columns + 3))};
  else if constexpr (std::is_same_v<T, tnk_complex16>)
    return fetch(x + get(columns));
  else if constexpr (std::is_same_v<T, double>)
    return f64x2{get(x + get(columns)), get(x + get(columns + 1))};
  else // a pair of floats moves as one number
    return reinterpret_cast<half_of<T>>(
        f64x2{loadu<double>(x + get(columns)), loadu<double>(x + get(columns + 1))});
}

// The k-th half vector of four elements, where the mask of the four has it.
template <class T> inline half_of<T> masked_part(half_of<T> v, i32x4 mask, int k) {
  if constexpr (sizeof(T) == 4)
    return masked(v, mask);
  else if constexpr (sizeof(T) == 8)
    return masked(v, k == 0 ? widen_low_masks(mask) : widen_high_masks(mask));
  else
    return masked(v, splat<i32x4>(mask[k]));
}

// ---- 256 bits of elements --------------------------------------------------------------------------------------

template <class T> inline vec_of<T> in_every_element(in_lanes<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    const double pair = reinterpret_cast<f64x2>(v)[0];
    return reinterpret_cast<f32x8>(f64x4{pair, pair, pair, pair});
  } else if constexpr (is_complex<T>) {
    return f64x4{v[0], v[1], v[0], v[1]};
  } else {
    return splat<vec_of<T>>(v);
  }
}

template <class T, class I> inline vec_of<T> gather_vector(const T *x, const I *columns) {
  return joined(gather(x, columns), gather(x, columns + per_half<T>));
}

// ---- Sums of elements ------------------------------------------------------------------------------------------

// The elements of a half vector added to a sum, one after the other.
template <class T> inline void add_in_order(in_lanes<T> &sum, half_of<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    sum += v;
    sum += shifted_down<2>(v, v);
  } else if constexpr (is_complex<T>) {
    sum += v;
  } else {
    for (int k = 0; k < per_half<T>; ++k) sum += v[k];
  }
}
// The sum of the elements of a half vector.
template <class T> inline in_lanes<T> sum_of(half_of<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>)
    return v + shifted_down<2>(v, v);
  else if constexpr (std::is_same_v<T, tnk_complex16>)
    return v;
  else
    return hsum(v);
}
// The sum of the elements of a vector.
template <class T> inline in_lanes<T> sum_of_vector(vec_of<T> v) {
  return sum_of<T>(low_half(v) + high_half(v));
}

} // namespace tnk::sparse
