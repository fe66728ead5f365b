// The checks of arrays by their extent.
#include "host/routines/xblas/checks.h"

namespace tnk::host::xblas {

bool Arguments::long_increment(const char *name, tnk_int value, const Array &a, tnk_int n) {
  if (!check_.number(position_, name, value, value != 0, "another number than 0")) return false;
  tnk_int span;
  if (n < 2 || (!__builtin_mul_overflow(n - 1, value, &span) && span < a.most && span > -a.most)) return true;
  const tnk_int limit = (a.most - 1) / (n - 1);
  return check_.range(position_, name, value, -limit, limit);
}

bool Arguments::large_matrix(const char *ld_name, const Array &a, bool touched, tnk_int ld, tnk_int least,
                             tnk_int lines) {
  if (least < 1) least = 1;
  if (!check_.leading_dimension(position_, ld_name, &ld, least)) return false;
  tnk_int extent;
  const bool fits =
      lines < 1 || (!__builtin_mul_overflow(lines - 1, ld, &extent) && extent <= a.most - least);
  return check_.number(position_, ld_name, ld, !touched || fits, "a matrix that fits into memory");
}

bool Arguments::packed(const char *name, const Array &a, bool touched, tnk_int n) {
  if (!array(name, a, touched)) return false;
  tnk_int extent;
  const bool fits = !__builtin_mul_overflow(n, n + 1, &extent) && extent / 2 <= a.most;
  return check_.place(position_, name, !touched || fits, "larger than memory",
                      "a triangle that fits into memory");
}

} // namespace tnk::host::xblas
