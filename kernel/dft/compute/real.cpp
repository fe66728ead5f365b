// Transforms of real data. Dimension 0 takes rows of real numbers to half of their spectrum, the others are complex
// transforms along columns of that. Forward rows come first, backward last.
//
// With packed storage two columns are real: that of frequency 0, and for even rows that of the middle frequency. They get
// the same packed format along their own dimension; the others are pairs of columns, of real and of imaginary parts:
//
//   CCS   0  -  P P  P P  M  -        0, M: real columns      P P: a pair, frequencies 1, 2, ...
//   Pack  0  P P  P P  M              -: zeros
//   Perm  0  M  P P  P P              odd rows have no M; Pack and Perm are then the same
//
// A backward transform out of place has no room for CCS rows in its destination: it leaves them there in Perm, with the
// same numbers, and the kernel of the rows knows of it.
#include "kernel/dft/compute/drivers.h"
#include "kernel/dft/node.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

template <class R> constexpr tnk_int size = sizeof(R);

bool is_packed(const DftiNode *node) {
  return node->conjugate_even_storage != DftiComplexComplex;
}

// How many numbers a packed row has, and where: the first of the pairs, and the middle one, which odd rows lack.
struct Layout {
  tnk_int numbers, pairs, middle;
};
constexpr tnk_int lacking = -1;
Layout layout_of(int32_t format, tnk_int n) {
  const bool even = n % 2 == 0;
  if (format == DftiFormatCcs) return {n / 2 * 2 + 2, 2, even ? n : lacking};
  if (format == DftiFormatPerm && even) return {n, 2, 1};
  return {n, 1, even ? n - 1 : lacking};
}

// The real transform of one line that stands in a row, without a scale.
template <class R, bool Inverse> tnk_int along_real_row(DftiNode *node, R *row, void *work) {
  const auto run = [&](const auto &format, const tnk_signal_dft *record) {
    return status_of(
        (Inverse ? format.inverse : format.forward)(row, row, record, static_cast<uint8_t *>(work)));
  };
  if constexpr (sizeof(R) == 4)
    return run(node->kernels.format_single, node->records.real_single);
  else
    return run(node->kernels.format_double, node->records.real_double);
}

// Lines of complex numbers whose parts need not be neighbours: `parts` is the way from the real one to the imaginary one.
struct Parted {
  Side side;
  tnk_int parts;
};
template <class R>
tnk_int along_parted_lines(const Step &step, const Parted &from, const Parted &to, tnk_int count,
                           const Rows &rows) {
  if (from.parts == size<R> && to.parts == size<R>)
    return along_lines<complex<R>, complex<R>>(step, from.side, to.side, count, &rows);
  R *const row = at<R>(rows[0]);
  for (tnk_int l = 0; l < count; ++l) {
    const char *const source = from.side.first + l * from.side.walk.distance;
    char *const destination = to.side.first + l * to.side.walk.distance;
    for (tnk_int i = 0; i < from.side.length; ++i)
      for (int part = 0; part < 2; ++part)
        row[2 * i + part] = get(at<R>(source + i * from.side.walk.stride + part * from.parts));
    if (const tnk_int status = step(rows[0], rows[0])) return status;
    for (tnk_int i = 0; i < to.side.length; ++i)
      for (int part = 0; part < 2; ++part)
        put(at<R>(destination + i * to.side.walk.stride + part * to.parts), row[2 * i + part]);
  }
  return DftiNoError;
}

// ---- Columns of packed rows -------------------------------------------------------------------------------------------

// The rows on either side, and how their numbers stand.
struct PackedPlane {
  char *first;
  tnk_int number, row; // bytes from a number to the next one, and from a row to the next one
  Layout layout;
};

