// Signal records for the nodes of a chain, and the workspace that their transforms share.
#include <algorithm>
#include <cstdint>
#include <tnk/services.h>

#include "kernel/dft/commit/core.h"
#include "kernel/dft/node.h"

namespace tnk::dft {

tnk_int give_up(DftiNode *node, DftiNode *root, tnk_int status) {
  // Uncommitting the root releases the chain by its links; so what stands behind this node goes first.
  if (node->next) node->next->destroy(node->next);
  node->next = nullptr;
  root->uncommit(root);
  return status;
}

namespace {

// Makes a record of `kind` for the node's length, and has the node's buffer serve it besides what it serves already.
template <class T>
tnk_int make_record(const Records &kind, tnk_signal_dft *DftiRecords::*record, DftiNode *node,
                    DftiNode *root) {
  const tnk_int length = node->axis.length;
  if (!is_within_limit<T>(length)) return give_up(node, root, DftiLengthExceedsLimit);
  if (length < 1) return give_up(node, root, DftiInternalError);
  int32_t signal_status = kind.make(&(node->records.*record), static_cast<int32_t>(length), unscaled, 0);
  int32_t size = 0;
  if (signal_status == 0) signal_status = kind.work_size(node->records.*record, &size);
  if (signal_status != 0) return give_up(node, root, status_of(signal_status));
  node->buffer_size = std::max(node->buffer_size, int64_t{size});
  return DftiNoError;
}

template <class T> tnk_int init_complex(DftiNode *node, DftiNode *root) {
  using p = precision<T>;
  return node->axis.ordering == DftiOrdered
             ? make_record<T>(p::complex_records, p::complex_record, node, root)
             : make_record<T>(p::scrambled_records, p::scrambled_record, node, root);
}
template <class T> tnk_int init_split(DftiNode *node, DftiNode *root) {
  return make_record<T>(precision<T>::split_records, precision<T>::split_record, node, root);
}
template <class T> tnk_int init_real(DftiNode *node, DftiNode *root) {
  return make_record<T>(precision<T>::real_records, precision<T>::real_record, node, root);
}

// The functions between real numbers and the root's layout of half a spectrum, and the record that they read.
template <class T> tnk_int init_format(DftiNode *node, DftiNode *root) {
  using p = precision<T>;
  auto &format = node->kernels.*p::format;
  if (root->conjugate_even_storage == DftiComplexComplex || root->packed_format == DftiFormatCcs)
    format = p::ccs;
  else if (root->packed_format == DftiFormatPack)
    format = p::pack;
  else if (root->packed_format == DftiFormatPerm)
    format = p::perm;
  else // complex rows are for complex storage
    return give_up(node, root, DftiUnimplemented);
  return init_real<T>(node, root);
}

// Behind the rows, a real transform has columns of complex numbers. In packed storage those of frequency 0 and N/2 stand
// there as real numbers, and are packed like the rows.
template <class T> tnk_int complex_for_real(DftiNode *node, DftiNode *root) {
  choose_kernels<T>(node);
  if (const tnk_int status = init_complex<T>(node, root)) return status;
  return root->conjugate_even_storage == DftiComplexComplex ? tnk_int{DftiNoError}
                                                            : init_format<T>(node, root);
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

tnk_int tnk_dft_vpk_init_s_c2c(DftiNode *node, DftiNode *root) {
  return init_complex<float>(node, root);
}
tnk_int tnk_dft_vpk_init_d_c2c(DftiNode *node, DftiNode *root) {
  return init_complex<double>(node, root);
}
tnk_int tnk_dft_vpk_init_s_ri2ri(DftiNode *node, DftiNode *root) {
  return init_split<float>(node, root);
}
tnk_int tnk_dft_vpk_init_d_ri2ri(DftiNode *node, DftiNode *root) {
  return init_split<double>(node, root);
}
tnk_int tnk_dft_vpk_init_s_r2c(DftiNode *node, DftiNode *root) {
  return init_format<float>(node, root);
}
tnk_int tnk_dft_vpk_init_d_r2c(DftiNode *node, DftiNode *root) {
  return init_format<double>(node, root);
}
tnk_int tnk_dft_c_vpk_real_init(DftiNode *node, DftiNode *root) {
  return init_real<float>(node, root);
}
tnk_int tnk_dft_z_vpk_real_init(DftiNode *node, DftiNode *root) {
  return init_real<double>(node, root);
}
tnk_int tnk_dft_complex_for_real_dft_s(DftiNode *node, DftiNode *root) {
  return complex_for_real<float>(node, root);
}
tnk_int tnk_dft_complex_for_real_dft_d(DftiNode *node, DftiNode *root) {
  return complex_for_real<double>(node, root);
}

tnk_int tnk_dft_vpk_buffer_allocation(DftiNode *node) {
  if (node->maximum_buffer_size == 0) return DftiNoError;
  const int32_t boundary = granule();
  node->maximum_buffer_size = (node->maximum_buffer_size + boundary - 1) / boundary * boundary;
  const int64_t slices = node->user_threads > 1 ? node->user_threads : node->threads;
  node->workspace = tnk_serv_tnk_malloc(node->maximum_buffer_size * slices, boundary);
  if (node->workspace) return DftiNoError;
  node->uncommit(node);
  return DftiMemoryError;
}
