// Checks of the arguments of a public routine, in two stages. Nearly every call is good and nothing special: a routine
// whose kernel may be done in nanoseconds looks for that first, by a few plain questions about all of its arguments, and
// goes on to the kernel. What the look did not pass, and every call of other routines, is checked argument by argument.
#pragma once

#include <cstdint>
#include <tnk/types.h>

#include "host/service/errors.h"
#include "host/service/text.h"

namespace tnk::host {

// The lower half of the addresses that a program gets from Linux without asking for a place: with five levels of page
// tables it hands out more only near an address that a program names. Nothing longer can be an array.
constexpr tnk_int memory_bytes = tnk_int{1} << 47;
template <class T> constexpr tnk_int elements_in_memory = memory_bytes / static_cast<tnk_int>(sizeof(T));

// ---- The first look ------------------------------------------------------------------------------------------

template <class... T> bool all_given(const T *...address) {
  return ((address != nullptr) && ...);
}

// From 1 to 2^20: products of two such numbers are far from every limit.
inline bool is_usual(tnk_int size) {
  return static_cast<std::uint64_t>(size) - 1 < 1 << 20;
}

// Two vectors with elements, side by side in memory. (An increment of 0 beside one of 1 passes as well, and may.)
inline bool are_usual(const tnk_int *n, const tnk_int *incx, const tnk_int *incy) {
  return is_usual(*n) && (*incx | *incy) == 1;
}

// ---- One argument at a time -------------------------------------------------------------------------------------
// A check that fails reports the argument and gives false, so that a routine chains its checks with && in the order of
// its argument list, and only the first bad argument is reported. Positions count from 1.

class Check {
public:
  explicit Check(const char *routine) : routine_(routine) {}

  bool address(int position, const char *name, const void *value) const {
    if (__builtin_expect(value != nullptr, 1)) return true;
    return refuse(position, name, "a null address", "the address of a value");
  }

  // A dimension: 0 or more.
  bool dimension(int position, const char *name, const tnk_int *value) const {
    if (!address(position, name, value)) return false;
    return __builtin_expect(*value >= 0, 1) || refuse_number(position, name, *value, "0 or more");
  }

  // The length of a vector of T: 0 or more, and that many elements must fit into memory.
  template <class T> bool length(int position, const char *name, const tnk_int *value) const {
    if (!dimension(position, name, value)) return false;
    return __builtin_expect(*value <= elements_in_memory<T>, 1) ||
           refuse_range(position, name, *value, 0, elements_in_memory<T>);
  }

  // A vector of n > 0 elements at `position` and its increment at the next one.
  template <class T>
  bool vector(int position, const char *name, const T *first, const char *increment_name,
              const tnk_int *increment, tnk_int n) const {
    if (!address(position, name, first) || !address(position + 1, increment_name, increment)) return false;
    // (n - 1) |inc| + 1 elements lie between the vector's ends, both included.
    constexpr tnk_int longest = elements_in_memory<T> - 1;
    const tnk_int inc = *increment;
    tnk_int span;
    if (!__builtin_mul_overflow(n - 1, inc, &span) && span >= -longest && span <= longest) return true;
    const tnk_int limit = longest / (n - 1);
    return refuse_range(position + 1, increment_name, inc, -limit, limit);
  }

  // An option letter, in either case; `letters` are those allowed, upper case.
  bool option(int position, const char *name, const char *value, const char *letters) const {
    if (!address(position, name, value)) return false;
    const char upper = *value >= 'a' && *value <= 'z' ? static_cast<char>(*value - 'a' + 'A') : *value;
    for (const char *letter = letters; *letter; ++letter)
      if (*letter == upper) return true;
    return refuse_letter(position, name, *value, letters);
  }

