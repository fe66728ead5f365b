// Lists of dimensions.
#include "dft/plan.h"
#include "support/allocations.h"
#include <cstring>

namespace tnk::test {
namespace {

struct Tensor : Iotensor {
  explicit Tensor(const Ints &from) { // length, input stride, output stride of each
    EXPECT_EQ(tnk_dft_Iotensor_create(this, static_cast<int32_t>(from.size() / 3)), DftiNoError);
    std::memcpy(dims, from.data(), from.size() * sizeof(tnk_int));
  }
  Tensor(const Tensor &) = delete;
  Tensor &operator=(const Tensor &) = delete;
  ~Tensor() { tnk_dft_Iotensor_destroy(this); }
};
static_assert(sizeof(IotensorDim) == 3 * sizeof(tnk_int));

TEST(Iotensor, SortsRemovesAndMerges) {
  const std::pair<Ints, Ints> rows[] = {
      {{4, 1, 1}, {4, 1, 1}},
      {{1, 3, 5}, {1, 3, 5}},
      {{1, 9, 9, 1, 2, 7}, {1, 9, 9}},
      {{5, 12, 12, 4, 3, 3, 1, 0, 0, 3, 1, 1}, {60, 1, 1}},
      {{3, 1, 1, 5, 50, 50, 4, 3, 3}, {12, 1, 1, 5, 50, 50}},
      // Only the upper two, or only on one side.
      {{3, 1, 1, 4, 5, 5, 5, 20, 20}, {3, 1, 1, 20, 5, 5}},
      {{3, 1, 2, 4, 3, 5, 2, 12, 20}, {3, 1, 2, 8, 3, 5}},
  };
  allocations.reset();
  for (const auto &[dims, merged] : rows) {
    Tensor tensor(dims);
    tnk_dft_Iotensor_sort(&tensor);
    tnk_dft_Iotensor_remove1(&tensor);
    tnk_dft_Iotensor_compress(&tensor);
    EXPECT_EQ(dims_of(tensor), merged);
  }
  EXPECT_EQ(allocations.live, 0);
}

TEST(Iotensor, CopiesAndJoins) {
  allocations.reset();
  {
    const Ints copies[] = {{2, 3, 4, 5, 6, 7}, {2, 3, 3, 5, 6, 6}, {2, 4, 4, 5, 7, 7}, {2, 4, 3, 5, 7, 6}};
    Tensor source(copies[0]), small({9, 9, 9}), large({9, 9, 9, 9, 9, 9, 9, 9, 9}), joined({1, 1, 1});
    for (Tensor *const destination : {&small, &large})
      for (const int32_t flags : {0, 1, 2, 3}) {
        EXPECT_EQ(tnk_dft_Iotensor_copy(destination, &source, flags), DftiNoError);
        EXPECT_EQ(dims_of(*destination), copies[flags]);
        EXPECT_EQ(tnk_dft_Iotensor_is_inplace(destination), flags == 1 || flags == 2);
      }
    EXPECT_EQ(tnk_dft_Iotensor_join(&joined, &source, &small), DftiNoError);
    EXPECT_EQ(dims_of(joined), Ints({2, 3, 4, 5, 6, 7, 2, 4, 3, 5, 7, 6}));

    // A refusal leaves the destination as it was.
    Tensor kept({1, 2, 3});
    allocations.refuse = 1;
    EXPECT_EQ(tnk_dft_Iotensor_copy(&kept, &source, 0), DftiMemoryError);
    allocations.refuse = 1;
    EXPECT_EQ(tnk_dft_Iotensor_join(&kept, &source, &small), DftiMemoryError);
    EXPECT_EQ(dims_of(kept), Ints({1, 2, 3}));
  }
  EXPECT_EQ(allocations.live, 0);
}

} // namespace
} // namespace tnk::test