// `frequencies`: the packed spectrum of a real column has so many numbers.
template <class R, bool Inverse>
tnk_int along_packed_columns(const Dimensions &all, tnk_int frequencies, const PackedPlane &from,
                             const PackedPlane &to, const Rows &rows) {
  const Step &step = all.steps[1];
  const tnk_int m = all.loops[1].length;
  const tnk_int before = Inverse ? frequencies : m, after = Inverse ? m : frequencies;
  R *const row = at<R>(rows[0]);
  const auto real_column = [&](tnk_int source, tnk_int destination) {
    gather(from.first + source * from.number, from.row, before, row);
    if (const tnk_int status = along_real_row<R, Inverse>(step.node, row, step.work)) return status;
    scatter(row, to.first + destination * to.number, to.row, after);
    return tnk_int{DftiNoError};
  };
  if (const tnk_int status = real_column(0, 0)) return status;
  if (from.layout.middle != lacking)
    if (const tnk_int status = real_column(from.layout.middle, to.layout.middle)) return status;

  const auto pairs = [m](const PackedPlane &plane) {
    return Parted{{plane.first + plane.layout.pairs * plane.number, {plane.row, 2 * plane.number}, m},
                  plane.number};
  };
  return along_parted_lines<R>(step, pairs(from), pairs(to), (all.loops[0].length - 1) / 2, rows);
}

template <class R>
tnk_int packed_forward(const Dimensions &all, char *source, char *destination, const Rows &rows) {
  const Loop &own = all.loops[0], &next = all.loops[1];
  const int32_t format = all.steps[0].node->packed_format;
  const Layout layout = layout_of(format, own.length);
  if (const tnk_int status =
          along_lines<R, R>(all.steps[0], {source, {own.in, next.in}, own.length},
                            {destination, {own.out, next.out}, layout.numbers}, next.length, &rows))
    return status;
  const PackedPlane plane{destination, own.out, next.out, layout};
  return along_packed_columns<R, false>(all, layout_of(format, next.length).numbers, plane, plane, rows);
}

// middle: where the columns leave the rows. In place their own place, out of place in the destination or in a block.
template <class R>
tnk_int packed_backward(const Dimensions &all, char *source, const PackedPlane &middle, char *destination,
                        const Rows &rows) {
  const Loop &own = all.loops[0], &next = all.loops[1];
  const int32_t format = all.steps[0].node->packed_format;
  const PackedPlane from{source, own.in, next.in, layout_of(format, own.length)};
  const tnk_int status =
      along_packed_columns<R, true>(all, layout_of(format, next.length).numbers, from, middle, rows);
  if (status) return status;
  return along_lines<R, R>(all.steps[0], {middle.first, {middle.number, middle.row}, middle.layout.numbers},
                           {destination, {own.out, next.out}, own.length}, next.length, &rows);
}

// ---- Complex columns ----------------------------------------------------------------------------------------------------

template <class R>
tnk_int complex_forward(const Dimensions &all, char *source, char *destination, const Rows &rows) {
  using C = complex<R>;
  const Loop &own = all.loops[0], &next = all.loops[1];
  Dimensions spectrum = all;
  spectrum.stay_where_written();
  spectrum.loops[0].length = own.length / 2 + 1;
  Dimensions plane = spectrum;
  plane.rank = 2;
  if (const tnk_int status = for_each(all.loops + 2, all.rank - 2, [&](tnk_int in, tnk_int out) {
        const tnk_int rows_status = along_lines<R, C>(
            all.steps[0], {source + in, {own.in, next.in}, own.length},
            {destination + out, {own.out, next.out}, spectrum.loops[0].length}, next.length, &rows);
        if (rows_status) return rows_status;
        return along_dimension<C>(plane, 1, destination + out, destination + out, rows);
      }))
    return status;
  for (int d = 2; d < all.rank; ++d)
    if (const tnk_int status = along_dimension<C>(spectrum, d, destination, destination, rows)) return status;
  return DftiNoError;
}

// CCS rows as Perm rows, in their place.
template <class R> void fit(char *first, tnk_int row, tnk_int count, tnk_int n) {
  for (tnk_int i = 0; i < count; ++i) {
    R *const x = at<R>(first + i * row);
    if (n % 2 == 0)
      x[1] = x[n];
    else
      std::memmove(x + 1, x + 2, static_cast<std::size_t>(n - 1) * sizeof(R));
  }
}

