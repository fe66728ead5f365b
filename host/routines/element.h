// What the public routines ask of element types.
#pragma once

#include <type_traits>

namespace tnk::host {

template <class T> constexpr bool is_complex = std::is_class_v<T>;

} // namespace tnk::host
