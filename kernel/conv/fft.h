// The kernels by transforms: a correlation is the convolution with x reversed, and a convolution the product of spectra,
// in the blocks of blocks.h. Real numbers have real transforms, whose spectra are pairs in the rows of dimension 0, in
// place, so a row is padded to hold one pair more than half its length.
#pragma once

#include "kernel/conv/blocks.h"
#include "kernel/conv/direct.h"
#include <tnk/dft_node.h>
#include <tnk/dfti.h>

namespace tnk::conv {

// ---- Transforms ----------------------------------------------------------------------------------------------------

// Transforms of arrays of A in place, dimension 0 without gaps in its rows; everything about descriptors.
template <class A> class Transforms {
public:
  Transforms() = default;
  Transforms(const Transforms &) = delete;
  Transforms &operator=(const Transforms &) = delete;
  ~Transforms() {
    if (forward_) tnk_dft_dfti_free_descriptor_external(&forward_);
    if (backward_) tnk_dft_dfti_free_descriptor_external(&backward_);
  }
  // False when one of them could not be had, for whatever reason.
  bool make(int dims, const Vector &lengths) {
    Strides data = {0, 1}, spectrum = {0, 1};
    for (int k = 1; k < dims; ++k) {
      data[k + 1] = k == 1 ? row_of(lengths[0]) : data[k] * lengths[k - 1];
      spectrum[k + 1] = is_complex<A> ? data[k + 1] : data[k + 1] / 2;
    }
    // Strides are those of what goes in and of what comes out: one descriptor does both ways if they are the same.
    one_way_ = !is_complex<A> && dims > 1;
    return make(forward_, dims, lengths, data, spectrum) &&
           (!one_way_ || make(backward_, dims, lengths, spectrum, data));
  }
  bool forward(A *data) { return compute_forward(&forward_, data) == DftiNoError; }
  bool backward(A *data) { return compute_backward(one_way_ ? &backward_ : &forward_, data) == DftiNoError; }
  // Elements of a row of that many numbers.
  static int64_t row_of(int64_t length) { return is_complex<A> ? length : 2 * (length / 2 + 1); }

private:
  using Strides = tnk_int[TNK_CONV_MOST_DIMS + 1];
  static constexpr bool is_single = std::is_same_v<real_of<A>, float>;
  static constexpr auto compute_forward =
      is_complex<A> ? (is_single ? tnk_dft_dfti_compute_forward_c : tnk_dft_dfti_compute_forward_z)
                    : (is_single ? tnk_dft_dfti_compute_forward_s : tnk_dft_dfti_compute_forward_d);
  static constexpr auto compute_backward =
      is_complex<A> ? (is_single ? tnk_dft_dfti_compute_backward_c : tnk_dft_dfti_compute_backward_z)
                    : (is_single ? tnk_dft_dfti_compute_backward_s : tnk_dft_dfti_compute_backward_d);

  static bool make(DftiHandle &handle, int dims, const Vector &lengths, const Strides &in,
                   const Strides &out) {
    const tnk_int precision = is_single ? DftiSingle : DftiDouble,
                  domain = is_complex<A> ? DftiComplex : DftiReal;
    const tnk_int rank = dims, pairs = DftiComplexComplex;
    constexpr tnk_int storage = DftiParamConjugateEvenStorage, input = DftiParamInputStrides,
                      output = DftiParamOutputStrides;
    const tnk_int status =
        dims == 1 ? tnk_dft_dfti_create_descriptor_1d(&handle, &precision, &domain, &rank, lengths)
                  : tnk_dft_dfti_create_descriptor_highd(&handle, &precision, &domain, &rank, lengths);
    if (status != DftiNoError) return false;
    handle->requested_threads = 1;
    if (!is_complex<A> && (tnk_dft_dfti_set_value_intval(&handle, &storage, &pairs) != DftiNoError ||
                           tnk_dft_dfti_set_value_intvec(&handle, &input, in) != DftiNoError ||
                           tnk_dft_dfti_set_value_intvec(&handle, &output, out) != DftiNoError))
      return false;
    return tnk_dft_dfti_commit_descriptor_external(&handle) == DftiNoError;
  }

  DftiHandle forward_ = nullptr, backward_ = nullptr;
  bool one_way_ = false;
};

// into := or += a times b, number by number: arrays of spectra.
template <class C> void multiply(C *into, const C *a, const C *b, int64_t count, bool add) {
  using V = vec_of<C>;
  int64_t i = 0;
  for (; i + per_vector<C> <= count; i += per_vector<C>) {
    const V product = times<C>(loadu<V>(a + i), loadu<V>(b + i));
    storeu(into + i, add ? loadu<V>(into + i) + product : product);
  }
  for (; i < count; ++i) into[i] = add ? into[i] + a[i] * b[i] : a[i] * b[i];
}

// ---- A convolution in blocks -------------------------------------------------------------------------------------

template <class A, class D> struct ByTransforms {
  const Array<const D> &s, &l; // the shorter and the longer operand
  Array<D> z;
  const Blocks &blocks;
  Transforms<A> transforms;
  int64_t row = 0, rows = 1; // of a transform's array
  Vector last_row = {};

  // Elements first ... first + count - 1 of `array` in each dimension, those that it has, to the beginning of `to`; zeros
  // elsewhere.
  void load(A *to, const Array<const D> &array, const Vector &first, const Vector &count) const {
    Vector at = {}, none = {};
    const int64_t lo = std::max<int64_t>(-first[0], 0), hi = std::min(array.shape[0] - first[0], count[0]);
    do {
      bool inside = lo < hi;
      const D *from = array.base + first[0] * array.stride[0];
      for (int k = 1; k < array.dims; ++k) {
        const int64_t index = first[k] + at[k];
        inside = inside && at[k] < count[k] && index >= 0 && index < array.shape[k];
        from += index * array.stride[k];
      }
      int64_t i = 0;
      if (inside) {
        for (; i < lo; ++i) to[i] = A{};
        if (array.stride[0] == 1)
          for (; i < hi; ++i) to[i] = widened<A>(get(from + i));
        for (; i < hi; ++i) to[i] = widened<A>(get(from + i * array.stride[0]));
      }
      for (; i < row; ++i) to[i] = A{};
      to += row;
    } while (next(at, 1, array.dims, none, last_row));
  }

  // Outputs `at` ... `at` + count - 1 in each dimension; the first one stands at `place` in each.
  void store(const A *from, const Vector &at, const Vector &count, const Vector &place,
             real_of<A> scale) const {
    Vector t = {}, none = {}, last = {};
    for (int k = 0; k < z.dims; ++k) last[k] = count[k] - 1;
    const int64_t step = blocks.axis[0].step;
    do {
      int64_t offset = place[0], stride = row;
      D *to = z.base + at[0] * z.stride[0];
      for (int k = 1; k < z.dims; ++k) {
        offset += (place[k] + t[k] * blocks.axis[k].step) * stride;
        stride *= blocks.axis[k].length;
        to += (at[k] + t[k]) * z.stride[k];
      }
      for (int64_t i = 0; i < count[0]; ++i)
        put(to + i * z.stride[0], narrowed<D>(scale * from[offset + i * step]));
    } while (next(t, 1, z.dims, none, last));
  }

  int32_t run() {
    using C = complex<real_of<A>>;
    Vector lengths = {}, block_first = {}, block_last = {}, piece_last = {};
    for (int k = 0; k < blocks.dims; ++k) {
      lengths[k] = blocks.axis[k].length;
      block_last[k] = blocks.axis[k].blocks - 1, piece_last[k] = blocks.axis[k].pieces() - 1;
      if (k > 0) last_row[k] = lengths[k] - 1, rows *= lengths[k];
    }
    row = Transforms<A>::row_of(lengths[0]);
    const int64_t size = row * rows,
                  numbers = size * static_cast<int64_t>(sizeof(A) / sizeof(real_of<A>)) / 2;
    const real_of<A> scale = 1 / static_cast<real_of<A>>(blocks.transform());
    const bool pieces = blocks.pieces() > 1;
    Scratch<A> spectrum_memory, work_memory, sum_memory;
    A *const spectrum = spectrum_memory.take(size), *const work = spectrum ? work_memory.take(size) : nullptr;
    A *const sum = !pieces ? work : work ? sum_memory.take(size) : nullptr;
    if (!sum || !transforms.make(blocks.dims, lengths)) return TNK_CONV_NO_MEMORY;

    // Transforms of several dimensions take memory in each computation, so one may fail when others are done: until then
    // z is elsewhere.
    const Array<D> wanted = z;
    Scratch<D> result_memory;
    const bool apart = blocks.dims > 1 && blocks.blocks() > 1;
    if (apart) {
      D *const result = result_memory.take(z.count());
      if (!result) return TNK_CONV_NO_MEMORY;
      z = Array<D>(result, z);
    }

    const auto piece_spectrum = [&](const Vector &offset, const Vector &count) {
      load(spectrum, s, offset, count);
      return transforms.forward(spectrum);
    };
    Vector block = {}, whole = {};
    for (int k = 0; k < blocks.dims; ++k) whole[k] = blocks.axis[k].m;
    if (!pieces && !piece_spectrum(block_first, whole)) return TNK_CONV_NO_MEMORY;
    do {
      Vector at = {}, count = {}, place = {}, piece = {};
      bool first_piece = true;
      do {
        Vector offset = {}, length = {}, origin = {}, met = {};
        for (int k = 0; k < blocks.dims; ++k) {
          const Axis &a = blocks.axis[k];
          at[k] = block[k] * a.block, count[k] = std::min(a.block, a.outputs - at[k]);
          const int64_t position = a.first + at[k] * a.step;
          offset[k] = piece[k] * a.piece, length[k] = std::min(a.piece, a.m - offset[k]);
          origin[k] = a.origin(position, offset[k]);
          place[k] = position - offset[k] - origin[k];
          met[k] = place[k] + (count[k] - 1) * a.step + 1;
        }
        if (pieces && !piece_spectrum(offset, length)) return TNK_CONV_NO_MEMORY;
        load(work, l, origin, met);
        if (!transforms.forward(work)) return TNK_CONV_NO_MEMORY;
        multiply(reinterpret_cast<C *>(sum), reinterpret_cast<const C *>(work),
                 reinterpret_cast<const C *>(spectrum), numbers, !first_piece);
        first_piece = false;
      } while (next(piece, 0, blocks.dims, block_first, piece_last));
      if (!transforms.backward(sum)) return TNK_CONV_NO_MEMORY;
      store(sum, at, count, place, scale);
    } while (next(block, 0, blocks.dims, block_first, block_last));
    if (apart) unpack(wanted, z.base);
    return TNK_CONV_OK;
  }
};

// z of x and y, whose statuses have been tested.
template <class P, class D>
int32_t basic_cc_via_dfti(Job job, Array<const D> x, Array<const D> y, Array<D> z, const int32_t *start,
                          const int32_t *decimation) {
  Blocks blocks = {};
  // Dimensions in which there is one element, and so one output, do not count; one dimension stays.
  int dims = 0;
  for (int k = 0; k < x.dims; ++k) {
    if (x.shape[k] == 1 && y.shape[k] == 1 && (dims > 0 || k < x.dims - 1)) continue;
    Axis &axis = blocks.axis[dims];
    axis.m = x.shape[k], axis.n = y.shape[k];
    axis.first = start[k], axis.step = decimation[k], axis.outputs = z.shape[k];
    if (job == correlation) {
      axis.first += axis.m - 1;
      x.base += (axis.m - 1) * x.stride[k];
      x.stride[k] = -x.stride[k];
    }
    for (Array<const D> *array : {&x, &y})
      array->shape[dims] = array->shape[k], array->stride[dims] = array->stride[k];
    z.shape[dims] = z.shape[k], z.stride[dims] = z.stride[k];
    ++dims;
  }
  blocks.dims = x.dims = y.dims = z.dims = dims;
  if (x.count() > y.count()) {
    std::swap(x, y);
    for (int k = 0; k < dims; ++k) std::swap(blocks.axis[k].m, blocks.axis[k].n);
  }
  choose_blocks(blocks);
  return ByTransforms<typename P::arithmetic, D>{x, y, z, blocks, {}}.run();
}

} // namespace tnk::conv

