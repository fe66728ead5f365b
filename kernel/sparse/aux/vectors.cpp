// Vectors and scalars as the outer routine prepares them: cleared, one, negated, tested for zero.
#include "kernel/frame/element.h"
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

template <class T> T subtracted_from_zero(T v) {
  if constexpr (is_complex<T>)
    return {0 - v.re, 0 - v.im};
  else
    return 0 - v;
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##t##zeros(T *v, const I *count) {                                                                   \
    if (*count > 0) std::memset(static_cast<void *>(v), 0, static_cast<std::size_t>(*count) * sizeof(T));    \
  }                                                                                                          \
  void p##t##ones(T *v) {                                                                                    \
    tnk::put(v, tnk::one<T>);                                                                                \
  }                                                                                                          \
  void p##t##neones(T *v) {                                                                                  \
    tnk::put(v, tnk::sparse::subtracted_from_zero(tnk::get(v)));                                             \
  }                                                                                                          \
  void p##t##zerocheck(const T *v, I *flag) {                                                                \
    *flag = tnk::is_zero(tnk::get(v)) ? 0 : 1;                                                               \
  }
TNK_SP_AUX_EACH(ENTRIES, )