// middle, first: where the spectrum stands once the columns of the last dimension are done, which are read from the source:
// in place there, otherwise in a block. fitted: whether the kernel of the rows wants them as Perm.
template <class R>
tnk_int complex_backward(const Dimensions &all, char *source, const Dimensions &middle, char *first,
                         char *destination, bool fitted, const Rows &rows) {
  using C = complex<R>;
  const int last = all.rank - 1;
  Dimensions first_pass = middle, plane = middle;
  for (int d = 0; d < all.rank; ++d) first_pass.loops[d].in = all.loops[d].in;
  plane.rank = 2;
  if (const tnk_int status = along_dimension<C>(first_pass, last, source, first, rows)) return status;
  for (int d = last - 1; d > 1; --d)
    if (const tnk_int status = along_dimension<C>(middle, d, first, first, rows)) return status;

  const Loop &own = all.loops[0], &next = all.loops[1], &row = middle.loops[0], &column = middle.loops[1];
  Loop planes[DftiMaxDimension] = {};
  for (int d = 2; d < all.rank; ++d)
    planes[d - 2] = {all.loops[d].length, middle.loops[d].in, all.loops[d].out};
  return for_each(planes, all.rank - 2, [&](tnk_int in, tnk_int out) {
    char *const from = first + in;
    if (last > 1)
      if (const tnk_int status = along_dimension<C>(plane, 1, from, from, rows)) return status;
    const Side to{destination + out, {own.out, next.out}, own.length};
    if (fitted) fit<R>(from, column.in, column.length, own.length);
    return along_lines<C, R>(all.steps[0], {from, {row.in, column.in}, row.length}, to, next.length, &rows);
  });
}

// Rows of two dimensions out of place, fitted into the destination, need no block: the columns that become real, 0 and the
// middle one, come from one complex transform, that of X[0] + i X[middle].
template <class R>
tnk_int complex_backward_fitted(const Dimensions &all, char *source, char *destination, const Rows &rows) {
  using C = complex<R>;
  const Loop &own = all.loops[0], &next = all.loops[1];
  const tnk_int n = own.length, m = next.length;
  const Layout layout = layout_of(DftiFormatPerm, n);
  C *const row = at<C>(rows[0]);
  for (tnk_int i = 0; i < m; ++i) {
    row[i] = get(at<C>(source + i * next.in));
    if (layout.middle == lacking) continue;
    const C middle = get(at<C>(source + n / 2 * own.in + i * next.in));
    row[i] = {row[i].re - middle.im, row[i].im + middle.re};
  }
  if (const tnk_int status = all.steps[1](rows[0], rows[0])) return status;
  for (tnk_int i = 0; i < m; ++i) {
    put(at<R>(destination + i * next.out), row[i].re);
    if (layout.middle != lacking) put(at<R>(destination + layout.middle * own.out + i * next.out), row[i].im);
  }
  const Parted from{{source + own.in, {next.in, own.in}, m}, size<R>};
  const Parted to{{destination + layout.pairs * own.out, {next.out, 2 * own.out}, m}, own.out};
  if (const tnk_int status = along_parted_lines<R>(all.steps[1], from, to, (n - 1) / 2, rows)) return status;
  return along_lines<R>(all.steps[0], destination, {own.out, next.out}, n, m, &rows);
}

// ---- One after another ---------------------------------------------------------------------------------------------------

template <class R, bool Inverse, class Spectral>
tnk_int lines_alone(const Dimensions &all, const Loop &batch, tnk_int spectral, char *source,
                    char *destination) {
  using In = std::conditional_t<Inverse, Spectral, R>;
  using Out = std::conditional_t<Inverse, R, Spectral>;
  const Loop &own = all.loops[0];
  const Side from{source, {own.in, batch.in}, Inverse ? spectral : own.length};
  const Side to{destination, {own.out, batch.out}, Inverse ? own.length : spectral};
  if (own.in == size<In> && own.out == size<Out>)
    return along_lines<In, Out>(all.steps[0], from, to, batch.length, nullptr);
  const Rows rows((own.length + 2) * size<R>, batch.length);
  if (rows.missing()) return DftiMemoryError;
  return along_lines<In, Out>(all.steps[0], from, to, batch.length, &rows);
}

// The rows of a backward transform out of place, between columns and rows.
struct Block {
  char *p = nullptr;
  Block() = default;
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  ~Block() { tnk_serv_deallocate(p); }
  bool take(tnk_int bytes) {
    p = static_cast<char *>(tnk_serv_allocate(bytes, granule()));
    return p != nullptr;
  }
};

