// Checks of the arguments of a public routine. A check that fails reports the argument and gives false, so
// that a routine chains its checks with && in the order of its argument list, and only the first bad argument
// is reported. Positions count from 1.
#pragma once

#include <cstdint>
#include <tnk/types.h>

#include "host/service/errors.h"
#include "host/service/text.h"

namespace tnk::host {

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
    const tnk_int inc = *increment;
    if (__builtin_expect(inc == 1 || n == 1, 1)) return true;
    // (n - 1) |inc| + 1 elements lie between the vector's ends, both included.
    const tnk_int limit = (elements_in_memory<T> - 1) / (n - 1);
    return (inc >= -limit && inc <= limit) || refuse_range(position + 1, increment_name, inc, -limit, limit);
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
  bool range(int position, const char *name, tnk_int value, tnk_int low, tnk_int high) const {
    return __builtin_expect(value >= low && value <= high, 1) ||
           refuse_range(position, name, value, low, high);
  }
  // Element `index` of an array.
  bool element(int position, const char *array, tnk_int index, tnk_int value, tnk_int low,
               tnk_int high) const {
    if (__builtin_expect(value >= low && value <= high, 1)) return true;
    Text name;
    TextWriter(name, sizeof name).add(array).add("[").add(index).add("]");
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
    const tnk_int limit = (elements_in_memory<T> - rows) / (columns - 1);
    if (__builtin_expect(*ld <= limit, 1)) return true;
    return limit >= rows ? refuse_range(position + 1, ld_name, *ld, rows, limit)
                         : refuse_number(position + 1, ld_name, *ld, "a matrix that fits into memory");
  }

private:
  // As many as pointer arithmetic can span.
  template <class T>
  static constexpr tnk_int elements_in_memory = PTRDIFF_MAX / static_cast<tnk_int>(sizeof(T));

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
