// Direct kernels of real numbers.
#include "kernel/conv/direct.h"

TNK_CONV_DIRECT(ss, float, tnk::conv::Ss)
TNK_CONV_DIRECT(dd, double, tnk::conv::Dd)
TNK_CONV_DIRECT(sd, float, tnk::conv::Sd)

// With cores of their own, which know the decimation.
namespace {
constexpr std::integral_constant<int64_t, 1> undecimated;
}
TNK_CONV_1D_ND(tnk_conv_ssdirect_1d_conv_nd, float) {
  return tnk::conv::direct_1d_conv<tnk::conv::Ss>(x, xstride, y, ystride, z, zstride, xshape, yshape, start,
                                                  zshape, undecimated);
}
TNK_CONV_1D_ND(tnk_conv_ssdirect_1d_corr_nd, float) {
  return tnk::conv::direct_1d_corr<tnk::conv::Ss>(x, xstride, y, ystride, z, zstride, xshape, yshape, start,
                                                  zshape, undecimated);
}
