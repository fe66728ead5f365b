// Complex data in two arrays. Three strategies break a transform down to lines and rows:
//
//   as2s_n_m     several dimensions     a node for each, over all the others as its batch
//   as2s_1_m     several batches        a node for all but the last batch, which is looped over
//   ?s2s_1_1     one of each            the rows, one after another, by a signal record
//
// The nodes they make are committed by the same list, so each strategy does a step. Nothing is kept from one compute to the
// next, so any number of callers may compute at once.
#include <cstdint>
#include <tnk/services.h>

#include "kernel/dft/commit/strategy.h"

namespace tnk::dft {
namespace {

bool accepts(const DftiNode *node) {
  return is_split(node) && !is_inner(node);
}

template <class T> T *advanced(void *part, int64_t numbers) {
  return part ? static_cast<T *>(part) + numbers : nullptr;
}

// Bytes of one of the two parts of a number.
int64_t part_size(const DftiNode *node) {
  return node->precision == DftiSingle ? sizeof(float) : sizeof(double);
}

// ---- Nodes in a node --------------------------------------------------------------------------------------------------

// A node for lines of the outer one's `line`, like it in all but scales.
tnk_int make_inner(const DftiNode *outer, const IotensorDim &line, DftiNode **made) {
  const auto create = outer->precision == DftiSingle ? precision<float>::create : precision<double>::create;
  DftiNode *inner = nullptr;
  if (const tnk_int status = create(&inner, line.length)) return status;
  inner->complex_storage = DftiRealReal;
  inner->placement = outer->placement;
  inner->axis.ordering = outer->axis.ordering;
  inner->input_offset = outer->input_offset;
  inner->output_offset = outer->output_offset;
  inner->user_threads = outer->user_threads;
  inner->requested_threads = 1;
  inner->committed_lengths.dims[0] = line;
  *made = inner;
  return DftiNoError;
}

tnk_int commit_inner(DftiNode *inner) {
  return inner->methods->static_dt_commit(inner);
}

// ---- Several dimensions -------------------------------------------------------------------------------------------------

struct Dimensions {
  DftiNode *nodes[DftiMaxDimension]; // null behind the last one
};

void release(Dimensions *dimensions) {
  if (!dimensions) return;
  for (DftiNode *const inner : dimensions->nodes)
    if (inner) inner->destroy(inner);
  tnk_serv_tnk_free(dimensions);
}

// The first node takes the data to their place and scales them, the others work where they are then.
tnk_int make_dimension(const DftiNode *node, int32_t d, DftiNode **made) {
  constexpr int32_t output_only = 2;
  const int32_t flags = d > 0 ? output_only : 0;
  Iotensor others = {0, nullptr}, batch = {0, nullptr};
  tnk_int status = tnk_dft_Iotensor_copy(&others, &node->committed_lengths, flags);
  if (status == 0) status = tnk_dft_Iotensor_copy(&batch, &node->committed_transforms, flags);
  if (status == 0) status = make_inner(node, others.dims[d], made);
  if (status == 0) {
    DftiNode *const inner = *made;
    if (d == 0) {
      inner->forward_scale = node->forward_scale;
      inner->backward_scale = node->backward_scale;
    } else {
      if (node->placement == DftiNotInPlace) inner->input_offset = node->output_offset;
      inner->placement = DftiInPlace;
    }
    others.dims[d].length = 1;
    Iotensor *const all = &inner->committed_transforms;
    status = tnk_dft_Iotensor_join(all, &others, &batch);
    if (status == 0) {
      tnk_dft_Iotensor_sort(all);
      tnk_dft_Iotensor_remove1(all);
      tnk_dft_Iotensor_compress(all);
      status = commit_inner(inner);
    }
  }
  tnk_dft_Iotensor_destroy(&others);
  tnk_dft_Iotensor_destroy(&batch);
  return status;
}

using Entry = DftiCompute *DftiNode::*;

template <Entry entry>
tnk_int compute_dimensions(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  const auto *const dimensions = static_cast<const Dimensions *>(node->strategy_data);
  DftiNode *inner = dimensions->nodes[0];
  tnk_int status = (inner->*entry)(inner, first, second, third, fourth);
  const bool in_place = node->placement == DftiInPlace;
  void *const re = in_place ? first : third, *const im = in_place ? second : fourth;
  for (int d = 1; status == 0 && d < DftiMaxDimension && dimensions->nodes[d]; ++d) {
    inner = dimensions->nodes[d];
    status = (inner->*entry)(inner, re, im, nullptr, nullptr);
  }
  return status;
}

tnk_int commit_dimensions(const DftiStrategy *strategy, DftiNode *node) {
  if (!accepts(node) || node->committed_rank == 1) return declined;
  auto *const dimensions = static_cast<Dimensions *>(
      tnk_serv_tnk_calloc(1, static_cast<int64_t>(sizeof(Dimensions)), alignof(Dimensions)));
  if (!dimensions) return DftiMemoryError;
  for (int32_t d = 0; d < node->committed_rank; ++d)
    if (const tnk_int status = make_dimension(node, d, &dimensions->nodes[d])) {
      release(dimensions);
      return status;
    }
  return take(strategy, node, dimensions, compute_dimensions<&DftiNode::compute_forward>,
              compute_dimensions<&DftiNode::compute_backward>);
}

tnk_int detach_dimensions(const DftiStrategy *strategy, DftiNode *node) {
  if (node->strategy != strategy) return DftiInternalError;
  release(let_go<Dimensions>(node));
  return DftiNoError;
}

// ---- Several batches ----------------------------------------------------------------------------------------------------

struct Batches {
  DftiNode *inner;
  IotensorDim last;
};

void release(Batches *batches) {
  if (!batches) return;
  if (batches->inner) batches->inner->destroy(batches->inner);
  tnk_serv_tnk_free(batches);
}

tnk_int make_batches(const DftiNode *node, Batches *made) {
  if (const tnk_int status = make_inner(node, node->committed_lengths.dims[0], &made->inner)) return status;
  DftiNode *const inner = made->inner;
  inner->forward_scale = node->forward_scale;
  inner->backward_scale = node->backward_scale;
  Iotensor but_last = node->committed_transforms;
  made->last = but_last.dims[--but_last.rank];
  if (const tnk_int status = tnk_dft_Iotensor_copy(&inner->committed_transforms, &but_last, 0)) return status;
  return commit_inner(inner);
}

template <Entry entry>
tnk_int compute_batches(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  const auto *const batches = static_cast<const Batches *>(node->strategy_data);
  DftiNode *const inner = batches->inner;
  const bool in_place = node->placement == DftiInPlace;
  const int64_t size = part_size(node);
  const int64_t in = batches->last.input_stride * size, out = batches->last.output_stride * size;
  tnk_int status = 0;
  for (int64_t i = 0; status == 0 && i < batches->last.length; ++i)
    status = (inner->*entry)(inner, advanced<char>(first, i * in), advanced<char>(second, i * in),
                             in_place ? nullptr : advanced<char>(third, i * out),
                             in_place ? nullptr : advanced<char>(fourth, i * out));
  return status;
}

tnk_int commit_batches(const DftiStrategy *strategy, DftiNode *node) {
  if (!accepts(node) || node->committed_rank != 1 || node->committed_transforms.rank < 2) return declined;
  auto *const batches =
      static_cast<Batches *>(tnk_serv_tnk_calloc(1, static_cast<int64_t>(sizeof(Batches)), alignof(Batches)));
  if (!batches) return DftiMemoryError;
  if (const tnk_int status = make_batches(node, batches)) {
    release(batches);
    return status;
  }
  return take(strategy, node, batches, compute_batches<&DftiNode::compute_forward>,
              compute_batches<&DftiNode::compute_backward>);
}

tnk_int detach_batches(const DftiStrategy *strategy, DftiNode *node) {
  if (node->strategy != strategy) return DftiInternalError;
  release(let_go<Batches>(node));
  return DftiNoError;
}

// ---- Rows ---------------------------------------------------------------------------------------------------------------

struct Rows {
  tnk_signal_dft *record;
  int64_t length;
  int32_t flag, work_size;
  IotensorDim row, batch;
  double forward_scale, backward_scale; // 1 where the record scales
  int64_t row_bytes;
};

template <class T> void release(Rows *rows) {
  if (!rows) return;
  if (rows->record) precision<T>::split_records.release(rows->record);
  tnk_serv_tnk_free(rows);
}

template <class T> struct parts { T *re, *im; };

// A row with stride 1 from one with any, or the other way; an increment below 0 counts from the far end.
template <class T> void copy_row(const T *source, tnk_int from, T *destination, tnk_int to, tnk_int length) {
  if (from < 0) source += (length - 1) * from;
  if (to < 0) destination += (length - 1) * to;
  precision<T>::copy(&length, source, &from, destination, &to);
}

template <class T, bool is_inverse>
tnk_int compute_row(const Rows &rows, parts<T> source, parts<T> destination, T scale, uint8_t *work) {
  constexpr auto transform = is_inverse ? precision<T>::split_inverse : precision<T>::split_forward;
  // Two rows of temporaries stand behind the work of the primitive.
  T *const re = reinterpret_cast<T *>(work + (rows.work_size + 63) / 64 * 64);
  const parts<T> dense = {re, re + rows.row_bytes / static_cast<int64_t>(sizeof(T))};
  const tnk_int in = rows.row.input_stride, out = rows.row.output_stride;
  if (in != 1) {
    copy_row(source.re, in, dense.re, 1, rows.length);
    copy_row(source.im, in, dense.im, 1, rows.length);
  }
  const parts<T> from = in == 1 ? source : dense, to = out == 1 ? destination : dense;
  const int32_t signal_status = transform(from.re, from.im, to.re, to.im, rows.record, work);
  if (scale != 1) {
    constexpr tnk_int adjacent = 1;
    precision<T>::scale(&rows.length, &scale, to.re, &adjacent);
    precision<T>::scale(&rows.length, &scale, to.im, &adjacent);
  }
  if (out != 1) {
    copy_row(dense.re, 1, destination.re, out, rows.length);
    copy_row(dense.im, 1, destination.im, out, rows.length);
  }
  return status_of(signal_status);
}

template <class T, bool is_inverse>
tnk_int compute_rows(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  const Rows &rows = *static_cast<const Rows *>(node->strategy_data);
  const bool in_place = node->placement == DftiInPlace;
  if (in_place) third = first, fourth = second;
  const int64_t in = node->input_offset, out = in_place ? in : node->output_offset;
  const T scale = static_cast<T>(is_inverse ? rows.backward_scale : rows.forward_scale);
  const bool strided = rows.row.input_stride != 1 || rows.row.output_stride != 1;
  constexpr int32_t alignment = 64;
  auto *const work = static_cast<uint8_t *>(
      tnk_serv_allocate(rows.work_size + alignment + (strided ? 2 * rows.row_bytes : 0), alignment));
  if (!work) return DftiMemoryError;
  tnk_int status = 0;
  for (int64_t i = 0; status == 0 && i < rows.batch.length; ++i) {
    const int64_t from = in + i * rows.batch.input_stride, to = out + i * rows.batch.output_stride;
    status = compute_row<T, is_inverse>(rows, {advanced<T>(first, from), advanced<T>(second, from)},
                                        {advanced<T>(third, to), advanced<T>(fourth, to)}, scale, work);
  }
  tnk_serv_deallocate(work);
  return status;
}

template <class T> tnk_int make_rows(const DftiNode *node, Rows *made) {
  constexpr Records kind = precision<T>::split_records;
  if (!is_within_limit<T>(node->axis.length)) return DftiLengthExceedsLimit;
  if (node->axis.length < 1) return declined;
  made->length = node->axis.length;
  made->row = node->committed_lengths.dims[0];
  made->batch = node->committed_transforms.dims[0];
  // From one line of the cache to the next.
  made->row_bytes = (made->length * static_cast<int64_t>(sizeof(T)) + 63) / 64 * 64;
  made->flag = unscaled;
  const bool scales = tnk_dft_vpk_can_scale(node, &made->flag) && made->flag != unscaled;
  made->forward_scale = scales ? 1 : node->forward_scale;
  made->backward_scale = scales ? 1 : node->backward_scale;
  int32_t signal_status = kind.make(&made->record, static_cast<int32_t>(made->length), made->flag, 0);
  if (signal_status == 0) signal_status = kind.work_size(made->record, &made->work_size);
  return status_of(signal_status);
}

template <class T> tnk_int commit_rows(const DftiStrategy *strategy, DftiNode *node) {
  if (node->precision != (sizeof(T) == sizeof(float) ? DftiSingle : DftiDouble) || !accepts(node) ||
      node->committed_rank != 1 || node->committed_transforms.rank != 1)
    return declined;
  auto *const rows =
      static_cast<Rows *>(tnk_serv_tnk_calloc(1, static_cast<int64_t>(sizeof(Rows)), alignof(Rows)));
  if (!rows) return DftiMemoryError;
  if (const tnk_int status = make_rows<T>(node, rows)) {
    release<T>(rows);
    return status;
  }
  return take(strategy, node, rows, compute_rows<T, false>, compute_rows<T, true>);
}

template <class T> tnk_int detach_rows(const DftiStrategy *strategy, DftiNode *node) {
  if (node->strategy != strategy) return DftiInternalError;
  release<T>(let_go<Rows>(node));
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

const DftiStrategy tnk_dft_bkd_as2s_n_m = {commit_dimensions, detach_dimensions};
const DftiStrategy tnk_dft_bkd_as2s_1_m = {commit_batches, detach_batches};
const DftiStrategy tnk_dft_bkd_ss2s_1_1 = {commit_rows<float>, detach_rows<float>};
const DftiStrategy tnk_dft_bkd_ds2s_1_1 = {commit_rows<double>, detach_rows<double>};
