// Checks of the arguments of routines of matrix and vector.
#pragma once

#include "host/dispatch/check.h"

namespace tnk::host {

// A vector and its increment, which these routines do not take as 0. One that is not touched may have any address.
template <class T>
bool check_vector(const Check &check, int position, const char *name, const T *first, bool touched,
                  const char *increment_name, const tnk_int *increment, tnk_int n) {
  if ((touched && !check.address(position, name, first)) ||
      !check.address(position + 1, increment_name, increment) ||
      !check.number(position + 1, increment_name, *increment, *increment != 0, "another number than 0"))
    return false;
  return !touched || check.vector(position, name, first, increment_name, increment, n);
}

// The largest order of a triangle whose columns fit into memory without gaps.
template <class T> constexpr tnk_int packed_limit() {
  tnk_int good = 0, bad = tnk_int{1} << 31;
  while (bad - good > 1) {
    const tnk_int n = (good + bad) / 2;
    (n * (n + 1) / 2 <= elements_in_memory<T> ? good : bad) = n;
  }
  return good;
}

// The arguments of one call in their order, each checked when it is named: routines chain them with &&, and positions
// count themselves.
class Arguments {
public:
  explicit Arguments(const char *routine) : check_(routine) {}

  bool option(const char *name, const char *value, const char *letters) {
    return check_.option(next(), name, value, letters);
  }
  template <class T> bool length(const char *name, const tnk_int *value) {
    return check_.length<T>(next(), name, value);
  }
  template <class T> bool packed_order(const char *name, const tnk_int *value) {
    const int position = next();
    return check_.dimension(position, name, value) &&
           check_.range(position, name, *value, 0, packed_limit<T>());
  }
  template <class T> bool scalar(const char *name, const T *value) {
    return check_.address(next(), name, value);
  }
  template <class T> bool array(const char *name, const T *first, bool touched) {
    const int position = next();
    return !touched || check_.address(position, name, first);
  }
  template <class T>
  bool vector(const char *name, const T *first, bool touched, const char *increment_name,
              const tnk_int *increment, tnk_int n) {
    return check_vector(check_, next(2), name, first, touched, increment_name, increment, n);
  }
  template <class T>
  bool matrix(const char *name, const T *first, bool touched, const char *ld_name, const tnk_int *ld,
              tnk_int rows, tnk_int columns) {
    return check_.matrix(next(2), name, first, touched, ld_name, ld, rows, columns);
  }

private:
  int next(int count = 1) {
    const int position = position_;
    position_ += count;
    return position;
  }

  Check check_;
  int position_ = 1;
};

} // namespace tnk::host
