// The multiply with a triangle in packed storage: blocks of it are unpacked and multiplied like those of a full matrix.
#include "kernel/blas/level3/trmm.h"
#include <cstring>
#include <tnk/services.h>

namespace tnk::level3 {
namespace {

// A triangle whose columns stand one behind the other, without the elements of the other triangle.
struct PackedTriangle {
  bool stored_upper;
  tnk_int order;
  const double *elements;

  // Where the column would begin if it were whole.
  const double *column(tnk_int j) const {
    return elements + (stored_upper ? j * (j + 1) / 2 : j * (2 * order - j - 1) / 2);
  }
  // What is stored of a block.
  void unpack(tnk_int row, tnk_int rows, tnk_int first, tnk_int columns, double *to, tnk_int ld) const {
    for (tnk_int j = first; j < first + columns; ++j, to += ld) {
      const tnk_int from = stored_upper ? row : std::max(row, j);
      const tnk_int end = stored_upper ? std::min(row + rows, j + 1) : row + rows;
      if (from < end)
        std::memcpy(to + (from - row), column(j) + from,
                    static_cast<std::size_t>(end - from) * sizeof(double));
    }
  }
};

struct Task {
  bool left;
  PackedTriangle a;
  Operation op;
  bool unit;
  tnk_int m, n; // of B
  double *b;
  tnk_int ldb;
};

// diagonal(triangle, m, n, b), product(operands): with blocks up to `block`, unpacked to `dense`.
template <class Diagonal, class Product>
void by_blocks(const Task &t, tnk_int block, double *dense, Diagonal diagonal, Product product) {
  const bool upper = t.a.stored_upper == (t.op == as_it_is);
  over_triangle(
      t.a.order, block, upper == t.left,
      [&](tnk_int i, tnk_int size) {
        t.a.unpack(i, size, i, size, dense, block);
        const Triangle<double> triangle = {t.op, t.a.stored_upper, t.unit, dense, block};
        if (t.left)
          diagonal(triangle, size, t.n, t.b + i);
        else
          diagonal(triangle, t.m, size, t.b + i * t.ldb);
      },
      [&](tnk_int i, tnk_int size, tnk_int first, tnk_int steps) {
        for (const tnk_int end = first + steps; first < end; first += block) {
          const tnk_int some = std::min(block, end - first);
          // As it is stored: rows and columns of op(A) are those of B's block and the steps, on the left in this order.
          if (t.left == (t.op == as_it_is))
            t.a.unpack(i, size, first, some, dense, block);
          else
            t.a.unpack(first, some, i, size, dense, block);
          if (t.left)
            product(
                {t.op, as_it_is, size, t.n, some, 1, dense, block, t.b + first, t.ldb, 1, t.b + i, t.ldb});
          else
            product({as_it_is, t.op, t.m, size, some, 1, t.b + first * t.ldb, t.ldb, dense, block, 1,
                     t.b + i * t.ldb, t.ldb});
        }
      });
}

void plainly(const Task &t) {
  constexpr tnk_int block = 32;
  double dense[block * block];
  by_blocks(
      t, block, dense,
      [&](const Triangle<double> &triangle, tnk_int m, tnk_int n, double *b) {
        t.left ? plain_from_left(triangle, m, n, b, t.ldb) : plain_from_right(triangle, m, n, b, t.ldb);
      },
      [](const Operands<double> &p) { plain_product(p, block_along_k(p.k, kr)); });
}

// Everything that the multiply itself needs lies in one block of memory.
constexpr tnk_int scratch_size = 1024000, block_order = 256, columns_at_once = 1000;
struct Scratch {
  double dense[block_order * block_order];
  double packed[packed_triangle(packed_order)];
  double columns[packed_elements<double>];
};
static_assert(sizeof(Scratch) <= scratch_size);

void in_scratch(const Task &t, Scratch &scratch) {
  using stage = gemm_entries<double>;
  tnk_gemm_descriptor d;
  stage::zero_desc(&d);
  stage::get_optimal_kernel(&d);
  d.kernel_version = stage::get_kernel_version();
  d.a.data = scratch.packed, d.a.size = sizeof scratch.packed;
  d.b.data = scratch.columns, d.b.size = sizeof scratch.columns;
  constexpr tnk_int last = 1, left_orders[] = {128, 64}, right_orders[] = {64, 16};
  tnk_triangular_level levels[last + 1];
  for (tnk_int l = 0; l <= last; ++l)
    levels[l] = level_of<double>(t.left, t.left ? left_orders[l] : right_orders[l], t.left || l > 0, t.op, d);
  const auto diagonal = [&](const Triangle<double> &triangle, tnk_int m, tnk_int n, double *b) {
    multiply_by_levels(t.left, triangle, m, n, b, t.ldb, levels, last, &d);
  };
  const auto product = [](const Operands<double> &p) { add_product(p, nullptr); };
  Task slab = t;
  for (tnk_int j = 0; j < t.n; j += slab.n, slab.b += slab.n * t.ldb) {
    slab.n = t.left ? std::min(columns_at_once, t.n - j) : t.n;
    by_blocks(slab, block_order, scratch.dense, diagonal, product);
  }
}

Task task(const char *side, const char *uplo, const char *transa, const char *diag, tnk_int m, tnk_int n,
          const double *ap, double *b, tnk_int ldb) {
  const bool left = is_letter(side, 'L');
  return {left,
          {is_letter(uplo, 'U'), left ? m : n, ap},
          operation_of<double>(transa),
          is_letter(diag, 'U'),
          m,
          n,
          b,
          ldb};
}

void scale(tnk_int m, tnk_int n, double alpha, double *b, tnk_int ldb) {
  if (alpha != 1) tnk_blas_dgemm_mscale(&m, &n, &alpha, b, &ldb);
}

} // namespace
} // namespace tnk::level3

using namespace tnk::level3;

void tnk_blas_xdptrmm(const char *side, const char *uplo, const char *transa, const char *diag,
                      const tnk_int *m, const tnk_int *n, const double *alpha, const double *ap, double *b,
                      const tnk_int *ldb) {
  if (*n < 1) return;
  const double by = tnk::get(alpha);
  if (by == 0) return scale(*m, *n, by, b, *ldb);
  void *const scratch = *m < 4 || *n < 4 ? nullptr : tnk_serv_allocate(scratch_size, 128);
  if (!scratch) return tnk_blas_dptrmm_pst(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);
  scale(*m, *n, by, b, *ldb);
  in_scratch(task(side, uplo, transa, diag, *m, *n, ap, b, *ldb), *static_cast<Scratch *>(scratch));
  tnk_serv_deallocate(scratch);
}

void tnk_blas_dptrmm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                         const tnk_int *m, const tnk_int *n, const double *alpha, const double *ap, double *b,
                         const tnk_int *ldb) {
  if (*m < 1 || *n < 1) return;
  const double by = tnk::get(alpha);
  scale(*m, *n, by, b, *ldb);
  if (by != 0) plainly(task(side, uplo, transa, diag, *m, *n, ap, b, *ldb));
}

void tnk_blas_dptrmm_copya(const char *uplo, const tnk_int *order, const tnk_int *row, const tnk_int *column,
                           const tnk_int *m, const tnk_int *n, const double *ap, double *to,
                           const tnk_int *ld) {
  const PackedTriangle a = {is_letter(uplo, 'U'), *order, ap};
  a.unpack(*row, *m, *column, *n, to, *ld);
}
