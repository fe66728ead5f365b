// Transforms of complex data: batches, two dimensions, and more by planes.
#include "kernel/dft/compute/drivers.h"
#include "kernel/dft/compute/scale.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

// Rows from source to destination, then columns in the destination.
template <class C> tnk_int plane(const Dimensions &all, char *source, char *destination, const Rows &rows) {
  const Loop &row = all.loops[0], &column = all.loops[1];
  if (const tnk_int status =
          along_lines<C, C>(all.steps[0], {source, {row.in, column.in}, row.length},
                            {destination, {row.out, column.out}, row.length}, column.length, &rows))
    return status;
  return along_lines<C>(all.steps[1], destination, {column.out, row.out}, column.length, row.length, &rows);
}

// Dimensions 0 and 1 plane by plane, while a plane is in the cache, then each of the others.
template <class C>
tnk_int one_transform(const Dimensions &all, const Dimensions &written, char *source, char *destination,
                      const Rows &rows) {
  if (const tnk_int status = for_each(all.loops + 2, all.rank - 2, [&](tnk_int in, tnk_int out) {
        return plane<C>(all, source + in, destination + out, rows);
      }))
    return status;
  for (int d = 2; d < all.rank; ++d)
    if (const tnk_int status = along_dimension<C>(written, d, destination, destination, rows)) return status;
  return DftiNoError;
}

// A batch whose transforms are interleaved: each dimension in lines side by side along the batch.
template <class C>
tnk_int interleaved_batch(const Dimensions &all, const Loop &batch, char *source, char *destination,
                          const Rows &rows) {
  for (int d = 0; d < all.rank; ++d) {
    Loop own = all.loops[d], others[DftiMaxDimension];
    Loop along = batch;
    char *from = source;
    int count = 0;
    for (int k = 0; k < all.rank; ++k)
      if (k != d) others[count++] = all.loops[k];
    if (d > 0) { // in the destination
      from = destination, own.in = own.out, along.in = along.out;
      for (int k = 0; k < count; ++k) others[k].in = others[k].out;
    }
    const tnk_int status = for_each(others, count, [&](tnk_int in, tnk_int out) {
      return along_lines<C, C>(all.steps[d], {from + in, {own.in, along.in}, own.length},
                               {destination + out, {own.out, along.out}, own.length}, batch.length, &rows);
    });
    if (status) return status;
  }
  return DftiNoError;
}

} // namespace

template <class R, bool Inverse>
tnk_int drive_complex(DftiNode *node, char *source, char *destination, tnk_int count, void *work,
                      Place place) {
  using C = complex<R>;
  constexpr tnk_int size = sizeof(C);
  if (count < 1) return DftiNoError;
  Dimensions all = dimensions_of<R, Inverse>(node, size, size, work);
  Loop batch{count, node->input_distance * size, node->output_distance * size};
  if (place == Place::in_place) all.stay_where_read(), batch.out = batch.in;

  if (all.rank == 1) {
    const Loop &own = all.loops[0];
    const auto run = [&](const Rows *rows) {
      return along_lines<C, C>(all.steps[0], {source, {own.in, batch.in}, own.length},
                               {destination, {own.out, batch.out}, own.length}, count, rows);
    };
    if (own.in == size && own.out == size) {
      const tnk_int status = run(nullptr);
      if (status == DftiNoError && node->bluestein_data)
        for (tnk_int i = 0; i < count; ++i) scale_convolved<R, Inverse>(node, destination + i * batch.out);
      return status;
    }
    const Rows rows(own.length * size, count);
    return rows.missing() ? tnk_int{DftiMemoryError} : run(&rows);
  }

  const Rows rows(all.longest(size, size) * size, rows_at_once);
  if (rows.missing()) return DftiMemoryError;
  if (count > 1 && batch.in == size) return interleaved_batch<C>(all, batch, source, destination, rows);
  Dimensions written = all;
  written.stay_where_written();
  for (tnk_int i = 0; i < count; ++i)
    if (const tnk_int status =
            one_transform<C>(all, written, source + i * batch.in, destination + i * batch.out, rows))
      return status;
  return DftiNoError;
}

template <class R, bool Inverse>
tnk_int drive_split(DftiNode *node, R *const *source, R *const *destination, tnk_int count, void *work,
                    Place place) {
  if (node->committed_rank != 1) return DftiUnimplemented;
  if (count < 1) return DftiNoError;
  const bool stays = place == Place::in_place;
  const DftiAxis &axis = node->axis;
  const tnk_int in = axis.input_stride, out = stays ? in : axis.output_stride;
  const tnk_int in_distance = node->input_distance,
                out_distance = stays ? in_distance : node->output_distance;
  DftiKernel *const kernel = kernel_of<R, Inverse>(node);
  const auto run = [&](const Rows *rows) {
    for (tnk_int i = 0; i < count; ++i) {
      R *from[2], *to[2];
      for (int part = 0; part < 2; ++part) {
        R *const first = source[part] + i * in_distance;
        from[part] = in == 1 ? first : at<R>((*rows)[part]);
        to[part] = out == 1 ? destination[part] + i * out_distance : at<R>((*rows)[part]);
        if (in != 1)
          gather(reinterpret_cast<const char *>(first), in * tnk_int{sizeof(R)}, axis.length, from[part]);
      }
      if (const tnk_int status = kernel(from, to, node, work)) return status;
      if (out != 1)
        for (int part = 0; part < 2; ++part)
          scatter(to[part], reinterpret_cast<char *>(destination[part] + i * out_distance),
                  out * tnk_int{sizeof(R)}, axis.length);
    }
    return tnk_int{DftiNoError};
  };
  if (in == 1 && out == 1) return run(nullptr);
  const Rows rows(axis.length * tnk_int{sizeof(R)}, 2);
  return rows.missing() ? tnk_int{DftiMemoryError} : run(&rows);
}

