// The names of the grid that have no kernel behind them.
#include <tnk/conv_kernels.h>

#define TNK_CONV_NONE_1D(types, T, method, job)                                                              \
  int32_t tnk_conv_##types##method##_1d_##job##_nd(const T *, int32_t, const T *, int32_t, T *, int32_t,     \
                                                   int32_t, int32_t, int32_t, int32_t) {                     \
    return TNK_CONV_NO_KERNEL;                                                                               \
  }
#define TNK_CONV_NONE_ALL(types, T, method, job)                                                             \
  int32_t tnk_conv_##types##method##_all_##job##_nd(int32_t, const T *, const int32_t *, const int32_t *,    \
                                                    const T *, const int32_t *, const int32_t *, T *,        \
                                                    const int32_t *, const int32_t *, const int32_t *) {     \
    return TNK_CONV_NO_KERNEL;                                                                               \
  }

// ssdirect has kernels in one dimension (direct_real.cpp).
#define TNK_CONV_NONE_DIRECT_1D(X, ...)                                                                      \
  X(dd, double, __VA_ARGS__) X(sd, float, __VA_ARGS__) TNK_CONV_EACH_COMPLEX(X, __VA_ARGS__)
TNK_CONV_NONE_DIRECT_1D(TNK_CONV_NONE_1D, direct, conv)
TNK_CONV_NONE_DIRECT_1D(TNK_CONV_NONE_1D, direct, corr)
TNK_CONV_EACH(TNK_CONV_NONE_1D, fft, conv)
TNK_CONV_EACH(TNK_CONV_NONE_1D, fft, corr)
TNK_CONV_EACH(TNK_CONV_NONE_ALL, direct, conv)
TNK_CONV_EACH(TNK_CONV_NONE_ALL, direct, corr)
TNK_CONV_EACH(TNK_CONV_NONE_ALL, fft, conv)
TNK_CONV_EACH(TNK_CONV_NONE_ALL, fft, corr)
