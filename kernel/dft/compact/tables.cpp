// What kernels need besides their code: nothing up to length 128, tables and a work buffer above.
#include "kernel/dft/compact/tables.h"

#include <tnk/dft_commit.h>

#include "kernel/dft/node.h"
#include "kernel/signal/fft/tables.h"

namespace tnk::dft::compact {
namespace {

// exp(-2 pi i k / n), of up to 1024 roots.
cvec<double> root_of(tnk_int k, int n) {
  const signal::QuarterWave<double> wave{signal::fixed_table<double>(), signal::fixed_order};
  return wave.root(k, signal::log2_of(n));
}

template <int N> void fill(double *table, BlockTable<N>) {
  using Table = BlockTable<N>;
  constexpr auto &order = packed_order<f64x4>;
  const auto fill_group = [&](tnk_int c, int first_lane) {
    for (int k = 1; k < Table::rows; ++k) {
      if (k == 8) continue;
      const int count = 4 - first_lane;
      for (int lane = first_lane; lane < 4; ++lane, ++table) {
        const cvec<double> w = root_of(k * (c + order[lane]), N);
        table[0] = w.re, table[count] = w.im;
      }
      table += count;
    }
  };
  for (tnk_int c = 4; c < Table::columns; c += 4) fill_group(c, 0);
  fill_group(0, 1);
}

void fill(double *table, TwiceTable) {
  for (int k = 1; k < TwiceTable::rows; ++k)
    for (int c = 1; c < TwiceTable::rows; ++c, table += 4) {
      const cvec<double> w = root_of(k * c, 512);
      table[0] = table[1] = w.re;
      table[2] = table[3] = -w.im;
    }
}

// A table that stands, perhaps for a kernel of the other direction, goes when the new one does.
template <class Table> tnk_int init(DftiNode *node) {
  auto *const table = static_cast<double *>(tnk_serv_tnk_malloc(Table::bytes, 64));
  if (!table) return DftiMemoryError;
  fill(table, Table());
  tnk_serv_tnk_free(node->second_workspace);
  node->second_workspace = table;
  node->buffer_size = Table::work;
  return DftiNoError;
}

tnk_int init_nothing(DftiNode *node) {
  node->buffer_size = 0;
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft::compact

using namespace tnk::dft::compact;

#define TNK_INIT(length, function)                                                                           \
  tnk_int tnk_dft_init_xz_f##length##_1df(DftiNode *node) {                                                  \
    return function(node);                                                                                   \
  }
TNK_INIT(4, init_nothing)
TNK_INIT(8, init_nothing)
TNK_INIT(16, init_nothing)
TNK_INIT(32, init_nothing)
TNK_INIT(64, init_nothing)
TNK_INIT(128, init_nothing)
TNK_INIT(256, init<BlockTable<256>>)
TNK_INIT(512, init<TwiceTable>)
TNK_INIT(1024, init<BlockTable<1024>>)
#undef TNK_INIT
