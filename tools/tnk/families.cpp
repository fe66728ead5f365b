#include "tools/tnk/families.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace tnk::tool {
namespace {

constexpr FamilyCount table[] = {
    {"dll_cpu_version", "processor class of the library", 0},
    {"tnk_blas_", "dense BLAS", 0},
    {"tnk_blas_lp64_", "BLAS level 1 for 32-bit integers", 0},
    {"avx_", "kernel tables of the matrix product", 0},
    {"tnk_lapack_ps_", "factorization primitives", 0},
    {"tnk_spblas_", "sparse BLAS", 0},
    {"tnk_spblas_lp64_", "sparse BLAS for 32-bit indices", 0},
    {"tnk_xblas_", "extended-precision BLAS", 0},
    {"tnk_dft_", "discrete Fourier transforms, inner layer", 0},
    {"Dfti", "discrete Fourier transforms, public interface", 0},
    {"e9_", "signal primitives", 0},
    {"vpk", "processor queries of the signal layer", 0},
    {"ps_", "helpers of the signal layer", 0},
    {"tnk_conv_", "convolution and correlation", 0},
    {"tnk_trans_", "matrix copy and transposition", 0},
    {"tnk_pdepl_", "Poisson solvers", 0},
    {"tnk_pdett_", "trigonometric transforms", 0},
    {"tnk_gmp_", "multiple-precision integers", 0},
    {"", "others", 0},
};

// Names without their family's prefix.
constexpr std::pair<const char *, const char *> strays[] = {{"fft_fix_twiddle_table_32f", "e9_"},
                                                            {"fft_fix_twiddle_table_64f", "e9_"},
                                                            {"mpn_addmul", "tnk_gmp_"},
                                                            {"tnk_cconj", "tnk_trans_"},
                                                            {"dense_matrix_chunk_setup", "tnk_trans_"},
                                                            {"tnk_zconj", "tnk_trans_"}};

std::string filed_as(const std::string &name) {
  for (const auto &[stray, prefix] : strays)
    if (name == stray) return prefix;
  return name;
}

} // namespace

std::vector<FamilyCount> count_families(const std::vector<std::string> &names) {
  std::vector<FamilyCount> families(std::begin(table), std::end(table));
  for (const std::string &name : names) {
    const std::string filed = filed_as(name);
    FamilyCount *best = &families.back();
    for (FamilyCount &family : families)
      if (filed.rfind(family.prefix, 0) == 0 && std::strlen(family.prefix) > std::strlen(best->prefix))
        best = &family;
    ++best->count;
  }
  families.erase(
      std::remove_if(families.begin(), families.end(), [](const FamilyCount &f) { return f.count == 0; }),
      families.end());
  return families;
}

} // namespace tnk::tool
