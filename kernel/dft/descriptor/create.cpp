// Creating descriptors: the family of nodes with their strategies, and the public functions by value and by address.
#include "kernel/dft/node.h"
#include <algorithm>
#include <cstdarg>

namespace tnk::dft {
namespace {

// ---- Nodes ------------------------------------------------------------------------------------------------------------

tnk_int make(DftiNode **node, int32_t precision, int32_t domain, int32_t rank, const tnk_int *lengths,
             bool several_dimensions) {
  DftiNode *made;
  if (const tnk_int status = tnk_dft_dfti_create_node(&made, precision, domain, rank, lengths)) return status;
  made->strategy_list = strategies(precision, domain, several_dimensions);
  *node = made;
  return DftiNoError;
}

tnk_int make_1d(DftiNode **node, int32_t precision, int32_t domain, tnk_int length) {
  return make(node, precision, domain, 1, &length, false);
}

tnk_int make_md(DftiNode **node, int32_t precision, int32_t domain, int32_t rank, const tnk_int *lengths) {
  return make(node, precision, domain, rank, lengths, true);
}

// ---- Descriptors ---------------------------------------------------------------------------------------------------------

bool is_dimension(tnk_int dimension) {
  return dimension >= 1 && dimension <= DftiMaxDimension;
}

tnk_int run_family(DftiNode **node, tnk_int precision, tnk_int domain, tnk_int dimension,
                   const tnk_int *lengths) {
  const bool single = precision == DftiSingle, complex = domain == DftiComplex;
  const auto rank = static_cast<int32_t>(dimension);
  if (rank == 1) {
    const auto create = single ? (complex ? tnk_dft_dfti_create_sc1d : tnk_dft_dfti_create_sr1d)
                               : (complex ? tnk_dft_dfti_create_dc1d : tnk_dft_dfti_create_dr1d);
    return create(node, lengths[0]);
  }
  const auto create = single ? (complex ? tnk_dft_dfti_create_scmd : tnk_dft_dfti_create_srmd)
                             : (complex ? tnk_dft_dfti_create_dcmd : tnk_dft_dfti_create_drmd);
  return create(node, rank, lengths);
}

// Lengths in inner order.
tnk_int create(DftiHandle *handle, tnk_int precision, tnk_int domain, tnk_int dimension,
               const tnk_int *lengths) {
  if (!handle) return DftiInconsistentConfiguration;
  if (!is_dimension(dimension) || (dimension == 1 && lengths[0] <= 0)) return DftiInvalidConfiguration;
  if (precision != DftiSingle && precision != DftiDouble) return DftiInvalidConfiguration;
  if (domain != DftiComplex && domain != DftiReal) return DftiInvalidConfiguration;
  DftiNode *node;
  if (const tnk_int status = run_family(&node, precision, domain, dimension, lengths)) return status;
  tnk_dft_bless_node_omp(node);
  *handle = node;
  return DftiNoError;
}

// Lengths in C's order.
tnk_int create_reversed(DftiHandle *handle, tnk_int precision, tnk_int domain, tnk_int dimension,
                        const tnk_int *lengths) {
  if (!handle) return DftiInconsistentConfiguration;
  if (!is_dimension(dimension)) return DftiInvalidConfiguration;
  tnk_int reversed[DftiMaxDimension];
  std::reverse_copy(lengths, lengths + dimension, reversed);
  return create(handle, precision, domain, dimension, reversed);
}

tnk_int create_1d(DftiHandle *handle, tnk_int precision, tnk_int domain, tnk_int dimension,
                  const tnk_int *length) {
  if (!handle) return DftiInconsistentConfiguration;
  return dimension == 1 ? create(handle, precision, domain, 1, length) : tnk_int{DftiInvalidConfiguration};
}

// 0, which is no precision, for any other number.
template <class T> tnk_int precision_of(T number, DftiConfigValue expected) {
  return number == static_cast<T>(expected) ? expected : 0;
}

} // namespace
} // namespace tnk::dft

// ---- Nodes ----------------------------------------------------------------------------------------------------------------

