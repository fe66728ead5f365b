// The block loops of the matrix product, in the versions that a kernel table may ask for. Block kernels take both
// operands packed; versions differ in what they pack as a whole and what they pass through the work buffer, a few
// panels at a time.
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/element.h"
#include <algorithm>
#include <tnk/services.h>

namespace tnk {
namespace {

// Buffer modes and kernel modes of the versions.
enum : int32_t { packs_both = 100, packs_b = 104, packs_a = 105, packs_none = 106, clamped_sizes = 107 };
enum : int32_t { plain_mode = 2, other_mode = 3 };

// One product, and how its blocks are packed and multiplied.
template <class T> struct product {
  const char *transa, *transb;
  tnk_int m, n, k;
  const T *alpha, *a;
  tnk_int lda;
  const T *b;
  tnk_int ldb;
  T *c;
  const tnk_int *ldc;
  tnk_gemm_descriptor *d;
  gemm_operation op_a = operation_of<T>(transa), op_b = operation_of<T>(transb);

  // Rows i ... i+rows of op(A), steps l ... l+steps, times alpha.
  void pack_a(tnk_int i, tnk_int rows, tnk_int l, tnk_int steps, const tnk_gemm_panels &panels) const {
    d->copya[op_a](&rows, &steps, block_of(a, lda, op_a, i, l), &lda, panels.data, &panels, alpha);
  }
  void pack_b(tnk_int l, tnk_int steps, tnk_int j, tnk_int columns, const tnk_gemm_panels &panels) const {
    d->copyb[op_b](&steps, &columns, block_of(b, ldb, op_b, l, j), &ldb, panels.data, &panels, nullptr);
  }
  // Adds the product of what is packed to C at (i, j).
  void multiply(tnk_int i, tnk_int rows, tnk_int j, tnk_int columns, tnk_int steps, const tnk_gemm_panels &pa,
                const tnk_gemm_panels &pb, int32_t mode, const T *beta = &one<T>) const {
    const tnk_int padded = rounded_up(steps, d->kr);
    d->ker0(transa, transb, &rows, &columns, &padded, nullptr, pa.data, &pa, pb.data, &pb, beta,
            c + i + j * *ldc, ldc, d->work.data, mode);
  }
  // A record for panels in the work buffer.
  tnk_gemm_panels in_work(tnk_int stride) const {
    return {d->work.data, stride, d->work.size, d->work.shift};
  }
  // Panels of one operand that fit there; the buffer is sized by columns of B.
  tnk_int columns_in_work() const { return d->nr * d->work_factor; }
  tnk_int rows_in_work() const { return std::max(rounded_down(columns_in_work(), d->mr), d->mr); }
};

// body(first, size) for the blocks of 0 ... total-1.
template <class Body> inline void in_blocks(tnk_int total, tnk_int block, Body body) {
  for (tnk_int first = 0; first < total; first += block) body(first, std::min(block, total - first));
}

template <class T> void with_both_packed(const product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    in_blocks(p.k, d.kb, [&](tnk_int l, tnk_int steps) {
      p.pack_b(l, steps, j, columns, d.b);
      in_blocks(p.m, d.mb, [&](tnk_int i, tnk_int rows) {
        p.pack_a(i, rows, l, steps, d.a);
        p.multiply(i, rows, j, columns, steps, d.a, d.b, plain_mode);
      });
    });
  });
}

// A block of A, packed, by columns j ... j+columns of op(B).
template <class T>
void by_columns(const product<T> &p, tnk_int i, tnk_int rows, tnk_int l, tnk_int steps, tnk_int j,
                tnk_int columns, int32_t mode) {
  const tnk_gemm_panels pb = p.in_work(p.d->nr * rounded_up(steps, p.d->kr));
  in_blocks(columns, p.columns_in_work(), [&](tnk_int jj, tnk_int some) {
    p.pack_b(l, steps, j + jj, some, pb);
    p.multiply(i, rows, j + jj, some, steps, p.d->a, pb, mode);
  });
}

template <class T> void with_a_packed(const product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    in_blocks(p.k, d.kb, [&](tnk_int l, tnk_int steps) {
      in_blocks(p.m, d.mb, [&](tnk_int i, tnk_int rows) {
        p.pack_a(i, rows, l, steps, d.a);
        by_columns(p, i, rows, l, steps, j, columns, other_mode);
      });
    });
  });
}

template <class T> void with_rows_of_a_packed(const product<T> &p) {
  in_blocks(p.m, p.d->mb, [&](tnk_int i, tnk_int rows) {
    p.pack_a(i, rows, 0, p.k, p.d->a);
    by_columns(p, i, rows, 0, p.k, 0, p.n, plain_mode);
  });
}

template <class T> void with_b_packed(const product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  const tnk_gemm_panels pa = p.in_work(d.mr * rounded_up(p.k, d.kr));
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    p.pack_b(0, p.k, j, columns, d.b);
    in_blocks(p.m, p.rows_in_work(), [&](tnk_int i, tnk_int rows) {
      p.pack_a(i, rows, 0, p.k, pa);
      p.multiply(i, rows, j, columns, p.k, pa, d.b, plain_mode);
    });
  });
}