  // A number that `good` speaks for.
  bool number(int position, const char *name, tnk_int value, bool good, const char *expected) const {
    return __builtin_expect(good, 1) || refuse_number(position, name, value, expected);
  }
  // An array that `good` speaks for; else `found` says where it lies.
  bool place(int position, const char *name, bool good, const char *found, const char *expected) const {
    return __builtin_expect(good, 1) || refuse(position, name, found, expected);
  }
  bool range(int position, const char *name, tnk_int value, tnk_int low, tnk_int high) const {
    return __builtin_expect(value >= low && value <= high, 1) ||
           refuse_range(position, name, value, low, high);
  }
  // Element `index` of an array of indices.
  bool element(int position, const char *array, tnk_int index, tnk_int value, tnk_int low,
               tnk_int high) const {
    if (__builtin_expect(value >= low && value <= high, 1)) return true;
    Text name;
    TextWriter(name, sizeof name).add(array).add("[").add(index).add("]");
    if (low > high) return refuse_number(position, name, value, "no entry in its row");
    return refuse_range(position, name, value, low, high);
  }

  // The leading dimension of a matrix stored by columns of `rows` elements.
  bool leading_dimension(int position, const char *name, const tnk_int *value, tnk_int rows) const {
    if (!address(position, name, value)) return false;
    const tnk_int least = rows > 1 ? rows : 1;
    return __builtin_expect(*value >= least, 1) || refuse_below(position, name, *value, least);
  }

  // A matrix of T stored by columns at `position`, and its leading dimension at the next one. An array that
  // the routine does not touch may have any address.
  template <class T>
  bool matrix(int position, const char *name, const T *first, bool touched, const char *ld_name,
              const tnk_int *ld, tnk_int rows, tnk_int columns) const {
    if ((touched && !address(position, name, first)) || !leading_dimension(position + 1, ld_name, ld, rows))
      return false;
    if (rows == 0 || columns <= 1) return true;
    // (columns - 1) ld + rows elements lie between the matrix's ends, both included.
    tnk_int span;
    if (!__builtin_mul_overflow(columns - 1, *ld, &span) && span <= elements_in_memory<T> - rows) return true;
    const tnk_int limit = (elements_in_memory<T> - rows) / (columns - 1);
    return limit >= rows ? refuse_range(position + 1, ld_name, *ld, rows, limit)
                         : refuse_number(position + 1, ld_name, *ld, "a matrix that fits into memory");
  }

private:
  using Text = char[96];

  [[gnu::cold]] bool refuse(int position, const char *name, const char *value, const char *expected) const {
    report_argument(routine_, position, name, value, expected);
    return false;
  }
  [[gnu::cold]] bool refuse_number(int position, const char *name, tnk_int value,
                                   const char *expected) const {
    Text text;
    TextWriter(text, sizeof text).add(value);
    return refuse(position, name, text, expected);
  }
  [[gnu::cold]] bool refuse_range(int position, const char *name, tnk_int value, tnk_int low,
                                  tnk_int high) const {
    Text expected;
    TextWriter(expected, sizeof expected).add(low).add(" to ").add(high);
    return refuse_number(position, name, value, expected);
  }
  [[gnu::cold]] bool refuse_below(int position, const char *name, tnk_int value, tnk_int least) const {
    Text expected;
    TextWriter(expected, sizeof expected).add(least).add(" or more");
    return refuse_number(position, name, value, expected);
  }
  [[gnu::cold]] bool refuse_letter(int position, const char *name, char value, const char *letters) const {
    Text found, expected;
    if (value > ' ' && value <= '~') {
      const char quoted[] = {'\'', value, '\'', '\0'};
      TextWriter(found, sizeof found).add(quoted);
    } else {
      TextWriter(found, sizeof found).add("the byte ").add(tnk_int{static_cast<unsigned char>(value)});
    }
    TextWriter text(expected, sizeof expected);
    text.add("one of ");
    for (const char *letter = letters; *letter; ++letter)
      text.add(letter == letters ? "" : ", ").add(std::string_view(letter, 1));
    return refuse(position, name, found, expected);
  }

  const char *routine_;
};

} // namespace tnk::host
