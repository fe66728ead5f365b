// Positions as the integers of the index width wrap: the sizes that 32-bit callers hand over may exceed their range.
#pragma once

#include <type_traits>

namespace tnk::sparse {

template <class I> inline I wrapped_product(I a, I b) {
  using U = std::make_unsigned_t<I>;
  return static_cast<I>(static_cast<U>(a) * static_cast<U>(b));
}
template <class I> inline I wrapped_difference(I a, I b) {
  using U = std::make_unsigned_t<I>;
  return static_cast<I>(static_cast<U>(a) - static_cast<U>(b));
}

} // namespace tnk::sparse
