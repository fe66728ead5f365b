// Descriptors in tests.
#pragma once

#include <gtest/gtest.h>
#include <tnk/dft_node.h>
#include <vector>

namespace tnk::test {

using Ints = std::vector<tnk_int>;

using Values = std::vector<std::pair<int32_t, tnk_int>>;

// A descriptor with these parameters and scales, not committed, that is freed with its owner; no block may be left.
class Plan {
public:
  Plan(int32_t precision, int32_t domain, Ints lengths, const Values &values = {}, double forward = 1,
       double backward = 1) {
    const auto dimension = static_cast<tnk_int>(lengths.size());
    EXPECT_EQ(dimension == 1 ? DftiCreateDescriptor(&handle, precision, domain, dimension, lengths[0])
                             : DftiCreateDescriptor(&handle, precision, domain, dimension, lengths.data()),
              DftiNoError);
    for (const auto &[parameter, value] : values)
      EXPECT_EQ(DftiSetValue(handle, parameter, value), DftiNoError) << parameter;
    DftiSetValue(handle, DftiParamForwardScale, forward);
    DftiSetValue(handle, DftiParamBackwardScale, backward);
  }
  Plan(const Plan &) = delete;
  Plan &operator=(const Plan &) = delete;
  ~Plan() {
    EXPECT_EQ(DftiFreeDescriptor(&handle), DftiNoError);
    EXPECT_EQ(handle, nullptr);
  }
  template <class Value> tnk_int set(int32_t parameter, Value value) const {
    return DftiSetValue(handle, parameter, value);
  }
  tnk_int commit() const { return DftiCommitDescriptor(handle); }
  operator DftiHandle() const { return handle; }
  DftiNode *operator->() const { return handle; }
  DftiHandle handle = nullptr;
};

struct Call {
  DftiNode *node;
  void *arrays[4];
};
inline Call seen;
inline tnk_int record(DftiNode *node, void *a, void *b, void *c, void *d) {
  seen = {node, {a, b, c, d}};
  return 42;
}

inline void pretend_committed(DftiNode *node) {
  node->commit_status = DftiCommitted;
  node->compute_forward = node->compute_backward = record;
  node->flags |= TNK_DFT_CONTIGUOUS;
}
inline bool looks_committed(const DftiNode *node) {
  return node->commit_status == DftiCommitted && node->compute_forward && node->compute_backward &&
         (node->flags & TNK_DFT_CONTIGUOUS);
}
inline bool looks_uncommitted(const DftiNode *node) {
  return node->commit_status == DftiUncommitted && !node->compute_forward && !node->compute_backward &&
         !(node->flags & TNK_DFT_CONTIGUOUS);
}

// Length, input and output stride of each dimension.
inline Ints dims_of(const Iotensor &tensor) {
  Ints numbers;
  for (const IotensorDim *d = tensor.dims; d != tensor.dims + tensor.rank; ++d)
    numbers.insert(numbers.end(), {d->length, d->input_stride, d->output_stride});
  return numbers;
}

} // namespace tnk::test
