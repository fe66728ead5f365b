// Products with a triangle, in place, on the block kernels of the matrix product.
//
// An element is one sum over the steps of its group, from zero in ascending order: its own part of a row (column) of
// op(A), and zeros where that ends within the group.
#include "kernel/blas/level3/triangle_product.h"
#include "kernel/blas/level3/constants.h"

namespace tnk::level3 {
namespace {

template <class T> constexpr int mr = gemm_tile<T>::mr;
template <class T> constexpr int nr = gemm_tile<T>::nr;

// Rows of a group of op(A) on the left. A group's steps begin and end at multiples of it, kr at least.
template <class T> constexpr int row_group = std::max(mr<T>, kr);

// Some rows (columns) of op(A) and the steps in which they are not empty.
struct Group {
  tnk_int first, size;
  tnk_int first_step, padded; // up to a multiple of kr
  tnk_int offset;             // in the packed triangle
};

// f(group, lanes) for the groups of a triangle. width(left): of the next one, and the lanes that a step of it takes.
// to_the_end: steps go from the diagonal on.
template <class Width, class F> TNK_INLINE void in_groups(tnk_int order, bool to_the_end, Width width, F f) {
  tnk_int offset = 0;
  for (tnk_int first = 0; first < order;) {
    const auto [size, lanes] = width(order - first);
    const tnk_int steps = to_the_end ? order - first : first + size;
    const Group g = {first, size, to_the_end ? first : 0, rounded_up(steps, kr), offset};
    f(g, lanes);
    first += size, offset += lanes * g.padded;
  }
}
struct Width {
  tnk_int size, lanes;
};
template <class T, class F> TNK_INLINE void in_row_groups(tnk_int order, bool upper, F f) {
  in_groups(
      order, upper,
      [](tnk_int left) {
        return Width{std::min<tnk_int>(left, row_group<T>), row_group<T>};
      },
      f);
}
// As wide as those of a packed B: nr, then 4, then what is left.
template <class T, class F> TNK_INLINE void in_column_groups(tnk_int order, bool upper, F f) {
  in_groups(
      order, !upper,
      [](tnk_int left) {
        return left >= nr<T> ? Width{nr<T>, nr<T>} : Width{std::min<tnk_int>(left, group), group};
      },
      f);
}

// Rows and columns of op(A) from `first` on, zeros in its empty half.
template <class T> void diagonal_square(const Triangle<T> &t, tnk_int first, tnk_int size, T *square) {
  // Element (r, c) of the upper half, r < c, or its mirror image in a lower one.
  const T *const corner = t.a + first + first * t.lda;
  const tnk_int from_r = t.stored_upper ? 1 : t.lda, from_c = t.stored_upper ? t.lda : 1;
  const tnk_int to_r = t.upper() ? 1 : size, to_c = t.upper() ? size : 1;
  const auto conjugated = [&t](T x) { return t.op == conjugate_transposed ? conjugate(x) : x; };
  for (tnk_int c = 0; c < size; ++c) {
    for (tnk_int r = 0; r < c; ++r) {
      square[r * to_r + c * to_c] = conjugated(get(corner + r * from_r + c * from_c));
      square[r * to_c + c * to_r] = T{};
    }
    square[c + c * size] = t.unit ? one<T> : conjugated(get(corner + c + c * t.lda));
  }
}

// One operand of the block kernels, of one panel or narrow group.
template <class T> struct Packed {
  const T *data;
  tnk_int stride;
};
// C := A B, up to a tile's rows or columns.
template <class T>
TNK_INLINE void block_product(tnk_int m, tnk_int n, tnk_int padded, Packed<T> a, Packed<T> b, T *c,
                              tnk_int ldc) {
  static constexpr char as_packed = 'N';
  const T beta{};
  const tnk_gemm_panels pa = {nullptr, a.stride, 0, 0}, pb = {nullptr, b.stride, 0, 0};
  gemm_entries<T>::rows->ker0(&as_packed, &as_packed, &m, &n, &padded, nullptr, a.data, &pa, b.data, &pb,
                              &beta, c, &ldc, nullptr, plain_panels);
}
template <class T>
TNK_INLINE void pack_a(Operation op, tnk_int rows, tnk_int steps, const T *source, tnk_int ld, T *to,
                       tnk_int stride) {
  const tnk_gemm_panels panels = {nullptr, stride, 0, 0};
  gemm_entries<T>::rows->copya[op](&rows, &steps, source, &ld, to, &panels, &one<T>);
}
template <class T>
TNK_INLINE void pack_b(Operation op, tnk_int steps, tnk_int columns, const T *source, tnk_int ld, T *to,
                       tnk_int stride) {
  const tnk_gemm_panels panels = {nullptr, stride, 0, 0};
  gemm_entries<T>::rows->copyb[op](&steps, &columns, source, &ld, to, &panels, nullptr);
}

template <class T> void pack_for_right(const Triangle<T> &t, tnk_int order, T *packed) {
  const bool upper = t.upper();
  in_column_groups<T>(order, upper, [&](const Group &g, tnk_int lanes) {
    T square[nr<T> * nr<T>];
    diagonal_square(t, g.first, g.size, square);
    T *const to = packed + g.offset;
    pack_b(as_it_is, g.size, g.size, square, g.size, to + lanes * (g.first - g.first_step), 0);
    const tnk_int from = upper ? 0 : g.first + g.size, rest = upper ? g.first : order - from;
    if (rest > 0)
      pack_b(t.op, rest, g.size, t.block(from, g.first), t.lda, to + lanes * (from - g.first_step), 0);
  });
}

// By rows of B, as many as fit the buffer.
template <class T>
void multiply_packed_from_right(bool upper, tnk_int m, tnk_int n, const T *packed, T *buffer, T *b,
                                tnk_int ldb) {
  const tnk_int steps = rounded_up(n, kr), stride = mr<T> * steps;
  const tnk_int at_once = rounded_down(packed_elements<T> / steps, mr<T>);
  for (tnk_int i = 0; i < m; i += at_once) {
    const tnk_int rows = std::min(at_once, m - i);
    pack_a(as_it_is, rows, n, b + i, ldb, buffer, stride);
    in_column_groups<T>(n, upper, [&](const Group &g, tnk_int) {
      block_product<T>(rows, g.size, g.padded, {buffer + mr<T> * g.first_step, stride},
                       {packed + g.offset, 0}, b + i + g.first * ldb, ldb);
    });
  }
}

// The order from which packing pays; below it mostly zeros would be multiplied. B's other dimension has no say, so that
// it can be cut anywhere.
constexpr tnk_int least_packed = 4;

} // namespace

template <class T> void pack_for_left(const Triangle<T> &t, tnk_int order, T *packed) {
  const bool upper = t.upper();
  in_row_groups<T>(order, upper, [&](const Group &g, tnk_int) {
    T square[row_group<T> * row_group<T>];
    diagonal_square(t, g.first, g.size, square);
    T *const to = packed + g.offset;
    const tnk_int stride = mr<T> * g.padded;
    pack_a(as_it_is, g.size, g.size, square, g.size, to + mr<T> * (g.first - g.first_step), stride);
    const tnk_int from = upper ? g.first + g.size : 0, rest = upper ? order - from : g.first;
    if (rest > 0)
      pack_a(t.op, g.size, rest, t.block(g.first, from), t.lda, to + mr<T> * (from - g.first_step), stride);
  });
}

// By columns of B: whole panels, of which a kernel takes several, then each narrow group.
template <class T>
void multiply_packed(bool upper, tnk_int m, tnk_int n, const T *packed, T *buffer, T *b, tnk_int ldb) {
  const tnk_int steps = rounded_up(m, kr), stride = nr<T> * steps;
  for (tnk_int j = 0; j < n; j += columns_at_once<T>) {
    const tnk_int columns = std::min(columns_at_once<T>, n - j), whole = rounded_down(columns, nr<T>);
    pack_b(as_it_is, m, columns, b + j * ldb, ldb, buffer, stride);
    in_row_groups<T>(m, upper, [&](const Group &g, tnk_int) {
      const Packed<T> rows = {packed + g.offset, mr<T> * g.padded};
      T *const c = b + g.first + j * ldb;
      if (whole > 0)
        block_product<T>(g.size, whole, g.padded, rows, {buffer + nr<T> * g.first_step, stride}, c, ldb);
      const T *narrow = buffer + steps * whole + group * g.first_step;
      for (tnk_int k = whole; k < columns; k += group, narrow += group * steps)
        block_product<T>(g.size, std::min<tnk_int>(group, columns - k), g.padded, rows, {narrow, 0},
                         c + k * ldb, ldb);
    });
  }
}

// ---- Without packing ----------------------------------------------------------------------------------------------

namespace {

// Rows (columns) that are multiplied by a square of their own; the plain product adds the rest.
constexpr tnk_int plain_group = 8;

// One line of B, `stride` apart, times a square: element r becomes the sum of s(r, l) x(l) over what the square has.
template <class T>
void multiply_line(const T *square, tnk_int r_step, tnk_int l_step, tnk_int size, bool to_the_end, T *line,
                   tnk_int stride) {
  T x[plain_group];
  for (tnk_int l = 0; l < size; ++l) x[l] = get(line + l * stride);
  for (tnk_int r = 0; r < size; ++r) {
    T sum{};
    const tnk_int first = to_the_end ? r : 0, end = to_the_end ? size : r + 1;
    for (tnk_int l = first; l < end; ++l) sum += square[r * r_step + l * l_step] * x[l];
    put(line + r * stride, sum);
  }
}

template <class T> void add_plain(const Operands<T> &p) {
  plain_product(p, block_along_k(p.k, kr));
}
template <class T>
void add_from_left(const Triangle<T> &t, tnk_int i, tnk_int rows, tnk_int from, tnk_int steps, tnk_int n,
                   T *b, tnk_int ldb) {
  add_plain<T>(
      {t.op, as_it_is, rows, n, steps, one<T>, t.block(i, from), t.lda, b + from, ldb, one<T>, b + i, ldb});
}
template <class T>
void add_from_right(const Triangle<T> &t, tnk_int j, tnk_int columns, tnk_int from, tnk_int steps, tnk_int m,
                    T *b, tnk_int ldb) {
  add_plain<T>({as_it_is, t.op, m, columns, steps, one<T>, b + from * ldb, ldb, t.block(from, j), t.lda,
                one<T>, b + j * ldb, ldb});
}

} // namespace

template <class T> void plain_from_left(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb) {
  over_triangle(
      m, plain_group, t.upper(),
      [&](tnk_int i, tnk_int size) {
        T square[plain_group * plain_group];
        diagonal_square(t, i, size, square);
        for (tnk_int j = 0; j < n; ++j) multiply_line(square, 1, size, size, t.upper(), b + i + j * ldb, 1);
      },
      [&](tnk_int i, tnk_int size, tnk_int from, tnk_int steps) {
        add_from_left(t, i, size, from, steps, n, b, ldb);
      });
}
template <class T> void plain_from_right(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb) {
  over_triangle(
      n, plain_group, !t.upper(),
      [&](tnk_int j, tnk_int size) {
        T square[plain_group * plain_group];
        diagonal_square(t, j, size, square);
        for (tnk_int i = 0; i < m; ++i)
          multiply_line(square, size, 1, size, !t.upper(), b + i + j * ldb, ldb);
      },
      [&](tnk_int j, tnk_int size, tnk_int from, tnk_int steps) {
        add_from_right(t, j, size, from, steps, m, b, ldb);
      });
}

template <class T> void multiply_from_left(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb) {
  if (m < least_packed) return plain_from_left(t, m, n, b, ldb);
  alignas(64) T packed[packed_triangle(packed_order)], buffer[packed_elements<T>];
  over_triangle(
      m, packed_order, t.upper(),
      [&](tnk_int i, tnk_int size) {
        pack_for_left(t.from(i), size, packed);
        multiply_packed(t.upper(), size, n, packed, buffer, b + i, ldb);
      },
      [&](tnk_int i, tnk_int size, tnk_int from, tnk_int steps) {
        add_from_left(t, i, size, from, steps, n, b, ldb);
      });
}
template <class T> void multiply_from_right(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb) {
  if (n < least_packed) return plain_from_right(t, m, n, b, ldb);
  alignas(64) T packed[packed_triangle(packed_order)], buffer[packed_elements<T>];
  over_triangle(
      n, packed_order, !t.upper(),
      [&](tnk_int j, tnk_int size) {
        pack_for_right(t.from(j), size, packed);
        multiply_packed_from_right(t.upper(), m, size, packed, buffer, b + j * ldb, ldb);
      },
      [&](tnk_int j, tnk_int size, tnk_int from, tnk_int steps) {
        add_from_right(t, j, size, from, steps, m, b, ldb);
      });
}

#define INSTANTIATE(T)                                                                                       \
  template void pack_for_left(const Triangle<T> &, tnk_int, T *);                                            \
  template void multiply_packed(bool, tnk_int, tnk_int, const T *, T *, T *, tnk_int);                       \
  template void plain_from_left(const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);                        \
  template void plain_from_right(const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);                       \
  template void multiply_from_left(const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);                     \
  template void multiply_from_right(const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);
INSTANTIATE(float)
INSTANTIATE(double)
INSTANTIATE(tnk_complex8)
INSTANTIATE(tnk_complex16)

} // namespace tnk::level3
