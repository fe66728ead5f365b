// The memory that public products take for vectors of each thread's own: filled with NaN and fenced here, and refused.
#include <cmath>
#include <gtest/gtest.h>
#include <tnk/host.h>
#include <tnk/sparse.h>
#include <vector>

#include "tests/support/fault_allocator.h"

namespace {

using tnk::test::allocations;

TEST(PrivateVectors, AreUsedWithinTheirEndsAndCanBeDoneWithout) {
  // Integers, so that every order of the sums gives the same.
  const tnk_int order = 301, per_row = 1000;
  std::vector<double> values, x(order), before(order);
  std::vector<tnk_int> start{0}, column, row;
  for (tnk_int i = 0; i < order; ++i) {
    x[i] = static_cast<double>(i % 7 - 3), before[i] = static_cast<double>(i);
    for (tnk_int p = 0; p < per_row; ++p) {
      values.push_back(static_cast<double>((i + 3 * p) % 5 - 2));
      column.push_back((i * i + 17 * p) % order), row.push_back(i);
    }
    start.push_back(static_cast<tnk_int>(values.size()));
  }
  const double one = 1;
  for (int variant = 0; variant < 12; ++variant) {
    const auto storage = static_cast<tnk_sparse_storage>(variant % 2);
    const tnk_sparse_kind kinds[] = {TNK_SPARSE_GENERAL, TNK_SPARSE_SYMMETRIC, TNK_SPARSE_SKEW};
    const tnk_sparse_descriptor d{kinds[variant / 4], static_cast<tnk_sparse_triangle>(variant / 2 % 2),
                                  TNK_SPARSE_NONUNIT, 0, 0};
    const tnk_sparse_matrix a{storage,       order,      order,        start.back(),    values.data(),
                              column.data(), row.data(), start.data(), start.data() + 1};
    std::vector<double> results[4];
    for (int way = 0; way < 4; ++way) { // one thread; three; three without memory; two
      const int threads[] = {1, 3, 3, 2};
      tnk_set_num_threads(threads[way]);
      allocations.reset();
      if (way == 2) allocations.refuse = 1;
      results[way] = before;
      ASSERT_EQ(tnk_sparse_dmv('T', &one, &a, &d, x.data(), &one, results[way].data()), TNK_SPARSE_OK);
      EXPECT_EQ(allocations.made, way % 2) << variant;
      EXPECT_EQ(allocations.live, 0) << variant;
      EXPECT_EQ(allocations.overrun, 0) << variant;
      EXPECT_EQ(results[way], results[0]) << "variant " << variant << ", way " << way;
    }
  }
  tnk_set_num_threads(0);
}

} // namespace
