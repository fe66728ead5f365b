// The block loops of the matrix product, in the versions that a kernel table may ask for. Block kernels take both
// operands packed; versions differ in what they pack as a whole and what they pass through the work buffer, a few
// panels at a time.
#include "kernel/blas/level3/gemm.h"
#include "kernel/blas/level3/triangular.h"
#include "kernel/frame/element.h"
#include <algorithm>
#include <tnk/services.h>

namespace tnk::level3 {
namespace {

// One product, and how its blocks are packed and multiplied.
template <class T> struct Product {
  const char *transa, *transb;
  tnk_int m, n, k;
  const T *alpha, *a;
  tnk_int lda;
  const T *b;
  tnk_int ldb;
  const T *beta; // for version 64; spent in all others
  T *c;
  const tnk_int *ldc;
  tnk_gemm_descriptor *d;
  Operation op_a = operation_of<T>(transa), op_b = operation_of<T>(transb);

  // Rows i ... i+rows of op(A), steps l ... l+steps, times alpha.
  void pack_a(tnk_int i, tnk_int rows, tnk_int l, tnk_int steps, const tnk_gemm_panels &panels) const {
    d->copya[op_a](&rows, &steps, block_of(a, lda, op_a, i, l), &lda, panels.data, &panels, alpha);
  }
  void pack_b(tnk_int l, tnk_int steps, tnk_int j, tnk_int columns, const tnk_gemm_panels &panels) const {
    d->copyb[op_b](&steps, &columns, block_of(b, ldb, op_b, l, j), &ldb, panels.data, &panels, nullptr);
  }
  // Adds the product of what is packed to C at (i, j).
  void multiply(tnk_int i, tnk_int rows, tnk_int j, tnk_int columns, tnk_int steps, const tnk_gemm_panels &pa,
                const tnk_gemm_panels &pb, KernelMode mode, bool adds = true) const {
    const tnk_int padded = rounded_up(steps, d->kr);
    d->ker0(transa, transb, &rows, &columns, &padded, nullptr, pa.data, &pa, pb.data, &pb,
            adds ? &one<T> : beta, c + i + j * *ldc, ldc, d->work.data, mode);
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

template <class T> void with_both_packed(const Product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    in_blocks(p.k, d.kb, [&](tnk_int l, tnk_int steps) {
      p.pack_b(l, steps, j, columns, d.b);
      in_blocks(p.m, d.mb, [&](tnk_int i, tnk_int rows) {
        p.pack_a(i, rows, l, steps, d.a);
        p.multiply(i, rows, j, columns, steps, d.a, d.b, plain_panels);
      });
    });
  });
}

// The same where all rows are one block: A is packed once a block along k, and columns pass in strips that stay in the
// second-level cache beside it from their packing to their use.
template <class T> void with_one_block_of_a(const Product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  in_blocks(p.k, d.kb, [&](tnk_int l, tnk_int steps) {
    p.pack_a(0, p.m, l, steps, d.a);
    const tnk_int strip = rounded_up(d.mb * longest_block / 2 / steps, d.nr);
    in_blocks(p.n, std::min(strip, d.nb), [&](tnk_int j, tnk_int columns) {
      p.pack_b(l, steps, j, columns, d.b);
      p.multiply(0, p.m, j, columns, steps, d.a, d.b, plain_panels);
    });
  });
}

// A block of A, packed, by columns j ... j+columns of op(B).
template <class T>
void by_columns(const Product<T> &p, tnk_int i, tnk_int rows, tnk_int l, tnk_int steps, tnk_int j,
                tnk_int columns, KernelMode mode) {
  const tnk_gemm_panels pb = p.in_work(p.d->nr * rounded_up(steps, p.d->kr));
  in_blocks(columns, p.columns_in_work(), [&](tnk_int jj, tnk_int some) {
    p.pack_b(l, steps, j + jj, some, pb);
    p.multiply(i, rows, j + jj, some, steps, p.d->a, pb, mode);
  });
}

template <class T> void with_a_packed(const Product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    in_blocks(p.k, d.kb, [&](tnk_int l, tnk_int steps) {
      in_blocks(p.m, d.mb, [&](tnk_int i, tnk_int rows) {
        p.pack_a(i, rows, l, steps, d.a);
        by_columns(p, i, rows, l, steps, j, columns, panels_in_work);
      });
    });
  });
}

template <class T> void with_rows_of_a_packed(const Product<T> &p) {
  in_blocks(p.m, p.d->mb, [&](tnk_int i, tnk_int rows) {
    p.pack_a(i, rows, 0, p.k, p.d->a);
    by_columns(p, i, rows, 0, p.k, 0, p.n, plain_panels);
  });
}

template <class T> void with_b_packed(const Product<T> &p) {
  const tnk_gemm_descriptor &d = *p.d;
  const tnk_gemm_panels pa = p.in_work(d.mr * rounded_up(p.k, d.kr));
  in_blocks(p.n, d.nb, [&](tnk_int j, tnk_int columns) {
    p.pack_b(0, p.k, j, columns, d.b);
    in_blocks(p.m, p.rows_in_work(), [&](tnk_int i, tnk_int rows) {
      p.pack_a(i, rows, 0, p.k, pa);
      p.multiply(i, rows, j, columns, p.k, pa, d.b, plain_panels);
    });
  });
}

// Both operands through the work buffer, a panel of each: A's stands behind B's. The steps are cut so that the two fit;
// with what the buffer holds beyond its panels, kr of them always do. The first slice of steps may be for the caller's
// beta, later ones add to it.
template <class T>
void through_work(const Product<T> &p, tnk_int j, tnk_int columns, KernelMode mode, bool adds) {
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
        p.multiply(i, rows, j + jj, some, steps, pa, pb, mode, adds || l > 0);
      });
    });
  });
}