// The kernels by transforms of a pair of types.
#define TNK_CONV_FFT_JOB(types, T, P, job, Job)                                                              \
  TNK_CONV_1D(tnk_conv_##types##fft_1d_##job##_de, T) {                                                      \
    using namespace tnk::conv;                                                                               \
    if (const int32_t status = check_1d<Job>(x, y, z, zstride, xshape, yshape, start, zshape, decimation))   \
      return status;                                                                                         \
    return basic_cc_via_dfti<P>(Job, Array<const T>(x, 1, &xshape, &xstride),                                \
                                Array<const T>(y, 1, &yshape, &ystride), Array<T>(z, 1, &zshape, &zstride),  \
                                &start, &decimation);                                                        \
  }                                                                                                          \
  TNK_CONV_ALL(tnk_conv_##types##fft_all_##job##_de, T) {                                                    \
    using namespace tnk::conv;                                                                               \
    if (const int32_t status =                                                                               \
            check_all<Job>(dims, x, xshape, y, yshape, z, zshape, zstride, start, decimation))               \
      return status;                                                                                         \
    return basic_cc_via_dfti<P>(Job, Array<const T>(x, dims, xshape, xstride),                               \
                                Array<const T>(y, dims, yshape, ystride),                                    \
                                Array<T>(z, dims, zshape, zstride), start, decimation);                      \
  }
#define TNK_CONV_FFT(types, T, P)                                                                            \
  TNK_CONV_FFT_JOB(types, T, P, conv, convolution)                                                           \
  TNK_CONV_FFT_JOB(types, T, P, corr, correlation)
