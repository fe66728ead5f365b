// Complex kernels with a table and a work buffer: 256, 512 and 1024 numbers in double precision.
#include <tnk/dft_compute.h>

#include "kernel/dft/compact/compact.h"
#include "kernel/dft/compact/tables.h"

namespace tnk::dft::compact {
namespace {

// The transform after this one, in a batch or in rows of a plane, is asked for ahead of time: a kernel goes through columns,
// of which no processor sees beforehand what comes next.
template <int N> class Ahead {
public:
  Ahead(const double *source, const DftiNode *node) : next_(source + 2 * distance(node)) {}

  // With each four columns. Into the first cache; of 1024 numbers into the second one, as the first is full.
  TNK_INLINE void fetch() {
    constexpr int locality = N > 512 ? 2 : 3;
    unrolled<16>([&](auto line) TNK_INLINED { __builtin_prefetch(next_ + 8 * line, 0, locality); });
    next_ += 128;
  }

private:
  // Where nothing follows, this transform's own numbers do no harm.
  static tnk_int distance(const DftiNode *node) {
    if (node->axis.input_stride != 1) return 0;
    if (node->number_of_transforms > 1) return node->input_distance;
    return node->next ? node->next->axis.input_stride : 0;
  }

  const double *next_;
};

// 256 and 1024.
template <int N, bool Inverse>
void transform(const double *source, double *destination, Ahead<N> ahead, const double *table,
               double *between, BlockTable<N>) {
  using Table = BlockTable<N>;
  const auto columns = [&](tnk_int c, auto first) TNK_INLINED {
    ahead.fetch();
    transform_columns<16, Table::columns>(
        Source<Inverse>{source}, between, c, [&](auto k, cvec<f64x4> z) TNK_INLINED {
          constexpr int stored = k == 8 ? 4 : k;
          const cvec<f64x4> w = Table::template load<first>(table, c, stored);
          return stored == k ? w * z : w * w * z;
        });
  };
  columns(0, std::true_type());
  for (tnk_int c = 4; c < Table::columns; c += 4) columns(c, std::false_type());
  for (tnk_int g = 0; g < 16; g += 4)
    transform_rows<16, Table::columns>(between, Target<Inverse>{destination}, g);
}

// 512. A column 16 further on has the twiddles of this one, turned by k of 32 roots.
template <bool Inverse>
void transform(const double *source, double *destination, Ahead<512> ahead, const double *table,
               double *between, TwiceTable) {
  using Table = TwiceTable;
  for (tnk_int c = 0; c < 16; c += 4) {
    cvec<f64x4> w[16];
    unrolled<15>([&](auto k) TNK_INLINED { w[k + 1] = Table::load(table, c, k + 1); });
    const auto columns = [&](auto half) TNK_INLINED {
      ahead.fetch();
      transform_columns<16, Table::columns>(Source<Inverse>{source}, between, c + 16 * half,
                                            [&](auto k, cvec<f64x4> z) TNK_INLINED {
                                              return conj_times(w[k], signal::turned<half * k, 32>(z));
                                            });
    };
    columns(signal::constant<0>);
    columns(signal::constant<1>);
  }
  for (tnk_int g = 0; g < 16; g += 4)
    transform_rows<16, Table::columns>(between, Target<Inverse>{destination}, g);
}

// A buffer of the caller's, or one for the length of the call.
class Work {
public:
  Work(void *given, tnk_int bytes) : given_(given), own_(given ? nullptr : tnk_serv_allocate(bytes, 64)) {}
  Work(const Work &) = delete;
  Work &operator=(const Work &) = delete;
  ~Work() {
    if (own_) tnk_serv_deallocate(own_);
  }
  double *begin() const { return static_cast<double *>(given_ ? given_ : own_); }

private:
  void *given_, *own_;
};

template <int N, bool Inverse>
inline tnk_int kernel(void *source, void *destination, const DftiNode *node, void *given) {
  const Work work(given, node->buffer_size);
  if (!work.begin()) return DftiMemoryError;
  const double *const from = static_cast<const double *>(source);
  double *const to = static_cast<double *>(destination);
  const Ahead<N> ahead(from, node);
  const double *const table = static_cast<const double *>(node->second_workspace);
  if constexpr (N == 512)
    transform<Inverse>(from, to, ahead, table, work.begin(), TwiceTable());
  else
    transform<N, Inverse>(from, to, ahead, table, work.begin(), BlockTable<N>());
  apply_factor<double, Inverse>(to, 2 * N, node);
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft::compact

using namespace tnk::dft::compact;

#define TNK_KERNELS(N)                                                                                       \
  tnk_int tnk_dft_xz_f##N##_1df(void *source, void *destination, DftiNode *node, void *work) {               \
    return kernel<N, false>(source, destination, node, work);                                                \
  }                                                                                                          \
  tnk_int tnk_dft_xz_f##N##_1db(void *source, void *destination, DftiNode *node, void *work) {               \
    return kernel<N, true>(source, destination, node, work);                                                 \
  }
TNK_KERNELS(256)
TNK_KERNELS(512)
TNK_KERNELS(1024)
#undef TNK_KERNELS