// Both operands through the work buffer, a panel of each: A's stands behind B's. The steps are cut so that the two fit;
// with what the buffer holds beyond its panels, kr of them always do. beta is for the first slice of steps, later
// ones add to it.
template <class T>
void with_none_packed(const product<T> &p, tnk_int j, tnk_int columns, int32_t mode, const T *beta) {
  const tnk_gemm_descriptor &d = *p.d;
  const tnk_int room = d.work.size / static_cast<tnk_int>(sizeof(T)) / (d.mr + d.nr);
  const tnk_int slice = std::min(rounded_down(room, d.kr), rounded_up(p.k, d.kr));
  const tnk_gemm_panels pb = p.in_work(d.nr * slice);
  tnk_gemm_panels pa = p.in_work(d.mr * slice);
  pa.data = static_cast<T *>(pb.data) + pb.stride;
  in_blocks(columns, d.nr, [&](tnk_int jj, tnk_int some) {
    in_blocks(p.k, slice, [&](tnk_int l, tnk_int steps) {
      p.pack_b(l, steps, j + jj, some, pb);
      in_blocks(p.m, d.mr, [&](tnk_int i, tnk_int rows) {
        p.pack_a(i, rows, l, steps, pa);
        p.multiply(i, rows, j + jj, some, steps, pa, pb, mode, l == 0 ? beta : &one<T>);
      });
    });
  });
}

// A cache too small to hold a tile asks for blocks of no rows: a block is a tile at least.
void raise_to_tile(tnk_gemm_descriptor *d) {
  if (d->mb < 1) d->mb = d->mr;
  if (d->nb < 1) d->nb = d->nr;
  if (d->kb < 1) d->kb = d->kr;
}

template <class T>
int32_t par(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
            T alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, T beta, T *c,
            const tnk_int *ldc, int32_t version, tnk_gemm_descriptor *d) {
  using stage = gemm_entries<T>;
  constexpr int32_t done = 0, failed = 1;
  int32_t buffers;
  switch (version) {
  case 2:
    buffers = packs_both;
    break;
  case 4:
  case 32:
    buffers = packs_a;
    break;
  case 8:
    buffers = packs_b;
    break;
  case 16:
  case 64:
    buffers = packs_none;
    break;
  default:
    return failed;
  }

  const bool spends_beta = version != 64;
  if (spends_beta) {
    if (!is_one(beta)) stage::mscale(m, n, &beta, c, ldc);
    if (is_zero(alpha)) return done;
  } else if (*k < 1 && is_zero(beta)) {
    stage::mscale(m, n, &beta, c, ldc); // the sum of no products, stored
  }
  if (*m < 1 || *n < 1 || *k < 1) return done;

  if (d->mb == 0 || d->nb == 0 || d->kb == 0) d->get_blks_size(m, n, k, d);
  raise_to_tile(d);
  const auto plainly = [&] {
    stage::pst(transa, transb, m, n, k, &alpha, a, lda, b, ldb, &one<T>, c, ldc);
    return done;
  };
  if (version == 2 && (*m < d->tm || *n < d->tn || *k < d->tk)) return plainly();

  // The caller's descriptor may hold buffers of its own: this product's go into a copy.
  tnk_gemm_descriptor own = *d;
  const bool one_k_block = version != 2 && version != 4;
  if (one_k_block) own.kb = rounded_up(*k, own.kr);
  void *raw;
  if (own.get_bufs_size(buffers, clamped_sizes, m, n, k, &own) != 0 || own.get_bufs(buffers, &raw, &own) != 0)
    return failed;
  if (tnk_serv_check_ptr(raw, "xgemm") != 0) return one_k_block ? failed : plainly();

  const product<T> p{transa, transb, *m, *n, *k, &alpha, a, *lda, b, *ldb, c, ldc, &own};
  switch (version) {
  case 2:
    with_both_packed(p);
    break;
  case 4:
    with_a_packed(p);
    break;
  case 8:
    with_b_packed(p);
    break;
  case 16:
    in_blocks(*n, own.nb,
              [&](tnk_int j, tnk_int columns) { with_none_packed(p, j, columns, other_mode, &one<T>); });
    break;
  case 32:
    with_rows_of_a_packed(p);
    break;
  case 64:
    with_none_packed(p, 0, *n, plain_mode, &beta);
    break;
  }
  stage::free_bufs(raw);
  return done;
}

} // namespace
} // namespace tnk

#define ENTRY(t, T)                                                                                          \
  int32_t tnk_blas_x##t##gemm_par(const char *transa, const char *transb, const tnk_int *m,                  \
                                  const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,            \
                                  const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c,   \
                                  const tnk_int *ldc, int32_t version, tnk_gemm_descriptor *d) {             \
    return tnk::par(transa, transb, m, n, k, tnk::get(alpha), a, lda, b, ldb, tnk::get(beta), c, ldc,        \
                    version, d);                                                                             \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
