// Vectors and matrices that are longer than usual, or bad.
#include "host/routines/xblas/checks.h"

namespace tnk::host::xblas {

bool Arguments::outside(const char *routine, int position, const char *name, tnk_int value, tnk_int first,
                        tnk_int last) {
  return Check(routine).range(position, name, value, first, last);
}

bool Arguments::long_increment(const char *routine, int position, const char *name, tnk_int value,
                               tnk_int most, tnk_int n) {
  const Check check(routine);
  if (!check.number(position, name, value, value != 0, "another number than 0")) return false;
  tnk_int span;
  if (n < 2 || (!__builtin_mul_overflow(n - 1, value, &span) && span < most && span > -most)) return true;
  const tnk_int limit = (most - 1) / (n - 1);
  return check.range(position, name, value, -limit, limit);
}

bool Arguments::large_matrix(const char *routine, int position, const char *name, tnk_int most, bool touched,
                             tnk_int ld, tnk_int least, tnk_int lines) {
  const Check check(routine);
  if (least < 1) least = 1;
  if (!check.leading_dimension(position, name, &ld, least)) return false;
  tnk_int extent;
  const bool fits = lines < 1 || (!__builtin_mul_overflow(lines - 1, ld, &extent) && extent <= most - least);
  return check.number(position, name, ld, !touched || fits, "a matrix that fits into memory");
}

} // namespace tnk::host::xblas
