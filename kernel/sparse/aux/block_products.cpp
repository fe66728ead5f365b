// Products of block rows with a vector or with several right-hand sides.
#include "kernel/frame/vector.h"
#include "kernel/sparse/aux/blocks.h"
#include <utility>

namespace tnk::sparse {
namespace {

// Which elements of a block count.
enum class Part { full, lower, strictly_lower, upper, strictly_upper, diagonal };

constexpr Part mirrored(Part part) {
  switch (part) {
  case Part::lower:
    return Part::upper;
  case Part::strictly_lower:
    return Part::strictly_upper;
  case Part::upper:
    return Part::lower;
  case Part::strictly_upper:
    return Part::strictly_lower;
  default:
    return part;
  }
}

// The columns of row r that count.
template <class I> struct Span { I first, end; };
template <class I> Span<I> columns_of(Part part, I r, I size) {
  switch (part) {
  case Part::lower:
    return {0, r + 1};
  case Part::strictly_lower:
    return {0, r};
  case Part::upper:
    return {r, size};
  case Part::strictly_upper:
    return {r + 1, size};
  case Part::diagonal:
    return {r, r + 1};
  default:
    return {0, size};
  }
}

// Dense operands and scalars of a product.
template <class Side, class T, class I> struct Product {
  Blocks<Side, T, I> a;
  I m, nrhs;
  T alpha;
  const T *b;
  I ldb;
  T *c;
  I ldc;

  const T *b_of(I block) const {
    return b + wrapped_product<I>(wrapped_product(block, a.size), Side::by_rows ? ldb : 1);
  }
  T *c_of(I block) const {
    return c + wrapped_product<I>(wrapped_product(block, a.size), Side::by_rows ? ldc : 1);
  }
};

// Block row `to` of C += alpha * (part of a block) * (block row `from` of B); transposed when Transposed, the part
// being that of the transposed block. The innermost loop runs along the dense operands. Size 0 takes the size from
// the data.
template <bool Transposed, int Size = 0, class Side, class T, class I>
void add_block(const Product<Side, T, I> &job, T alpha, I to, I from, const T *block, Part part) {
  const I size = Size ? Size : job.a.size;
  constexpr bool rows_adjacent = Side::by_rows == Transposed;
  const auto at = [=](I r, I s) {
    return get(block + (rows_adjacent ? wrapped_product(s, size) + r : wrapped_product(r, size) + s));
  };
  const T *const b = job.b_of(from);
  T *const c = job.c_of(to);
  if constexpr (Side::by_rows) {
    for (I r = 0; r < size; ++r) {
      const Span<I> columns = columns_of(part, r, size);
      if (job.nrhs == 1) { // nothing to run along: the same sum, kept in a register
        T *const target = c + wrapped_product(r, job.ldc);
        T sum = get(target);
        for (I s = columns.first; s < columns.end; ++s)
          sum = sum + at(r, s) * (alpha * get(b + wrapped_product(s, job.ldb)));
        put(target, sum);
        continue;
      }
      for (I s = columns.first; s < columns.end; ++s) {
        const T value = at(r, s);
        const T *__restrict const b_row = b + wrapped_product(s, job.ldb);
        T *__restrict const c_row = c + wrapped_product(r, job.ldc);
        for (I q = 0; q < job.nrhs; ++q) put(c_row + q, get(c_row + q) + value * (alpha * get(b_row + q)));
      }
    }
  } else {
    for (I q = 0; q < job.nrhs; ++q)
      for (I s = 0; s < size; ++s) {
        const Span<I> rows = columns_of(mirrored(part), s, size);
        const T t = alpha * get(b + wrapped_product(q, job.ldb) + s);
        T *__restrict const c_column = c + wrapped_product(q, job.ldc);
        for (I r = rows.first; r < rows.end; ++r) put(c_column + r, get(c_column + r) + at(r, s) * t);
      }
  }
}

// visit(block row, block column, block) for all blocks.
template <class Side, class T, class I, class Visit>
void for_each_block(const Product<Side, T, I> &job, Visit visit) {
  for (I i = 0; i < job.m; ++i) {
    const auto row = job.a.row(i);
    for (I p = row.first; p < row.end; ++p) visit(i, job.a.number(p), job.a.block(p));
  }
}

template <class Side, class T, class I> void add_identity(const Product<Side, T, I> &job) {
  const I rows = job.m > 0 && job.a.size > 0 ? wrapped_product(job.m, job.a.size) : 0;
  for (I q = 0; q < job.nrhs; ++q)
    for (I i = 0; i < rows; ++i) {
      const I along = Side::by_rows ? i : q, across = Side::by_rows ? q : i;
      T *const target = job.c + wrapped_product(along, job.ldc) + across;
      put(target, get(target) + job.alpha * get(job.b + wrapped_product(along, job.ldb) + across));
    }
}

// The sums of some rows, each of which goes on by itself. Complex ones go in pairs, the last of an odd number twice.
template <int Rows, class T, bool = is_complex<T>> class Sums {
public:
  explicit Sums(const T *c) {
    for (int r = 0; r < Rows; ++r) sums_[r] = get(c + r);
  }
  template <class I> void add(const T *column, I distance, T x) {
    for (int r = 0; r < Rows; ++r) sums_[r] = sums_[r] + get(column + r * distance) * x;
  }
  void store(T *c) const {
    for (int r = 0; r < Rows; ++r) put(c + r, sums_[r]);
  }

private:
  T sums_[Rows];
};
template <int Rows, class T> class Sums<Rows, T, true> {
  using V = decltype(load_pairs(std::declval<const real_of<T> *>(), std::declval<const real_of<T> *>()));
  static constexpr int pairs = (Rows + 1) / 2;
  template <class I> static V load(const T *p, int r, I distance) {
    const auto *const first = reinterpret_cast<const real_of<T> *>(p + r * distance);
    return load_pairs(first, r + 1 < Rows ? first + 2 * distance : first);
  }

public:
  explicit Sums(const T *c) {
    for (int i = 0; i < pairs; ++i) sums_[i] = load(c, 2 * i, 1);
  }
  template <class I> void add(const T *column, I distance, T x) {
    const V re = splat<V>(x.re), im = splat<V>(x.im);
    for (int i = 0; i < pairs; ++i)
      sums_[i] = sums_[i] + complex_product(re, im, load(column, 2 * i, distance));
  }
  void store(T *c) const {
    for (int r = 0; r < Rows; ++r) put(c + r, {sums_[r / 2][r % 2 * 2], sums_[r / 2][r % 2 * 2 + 1]});
  }

private:
  V sums_[pairs];
};

// Blocks by rows and a vector without gaps. The same sums as above, in the same order: they stay in registers, and each
// element of the vector is scaled once for some of them.
template <int Size, class Side, class T, class I> void blocks_times_vector(const Product<Side, T, I> &job) {
  for (I i = 0; i < job.m; ++i) {
    const auto row = job.a.row(i);
    Sums<Size, T> sums(job.c_of(i));
    for (I p = row.first; p < row.end; ++p) {
      const T *const block = job.a.block(p), *const b = job.b_of(job.a.number(p));
      for (I s = 0; s < Size; ++s) sums.add(block + s, I(Size), job.alpha * get(b + s));
    }
    sums.store(job.c_of(i));
  }
}
template <int Rows, class T, class I>
void add_rows(T alpha, I size, I &first, const T *block, const T *b, T *c) {
  for (; size - first >= Rows; first += Rows) {
    Sums<Rows, T> sums(c + first);
    const T *const rows = block + wrapped_product(first, size);
    for (I s = 0; s < size; ++s) sums.add(rows + s, size, alpha * get(b + s));
    sums.store(c + first);
  }
}
// Of these sizes, if it is one of them.
template <class Side, class T, class I, int... Sizes>
bool blocks_of_size_times_vector(const Product<Side, T, I> &job, std::integer_sequence<int, Sizes...>) {
  return ((job.a.size == Sizes && (blocks_times_vector<Sizes>(job), true)) || ...);
}
template <class Side, class T, class I> void times_vector(const Product<Side, T, I> &job) {
  if (blocks_of_size_times_vector(job, std::integer_sequence<int, 2, 3, 4, 5, 6, 7, 8>())) return;
  for_each_block(job, [&](I i, I j, const T *block) {
    I first = 0;
    add_rows<8>(job.alpha, job.a.size, first, block, job.b_of(j), job.c_of(i));
    add_rows<4>(job.alpha, job.a.size, first, block, job.b_of(j), job.c_of(i));
    add_rows<1>(job.alpha, job.a.size, first, block, job.b_of(j), job.c_of(i));
  });
}

template <int Size, class Side, class T, class I>
void general_of_size(const Product<Side, T, I> &job, bool transposed) {
  for_each_block(job, [&](I i, I j, const T *block) {
    if (transposed)
      add_block<true, Size>(job, job.alpha, j, i, block, Part::full);
    else
      add_block<false, Size>(job, job.alpha, i, j, block, Part::full);
  });
}
template <class Side, class T, class I> void gen(const Product<Side, T, I> &job, I flag) {
  const bool transposed = flag & TNK_SPBLAS_TRANSPOSED;
  if constexpr (Side::by_rows)
    if (!transposed && job.nrhs == 1 && job.ldb == 1 && job.ldc == 1) return times_vector(job);
  switch (job.a.size) {
  case 2:
    return general_of_size<2>(job, transposed);
  case 3:
    return general_of_size<3>(job, transposed);
  default:
    return general_of_size<0>(job, transposed);
  }
}

template <class Side, class T, class I> void diag(const Product<Side, T, I> &job, I flag) {
  if (flag & TNK_SPBLAS_UNIT) return add_identity(job);
  for_each_block(job, [&](I i, I j, const T *block) {
    if (i == j) add_block<false>(job, job.alpha, i, j, block, Part::diagonal);
  });
}

// visit(block row, block column, block, part) for the blocks that the triangle has elements in.
template <class Side, class T, class I, class Visit>
void for_each_of_triangle(const Product<Side, T, I> &job, bool upper, bool strict, Visit visit) {
  const Part within =
      upper ? (strict ? Part::strictly_upper : Part::upper) : (strict ? Part::strictly_lower : Part::lower);
  for_each_block(job, [&](I i, I j, const T *block) {
    if (i == j)
      visit(i, j, block, within);
    else if (upper == (j > i))
      visit(i, j, block, Part::full);
  });
}

template <class Side, class T, class I> void tr(const Product<Side, T, I> &job, I flag) {
  const bool unit = flag & TNK_SPBLAS_UNIT;
  if (unit) add_identity(job);
  for_each_of_triangle(job, flag & TNK_SPBLAS_UPPER, unit, [&](I i, I j, const T *block, Part part) {
    if (flag & TNK_SPBLAS_TRANSPOSED)
      add_block<true>(job, job.alpha, j, i, block, mirrored(part));
    else
      add_block<false>(job, job.alpha, i, j, block, part);
  });
}

// The strict triangle and its mirror image, each with its factor.
template <class Side, class T, class I>
void add_both_triangles(const Product<Side, T, I> &job, bool upper, T alpha, T mirrored_alpha) {
  for_each_of_triangle(job, upper, true, [&](I i, I j, const T *block, Part part) {
    add_block<false>(job, alpha, i, j, block, part);
    add_block<true>(job, mirrored_alpha, j, i, block, mirrored(part));
  });
}
template <class Side, class T, class I> void sym(const Product<Side, T, I> &job, I flag) {
  diag(job, flag);
  add_both_triangles(job, flag & TNK_SPBLAS_UPPER, job.alpha, job.alpha);
}
template <class Side, class T, class I> void skew(const Product<Side, T, I> &job, I flag) {
  const T minus = T{} - job.alpha;
  const bool transposed = flag & TNK_SPBLAS_TRANSPOSED;
  add_both_triangles(job, flag & TNK_SPBLAS_UPPER, transposed ? minus : job.alpha,
                     transposed ? job.alpha : minus);
}

// One block times one vector.
template <class Side, class T, class I> void block_vector(I size, const T *a, const T *x, T *y) {
  const Product<Side, T, I> job{{size, a, nullptr, nullptr, nullptr}, 1, 1, one<T>, x, 1, y, 1};
  if (size > 0) add_block<false>(job, job.alpha, I(0), I(0), a, Part::full);
}

} // namespace
} // namespace tnk::sparse

