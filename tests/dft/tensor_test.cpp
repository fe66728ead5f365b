// Lists of dimensions.
#include <gtest/gtest.h>
#include <tnk/dft_node.h>
#include <vector>

#include "support/allocations.h"

namespace {

using tnk::test::allocations;
using Dims = std::vector<std::vector<tnk_int>>; // length, input stride, output stride

struct Tensor : Iotensor {
  explicit Tensor(const Dims &from) {
    EXPECT_EQ(tnk_dft_Iotensor_create(this, static_cast<int32_t>(from.size())), DftiNoError);
    for (std::size_t i = 0; i < from.size(); ++i) dims[i] = {from[i][0], from[i][1], from[i][2]};
  }
  Tensor(const Tensor &) = delete;
  Tensor &operator=(const Tensor &) = delete;
  ~Tensor() { tnk_dft_Iotensor_destroy(this); }
  Dims list() const {
    Dims list;
    for (int32_t i = 0; i < rank; ++i)
      list.push_back({dims[i].length, dims[i].input_stride, dims[i].output_stride});
    return list;
  }
};

TEST(Iotensor, SortsRemovesAndMerges) {
  const std::pair<Dims, Dims> rows[] = {
      {{{4, 1, 1}}, {{4, 1, 1}}},
      {{{1, 3, 5}}, {{1, 3, 5}}},
      {{{1, 9, 9}, {1, 2, 7}}, {{1, 9, 9}}},
      {{{5, 12, 12}, {4, 3, 3}, {1, 0, 0}, {3, 1, 1}}, {{60, 1, 1}}},
      {{{3, 1, 1}, {5, 50, 50}, {4, 3, 3}}, {{12, 1, 1}, {5, 50, 50}}},
      // Only the upper two, or only on one side.
      {{{3, 1, 1}, {4, 5, 5}, {5, 20, 20}}, {{3, 1, 1}, {20, 5, 5}}},
      {{{3, 1, 2}, {4, 3, 5}, {2, 12, 20}}, {{3, 1, 2}, {8, 3, 5}}},
  };
  allocations.reset();
  for (const auto &[dims, merged] : rows) {
    Tensor tensor(dims);
    tnk_dft_Iotensor_sort(&tensor);
    tnk_dft_Iotensor_remove1(&tensor);
    tnk_dft_Iotensor_compress(&tensor);
    EXPECT_EQ(tensor.list(), merged);
  }
  EXPECT_EQ(allocations.live, 0);
}

TEST(Iotensor, CopiesAndJoins) {
  allocations.reset();
  {
    const Dims two = {{2, 3, 4}, {5, 6, 7}};
    Tensor source(two), small({{9, 9, 9}}), large({{9, 9, 9}, {9, 9, 9}, {9, 9, 9}}), joined({{1, 1, 1}});
    const Dims copies[] = {two, {{2, 3, 3}, {5, 6, 6}}, {{2, 4, 4}, {5, 7, 7}}, {{2, 4, 3}, {5, 7, 6}}};
    for (Tensor *const destination : {&small, &large})
      for (const int32_t flags : {0, 1, 2, 3}) {
        EXPECT_EQ(tnk_dft_Iotensor_copy(destination, &source, flags), DftiNoError);
        EXPECT_EQ(destination->list(), copies[flags]);
        EXPECT_EQ(tnk_dft_Iotensor_is_inplace(destination), flags == 1 || flags == 2);
      }
    small.dims[1] = {5, 6, 6}, small.dims[0] = {2, 3, 3};
    EXPECT_EQ(tnk_dft_Iotensor_join(&joined, &source, &small), DftiNoError);
    EXPECT_EQ(joined.list(), Dims({{2, 3, 4}, {5, 6, 7}, {2, 3, 3}, {5, 6, 6}}));

    // A refusal leaves the destination as it was.
    Tensor kept({{1, 2, 3}});
    allocations.refuse = 1;
    EXPECT_EQ(tnk_dft_Iotensor_copy(&kept, &source, 0), DftiMemoryError);
    allocations.refuse = 1;
    EXPECT_EQ(tnk_dft_Iotensor_join(&kept, &source, &small), DftiMemoryError);
    EXPECT_EQ(kept.list(), Dims({{1, 2, 3}}));
  }
  EXPECT_EQ(allocations.live, 0);
}

} // namespace