template <class Body> tnk_int each(const Loop &batch, char *source, char *destination, const Body &body) {
  return for_each(&batch, 1, [&](tnk_int in, tnk_int out) { return body(source + in, destination + out); });
}

template <class R>
tnk_int packed_backward(const Dimensions &all, const Loop &batch, char *source, char *destination,
                        Place place, const Rows &rows) {
  const DftiNode *const node = all.steps[0].node;
  const Loop &own = all.loops[0], &next = all.loops[1];
  const int32_t format = node->packed_format;
  const Layout layout = layout_of(format, own.length);
  if (place == Place::in_place)
    return each(batch, source, destination, [&](char *from, char *to) {
      return packed_backward<R>(all, from, {from, own.in, next.in, layout}, to, rows);
    });
  if (format == DftiFormatCcs && node->real_layout != 0) {
    Block block;
    if (!block.take(layout.numbers * next.length * size<R>)) return DftiMemoryError;
    const PackedPlane middle{block.p, size<R>, layout.numbers * size<R>, layout};
    return each(batch, source, destination,
                [&](char *from, char *to) { return packed_backward<R>(all, from, middle, to, rows); });
  }
  const Layout fitted = layout_of(format == DftiFormatCcs ? int32_t{DftiFormatPerm} : format, own.length);
  return each(batch, source, destination, [&](char *from, char *to) {
    return packed_backward<R>(all, from, {to, own.out, next.out, fitted}, to, rows);
  });
}

template <class R>
tnk_int complex_backward(const Dimensions &all, const Loop &batch, char *source, char *destination,
                         Place place, const Rows &rows) {
  using C = complex<R>;
  Dimensions middle = all;
  middle.stay_where_read();
  middle.loops[0].length = all.loops[0].length / 2 + 1;
  if (place == Place::in_place)
    return each(batch, source, destination, [&](char *from, char *to) {
      return complex_backward<R>(all, from, middle, from, to, false, rows);
    });
  const bool fitted = all.rank <= 3 && all.steps[0].node->real_layout == 0;
  if (fitted && all.rank == 2)
    return each(batch, source, destination,
                [&](char *from, char *to) { return complex_backward_fitted<R>(all, from, to, rows); });
  tnk_int bytes = size<C>;
  for (int d = 0; d < all.rank; ++d) {
    Loop &loop = middle.loops[d];
    loop.in = loop.out = bytes;
    bytes *= loop.length;
  }
  Block block;
  if (!block.take(bytes)) return DftiMemoryError;
  return each(batch, source, destination, [&](char *from, char *to) {
    return complex_backward<R>(all, from, middle, block.p, to, fitted, rows);
  });
}

// Bytes of an element of the two sides.
template <class R, bool Inverse> tnk_int read_size(bool packed) {
  return Inverse && !packed ? size<complex<R>> : size<R>;
}
template <class R, bool Inverse> tnk_int written_size(bool packed) {
  return !Inverse && !packed ? size<complex<R>> : size<R>;
}

template <class R, bool Inverse>
tnk_int real_transforms(const Dimensions &all, const Loop &batch, char *source, char *destination,
                        Place place) {
  const bool packed = is_packed(all.steps[0].node);
  if (all.rank == 1) {
    const tnk_int n = all.loops[0].length;
    return packed ? lines_alone<R, Inverse, R>(all, batch,
                                               layout_of(all.steps[0].node->packed_format, n).numbers, source,
                                               destination)
                  : lines_alone<R, Inverse, complex<R>>(all, batch, n / 2 + 1, source, destination);
  }
  const tnk_int longest = all.longest(read_size<R, Inverse>(packed), written_size<R, Inverse>(packed));
  const Rows rows((longest + 1) * size<complex<R>>, rows_at_once);
  if (rows.missing()) return DftiMemoryError;
  if constexpr (Inverse)
    return packed ? packed_backward<R>(all, batch, source, destination, place, rows)
                  : complex_backward<R>(all, batch, source, destination, place, rows);
  else
    return each(batch, source, destination, [&](char *from, char *to) {
      return packed ? packed_forward<R>(all, from, to, rows) : complex_forward<R>(all, from, to, rows);
    });
}

} // namespace

