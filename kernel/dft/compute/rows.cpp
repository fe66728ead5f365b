// Row movers: lines that stand side by side, to rows of a dense buffer and back.
#include "kernel/dft/compute/lines.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

template <class T>
void gather_rows(tnk_int length, tnk_int count, T *dense, const T *strided, tnk_int stride) {
  for (tnk_int row = 0; row < count; ++row)
    gather(reinterpret_cast<const char *>(strided + row), stride * tnk_int{sizeof(T)}, length,
           dense + row * length);
}
template <class T>
void scatter_rows(tnk_int length, tnk_int count, const T *dense, T *strided, tnk_int stride) {
  for (tnk_int row = 0; row < count; ++row)
    scatter(dense + row * length, reinterpret_cast<char *>(strided + row), stride * tnk_int{sizeof(T)},
            length);
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

#define TNK_MOVERS(t, T)                                                                                     \
  void tnk_dft_gather_##t##_##t(tnk_int length, tnk_int count, T *dense, tnk_int dense_index,                \
                                const T *strided, tnk_int stride, tnk_int index) {                           \
    gather_rows(length, count, dense + dense_index, strided + index, stride);                                \
  }                                                                                                          \
  void tnk_dft_scatter_##t##_##t(tnk_int length, tnk_int count, const T *dense, tnk_int dense_index,         \
                                 T *strided, tnk_int stride, tnk_int index) {                                \
    scatter_rows(length, count, dense + dense_index, strided + index, stride);                               \
  }
TNK_MOVERS(s, float)
TNK_MOVERS(d, double)
TNK_MOVERS(c, tnk_complex8)
TNK_MOVERS(z, tnk_complex16)
#undef TNK_MOVERS
