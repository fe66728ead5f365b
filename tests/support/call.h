// Calls of routines that take all their arguments by address.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
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

// The argument lists of the public routines.
constexpr char axpy_arguments[] = "n alpha x incx y incy", copy_arguments[] = "n x incx y incy",
               dotc_arguments[] = "result n x incx y incy", scal_arguments[] = "n alpha x incx",
               gemm_arguments[] = "transa transb m n k alpha a lda b ldb beta c ldc";

// A good call of a routine with these arguments, whatever the letters. What is no letter and no integer is an array:
// of bytes that make numbers in every type, and that no routine would write by accident.
struct Call {
  explicit Call(const char *arguments) {
    for (auto &array : arrays)
      for (std::size_t i = 0; i < sizeof array; ++i) array[i] = static_cast<unsigned char>(0x38 + i % 9);
    std::istringstream words(arguments);
    std::size_t used = 0;
    for (std::string word; words >> word;) {
      const auto letter = letters.find(word);
      const auto integer = integers.find(word);
      names.push_back(word);
      addresses.push_back(letter != letters.end()     ? &letter->second
                          : integer != integers.end() ? &integer->second
                                                      : static_cast<void *>(arrays[used++]));
    }
  }
  Call(const Call &) = delete;
  Call &operator=(const Call &) = delete;
  bool has(const std::string &name) const { return std::count(names.begin(), names.end(), name) != 0; }
  std::size_t position(const std::string &name) const {
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
  }
  unsigned char *array(const std::string &name) {
    return static_cast<unsigned char *>(addresses[position(name)]);
  }
  bool memory_equals(const Call &other) const {
    return std::memcmp(arrays, other.arrays, sizeof arrays) == 0;
  }

  std::vector<std::string> names;
  std::vector<void *> addresses;
  std::map<std::string, char> letters{{"transa", 'N'}, {"transb", 'N'}};
  std::map<std::string, tnk_int> integers{{"m", 3},     {"n", 4},   {"k", 5},   {"incx", 1},
                                          {"incy", -2}, {"lda", 5}, {"ldb", 5}, {"ldc", 3}};
  alignas(32) unsigned char arrays[5][512];
};

} // namespace tnk::test