namespace {

template <class R, bool Inverse>
tnk_int drive(DftiNode *node, void *source, void *destination, tnk_int count, void *work, Place place) {
  if (is_split(node))
    return drive_split<R, Inverse>(node, static_cast<R *const *>(source),
                                   static_cast<R *const *>(destination), count, work, place);
  return drive_complex<R, Inverse>(node, static_cast<char *>(source), static_cast<char *>(destination), count,
                                   work, place);
}

template <class R>
tnk_int two_dimensional(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,
                        DftiKernel *first_kernel, DftiKernel *next_kernel, DftiNode *node, void *work,
                        Place place) {
  using C = complex<R>;
  constexpr tnk_int size = sizeof(C);
  Dimensions all;
  all.add(loop_of(*first, size, size), {first_kernel, node, work});
  all.add(loop_of(*next, size, size), {next_kernel, node->next, work});
  if (place == Place::in_place) all.stay_where_read();
  const Rows rows(all.longest(size, size) * size, rows_at_once);
  if (rows.missing()) return DftiMemoryError;
  return plane<C>(all, static_cast<char *>(source), static_cast<char *>(destination), rows);
}

} // namespace
} // namespace tnk::dft

using namespace tnk;
using namespace tnk::dft;

#define TNK_DRIVERS(c, R)                                                                                    \
  template tnk_int dft::drive_split<R, false>(DftiNode *, R *const *, R *const *, tnk_int, void *, Place);   \
  template tnk_int dft::drive_split<R, true>(DftiNode *, R *const *, R *const *, tnk_int, void *, Place);    \
  template tnk_int dft::drive_complex<R, false>(DftiNode *, char *, char *, tnk_int, void *, Place);         \
  template tnk_int dft::drive_complex<R, true>(DftiNode *, char *, char *, tnk_int, void *, Place);          \
  tnk_int tnk_dft_x##c##forward(DftiNode *node, void *source, tnk_int count, void *work) {                   \
    return drive<R, false>(node, source, source, count, work, Place::in_place);                              \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##forward_out(DftiNode *node, void *source, void *destination, tnk_int count,          \
                                    void *work) {                                                            \
    return drive<R, false>(node, source, destination, count, work, Place::out_of_place);                     \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##backward(DftiNode *node, void *source, tnk_int count, void *work) {                  \
    return drive<R, true>(node, source, source, count, work, Place::in_place);                               \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##backward_out(DftiNode *node, void *source, void *destination, tnk_int count,         \
                                     void *work) {                                                           \
    return drive<R, true>(node, source, destination, count, work, Place::out_of_place);                      \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##dft2d(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,  \
                              DftiKernel *first_kernel, DftiKernel *next_kernel, DftiNode *node,             \
                              void *work) {                                                                  \
    return two_dimensional<R>(source, destination, first, next, first_kernel, next_kernel, node, work,       \
                              Place::in_place);                                                              \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##dft2d_out(void *source, void *destination, const DftiAxis *first,                    \
                                  const DftiAxis *next, DftiKernel *first_kernel, DftiKernel *next_kernel,   \
                                  DftiNode *node, void *work) {                                              \
    return two_dimensional<R>(source, destination, first, next, first_kernel, next_kernel, node, work,       \
                              Place::out_of_place);                                                          \
  }
TNK_DRIVERS(c, float)
TNK_DRIVERS(z, double)
#undef TNK_DRIVERS

tnk_int tnk_dft_xzdft1d_copy(tnk_complex16 *data, tnk_int length, tnk_int stride, tnk_int count,
                             tnk_int distance, DftiKernel *kernel, DftiNode *node, void *work) {
  constexpr tnk_int size = sizeof *data;
  if (count < 1) return DftiNoError;
  const Rows rows(length * size, count);
  if (rows.missing()) return DftiMemoryError;
  return along_lines<tnk_complex16>({kernel, node, work}, reinterpret_cast<char *>(data),
                                    {stride * size, distance * size}, length, count, &rows);
}

tnk_int tnk_dft_xzdft_mult(tnk_complex16 *data, tnk_int length, tnk_int stride, tnk_int count,
                           DftiKernel *kernel, DftiNode *node, void *work) {
  return tnk_dft_xzdft1d_copy(data, length, stride, count, 1, kernel, node, work);
}