#define PRODUCT(name, kind, Side, T, I)                                                                      \
  void name(const I *flag, const I *m, const I *nrhs, const I *block_size, const T *alpha, const T *values,  \
            const I *col_index, const I *row_start, const I *row_end, const T *b, const I *ldb, T *c,        \
            const I *ldc) {                                                                                  \
    const tnk::sparse::Blocks<tnk::sparse::Side, T, I> a = {*block_size, values, col_index, row_start,       \
                                                            row_end};                                        \
    tnk::sparse::kind<tnk::sparse::Side, T, I>({a, *m, *nrhs, tnk::get(alpha), b, *ldb, c, *ldc}, *flag);    \
  }
#define BLOCK_VECTOR(name, Side, T, I)                                                                       \
  void name(const I *block_size, const I *offset_a, const I *offset_x, const T *a, const T *x, T *y) {       \
    tnk::sparse::block_vector<tnk::sparse::Side>(*block_size, a + *offset_a, x + *offset_x, y);              \
  }
#define ENTRIES_OF_SIDE(p, t, T, I, Side)                                                                    \
  BLOCK_VECTOR(p##t##bsrbv, Side, T, I)                                                                      \
  PRODUCT(p##t##bsrmmgen, gen, Side, T, I)                                                                   \
  PRODUCT(p##t##bsrmmdiag, diag, Side, T, I)                                                                 \
  PRODUCT(p##t##bsrmmsym, sym, Side, T, I)                                                                   \
  PRODUCT(p##t##bsrmmskew, skew, Side, T, I)                                                                 \
  PRODUCT(p##t##bsrmmtr, tr, Side, T, I)
#define ENTRIES(p, t, T, I, ...)                                                                             \
  ENTRIES_OF_SIDE(p, t, T, I, ByColumns)                                                                     \
  ENTRIES_OF_SIDE(p##cspblas_, t, T, I, ByRows)
TNK_SP_AUX_EACH(ENTRIES, )