tnk_int tnk_dft_dfti_create_sc1d(DftiNode **node, tnk_int length) {
  return tnk::dft::make_1d(node, DftiSingle, DftiComplex, length);
}
tnk_int tnk_dft_dfti_create_dc1d(DftiNode **node, tnk_int length) {
  return tnk::dft::make_1d(node, DftiDouble, DftiComplex, length);
}
tnk_int tnk_dft_dfti_create_sr1d(DftiNode **node, tnk_int length) {
  return tnk::dft::make_1d(node, DftiSingle, DftiReal, length);
}
tnk_int tnk_dft_dfti_create_dr1d(DftiNode **node, tnk_int length) {
  return tnk::dft::make_1d(node, DftiDouble, DftiReal, length);
}
tnk_int tnk_dft_dfti_create_scmd(DftiNode **node, int32_t rank, const tnk_int *lengths) {
  return tnk::dft::make_md(node, DftiSingle, DftiComplex, rank, lengths);
}
tnk_int tnk_dft_dfti_create_dcmd(DftiNode **node, int32_t rank, const tnk_int *lengths) {
  return tnk::dft::make_md(node, DftiDouble, DftiComplex, rank, lengths);
}
tnk_int tnk_dft_dfti_create_srmd(DftiNode **node, int32_t rank, const tnk_int *lengths) {
  return tnk::dft::make_md(node, DftiSingle, DftiReal, rank, lengths);
}
tnk_int tnk_dft_dfti_create_drmd(DftiNode **node, int32_t rank, const tnk_int *lengths) {
  return tnk::dft::make_md(node, DftiDouble, DftiReal, rank, lengths);
}

// ---- By value -------------------------------------------------------------------------------------------------------------

tnk_int DftiCreateDescriptor(DftiHandle *handle, int32_t precision, int32_t domain, tnk_int dimension, ...) {
  std::va_list arguments;
  va_start(arguments, dimension);
  tnk_int length = 0;
  const tnk_int *lengths = &length;
  if (dimension == 1)
    length = va_arg(arguments, tnk_int);
  else
    lengths = va_arg(arguments, const tnk_int *);
  va_end(arguments);
  return tnk::dft::create_reversed(handle, precision, domain, dimension, lengths);
}
[[gnu::alias("DftiCreateDescriptor")]] tnk_int
tnk_dft_dfticreatedescriptor(DftiHandle *handle, int32_t precision, int32_t domain, tnk_int dimension, ...);

tnk_int DftiCreateDescriptor_s_1d(DftiHandle *handle, int32_t domain, tnk_int length) {
  return tnk::dft::create(handle, DftiSingle, domain, 1, &length);
}
tnk_int DftiCreateDescriptor_d_1d(DftiHandle *handle, int32_t domain, tnk_int length) {
  return tnk::dft::create(handle, DftiDouble, domain, 1, &length);
}
tnk_int DftiCreateDescriptor_s_md(DftiHandle *handle, int32_t domain, tnk_int dimension,
                                  const tnk_int *lengths) {
  return tnk::dft::create_reversed(handle, DftiSingle, domain, dimension, lengths);
}
tnk_int DftiCreateDescriptor_d_md(DftiHandle *handle, int32_t domain, tnk_int dimension,
                                  const tnk_int *lengths) {
  return tnk::dft::create_reversed(handle, DftiDouble, domain, dimension, lengths);
}

// ---- By address -------------------------------------------------------------------------------------------------------------

tnk_int tnk_dft_dfti_create_descriptor_1d(DftiHandle *handle, const tnk_int *precision, const tnk_int *domain,
                                          const tnk_int *dimension, const tnk_int *length) {
  return tnk::dft::create_1d(handle, *precision, *domain, *dimension, length);
}
tnk_int tnk_dft_dfti_create_descriptor_highd(DftiHandle *handle, const tnk_int *precision,
                                             const tnk_int *domain, const tnk_int *dimension,
                                             const tnk_int *lengths) {
  return tnk::dft::create(handle, *precision, *domain, *dimension, lengths);
}
tnk_int tnk_dft_dfti_create_descriptor_s_1d(DftiHandle *handle, const float *precision, const tnk_int *domain,
                                            const tnk_int *dimension, const tnk_int *length) {
  return tnk::dft::create_1d(handle, tnk::dft::precision_of(*precision, DftiSingle), *domain, *dimension,
                             length);
}
tnk_int tnk_dft_dfti_create_descriptor_d_1d(DftiHandle *handle, const double *precision,
                                            const tnk_int *domain, const tnk_int *dimension,
                                            const tnk_int *length) {
  return tnk::dft::create_1d(handle, tnk::dft::precision_of(*precision, DftiDouble), *domain, *dimension,
                             length);
}
tnk_int tnk_dft_dfti_create_descriptor_s_md(DftiHandle *handle, const float *precision, const tnk_int *domain,
                                            const tnk_int *dimension, const tnk_int *lengths) {
  return tnk::dft::create(handle, tnk::dft::precision_of(*precision, DftiSingle), *domain, *dimension,
                          lengths);
}
tnk_int tnk_dft_dfti_create_descriptor_d_md(DftiHandle *handle, const double *precision,
                                            const tnk_int *domain, const tnk_int *dimension,
                                            const tnk_int *lengths) {
  return tnk::dft::create(handle, tnk::dft::precision_of(*precision, DftiDouble), *domain, *dimension,
                          lengths);
}
