#include "bench/conv/plain_convolution.h"

namespace tnk::bench::plain {

template void convolve(std::size_t, const float *, std::size_t, const float *, float *);
template void convolve(std::size_t, const double *, std::size_t, const double *, double *);
template void convolve2_valid(std::size_t, const float *, std::size_t, const float *, float *);
template void convolve2_valid(std::size_t, const double *, std::size_t, const double *, double *);

} // namespace tnk::bench::plain
