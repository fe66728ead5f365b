// Products that the matrix product itself does not form: of a symmetric operand of which one triangle is stored, and of
// which one triangle alone is wanted. They run on its stages: its copies pack blocks, its block kernel multiplies them.
//
//   PackedProduct<T, Left, Right, Beta> p{...};   C := beta C + sum over terms of left[t] right[t]
//   p.run(routine, kernel, slices);               each slice of C on a thread
//
// However small C is, blocks are packed or give way to the same sums. So an element is one sum in the order of the steps,
// cut where blocks along k end, and neither slices nor tiles show in it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <tnk/blas_level3.h>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"
#include "host/routines/element.h"
#include "host/service/refusals.h"
#include "host/threading/team.h"

namespace tnk::host {

// How a block of an operand is taken from its matrix: the numbers of the copies in a row of the table.
enum Operation { as_it_is, transposed, conjugate_transposed };

template <class T> T real_only(T x) {
  if constexpr (is_complex<T>) x.im = 0;
  return x;
}

// To a multiple of a power of two, as all unrolls are: divisions would take as long as packing a small block.
constexpr tnk_int rounded_up(tnk_int x, tnk_int unit) {
  return (x + unit - 1) & -unit;
}
constexpr tnk_int rounded_down(tnk_int x, tnk_int unit) {
  return x & -unit;
}

// ---- Where packed blocks go -------------------------------------------------------------------------------------
// A block may be packed piece by piece. `put` packs rows by columns of op(source) as the piece at (row, column) of the
// block. Pieces begin at whole panels, and at multiples of kr along the steps.

template <class T> struct PackedA {
  const tnk_gemm_row &kernel;
  T *data;
  tnk_int steps; // of the block, a multiple of kr

  tnk_gemm_panels panels() const { return {data, kernel.mr * steps, 0, 0}; }
  T *panel(tnk_int row) const { return data + row * steps; } // row: a multiple of mr

  void put(tnk_int row, tnk_int rows, tnk_int column, tnk_int columns, Operation op, const T *source,
           tnk_int ld, const T *alpha) const {
    const tnk_gemm_panels to = panels();
    kernel.copya[op](&rows, &columns, source, &ld, panel(row) + kernel.mr * column, &to, alpha);
  }
};

template <class T> struct PackedB {
  const tnk_gemm_row &kernel;
  T *data;
  tnk_int steps, width; // of the block

  tnk_gemm_panels panels() const { return {data, kernel.nr * steps, 0, 0}; }
  T *panel(tnk_int column) const { return data + column * steps; } // column: a multiple of nr

  // Columns behind the whole panels stand in groups of 4, whose steps are closer together.
  void put(tnk_int row, tnk_int rows, tnk_int column, tnk_int columns, Operation op, const T *source,
           tnk_int ld, const T *) const {
    constexpr tnk_int group = 4;
    const tnk_int nr = kernel.nr, whole = rounded_down(width, nr);
    const tnk_gemm_panels to = panels();
    const bool all_steps = row == 0 && rounded_up(rows, kernel.kr) == steps;
    for (tnk_int taken; columns > 0; column += taken, columns -= taken) {
      taken = all_steps        ? columns
              : column < whole ? std::min(columns, whole - column)
                               : std::min(columns, group);
      kernel.copyb[op](&rows, &taken, source, &ld, panel(column) + (column < whole ? nr : group) * row, &to,
                       nullptr);
      source += op == as_it_is ? taken * ld : taken;
    }
  }
};

// ---- Operands ---------------------------------------------------------------------------------------------------
// `pack` packs rows by columns at (row, column) of the operand as the piece at (to_row, to_column) of a block; `at` is one
// element of a real operand.

// alpha op(x).
template <class T> struct General {
  Operation op;
  const T *x;
  tnk_int ld;
  T alpha;

  template <class Packed>
  void pack(const Packed &to, tnk_int to_row, tnk_int to_column, tnk_int row, tnk_int rows, tnk_int column,
            tnk_int columns) const {
    const T *const corner = op == as_it_is ? x + row + column * ld : x + column + row * ld;
    to.put(to_row, rows, to_column, columns, op, corner, ld, &alpha);
  }
  T at(tnk_int row, tnk_int column) const {
    return op == as_it_is ? x[row + column * ld] : x[column + row * ld];
  }
};

// alpha times the symmetric or Hermitian matrix of which x holds a triangle. What lies off the diagonal is packed from
// the triangle as it is or transposed; squares on the diagonal are made full first.
template <class T> struct Mirrored {
  bool upper, hermitian;
  const T *x;
  tnk_int ld;
  T alpha;

  template <class Packed>
  void pack(const Packed &to, tnk_int to_row, tnk_int to_column, tnk_int row, tnk_int rows, tnk_int column,
            tnk_int columns) const {
    const bool below = row >= column + columns, above = column >= row + rows;
    if (below || above) {
      const bool stored = above == upper;
      const Operation op = stored ? as_it_is : hermitian ? conjugate_transposed : transposed;
      const T *const corner = stored ? x + row + column * ld : x + column + row * ld;
      to.put(to_row, rows, to_column, columns, op, corner, ld, &alpha);
    } else if (rows <= square && columns <= square) {
      T full[square * square];
      make_full(full, row, rows, column, columns);
      to.put(to_row, rows, to_column, columns, as_it_is, full, square, &alpha);
    } else if (rows >= columns) {
      const tnk_int half = rounded_up(rows / 2, square);
      pack(to, to_row, to_column, row, half, column, columns);
      pack(to, to_row + half, to_column, row + half, rows - half, column, columns);
    } else {
      const tnk_int half = rounded_up(columns / 2, square);
      pack(to, to_row, to_column, row, rows, column, half);
      pack(to, to_row, to_column + half, row, rows, column + half, columns - half);
    }
  }

  T at(tnk_int row, tnk_int column) const {
    return (row <= column) == upper || row == column ? x[row + column * ld] : x[column + row * ld];
  }

private:
  static constexpr tnk_int square = 16;

  void make_full(T *full, tnk_int row, tnk_int rows, tnk_int column, tnk_int columns) const {
    for (tnk_int j = column; j < column + columns; ++j, full += square) {
      const tnk_int last = row + rows, on = std::clamp(j, row, last), past = std::clamp(j + 1, row, last);
      const auto take = [&](tnk_int first, tnk_int end, bool stored) {
        if (stored)
          for (tnk_int i = first; i < end; ++i) full[i - row] = x[i + j * ld];
        else
          for (tnk_int i = first; i < end; ++i) full[i - row] = mirrored(x[j + i * ld]);
      };
      take(row, on, upper);
      if (on < past) full[on - row] = hermitian ? real_only(x[j + j * ld]) : x[j + j * ld];
      take(past, last, !upper);
    }
  }
  T mirrored(T element) const {
    if constexpr (is_complex<T>)
      if (hermitian) element.im = 0 - element.im;
    return element;
  }
};

// ---- The product ------------------------------------------------------------------------------------------------

enum class Part { whole, lower, upper };

// Where slice i of C begins, and slice i - 1 ends: columns, or rows. Triangles are cut by columns.
struct Slices {
  static constexpr int most = 64;
  int count;
  bool columns;
  tnk_int begin[most + 1];
};

// For a job of so many real operations: as many slices as threads pay. Triangles are cut into equal areas.
Slices slices_of_whole(tnk_int m, tnk_int n, double operations);
Slices slices_of_triangle(Part part, tnk_int n, double operations);

// C, or a triangle of it.
template <class T> struct Target {
  Part part;
  bool hermitian; // the diagonal comes out real, and its imaginary parts are not read
  T *c;
  tnk_int ldc;

  // C := beta C in rows and columns first ... end of it; zeros, without reading, when beta is 0. beta: of T, or real.
  template <class Beta>
  void scale(Beta beta, tnk_int first_row, tnk_int end_row, tnk_int first_column, tnk_int end_column) const {
    const bool clears = is_value(beta, 0);
    for (tnk_int j = first_column; j < end_column; ++j) {
      T *const column = c + j * ldc;
      const tnk_int first = part == Part::lower ? std::max(first_row, j) : first_row;
      const tnk_int end = part == Part::upper ? std::min(end_row, j + 1) : end_row;
      if (clears) {
        std::fill(column + first, column + end, T{});
        continue;
      }
      if (hermitian) column[j] = real_only(column[j]);
      for (tnk_int i = first; i < end; ++i) column[i] = times(beta, column[i]);
    }
  }

  // Adds the triangle of a square on the diagonal, at (i, i), or stores it.
  void take_triangle(const T *square, tnk_int ld, tnk_int i, tnk_int order, bool adds) const {
    for (tnk_int q = 0; q < order; ++q, square += ld) {
      T *const column = c + i + (i + q) * ldc;
      const tnk_int first = part == Part::lower ? q : 0, end = part == Part::lower ? order : q + 1;
      for (tnk_int p = first; p < end; ++p) column[p] = adds ? plus(column[p], square[p]) : square[p];
      if (hermitian) column[q] = real_only(column[q]);
    }
  }

private:
  static T plus(T x, T y) {
    if constexpr (is_complex<T>)
      return {x.re + y.re, x.im + y.im};
    else
      return x + y;
  }
  template <class Beta> static T times(Beta beta, T x) {
    if constexpr (is_complex<Beta>)
      return {beta.re * x.re - beta.im * x.im, beta.re * x.im + beta.im * x.re};
    else if constexpr (is_complex<T>)
      return {beta * x.re, beta * x.im};
    else
      return beta * x;
  }
};

template <class T, class Left, class Right, class Beta> struct PackedProduct {
  static constexpr int most_terms = 2;

  Target<T> target;
  tnk_int m, n, k;
  int terms;
  Left left[most_terms];
  Right right[most_terms];
  Beta beta;

  // Without memory, which is reported, C stays as it was.
  void run(const char *routine, const tnk_gemm_row &kernel, const Slices &slices) const {
    if constexpr (!is_complex<T>)
      if (m * n <= few && m * n * k <= few) return run_plainly();
    const Blocks blocks = choose_blocks(kernel, slices);
    const tnk_int bytes = blocks.a_bytes + blocks.b_bytes;
    // All of it before C is touched; when it is too much, the slices take turns.
    bool at_once = slices.count > 1;
    void *memory = tnk_serv_allocate(slices.count * bytes, line);
    if (!memory && at_once) at_once = false, memory = tnk_serv_allocate(bytes, line);
    if (tnk_serv_check_ptr(memory, routine)) {
      ++undone_calls();
      return;
    }
    const auto run_slice = [&](int i) {
      char *const own = static_cast<char *>(memory) + (at_once ? i * bytes : 0);
      const tnk_int first = slices.begin[i], end = slices.begin[i + 1];
      if (slices.columns)
        slice(kernel, blocks, own, 0, m, first, end);
      else
        slice(kernel, blocks, own, first, end, 0, n);
    };
    if (at_once)
      spread(slices.count, slices.count, run_slice);
    else
      for (int i = 0; i < slices.count; ++i) run_slice(i);
    tnk_serv_deallocate(memory);
  }

private:
  // So many multiplications take less time than packing for them. Recursive factorizations end in such updates.
  static constexpr tnk_int few = 16;
  static constexpr tnk_int line = 128;           // packed blocks begin at multiples of it; pages gain nothing
  static constexpr tnk_int one_block_order = 64; // up to here a product is one block, whatever the cache
  // A square on the diagonal of a triangle is multiplied as a whole, and its triangle taken over: a multiple of the sides
  // of a tile.
  static constexpr tnk_int square = is_complex<T> ? 4 : 8;

  struct Blocks {
    tnk_int rows, columns, steps; // steps: of one term
    tnk_int a_bytes, b_bytes;
  };

  // As for a product with the steps of all terms one behind the other.
  Blocks choose_blocks(const tnk_gemm_row &kernel, const Slices &slices) const {
    tnk_int widest = 0;
    for (int i = 0; i < slices.count; ++i) widest = std::max(widest, slices.begin[i + 1] - slices.begin[i]);
    const tnk_int rows = slices.columns ? m : widest, columns = slices.columns ? widest : n,
                  steps = terms * k;
    const auto whole = [](tnk_int block, tnk_int all) {
      return std::min(std::max(rounded_down(block, square), square), rounded_up(all, square));
    };
    tnk_gemm_descriptor d;
    d.mb = d.nb = d.kb = one_block_order;
    if (std::max({rows, columns, steps}) > one_block_order) {
      d.mb = d.kb = 0; // to be chosen
      d.mr = kernel.mr, d.nr = kernel.nr, d.kr = kernel.kr;
      kernel.get_blks_size(&rows, &columns, &steps, &d);
    }
    Blocks blocks{};
    blocks.rows = whole(d.mb, rows), blocks.columns = whole(d.nb, columns);
    blocks.steps = std::min(rounded_up(d.kb / terms, kernel.kr), rounded_up(k, kernel.kr));
    constexpr tnk_int beyond = 512; // what kernels may read behind panels
    const tnk_int step_bytes = terms * blocks.steps * static_cast<tnk_int>(sizeof(T));
    blocks.a_bytes = rounded_up(blocks.rows * step_bytes + beyond, line);
    blocks.b_bytes = rounded_up(blocks.columns * step_bytes + beyond, line);
    return blocks;
  }

  // The same sums as on packed blocks.
  void run_plainly() const {
    const bool stores = is_value(beta, 0);
    for (tnk_int j = 0; j < n; ++j) {
      const tnk_int first = target.part == Part::lower ? j : 0, end = target.part == Part::upper ? j + 1 : m;
      for (tnk_int i = first; i < end; ++i) {
        T sum = 0, &to = target.c[i + j * target.ldc];
        for (int t = 0; t < terms; ++t)
          for (tnk_int l = 0; l < k; ++l) sum += left[t].alpha * left[t].at(i, l) * right[t].at(l, j);
        to = stores ? sum : beta * to + sum;
      }
    }
  }

  void slice(const tnk_gemm_row &kernel, const Blocks &blocks, char *memory, tnk_int first_row,
             tnk_int end_row, tnk_int first_column, tnk_int end_column) const {
    T *const a = reinterpret_cast<T *>(memory), *const b = reinterpret_cast<T *>(memory + blocks.a_bytes);
    const bool stores = is_value(beta, 0);
    for (tnk_int j = first_column; j < end_column; j += blocks.columns) {
      const tnk_int columns = std::min(blocks.columns, end_column - j);
      const tnk_int top = target.part == Part::lower ? j : first_row;
      const tnk_int bottom = target.part == Part::upper ? j + columns : end_row;
      if (!stores && !is_value(beta, 1)) target.scale(beta, top, bottom, j, j + columns);
      for (tnk_int l = 0; l < k; l += blocks.steps) {
        const tnk_int steps = std::min(blocks.steps, k - l), padded = rounded_up(steps, kernel.kr);
        const PackedA<T> packed_a{kernel, a, terms * padded};
        const PackedB<T> packed_b{kernel, b, terms * padded, columns};
        for (int t = 0; t < terms; ++t) right[t].pack(packed_b, t * padded, 0, l, steps, j, columns);
        for (tnk_int i = top; i < bottom; i += blocks.rows) {
          const tnk_int rows = std::min(blocks.rows, bottom - i);
          for (int t = 0; t < terms; ++t) left[t].pack(packed_a, 0, t * padded, i, rows, l, steps);
          multiply({kernel, packed_a, packed_b, !stores || l > 0}, i, rows, j, columns);
        }
      }
    }
  }

  // A packed block of A and one of B.
  struct Packed {
    const tnk_gemm_row &kernel;
    const PackedA<T> &a;
    const PackedB<T> &b;
    bool adds;

    void multiply(tnk_int row, tnk_int rows, tnk_int column, tnk_int columns, T *to, tnk_int ld,
                  bool adds_to) const {
      if (rows < 1 || columns < 1) return;
      constexpr T zero{}, one = from_real<T>(1);
      constexpr std::int32_t plain_panels = 2;
      const tnk_gemm_panels a_panels = a.panels(), b_panels = b.panels();
      kernel.ker0("N", "N", &rows, &columns, &a.steps, nullptr, a.panel(row), &a_panels, b.panel(column),
                  &b_panels, adds_to ? &one : &zero, to, &ld, nullptr, plain_panels);
    }
  };

  // What counts of rows by columns at (i, j) of C. Rows and columns of a triangle meet at whole squares.
  void multiply(const Packed &packed, tnk_int i, tnk_int rows, tnk_int j, tnk_int columns) const {
    const auto block = [&](tnk_int row, tnk_int row_end, tnk_int column, tnk_int column_end) {
      packed.multiply(row - i, row_end - row, column - j, column_end - column,
                      target.c + row + column * target.ldc, target.ldc, packed.adds);
    };
    const tnk_int i_end = i + rows, j_end = j + columns;
    if (target.part == Part::whole) return block(i, i_end, j, j_end);
    const bool lower = target.part == Part::lower;
    const tnk_int first = std::clamp(i, j, j_end), end = std::clamp(i_end, j, j_end); // of the diagonal
    lower ? block(i, i_end, j, first) : block(i, i_end, end, j_end);
    for (tnk_int d = first; d < end; d += square) {
      const tnk_int d_end = std::min(d + square, end);
      lower ? block(d_end, i_end, d, d_end) : block(i, d, d, d_end);
      alignas(64) T product[square * square];
      packed.multiply(d - i, d_end - d, d - j, d_end - d, product, square, false);
      target.take_triangle(product, square, d, d_end - d, packed.adds);
    }
  }
};

// The row of the kernel table that products of T go by; null after a report.
template <class T> const tnk_gemm_row *product_kernel(const char *routine);

} // namespace tnk::host
