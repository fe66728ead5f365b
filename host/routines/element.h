// What the public routines ask of element types.
#pragma once

#include <type_traits>

namespace tnk::host {

template <class T> constexpr bool is_complex = std::is_class_v<T>;

template <class T> bool is_value(const T &a, double value) {
  if constexpr (is_complex<T>)
    return a.re == value && a.im == 0;
  else
    return a == value;
}

} // namespace tnk::host
