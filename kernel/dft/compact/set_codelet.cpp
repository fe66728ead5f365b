// Puts kernels of a fixed length into nodes.
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>

#include "kernel/dft/node.h"

namespace tnk::dft::compact {
namespace {

struct Codelet {
  tnk_int length;
  DftiKernelPair kernels;
  tnk_int (*init)(DftiNode *node); // null where there is nothing to make
};

constexpr Codelet single_complex[] = {{2, {tnk_dft_xc_f2_1df, tnk_dft_xc_f2_1db}, nullptr},
                                      {4, {tnk_dft_xc_f4_1df, tnk_dft_xc_f4_1db}, nullptr}};
constexpr Codelet double_complex[] = {
    {2, {tnk_dft_xz_f2_1df, tnk_dft_xz_f2_1db}, nullptr},
    {4, {tnk_dft_xz_f4_1df, tnk_dft_xz_f4_1db}, nullptr},
    {8, {tnk_dft_xz_f8_1df, tnk_dft_xz_f8_1db}, nullptr},
    {16, {tnk_dft_xz_f16_1df, tnk_dft_xz_f16_1db}, nullptr},
    {32, {tnk_dft_xz_f32_1df, tnk_dft_xz_f32_1db}, nullptr},
    {64, {tnk_dft_xz_f64_1df, tnk_dft_xz_f64_1db}, nullptr},
    {128, {tnk_dft_xz_f128_1df, tnk_dft_xz_f128_1db}, nullptr},
    {256, {tnk_dft_xz_f256_1df, tnk_dft_xz_f256_1db}, tnk_dft_init_xz_f256_1df},
    {512, {tnk_dft_xz_f512_1df, tnk_dft_xz_f512_1db}, tnk_dft_init_xz_f512_1df},
    {1024, {tnk_dft_xz_f1024_1df, tnk_dft_xz_f1024_1db}, tnk_dft_init_xz_f1024_1df}};
constexpr Codelet single_real[] = {{2, {tnk_dft_xs_f2_1df, tnk_dft_xs_f2_1db}, nullptr},
                                   {4, {tnk_dft_xs_f4_1df, tnk_dft_xs_f4_1db}, nullptr},
                                   {8, {tnk_dft_xs_f8_1df, tnk_dft_xs_f8_1db}, nullptr},
                                   {16, {tnk_dft_xs_f16_1df, tnk_dft_xs_f16_1db}, nullptr},
                                   {32, {tnk_dft_xs_f32_1df, tnk_dft_xs_f32_1db}, nullptr}};
constexpr Codelet double_real[] = {{2, {tnk_dft_xd_f2_1df, tnk_dft_xd_f2_1db}, nullptr},
                                   {4, {tnk_dft_xd_f4_1df, tnk_dft_xd_f4_1db}, nullptr},
                                   {8, {tnk_dft_xd_f8_1df, tnk_dft_xd_f8_1db}, nullptr},
                                   {16, {tnk_dft_xd_f16_1df, tnk_dft_xd_f16_1db}, nullptr},
                                   {32, {tnk_dft_xd_f32_1df, tnk_dft_xd_f32_1db}, nullptr}};

// What fails, or is not there, leaves the node as it was.
template <int Count>
tnk_int set(DftiNode *node, const Codelet (&codelets)[Count], DftiKernelPair DftiKernels::*pair,
            DftiKernel *DftiKernelPair::*direction) {
  for (const Codelet &codelet : codelets) {
    if (codelet.length != node->axis.length) continue;
    if (codelet.init)
      if (const tnk_int status = codelet.init(node)) return status;
    node->kernels.*pair.*direction = codelet.kernels.*direction;
    node->use_codelet = 0;
  }
  return DftiNoError;
}

// Out of place, rows of several dimensions come in CCS: where the format has the room for it.
void set_real_layout(DftiNode *node) {
  node->real_layout = node->placement != DftiInPlace && node->committed_rank > 1 &&
                      (node->packed_format == DftiFormatCcs || node->packed_format == DftiFormatCce);
}

} // namespace
} // namespace tnk::dft::compact

using namespace tnk::dft::compact;

#define TNK_SET_CODELET(name, codelets, pair, direction)                                                     \
  tnk_int tnk_dft_set_codelet_##name(DftiNode *node) {                                                       \
    return set(node, codelets, &DftiKernels::pair, &DftiKernelPair::direction);                              \
  }
TNK_SET_CODELET(cf, single_complex, single_pair, forward)
TNK_SET_CODELET(cb, single_complex, single_pair, inverse)
TNK_SET_CODELET(zf, double_complex, double_pair, forward)
TNK_SET_CODELET(zb, double_complex, double_pair, inverse)
TNK_SET_CODELET(sf, single_real, single_pair, forward)
TNK_SET_CODELET(df, double_real, double_pair, forward)
#undef TNK_SET_CODELET

tnk_int tnk_dft_set_codelet_sb(DftiNode *node) {
  set_real_layout(node);
  return set(node, single_real, &DftiKernels::single_pair, &DftiKernelPair::inverse);
}
tnk_int tnk_dft_set_codelet_db(DftiNode *node) {
  set_real_layout(node);
  return set(node, double_real, &DftiKernels::double_pair, &DftiKernelPair::inverse);
}
