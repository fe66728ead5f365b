// Reports go nowhere. The kernel library calls this through the dynamic linker, so that a program may put its own in
// front; in a file of its own, or the compiler would see that it does nothing.
#include <tnk/xblas.h>

void tnk_xblas_BLAS_error(const char *, int32_t, tnk_int, const char *, ...) {}
