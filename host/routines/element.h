// What the public routines ask of element types.
#pragma once

#include <tnk/types.h>
#include <type_traits>

namespace tnk::host {

template <class T> constexpr bool is_complex = std::is_class_v<T>;

template <class T> struct real_part { using type = T; };
template <> struct real_part<tnk_complex8> { using type = float; };
template <> struct real_part<tnk_complex16> { using type = double; };
template <class T> using real_of = typename real_part<T>::type;

// A real number as an element.
template <class T> constexpr T from_real(real_of<T> x) {
  if constexpr (is_complex<T>)
    return {x, 0};
  else
    return x;
}

template <class T> void conjugate([[maybe_unused]] T *x, [[maybe_unused]] tnk_int count) {
  if constexpr (is_complex<T>)
    for (tnk_int i = 0; i < count; ++i) x[i].im = 0 - x[i].im;
}

template <class T> bool is_value(const T &a, double value) {
  if constexpr (is_complex<T>)
    return a.re == value && a.im == 0;
  else
    return a == value;
}

} // namespace tnk::host
