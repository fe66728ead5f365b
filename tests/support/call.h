// Calls of routines that take all their arguments by address.
#pragma once

#include <cstring>
#include <sstream>
#include <string>
#include <tnk/types.h>
#include <type_traits>
#include <utility>
#include <vector>

namespace tnk::test {

// A routine called with a list of addresses. Gives its result as a double, 0 where it has none.
template <auto routine, class Result, class... Arguments, std::size_t... i>
double by_addresses(Result (*)(Arguments...), void *const *a, std::index_sequence<i...>) {
  if constexpr (std::is_void_v<Result>) {
    routine(static_cast<Arguments>(a[i])...);
    return 0;
  } else {
    return static_cast<double>(routine(static_cast<Arguments>(a[i])...));
  }
}
template <class Result, class... Arguments> constexpr std::size_t count_of(Result (*)(Arguments...)) {
  return sizeof...(Arguments);
}
template <auto routine> double by_addresses(void *const *a) {
  return by_addresses<routine>(routine, a, std::make_index_sequence<count_of(routine)>());
}

// The argument lists of the vector routines.
constexpr char axpy_arguments[] = "n alpha x incx y incy", copy_arguments[] = "n x incx y incy",
               dotc_arguments[] = "result n x incx y incy", scal_arguments[] = "n alpha x incx";

// A good call of a vector routine with these arguments: 3 elements that are numbers in every type, apart in memory.
struct Call {
  explicit Call(const char *arguments) {
    unsigned char next = 0;
    for (auto *array : {x, y, scalar})
      for (std::size_t i = 0; i < (array == scalar ? sizeof scalar : sizeof x); ++i)
        array[i] = 0x38 + next++ % 9;
    std::istringstream words(arguments);
    for (std::string word; words >> word;) {
      names.push_back(word);
      addresses.push_back(word == "n"      ? &n
                          : word == "incx" ? &incx
                          : word == "incy" ? &incy
                          : word == "x"    ? x
                          : word == "y"    ? y
                                           : static_cast<void *>(scalar));
    }
  }
  tnk_int &integer(const std::string &name) { return name == "n" ? n : name == "incx" ? incx : incy; }
  bool memory_equals(const Call &other) const {
    return std::memcmp(x, other.x, sizeof x) == 0 && std::memcmp(y, other.y, sizeof y) == 0 &&
           std::memcmp(scalar, other.scalar, sizeof scalar) == 0;
  }

  std::vector<std::string> names;
  std::vector<void *> addresses;
  tnk_int n = 3, incx = 1, incy = -2;
  alignas(16) unsigned char x[80], y[80], scalar[16];
};

} // namespace tnk::test
