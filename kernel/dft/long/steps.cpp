// The four steps, on slices of the matrix. In each pass a number goes through the cache once, by eight columns or rows at a
// time: whole lines of the cache.
#include "kernel/dft/long/long.h"

namespace tnk::dft {
namespace {

// ---- Twiddle factors ------------------------------------------------------------------------------------------------------

// Multiplies number m by exp(-2 pi i m / L), or by its conjugate, and by a factor. The root is a product of one for the
// high bits of m and one for the low ones: two tables small enough to stay in the cache. Element 0 of both is exactly 1, so
// where one index is 0 the product is the root of the other one.
template <class R> class Twist {
  using C = complex<R>;
  using V = vec_of<C>;

public:
  Twist(const C *tables, tnk_int table_length, R factor, int32_t direction)
      : low_(tables), high_(tables + table_length),
        shift_(__builtin_ctzll(static_cast<unsigned long long>(table_length))), mask_(table_length - 1),
        factor_(factor), signed_(direction == 1 ? factor : 0 - factor) {}

  C operator()(C x, tnk_int m, tnk_int) const {
    const C root = get(high_ + (m >> shift_)) * get(low_ + (m & mask_));
    return C{factor_ * root.re, signed_ * root.im} * x;
  }
  // Numbers m, m + j, ...
  V operator()(V x, tnk_int m, tnk_int j) const {
    const V high = roots(high_, m >> shift_, (m + j) >> shift_, (m + 2 * j) >> shift_, (m + 3 * j) >> shift_);
    const V low = roots(low_, m & mask_, (m + j) & mask_, (m + 2 * j) & mask_, (m + 3 * j) & mask_);
    const V root = times<C>(high, low);
    return complex_product(splat<V>(factor_) * even_lanes_twice(root),
                           splat<V>(signed_) * odd_lanes_twice(root), x);
  }

private:
  static V roots(const C *table, tnk_int a, tnk_int b, tnk_int c, tnk_int d) {
    const auto pairs = [=](tnk_int i, tnk_int k)
                           TNK_INLINED { return load_pairs(&table[i].re, &table[k].re); };
    if constexpr (per_vector<C> == 2)
      return pairs(a, b);
    else
      return joined(pairs(a, b), pairs(c, d));
  }

  const C *low_, *high_;
  int shift_;
  tnk_int mask_;
  R factor_, signed_;
};

// ---- Rows -----------------------------------------------------------------------------------------------------------------

// Number i of a row becomes change(x, i); i counts from 0. The same for a vector of numbers from i on.
template <class C, class Change>
inline void change_row(const C *from, C *to, tnk_int length, const Change &change) {
  using V = vec_of<C>;
  tnk_int i = 0;
  for (; i + per_vector<C> <= length; i += per_vector<C>) storeu(to + i, change(loadu<V>(from + i), i));
  for (; i < length; ++i) put(to + i, change(get(from + i), i));
}

// Rows become columns: number i of row r, as change(x, r, i), goes to to[i * stride + r]. There are at most eight rows; of
// eight, squares of numbers are turned in registers.
template <class C, class Change>
inline void turn_rows(tnk_int count, tnk_int length, const C *from, tnk_int row, C *to, tnk_int stride,
                      const Change &change) {
  using V = vec_of<C>;
  constexpr int size = Square<C>::size;
  static_assert(size == per_vector<C>);
  tnk_int i = 0;
  if (count == rows_at_once)
    for (; i + size <= length; i += size)
      unrolled<rows_at_once / size>([&](auto g) TNK_INLINED {
        f64x4 r[size];
        unrolled<size>([&](auto k) TNK_INLINED {
          constexpr int own = g * size + k;
          r[k] = reinterpret_cast<f64x4>(change(loadu<V>(from + own * row + i), own, i));
        });
        Square<C>::turn(r);
        unrolled<size>([&](auto k) TNK_INLINED { storeu(to + (i + k) * stride + g * size, r[k]); });
      });
  for (; i < length; ++i)
    for (tnk_int r = 0; r < count; ++r) put(to + i * stride + r, change(get(from + r * row + i), r, i));
}

// ---- A bundle of columns after their transform: the numbers of column first + r stand in row r -----------------------------

template <class R>
void twist_bundle_transpose(const Rows &bundle, tnk_int count, tnk_int length, complex<R> *to, tnk_int stride,
                            tnk_int first, const Twist<R> &twist) {
  using C = complex<R>;
  turn_rows(count, length, at<C>(bundle[0]), bundle.pitch() / tnk_int{sizeof(C)}, to, stride,
            [&](auto x, tnk_int r, tnk_int i) TNK_INLINED { return twist(x, (first + r) * i, first + r); });
}

template <class R>
void twist_row(const complex<R> *from, complex<R> *to, tnk_int length, tnk_int j, const Twist<R> &twist) {
  change_row(from, to, length, [&](auto x, tnk_int i) TNK_INLINED { return twist(x, j * i, j); });
}

template <class R>
void scatter_twist_rows(const Rows &bundle, tnk_int count, tnk_int length, complex<R> *to, tnk_int first,
                        const Twist<R> &twist) {
  for (tnk_int r = 0; r < count; ++r)
    twist_row<R>(at<complex<R>>(bundle[static_cast<int>(r)]), to + r * length, length, first + r, twist);
}

template <class R>
tnk_int twist_bundle_inplace(complex<R> *rows, tnk_int count, tnk_int length, tnk_int first, const Step &step,
                             const Twist<R> &twist) {
  for (tnk_int r = 0; r < count; ++r, rows += length) {
    char *const row = reinterpret_cast<char *>(rows);
    if (const tnk_int status = step(row, row)) return status;
    twist_row<R>(rows, rows, length, first + r, twist);
  }
  return DftiNoError;
}

// ---- Steps ------------------------------------------------------------------------------------------------------------------

template <class R>
tnk_int columns(DftiNode *root, tnk_int count, complex<R> *source, complex<R> *target, DftiKernel *kernel,
                tnk_int length, void *work, const complex<R> *twiddles, tnk_int first, tnk_int table_length,
                int32_t direction) {
  using C = complex<R>;
  constexpr tnk_int size = sizeof(C);
  const DftiLongData &data = *long_data(root);
  const Step step{kernel, data.node1, work};
  if (source == target)
    return twist_bundle_inplace<R>(source, count, length, first, step,
                                   {twiddles, table_length, 1, direction});

  // Where rows stay rows, no later step has anything to do at every number but the kernel.
  const bool turned = data.variant == 0;
  const R factor = direction == 1 ? factor_of<R, false>(root) : factor_of<R, true>(root);
  const Twist<R> twist(twiddles, table_length, turned ? 1 : factor, direction);
  const Rows bundle = Rows::apart(data.ld1 * size, count);
  if (bundle.missing()) return DftiMemoryError;
  for (tnk_int i = 0; i < count; i += rows_at_once) {
    const tnk_int lines = std::min<tnk_int>(rows_at_once, count - i);
    gather_lines<C>(reinterpret_cast<const char *>(source + i), {data.n2 * size, size}, length, lines,
                    bundle);
    for (int r = 0; r < lines; ++r)
      if (const tnk_int status = step(bundle[r], bundle[r])) return status;
    if (turned)
      twist_bundle_transpose<R>(bundle, lines, length, target + i, data.ld2, first + i, twist);
    else
      scatter_twist_rows<R>(bundle, lines, length, target + i * length, first + i, twist);
  }
  return DftiNoError;
}

template <class R>
tnk_int down_columns(complex<R> *data, tnk_int count, tnk_int row, DftiKernel *kernel, tnk_int length,
                     DftiNode *node, void *work) {
  using C = complex<R>;
  constexpr auto transpose = steps<R>::transpose;
  const tnk_int ld = padded<C>(length);
  const Rows bundle = Rows::apart(ld * tnk_int{sizeof(C)}, count);
  if (bundle.missing()) return DftiMemoryError;
  const Step step{kernel, node, work};
  const auto size = [](tnk_int n) { return static_cast<std::uint64_t>(n); };
  for (tnk_int i = 0; i < count; i += rows_at_once) {
    const tnk_int lines = std::min<tnk_int>(rows_at_once, count - i);
    C *const rows = at<C>(bundle[0]);
    transpose('C', 'T', size(lines), size(length), {1, 0}, data + i, size(row), rows, size(ld));
    for (int r = 0; r < lines; ++r)
      if (const tnk_int status = step(bundle[r], bundle[r])) return status;
    transpose('C', 'T', size(length), size(lines), {1, 0}, rows, size(ld), data + i, size(row));
  }
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

using namespace tnk;
using namespace tnk::dft;

#define TNK_STEPS(x, C, R)                                                                                   \
  tnk_int tnk_dft_##x##_4step_1_2(DftiNode *root, tnk_int, tnk_int n2, C *source, C *target,                 \
                                  DftiKernel *kernel, tnk_int length, void *work, const C *twiddles,         \
                                  tnk_int first, tnk_int table_length, int32_t direction) {                  \
    return columns<R>(root, n2, source, target, kernel, length, work, twiddles, first, table_length,         \
                      direction);                                                                            \
  }                                                                                                          \
  tnk_int tnk_dft_##x##_4step_3(C *data, tnk_int n1, tnk_int, tnk_int row, DftiKernel *kernel,               \
                                tnk_int length, DftiNode *node, void *work) {                                \
    return down_columns<R>(data, n1, row, kernel, length, node, work);                                       \
  }                                                                                                          \
  void tnk_dft_##x##_4step_4(tnk_int count, tnk_int length, const C *source, tnk_int source_row,             \
                             C *destination, tnk_int destination_row) {                                      \
    turn_rows(count, length, source, source_row, destination, destination_row,                               \
              [](auto number, tnk_int, tnk_int) TNK_INLINED { return number; });                             \
  }                                                                                                          \
  void tnk_dft_##x##_4step_scale_4(tnk_int count, tnk_int length, const C *source, tnk_int source_row,       \
                                   C *destination, tnk_int destination_row, R factor) {                      \
    turn_rows(count, length, source, source_row, destination, destination_row,                               \
              [=](auto number, tnk_int, tnk_int) TNK_INLINED { return factor * number; });                   \
  }
TNK_STEPS(xc, tnk_complex8, float)
TNK_STEPS(xz, tnk_complex16, double)
#undef TNK_STEPS
