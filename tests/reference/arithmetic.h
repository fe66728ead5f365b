// Arithmetic of the four element types, each operation rounded once, for definitions that are to be met bit for bit.
#pragma once

#include <cmath>
#include <cstring>
#include <tnk/types.h>
#include <type_traits>

namespace tnk::reference {

template <class T> struct real_of { using type = T; };
template <> struct real_of<tnk_complex8> { using type = float; };
template <> struct real_of<tnk_complex16> { using type = double; };
template <class T> using Real = typename real_of<T>::type;
template <class T> constexpr bool is_pair = !std::is_floating_point_v<T>;

// A number with these parts, the second dropped where there is none.
template <class T> T number(Real<T> re, Real<T> im = 0) {
  if constexpr (is_pair<T>)
    return {re, im};
  else
    return re;
}

template <class C, class = decltype(C::re)> C operator+(C a, C b) {
  return {a.re + b.re, a.im + b.im};
}
template <class C, class = decltype(C::re)> C operator-(C a, C b) {
  return {a.re - b.re, a.im - b.im};
}
template <class C, class = decltype(C::re)> C operator*(C a, C b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class C> C operator*(decltype(C::re) a, C b) {
  return {a * b.re, a * b.im};
}
// The conjugate of a number with the imaginary part +0 is that number.
template <class T> T conj(T a) {
  if constexpr (is_pair<T>)
    return {a.re, 0 - a.im};
  else
    return a;
}

// The same bits, but any NaN for a NaN.
template <class T> bool same(T a, T b) {
  if constexpr (is_pair<T>)
    return same(a.re, b.re) && same(a.im, b.im);
  else
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace tnk::reference
