// Complex data in two arrays. Three strategies break a transform down to lines and rows:
//
//   as2s_n_m     several dimensions     a node for each, over all the others as its batch
//   as2s_1_m     several batches        a node for all but the last batch, which is looped over
//   ?s2s_1_1     one of each            the rows by a signal record, eight at a time where they stand side by side
//
// The nodes they make are committed by the same list, so each strategy does a step. Nothing is kept from one compute to the
// next, so any number of callers may compute at once.
#include <cstdint>
#include <tnk/services.h>

#include "kernel/dft/commit/strategy.h"
#include "kernel/dft/compute/lines.h"

namespace tnk::dft {
namespace {

bool accepts(const DftiNode *node) {
  return is_split(node) && !is_inner(node);
}

// Null, which stands for no array, stays null.
char *advanced(void *part, int64_t bytes) {
  return part ? static_cast<char *>(part) + bytes : nullptr;
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

struct DimensionPlan {
  DftiNode *nodes[DftiMaxDimension]; // null behind the last one
};

void release(DimensionPlan *dimensions) {
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
  const auto *const dimensions = static_cast<const DimensionPlan *>(node->strategy_data);
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

tnk_int make_dimensions(const DftiNode *node, DimensionPlan *plan) {
  for (int32_t d = 0; d < node->committed_rank; ++d)
    if (const tnk_int status = make_dimension(node, d, &plan->nodes[d])) return status;
  return DftiNoError;
}

tnk_int commit_dimensions(const DftiStrategy *strategy, DftiNode *node) {
  if (!accepts(node) || node->committed_rank == 1) return declined;
  DimensionPlan *plan;
  if (const tnk_int status = make_block(node, make_dimensions, &plan)) return status;
  return take(strategy, node, plan, compute_dimensions<&DftiNode::compute_forward>,
              compute_dimensions<&DftiNode::compute_backward>);
}

// ---- Several batches ----------------------------------------------------------------------------------------------------

struct BatchPlan {
  DftiNode *inner;
  IotensorDim last;
};

void release(BatchPlan *batches) {
  if (batches->inner) batches->inner->destroy(batches->inner);
  tnk_serv_tnk_free(batches);
}

tnk_int make_batches(const DftiNode *node, BatchPlan *made) {
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
  const auto *const batches = static_cast<const BatchPlan *>(node->strategy_data);
  DftiNode *const inner = batches->inner;
  if (node->placement == DftiInPlace) third = fourth = nullptr; // whatever the caller has passed
  const int64_t size = part_size(node);
  const int64_t in = batches->last.input_stride * size, out = batches->last.output_stride * size;
  tnk_int status = 0;
  for (int64_t i = 0; status == 0 && i < batches->last.length; ++i)
    status = (inner->*entry)(inner, advanced(first, i * in), advanced(second, i * in),
                             advanced(third, i * out), advanced(fourth, i * out));
  return status;
}

tnk_int commit_batches(const DftiStrategy *strategy, DftiNode *node) {
  if (!accepts(node) || node->committed_rank != 1 || node->committed_transforms.rank < 2) return declined;
  BatchPlan *plan;
  if (const tnk_int status = make_block(node, make_batches, &plan)) return status;
  return take(strategy, node, plan, compute_batches<&DftiNode::compute_forward>,
              compute_batches<&DftiNode::compute_backward>);
}

// ---- Rows ---------------------------------------------------------------------------------------------------------------

struct RowPlan {
  const Records *kind;
  tnk_signal_dft *record;
  int64_t length;
  int32_t flag, work_size;
  IotensorDim row, batch;
  double forward_scale, backward_scale; // 1 where the record scales
  int64_t row_bytes;
};

void release(RowPlan *plan) {
  if (plan->record) plan->kind->release(plan->record);
  tnk_serv_tnk_free(plan);
}

// One of the two arrays on one side, from its first row on.
template <class T> struct Part {
  T *first;
  tnk_int stride, distance;
  T *row(tnk_int i) const { return first + i * distance; }
};

// Between `count` rows, at most eight, and as many of a buffer. Eight rows side by side, as columns are, fill whole lines
// of the cache. An increment below 0 counts from a vector's far end.
template <class T>
void gather_rows(const Part<T> &from, tnk_int first, tnk_int count, tnk_int length, const Rows &buffer) {
  constexpr tnk_int size = sizeof(T), adjacent = 1;
  if (count == rows_at_once && from.distance == 1)
    return gather_eight<T>(reinterpret_cast<const char *>(from.row(first)), from.stride * size, length,
                           buffer);
  const tnk_int end = from.stride < 0 ? (length - 1) * from.stride : 0;
  for (tnk_int l = 0; l < count; ++l)
    precision<T>::copy(&length, from.row(first + l) + end, &from.stride, at<T>(buffer[l]), &adjacent);
}
template <class T>
void scatter_rows(const Rows &buffer, tnk_int length, const Part<T> &to, tnk_int first, tnk_int count) {
  constexpr tnk_int size = sizeof(T), adjacent = 1;
  if (count == rows_at_once && to.distance == 1)
    return scatter_eight<T>(buffer, reinterpret_cast<char *>(to.row(first)), to.stride * size, length);
  const tnk_int end = to.stride < 0 ? (length - 1) * to.stride : 0;
  for (tnk_int l = 0; l < count; ++l)
    precision<T>::copy(&length, at<T>(buffer[l]), &adjacent, to.row(first + l) + end, &to.stride);
}

template <class T, bool is_inverse>
tnk_int compute_row(const RowPlan &plan, const T *re, const T *im, T *to_re, T *to_im, uint8_t *work) {
  constexpr auto transform = is_inverse ? precision<T>::split_inverse : precision<T>::split_forward;
  constexpr tnk_int adjacent = 1;
  const T scale = static_cast<T>(is_inverse ? plan.backward_scale : plan.forward_scale);
  const tnk_int status = status_of(transform(re, im, to_re, to_im, plan.record, work));
  if (scale != 1)
    for (T *const part : {to_re, to_im}) precision<T>::scale(&plan.length, &scale, part, &adjacent);
  return status;
}

template <class T> using Parts = Part<T>[2]; // real, imaginary

// Rows with stride 1 where they stand, others through the buffers, one for each part.
template <class T, bool is_inverse>
tnk_int compute_all(const RowPlan &plan, const Parts<T> &from, const Parts<T> &to, uint8_t *work,
                    const Rows *const (&buffers)[2]) {
  const tnk_int count = plan.batch.length, length = plan.length;
  for (tnk_int first = 0; first < count; first += rows_at_once) {
    const tnk_int rows = count - first < rows_at_once ? count - first : rows_at_once;
    if (from[0].stride != 1)
      for (int part = 0; part < 2; ++part) gather_rows(from[part], first, rows, length, *buffers[part]);
    for (tnk_int l = 0; l < rows; ++l) {
      const auto row = [&](const Parts<T> &side, int part) {
        return side[part].stride == 1 ? side[part].row(first + l) : at<T>((*buffers[part])[l]);
      };
      const tnk_int status =
          compute_row<T, is_inverse>(plan, row(from, 0), row(from, 1), row(to, 0), row(to, 1), work);
      if (status) return status;
    }
    if (to[0].stride != 1)
      for (int part = 0; part < 2; ++part) scatter_rows(*buffers[part], length, to[part], first, rows);
  }
  return DftiNoError;
}

template <class T, bool is_inverse>
tnk_int compute_rows(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  const RowPlan &plan = *static_cast<const RowPlan *>(node->strategy_data);
  if (plan.batch.length < 1) return DftiNoError;
  const bool in_place = node->placement == DftiInPlace;
  const int64_t in = node->input_offset, out = in_place ? in : node->output_offset;
  const auto part = [](void *array, int64_t offset, int64_t stride, int64_t distance) {
    return Part<T>{static_cast<T *>(array) + offset, stride, distance};
  };
  const tnk_int in_stride = plan.row.input_stride, out_stride = plan.row.output_stride;
  const Parts<T> from = {part(first, in, in_stride, plan.batch.input_stride),
                         part(second, in, in_stride, plan.batch.input_stride)};
  const Parts<T> to = {part(in_place ? first : third, out, out_stride, plan.batch.output_stride),
                       part(in_place ? second : fourth, out, out_stride, plan.batch.output_stride)};

  constexpr int32_t alignment = 64;
  auto *const work = static_cast<uint8_t *>(tnk_serv_allocate(plan.work_size, alignment));
  if (!work) return DftiMemoryError;
  tnk_int status = DftiMemoryError;
  if (in_stride == 1 && out_stride == 1) {
    status = compute_all<T, is_inverse>(plan, from, to, work, {nullptr, nullptr});
  } else {
    const Rows re(plan.row_bytes, plan.batch.length), im(plan.row_bytes, plan.batch.length);
    if (!re.missing() && !im.missing()) status = compute_all<T, is_inverse>(plan, from, to, work, {&re, &im});
  }
  tnk_serv_deallocate(work);
  return status;
}

template <class T> tnk_int make_rows(const DftiNode *node, RowPlan *made) {
  made->kind = &precision<T>::split_records;
  if (!is_within_limit<T>(node->axis.length)) return DftiLengthExceedsLimit;
  if (node->axis.length < 1) return declined;
  made->length = node->axis.length;
  made->row = node->committed_lengths.dims[0];
  made->batch = node->committed_transforms.dims[0];
  made->row_bytes = made->length * static_cast<int64_t>(sizeof(T));
  made->flag = unscaled;
  const bool scales = tnk_dft_vpk_can_scale(node, &made->flag) && made->flag != unscaled;
  made->forward_scale = scales ? 1 : node->forward_scale;
  made->backward_scale = scales ? 1 : node->backward_scale;
  int32_t signal_status = made->kind->make(&made->record, static_cast<int32_t>(made->length), made->flag, 0);
  if (signal_status == 0) signal_status = made->kind->work_size(made->record, &made->work_size);
  return status_of(signal_status);
}

template <class T> tnk_int commit_rows(const DftiStrategy *strategy, DftiNode *node) {
  if (node->precision != (sizeof(T) == sizeof(float) ? DftiSingle : DftiDouble) || !accepts(node) ||
      node->committed_rank != 1 || node->committed_transforms.rank != 1)
    return declined;
  RowPlan *plan;
  if (const tnk_int status = make_block(node, make_rows<T>, &plan)) return status;
  return take(strategy, node, plan, compute_rows<T, false>, compute_rows<T, true>);
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

const DftiStrategy tnk_dft_bkd_as2s_n_m = {commit_dimensions, detach<DimensionPlan>};
const DftiStrategy tnk_dft_bkd_as2s_1_m = {commit_batches, detach<BatchPlan>};
const DftiStrategy tnk_dft_bkd_ss2s_1_1 = {commit_rows<float>, detach<RowPlan>};
const DftiStrategy tnk_dft_bkd_ds2s_1_1 = {commit_rows<double>, detach<RowPlan>};