template <class R, bool Inverse>
tnk_int drive_real(DftiNode *node, char *source, char *destination, tnk_int count, void *work, Place place) {
  if (count < 1) return DftiNoError;
  const bool packed = is_packed(node);
  const tnk_int in = read_size<R, Inverse>(packed), out = written_size<R, Inverse>(packed);
  const Loop batch{count, node->input_distance * in, node->output_distance * out};
  return real_transforms<R, Inverse>(dimensions_of<R, Inverse>(node, in, out, work), batch, source,
                                     destination, place);
}

namespace {

template <class R, bool Inverse>
tnk_int two_dimensional(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,
                        tnk_int first_output_stride, tnk_int next_output_stride, DftiKernel *first_kernel,
                        DftiKernel *next_kernel, DftiNode *node, void *work) {
  const bool packed = is_packed(node);
  const tnk_int in = read_size<R, Inverse>(packed), out = written_size<R, Inverse>(packed);
  Dimensions all;
  all.add({first->length, first->input_stride * in, first_output_stride * out}, {first_kernel, node, work});
  all.add({next->length, next->input_stride * in, next_output_stride * out}, {next_kernel, node->next, work});
  return real_transforms<R, Inverse>(all, {1, 0, 0}, static_cast<char *>(source),
                                     static_cast<char *>(destination),
                                     node->placement == DftiInPlace ? Place::in_place : Place::out_of_place);
}

} // namespace
} // namespace tnk::dft

using namespace tnk;
using namespace tnk::dft;

// By direction, then the letters of a transform to packed rows and of one to complex ones.
#define TNK_DRIVERS(R, Inverse, direction, packed, complex)                                                  \
  template tnk_int dft::drive_real<R, Inverse>(DftiNode *, char *, char *, tnk_int, void *, Place);          \
  TNK_DRIVER(R, Inverse, packed##direction)                                                                  \
  TNK_DRIVER(R, Inverse, complex##direction)
#define TNK_DRIVER(R, Inverse, name)                                                                         \
  tnk_int tnk_dft_x##name(DftiNode *node, void *source, tnk_int count, void *work) {                         \
    return drive_real<R, Inverse>(node, static_cast<char *>(source), static_cast<char *>(source), count,     \
                                  work, Place::in_place);                                                    \
  }                                                                                                          \
  tnk_int tnk_dft_x##name##_out(DftiNode *node, void *source, void *destination, tnk_int count,              \
                                void *work) {                                                                \
    return drive_real<R, Inverse>(node, static_cast<char *>(source), static_cast<char *>(destination),       \
                                  count, work, Place::out_of_place);                                         \
  }
TNK_DRIVERS(float, false, forward, s, sc)
TNK_DRIVERS(float, true, backward, s, cs)
TNK_DRIVERS(double, false, forward, d, dz)
TNK_DRIVERS(double, true, backward, d, zd)
#undef TNK_DRIVER
#undef TNK_DRIVERS

#define TNK_REAL_PLANE(name, R, Inverse)                                                                     \
  tnk_int name(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,                 \
               const int64_t *first_output_stride, const int64_t *next_output_stride,                        \
               DftiKernel *first_kernel, DftiKernel *next_kernel, DftiNode *node, void *work) {              \
    return two_dimensional<R, Inverse>(source, destination, first, next, *first_output_stride,               \
                                       *next_output_stride, first_kernel, next_kernel, node, work);          \
  }
TNK_REAL_PLANE(tnk_dft_xdzzdft2d, double, false)
TNK_REAL_PLANE(tnk_dft_xzzddft2d, double, true)
TNK_REAL_PLANE(tnk_dft_xdzdft2d, double, false)
TNK_REAL_PLANE(tnk_dft_xzddft2d, double, true)
TNK_REAL_PLANE(dft::xsccdft2d, float, false)
TNK_REAL_PLANE(dft::xccsdft2d, float, true)
TNK_REAL_PLANE(dft::xscdft2d, float, false)
TNK_REAL_PLANE(dft::xcsdft2d, float, true)
#undef TNK_REAL_PLANE
