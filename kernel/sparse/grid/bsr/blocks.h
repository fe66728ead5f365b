// Compressed rows of square blocks times a vector: the symmetric product, and the plain one that overwrites.
//
// A block is stored in lines, columns with base 1 and rows with base 0. A line meets the vectors that run along it
// in one step; the one element across from it stands for the whole line. So a symmetric block works alike in both
// forms: it adds to one of its two outputs along the lines and to the other across them, and the forms differ in
// which is which. Blocks of 2 to 6 are worked on in registers.
#pragma once

#include "kernel/sparse/entries.h"
#include "kernel/sparse/grid/csr/matrix.h"
#include "kernel/sparse/grid/name.h"
#include "kernel/sparse/runs.h"

namespace tnk::sparse {

// The vectors are shifted so that block column j, as stored, begins at element j * size.
template <class T, class I> struct BlockJob {
  CompressedRows<T, I> matrix;
  I pointer_base, first, last, base, size;
  in_lanes<T> alpha;
  const T *x;
  T *y;
};

template <class T, class I> inline const T *block_at(const T *values, I position, I size) {
  return values + wrapped_product(position, wrapped_product(size, size));
}

// ---- Vectors of a fixed number of elements ---------------------------------------------------------------------

template <class T, int Size> struct Piece {
  static constexpr int whole = Size / per_vector<T>, rest = Size % per_vector<T>;
  vec_of<T> part[whole + (rest != 0)];
};
template <class T, int Size> inline Piece<T, Size> load_piece(const T *p) {
  using P = Piece<T, Size>;
  using V = vec_of<T>;
  P piece;
  for (int k = 0; k < P::whole; ++k) piece.part[k] = loadu<V>(p + k * per_vector<T>);
  if constexpr (P::rest != 0)
    piece.part[P::whole] = load_first<V>(p + P::whole * per_vector<T>, start_of<T>(P::rest));
  return piece;
}
template <class T, int Size> inline void store_piece(T *p, const Piece<T, Size> &piece) {
  using P = Piece<T, Size>;
  for (int k = 0; k < P::whole; ++k) storeu(p + k * per_vector<T>, piece.part[k]);
  if constexpr (P::rest != 0)
    store_first(p + P::whole * per_vector<T>, piece.part[P::whole], start_of<T>(P::rest));
}
// target += a * x, the one a for all.
template <class T, int Size>
inline void add_multiple(Piece<T, Size> &target, vec_of<T> a, const Piece<T, Size> &x) {
  int k = 0;
  for (auto &part : target.part) part += times<T>(a, x.part[k++]);
}
template <class T, int Size> inline void add(Piece<T, Size> &target, const Piece<T, Size> &x) {
  int k = 0;
  for (auto &part : target.part) part += x.part[k++];
}
template <class T, int Size>
inline in_lanes<T> sum_of_products(const Piece<T, Size> &a, const Piece<T, Size> &x) {
  vec_of<T> sum = times<T>(a.part[0], x.part[0]);
  for (int k = 1; k < Piece<T, Size>::whole + (Piece<T, Size>::rest != 0); ++k)
    sum += times<T>(a.part[k], x.part[k]);
  return sum_of_vector<T>(sum);
}

// ---- Symmetric blocks ------------------------------------------------------------------------------------------

template <class T> struct Ends {
  const T *x;
  T *y;
};

// Size is 0 for one that is not fixed.
template <int Size, class T, class I>
inline void add_symmetric_block(const BlockJob<T, I> &job, const T *block, Ends<T> along, Ends<T> across) {
  if constexpr (Size == 0) {
    const auto run = run_of<T>(job.size);
    for (I l = 0; l < job.size; ++l) {
      const T *const line = block + wrapped_product(l, job.size);
      const auto t = in_every_element<T>(times<T>(job.alpha, fetch(across.x + l)));
      add_to(across.y + l, times<T>(job.alpha, sum_of_products(run, line, along.x)));
      add_multiple(run, t, line, along.y);
    }
  } else {
    const auto x = load_piece<T, Size>(along.x);
    fetch_ahead<Size * Size>(block);
    Piece<T, Size> sum[2] = {}; // two, so that a line need not wait for the one before
#pragma GCC unroll 6
    for (int l = 0; l < Size; ++l) {
      const auto line = load_piece<T, Size>(block + l * Size);
      const auto t = in_every_element<T>(times<T>(job.alpha, fetch(across.x + l)));
      add_multiple(sum[l % 2], t, line);
      add_to(across.y + l, times<T>(job.alpha, sum_of_products(line, x)));
    }
    add(sum[0], sum[1]);
    auto y = load_piece<T, Size>(along.y);
    add(y, sum[0]);
    store_piece(along.y, y);
  }
}

// Of a block on the diagonal too only the triangle counts: in each line what stands behind its diagonal element, or
// what stands before.
template <bool Behind, class T, class I>
inline void add_diagonal_block(const BlockJob<T, I> &job, const T *block, Ends<T> at) {
  for (I l = 0; l < job.size; ++l) {
    const T *const line = block + wrapped_product(l, job.size);
    const I from = Behind ? l + 1 : 0;
    const auto run = run_of<T, I>(Behind ? job.size - 1 - l : l);
    const auto t = times<T>(job.alpha, fetch(at.x + l));
    add_multiple(run, in_every_element<T>(t), line + from, at.y + from);
    const auto others = times<T>(job.alpha, sum_of_products(run, line + from, at.x + from));
    add_to(at.y + l, times<T>(t, fetch(line + l)) + others);
  }
}

// Blocks of the other triangle are passed over.
template <class Name, int Size, class T, class I>
[[gnu::noinline]] void add_block_rows(const BlockJob<T, I> &given) {
  const BlockJob<T, I> job = given; // a copy of its own, which no store to y can change
  constexpr bool by_columns = Name::base == 1;
  const auto ends = [&](I j) {
    const I element = wrapped_product(j, job.size);
    return Ends<T>{job.x + element, job.y + element};
  };
  for (I i = job.first; i < job.last; ++i) {
    const I key = i + job.base;
    const I start = wrapped_difference(get(job.matrix.row_start + i), job.pointer_base);
    const I end = wrapped_difference(get(job.matrix.row_end + i), job.pointer_base);
    const Ends<T> own = ends(key);
    for (I p = start; p < end; ++p) {
      const I j = get(job.matrix.col_index + p);
      const T *const block = block_at(job.matrix.values, p, job.size);
      if (is_beyond<!Name::lower>(j, key))
        add_symmetric_block<Size>(job, block, by_columns ? own : ends(j), by_columns ? ends(j) : own);
      else if (j == key)
        add_diagonal_block<Name::lower == by_columns>(job, block, own);
    }
  }
}

// ---- The plain product -----------------------------------------------------------------------------------------

// y += the sum of x[l] times line l over a block of any size, four lines at a time: y is loaded and stored once for
// them.
template <class T, class I>
inline void add_block(const Run<T, I> &run, I size, const T *block, const T *x, T *y) {
  using V = vec_of<T>;
  I l = 0;
  for (; size - l >= 4; l += 4) {
    const T *line[4];
    V t[4];
    for (int k = 0; k < 4; ++k) {
      line[k] = block + wrapped_product<I>(l + k, size);
      t[k] = in_every_element<T>(fetch(x + l + k));
    }
    for (I e = 0; e < run.whole; e += per_vector<T>) {
      V products[4];
      for (int k = 0; k < 4; ++k) products[k] = times<T>(t[k], loadu<V>(line[k] + e));
      storeu(y + e, loadu<V>(y + e) + ((products[0] + products[1]) + (products[2] + products[3])));
    }
    if (run.rest.bytes != 0) {
      V products[4];
      for (int k = 0; k < 4; ++k) products[k] = times<T>(t[k], load_first<V>(line[k] + run.whole, run.rest));
      T *const tail = y + run.whole;
      store_first(tail,
                  load_first<V>(tail, run.rest) + ((products[0] + products[1]) + (products[2] + products[3])),
                  run.rest);
    }
  }
  for (; l < size; ++l)
    add_multiple(run, in_every_element<T>(fetch(x + l)), block + wrapped_product(l, size), y);
}

template <int Size, class T, class I> [[gnu::noinline]] void set_block_rows(const BlockJob<T, I> &given) {
  const BlockJob<T, I> job = given;
  for (I i = job.first; i < job.last; ++i) {
    const I start = wrapped_difference(get(job.matrix.row_start + i), job.pointer_base);
    const I end = wrapped_difference(get(job.matrix.row_end + i), job.pointer_base);
    T *const y = job.y + wrapped_product<I>(i + job.base, job.size);
    [[maybe_unused]] Piece<T, Size == 0 ? 1 : Size> sum[2] = {};
    if constexpr (Size == 0)
      for (I k = 0; k < job.size; ++k) deposit(y + k, in_lanes<T>{});
    for (I p = start; p < end; ++p) {
      const T *const block = block_at(job.matrix.values, p, job.size);
      const T *const x = job.x + wrapped_product(get(job.matrix.col_index + p), job.size);
      if constexpr (Size == 0) {
        add_block(run_of<T>(job.size), job.size, block, x, y);
      } else {
        fetch_ahead<Size * Size>(block);
#pragma GCC unroll 6
        for (int l = 0; l < Size; ++l)
          add_multiple(sum[l % 2], in_every_element<T>(fetch(x + l)), load_piece<T, Size>(block + l * Size));
      }
    }
    if constexpr (Size != 0) {
      add(sum[0], sum[1]);
      store_piece(y, sum[0]);
    }
  }
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

// body(size as a constant, or 0)
template <class I, class Body> inline void with_size(I size, Body body) {
  switch (size) {
  case 2:
    return body(std::integral_constant<int, 2>());
  case 3:
    return body(std::integral_constant<int, 3>());
  case 4:
    return body(std::integral_constant<int, 4>());
  case 5:
    return body(std::integral_constant<int, 5>());
  case 6:
    return body(std::integral_constant<int, 6>());
  default:
    return body(std::integral_constant<int, 0>());
  }
}

// Block rows first ... last, from one. Those of a lower triangle touch y up to the end of block row last.
template <class Name, class T, class I>
inline void bsr_mv_par(I first, I last, I size, T alpha, const CompressedRows<T, I> &matrix, const T *x,
                       T *y) {
  if (last < first) return;
  constexpr I base = Name::base;
  const I origin = wrapped_product(base, size), pointer_base = get(matrix.row_start);
  const in_lanes<T> factor = fetch(&alpha);
  const T *const x_of = counted_from(x, origin);
  T *const y_of = counted_from(y, origin);
  const BlockJob<T, I> job = {matrix, pointer_base, first - 1, last, base, size, factor, x_of, y_of};
  with_size(size, [&](auto fixed) { add_block_rows<Name, fixed()>(job); });
}

template <class T, class I>
inline void bsr_gemv_par(I first, I last, I size, const CompressedRows<T, I> &matrix, const T *x, T *y) {
  if (last < first) return;
  constexpr I base = 1;
  const T *const x_of = counted_from(x, size);
  T *const y_of = counted_from(y, size);
  const BlockJob<T, I> job = {matrix, get(matrix.row_start), first - 1, last, base, size, {}, x_of, y_of};
  with_size(size, [&](auto fixed) { set_block_rows<fixed()>(job); });
}

// The entries of one element type: a source file each.
#define TNK_BSR_MV_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, bsr, b, l, mv, par)(                                           \
      const I *first, const I *last, const I *, const I *block_size, const T *alpha, const T *values,        \
      const I *col_index, const I *row_start, const I *row_end, const T *x, T *y) {                          \
    tnk::sparse::bsr_mv_par<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                   \
        *first, *last, *block_size, *alpha, {values, col_index, row_start, row_end}, x, y);                  \
  }
#define TNK_BSR_GEMV_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                        \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, bsr, b, l, gemv, par)(                                         \
      const I *first, const I *last, const I *, const I *block_size, const void *, const T *values,          \
      const I *col_index, const I *row_pointer, const void *, const T *x, T *y) {                            \
    tnk::sparse::bsr_gemv_par<T, I>(*first, *last, *block_size,                                              \
                                    {values, col_index, row_pointer, row_pointer + 1}, x, y);                \
  }

} // namespace tnk::sparse
