// What a precision is, and scratch memory.
#include <tnk/services.h>
#include <tnk/xblas.h>

int32_t tnk_xblas_BLAS_fpinfo_x(int32_t cmd, int32_t prec) {
  constexpr int32_t single[] = {2, 24, 1, 1, -126, 127}, plain[] = {2, 53, 1, 1, -1022, 1023},
                    extra[] = {2, 105, 0, 0, -1022, 1023};
  if (cmd < TNK_XBLAS_BASE || cmd > TNK_XBLAS_LARGEST_EXPONENT) return 0;
  if (prec < TNK_XBLAS_SINGLE || prec > TNK_XBLAS_EXTRA) return 0;
  const int32_t *const facts = prec == TNK_XBLAS_SINGLE ? single : prec == TNK_XBLAS_EXTRA ? extra : plain;
  return facts[cmd - TNK_XBLAS_BASE];
}

int32_t tnk_xblas_blas_fpinfo_x(const int32_t *cmd, const int32_t *prec) {
  return tnk_xblas_BLAS_fpinfo_x(*cmd, *prec);
}

void *tnk_xblas_blas_malloc(size_t size) {
  return tnk_serv_allocate(static_cast<int64_t>(size), 128);
}

void tnk_xblas_blas_free(void *pointer) {
  tnk_serv_deallocate(pointer);
}