template <class T> void with_none_packed(const Product<T> &p) {
  in_blocks(p.n, p.d->nb,
            [&](tnk_int j, tnk_int columns) { through_work(p, j, columns, panels_in_work, true); });
}
template <class T> void in_one_call(const Product<T> &p) {
  through_work(p, 0, p.n, plain_panels, false);
}

// What a version is. A product that is summed in one block along k has no plain path to fall back to, which would cut
// its sums.
template <class T> struct Version {
  int32_t number;
  BufferMode buffers;
  void (*loops)(const Product<T> &);
  bool one_k_block, spends_beta;
  bool limited; // by tm, tn and tk, below which it takes the plain path
};
template <class T>
constexpr Version<T> versions[] = {
    {2, both_packed, with_both_packed<T>, false, true, true},
    {4, a_packed, with_a_packed<T>, false, true, false},
    {8, b_packed, with_b_packed<T>, true, true, false},
    {16, none_packed, with_none_packed<T>, true, true, false},
    {32, a_packed, with_rows_of_a_packed<T>, true, true, false},
    {64, none_packed, in_one_call<T>, true, false, false},
};
template <class T> const Version<T> *version_of(int32_t number) {
  for (const Version<T> &v : versions<T>)
    if (v.number == number) return &v;
  return nullptr;
}

// A cache too small to hold a tile asks for blocks of no rows: a block is a tile at least.
void raise_to_tile(tnk_gemm_descriptor *d) {
  if (d->mb < 1) d->mb = d->mr;
  if (d->nb < 1) d->nb = d->nr;
  if (d->kb < 1) d->kb = d->kr;
}

// Whether blocks that were sized for one product find room in the buffers of a descriptor.
bool have_room(const tnk_gemm_descriptor &held, const tnk_gemm_descriptor &sized) {
  return held.a.data && held.b.data && sized.a.size <= held.a.size && sized.b.size <= held.b.size &&
         sized.work.size <= held.work.size;
}

template <class T>
int32_t par(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
            T alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, T beta, T *c,
            const tnk_int *ldc, int32_t number, tnk_gemm_descriptor *d, bool buffers_held) {
  using stage = gemm_entries<T>;
  constexpr int32_t done = 0, failed = 1;
  const Version<T> *const v = version_of<T>(number);
  if (!v) return failed;

  // A sum of no products is stored if beta asks for it, even where beta is not spent.
  if (v->spends_beta ? !is_one(beta) : *k < 1 && is_zero(beta)) stage::mscale(m, n, &beta, c, ldc);
  if (v->spends_beta && is_zero(alpha)) return done;
  if (*m < 1 || *n < 1 || *k < 1) return done;

  if (d->mb == 0 || d->nb == 0 || d->kb == 0) d->get_blks_size(m, n, k, d);
  raise_to_tile(d);
  const auto plainly = [&] {
    plain_product<T>({operation_of<T>(transa), operation_of<T>(transb), *m, *n, *k, alpha, a, *lda, b, *ldb,
                      one<T>, c, *ldc},
                     d->kb);
    return done;
  };
  if (v->limited && (*m < d->tm || *n < d->tn || *k < d->tk)) return plainly();

  // The caller's descriptor may hold buffers of its own: this product's go into a copy.
  tnk_gemm_descriptor own = *d;
  if (v->one_k_block) own.kb = rounded_up(*k, own.kr);
  void *raw = nullptr;
  if (own.get_bufs_size(v->buffers, clamped_sizes, m, n, k, &own) != 0) return failed;
  if (!buffers_held || !have_room(*d, own)) {
    if (own.get_bufs(v->buffers, &raw, &own) != 0) return failed;
    if (tnk_serv_check_ptr(raw, "xgemm") != 0) return v->one_k_block ? failed : plainly();
  }
  const bool strips = buffers_held && v->buffers == both_packed && *m <= own.mb;
  (strips ? with_one_block_of_a<T>
          : v->loops)({transa, transb, *m, *n, *k, &alpha, a, *lda, b, *ldb, &beta, c, ldc, &own});
  if (raw) stage::free_bufs(raw);
  return done;
}

} // namespace

template <class T> void add_product(const Operands<T> &p, tnk_gemm_descriptor *d) {
  using stage = gemm_entries<T>;
  constexpr char letters[] = {'N', 'T', 'C'};
  const char *const transa = letters + p.op_a, *const transb = letters + p.op_b;
  if (!d)
    return stage::whole(transa, transb, &p.m, &p.n, &p.k, &p.alpha, p.a, &p.lda, p.b, &p.ldb, &one<T>, p.c,
                        &p.ldc);
  stage::set_blks_size(0, 0, 0, d);
  par<T>(transa, transb, &p.m, &p.n, &p.k, p.alpha, p.a, &p.lda, p.b, &p.ldb, one<T>, p.c, &p.ldc,
         d->kernel_version, d, true);
}
template void add_product(const Operands<float> &, tnk_gemm_descriptor *);
template void add_product(const Operands<double> &, tnk_gemm_descriptor *);
template void add_product(const Operands<tnk_complex8> &, tnk_gemm_descriptor *);
template void add_product(const Operands<tnk_complex16> &, tnk_gemm_descriptor *);

} // namespace tnk::level3

#define ENTRY(t, T)                                                                                          \
  int32_t tnk_blas_x##t##gemm_par(const char *transa, const char *transb, const tnk_int *m,                  \
                                  const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,            \
                                  const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c,   \
                                  const tnk_int *ldc, int32_t version, tnk_gemm_descriptor *d) {             \
    return tnk::level3::par(transa, transb, m, n, k, tnk::get(alpha), a, lda, b, ldb, tnk::get(beta), c,     \
                            ldc, version, d, false);                                                         \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
