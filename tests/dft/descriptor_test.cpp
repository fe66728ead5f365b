// Descriptors before they compute: creation, copies, the walk of commit, the way to compute entries, statuses in words.
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <tnk/dft_node.h>
#include <utility>
#include <vector>

#include "support/allocations.h"
#include "tests/dft/plan.h"

namespace {

using tnk::test::allocations;
using tnk::test::Ints;
using tnk::test::looks_committed;
using tnk::test::looks_uncommitted;
using tnk::test::Plan;
using tnk::test::pretend_committed;
using tnk::test::seen;

const DftiHandle untouched = reinterpret_cast<DftiHandle>(8);

// ---- Creation ---------------------------------------------------------------------------------------------------------------

// A creation by every form; those that have no room for an argument take none of its faults.
struct Creation {
  tnk_int precision, domain, dimension;
  Ints lengths;
};
using Create = std::function<tnk_int(DftiHandle *, const Creation &)>;
struct CreateForm {
  const char *name;
  int32_t precision; // 0: an argument
  bool one_dimension, by_address;
  Create create;
};
const CreateForm create_forms[] = {
    {"value", 0, false, false,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<int32_t>(c.precision), domain = static_cast<int32_t>(c.domain);
       return c.dimension == 1
                  ? DftiCreateDescriptor(handle, precision, domain, c.dimension, c.lengths[0])
                  : DftiCreateDescriptor(handle, precision, domain, c.dimension, c.lengths.data());
     }},
    {"twin", 0, false, false,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<int32_t>(c.precision), domain = static_cast<int32_t>(c.domain);
       return c.dimension == 1
                  ? tnk_dft_dfticreatedescriptor(handle, precision, domain, c.dimension, c.lengths[0])
                  : tnk_dft_dfticreatedescriptor(handle, precision, domain, c.dimension, c.lengths.data());
     }},
    {"s_1d", DftiSingle, true, false,
     [](DftiHandle *handle, const Creation &c) {
       return DftiCreateDescriptor_s_1d(handle, static_cast<int32_t>(c.domain), c.lengths[0]);
     }},
    {"d_1d", DftiDouble, true, false,
     [](DftiHandle *handle, const Creation &c) {
       return DftiCreateDescriptor_d_1d(handle, static_cast<int32_t>(c.domain), c.lengths[0]);
     }},
    {"s_md", DftiSingle, false, false,
     [](DftiHandle *handle, const Creation &c) {
       return DftiCreateDescriptor_s_md(handle, static_cast<int32_t>(c.domain), c.dimension,
                                        c.lengths.data());
     }},
    {"d_md", DftiDouble, false, false,
     [](DftiHandle *handle, const Creation &c) {
       return DftiCreateDescriptor_d_md(handle, static_cast<int32_t>(c.domain), c.dimension,
                                        c.lengths.data());
     }},
    {"address 1d", 0, true, true,
     [](DftiHandle *handle, const Creation &c) {
       return tnk_dft_dfti_create_descriptor_1d(handle, &c.precision, &c.domain, &c.dimension,
                                                c.lengths.data());
     }},
    {"address highd", 0, false, true,
     [](DftiHandle *handle, const Creation &c) {
       return tnk_dft_dfti_create_descriptor_highd(handle, &c.precision, &c.domain, &c.dimension,
                                                   c.lengths.data());
     }},
    {"address s_1d", 0, true, true,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<float>(c.precision);
       return tnk_dft_dfti_create_descriptor_s_1d(handle, &precision, &c.domain, &c.dimension,
                                                  c.lengths.data());
     }},
    {"address s_md", 0, false, true,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<float>(c.precision);
       return tnk_dft_dfti_create_descriptor_s_md(handle, &precision, &c.domain, &c.dimension,
                                                  c.lengths.data());
     }},
    {"address d_1d", 0, true, true,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<double>(c.precision);
       return tnk_dft_dfti_create_descriptor_d_1d(handle, &precision, &c.domain, &c.dimension,
                                                  c.lengths.data());
     }},
    {"address d_md", 0, false, true,
     [](DftiHandle *handle, const Creation &c) {
       const auto precision = static_cast<double>(c.precision);
       return tnk_dft_dfti_create_descriptor_d_md(handle, &precision, &c.domain, &c.dimension,
                                                  c.lengths.data());
     }},
};

TEST(DftCreate, EveryFormMakesTheSame) {
  allocations.reset();
  for (const CreateForm &form : create_forms)
    for (const tnk_int precision : {DftiSingle, DftiDouble})
      for (const tnk_int domain : {DftiComplex, DftiReal})
        for (const Ints &lengths : {Ints{6}, Ints{2, -3, 5}, Ints{2, 3, 4, 5, 6, 7, 8}}) {
          SCOPED_TRACE(form.name);
          if (form.one_dimension && lengths.size() > 1) continue;
          DftiHandle handle = untouched;
          const tnk_int status =
              form.create(&handle, {precision, domain, static_cast<tnk_int>(lengths.size()), lengths});
          const bool singles = std::string(form.name).substr(0, 9) == "address s";
          const bool doubles = std::string(form.name).substr(0, 9) == "address d";
          if ((singles && precision == DftiDouble) || (doubles && precision == DftiSingle)) {
            EXPECT_EQ(status, DftiInvalidConfiguration);
            continue;
          }
          ASSERT_EQ(status, DftiNoError);
          EXPECT_EQ(handle->precision, form.precision ? form.precision : precision);
          EXPECT_EQ(handle->forward_domain, domain);
          EXPECT_EQ(handle->user_threads, 1);
          Ints inner = lengths;
          if (!form.by_address) std::reverse(inner.begin(), inner.end());
          ASSERT_EQ(handle->lengths.rank, static_cast<int32_t>(inner.size()));
          tnk_int stride = 1;
          for (std::size_t i = 0; i < inner.size(); ++i) {
            const IotensorDim &dim = handle->lengths.dims[i];
            EXPECT_TRUE(dim.length == inner[i] && dim.input_stride == stride && dim.output_stride == stride)
                << i;
            stride *= inner[i];
          }
          EXPECT_TRUE(looks_uncommitted(handle));
          EXPECT_EQ(DftiFreeDescriptor(&handle), DftiNoError);
        }
  EXPECT_EQ(allocations.live, 0);
}

TEST(DftCreate, RefusesInOrder) {
  allocations.reset();
  const Ints seven = {2, 3, 4, 5, 6, 7, 8};
  struct Row {
    Creation creation;
    bool null;
    tnk_int status;
  };
  const Row rows[] = {
      {{35, 32, 0, seven}, true, DftiInconsistentConfiguration},
      {{35, 32, 0, seven}, false, DftiInvalidConfiguration},
      {{35, 32, -1, seven}, false, DftiInvalidConfiguration},
      {{35, 32, 8, seven}, false, DftiInvalidConfiguration},
      {{35, 32, 1, {0}}, false, DftiInvalidConfiguration},
      {{35, 32, 1, {-4}}, false, DftiInvalidConfiguration},
      {{34, 32, 2, {4, 4}}, false, DftiInvalidConfiguration},
      {{37, 32, 2, {4, 4}}, false, DftiInvalidConfiguration},
      {{35, 31, 2, {4, 4}}, false, DftiInvalidConfiguration},
      {{35, 34, 2, {4, 4}}, false, DftiInvalidConfiguration},
      {{35, 32, 3, {4, 4, 0}}, false, DftiInvalidConfiguration},
      {{35, 33, 3, {0, 4, 4}}, false, DftiInvalidConfiguration},
      {{35, 33, 3, {4, 0, 4}}, false, DftiInvalidConfiguration},
  };
  for (const CreateForm &form : create_forms)
    for (const Row &row : rows) {
      const bool has_precision = form.precision == 0, has_dimension = !form.one_dimension || form.by_address;
      if (!has_dimension && row.creation.dimension != 1 && !row.null) continue;
      if (!has_precision && row.creation.precision != 35) continue;
      DftiHandle handle = untouched;
      EXPECT_EQ(form.create(row.null ? nullptr : &handle, row.creation), row.status) << form.name;
      EXPECT_EQ(handle, untouched) << form.name;
    }
  EXPECT_EQ(allocations.made, 0);
}

// ---- The walk of commit -----------------------------------------------------------------------------------------------------

// Strategies that note that they were asked, and return what they are told to.
struct Asked {
  std::vector<const DftiStrategy *> strategies;
  tnk_int statuses[3];
  DftiNode node; // as the last one has seen it
};
Asked asked;
tnk_int ask(const DftiStrategy *strategy, DftiNode *node);
const DftiStrategy strategies[3] = {{ask, nullptr}, {ask, nullptr}, {ask, nullptr}};
const DftiStrategy *const strategy_list[] = {&strategies[0], &strategies[1], &strategies[2], nullptr};

tnk_int ask(const DftiStrategy *strategy, DftiNode *node) {
  asked.strategies.push_back(strategy);
  asked.node = *node;
  const tnk_int status = asked.statuses[strategy - strategies];
  if (status == DftiNoError) pretend_committed(node);
  return status;
}

TEST(DftCommit, TriesStrategiesUntilOneTakesTheNode) {
  Plan plan(DftiDouble, DftiComplex, {6});
  plan->strategy_list = strategy_list;
  struct Row {
    tnk_int statuses[3], result;
    std::size_t tried;
  };
  const Row rows[] = {{{0, 100, 100}, 0, 1},
                      {{100, 101, 0}, 0, 3},
                      {{1, 0, 100}, 0, 2},
                      {{100, 101, 9}, 100, 3},
                      {{6, 7, 1}, 100, 3}};
  for (const Row &row : rows) {
    asked.strategies.clear();
    std::copy_n(row.statuses, 3, asked.statuses);
    plan->commit_status = DftiUncommitted;
    plan->flags |= TNK_DFT_PLANE | TNK_DFT_ONE_SHOT | TNK_DFT_INNER;
    EXPECT_EQ(DftiCommitDescriptor(plan), row.result);
    EXPECT_EQ(asked.strategies.size(), row.tried);
    EXPECT_TRUE(std::equal(asked.strategies.begin(), asked.strategies.end(), strategy_list));
    // Of an earlier commit's flags nothing is left, whatever becomes of this one.
    EXPECT_EQ(asked.node.flags, uint32_t{TNK_DFT_INNER});
    EXPECT_EQ(plan->commit_status, row.result ? DftiUncommitted : DftiCommitted);
  }
  plan->strategy_list = strategy_list + 3;
  EXPECT_EQ(DftiCommitDescriptor(plan), DftiDeclined);
}

TEST(DftCommit, NormalisesDimensionsAndPreparesScalesAndThreads) {
  const auto dims = [](const Iotensor &tensor) {
    Ints numbers;
    for (int32_t i = 0; i < tensor.rank; ++i)
      for (const tnk_int number :
           {tensor.dims[i].length, tensor.dims[i].input_stride, tensor.dims[i].output_stride})
        numbers.push_back(number);
    return numbers;
  };
  std::fill_n(asked.statuses, 3, 0);
  const tnk_int input[] = {5, 40, 7, 1}, output[] = {6, 1, 9, 60};
  for (const int32_t domain : {DftiComplex, DftiReal})
    for (const int32_t placement : {DftiInPlace, DftiNotInPlace}) {
      Plan plan(DftiSingle, domain, {4, 1, 3});
      plan->strategy_list = strategy_list;
      DftiSetValue(plan, DftiParamPlacement, placement);
      DftiSetValue(plan, DftiParamInputStrides, input);
      DftiSetValue(plan, DftiParamOutputStrides, output);
      DftiSetValue(plan, DftiParamNumberOfTransforms, tnk_int{8});
      DftiSetValue(plan, DftiParamInputDistance, tnk_int{100});
      DftiSetValue(plan, DftiParamOutputDistance, tnk_int{200});
      DftiSetValue(plan, DftiParamForwardScale, 0.1);
      const bool complex = domain == DftiComplex, in_place = placement == DftiInPlace;
      const Ints expected = !complex   ? Ints{3, 1, 60, 1, 7, 9, 4, 40, 1}
                            : in_place ? Ints{3, 1, 1, 4, 40, 40}
                                       : Ints{3, 1, 60, 4, 40, 1};
      for (int twice = 0; twice < 2; ++twice) {
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        EXPECT_EQ(dims(plan->committed_lengths), expected);
        EXPECT_EQ(plan->committed_rank, complex ? 2 : 3);
        EXPECT_EQ(plan->axis.length, 3);
        EXPECT_EQ(plan->axis.input_stride, 1);
        EXPECT_EQ(plan->axis.output_stride, complex && in_place ? 1 : 60);
        EXPECT_EQ(plan->number_of_transforms, 8);
        EXPECT_EQ(plan->input_distance, 100);
        EXPECT_EQ(plan->output_distance, complex && in_place ? 100 : 200);
        EXPECT_TRUE(plan->forward_factor == 0.1 && plan->forward_factor_single == 0.1f);
        EXPECT_TRUE(plan->backward_factor == 1 && plan->backward_factor_single == 1);
      }
      // The configuration is what it was.
      tnk_int distance = 0, strides[4];
      DftiGetValue(plan, DftiParamOutputDistance, &distance);
      DftiGetValue(plan, DftiParamOutputStrides, strides);
      EXPECT_TRUE(distance == 200 && std::equal(strides, strides + 4, output));
    }

  Plan plan(DftiSingle, DftiComplex, {4});
  plan->strategy_list = strategy_list;
  DftiApi api = {[] { return int32_t{17}; }, [] { return int32_t{5}; }, nullptr, nullptr, nullptr};
  plan->api_entries = &api;
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 5 && plan->dynamic == 17);
  plan->requested_threads = 3;
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 3);
  plan->requested_threads = 0, api = {};
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 1 && plan->dynamic == 0);
}

// ---- Copies, and refused memory ---------------------------------------------------------------------------------------------

TEST(DftCopy, HasTheConfigurationAndCommitsWhereTheSourceIs) {
  allocations.reset();
  {
    Plan plan(DftiSingle, DftiComplex, {4, 1, 3});
    plan->strategy_list = strategy_list;
    const tnk_int strides[] = {5, 40, 7, 2};
    DftiSetValue(plan, DftiParamInputStrides, strides);
    DftiSetValue(plan, DftiParamOutputStrides, strides);
    DftiSetValue(plan, DftiParamDescriptorName, "name");
    DftiSetValue(plan, DftiParamBackwardScale, 0.25);
    const std::pair<int32_t, tnk_int> numbers[] = {
        {DftiParamComplexStorage, 42}, {DftiParamConjugateEvenStorage, 39}, {DftiParamPlacement, 44},
        {DftiParamOrdering, 49},       {DftiParamPackedFormat, 56},         {DftiParamNumberOfUserThreads, 3},
        {DftiParamInputDistance, 70},  {DftiParamOutputDistance, 80},       {DftiParamNumberOfTransforms, 9}};
    for (const auto &[number, value] : numbers) DftiSetValue(plan, number, value);

    for (const bool committed : {false, true}) {
      if (committed) {
        EXPECT_EQ(DftiCommitDescriptor(plan), DftiNoError);
      }
      DftiHandle copies[2];
      ASSERT_EQ(DftiCopyDescriptor(plan, &copies[0]), DftiNoError);
      ASSERT_EQ(tnk_dft_dfti_copy_descriptor_external(&plan.handle, &copies[1]), DftiNoError);
      for (DftiHandle &copy : copies) {
        EXPECT_EQ(looks_committed(copy), committed);
        EXPECT_EQ(copy->threads == 0, !committed);
        for (tnk_int number = 0; number <= 26; ++number) {
          tnk_int found = -1, expected = -1;
          tnk_dft_dfti_get_value_intval(&plan.handle, &number, &expected);
          tnk_dft_dfti_get_value_intval(&copy, &number, &found);
          EXPECT_EQ(found, expected) << number;
        }
        tnk_int found[4];
        for (const int32_t number : {DftiParamInputStrides, DftiParamOutputStrides}) {
          DftiGetValue(copy, number, found);
          EXPECT_TRUE(std::equal(found, found + 4, strides));
        }
        float scale = 0;
        char name[DftiNameLength];
        DftiGetValue(copy, DftiParamBackwardScale, &scale);
        DftiGetValue(copy, DftiParamDescriptorName, name);
        EXPECT_EQ(scale, 0.25f);
        EXPECT_STREQ(name, "name");
        EXPECT_EQ(DftiFreeDescriptor(&copy), DftiNoError);
      }
    }
    asked.statuses[0] = asked.statuses[1] = asked.statuses[2] = DftiInternalError;
    DftiHandle copy = untouched;
    EXPECT_EQ(DftiCopyDescriptor(plan, &copy), DftiDeclined);
    EXPECT_EQ(copy, untouched);
  }
  EXPECT_EQ(allocations.live, 0);
}

TEST(DftDescriptors, LeaveNothingBehindWhenMemoryIsRefused) {
  allocations.reset();
  // Refuses the first block, the second, ... of all that the call asks for.
  const auto refuse_each = [](int blocks, const std::function<tnk_int()> &call) {
    const int before = allocations.live;
    for (int refused = 1; refused <= blocks; ++refused) {
      allocations.refuse = refused;
      EXPECT_EQ(call(), DftiMemoryError) << refused;
      EXPECT_EQ(allocations.refuse, 0) << refused;
      EXPECT_EQ(allocations.live, before) << refused;
    }
    const int made = allocations.made;
    EXPECT_EQ(call(), DftiNoError);
    EXPECT_EQ(allocations.made, made + blocks);
  };
  const Ints lengths = {3, 1, 5};
  DftiHandle handle = untouched, copy = untouched;
  refuse_each(5, [&] {
    const tnk_int status = DftiCreateDescriptor_d_md(&handle, DftiComplex, 3, lengths.data());
    EXPECT_EQ(handle == untouched, status != DftiNoError);
    return status;
  });
  refuse_each(5, [&] {
    const tnk_int status = DftiCopyDescriptor(handle, &copy);
    EXPECT_EQ(copy == untouched, status != DftiNoError);
    return status;
  });
  // A dimension of 1 is gone after a commit, so the next one takes room for it.
  std::fill_n(asked.statuses, 3, 0);
  handle->strategy_list = strategy_list;
  ASSERT_EQ(DftiCommitDescriptor(handle), DftiNoError);
  allocations.refuse = 1;
  EXPECT_EQ(DftiCommitDescriptor(handle), DftiMemoryError);
  EXPECT_TRUE(looks_uncommitted(handle));
  EXPECT_EQ(DftiCommitDescriptor(handle), DftiNoError);
  EXPECT_EQ(DftiFreeDescriptor(&handle), DftiNoError);
  EXPECT_EQ(tnk_dft_dftifreedescriptor(&copy), DftiNoError);
  EXPECT_EQ(allocations.live, 0);
}

// ---- Handles that are none, and the way to a compute entry ----------------------------------------------------------------

using ByAddress = std::function<tnk_int(DftiHandle *, void **)>;
struct ComputeForm {
  int arrays;
  bool forward;
  ByAddress call;
};

std::vector<ComputeForm> compute_forms() {
  std::vector<ComputeForm> forms;
  for (const bool forward : {true, false}) {
    const auto one = [&](DftiComputeByAddress1 *f) {
      forms.push_back({1, forward, [f](DftiHandle *h, void **a) { return f(h, a[0]); }});
    };
    const auto two = [&](DftiComputeByAddress2 *f) {
      forms.push_back({2, forward, [f](DftiHandle *h, void **a) { return f(h, a[0], a[1]); }});
    };
    const auto four = [&](DftiComputeByAddress4 *f) {
      forms.push_back({4, forward, [f](DftiHandle *h, void **a) { return f(h, a[0], a[1], a[2], a[3]); }});
    };
    one(forward ? tnk_dft_dfti_compute_forward_c : tnk_dft_dfti_compute_backward_c);
    one(forward ? tnk_dft_dfti_compute_forward_z : tnk_dft_dfti_compute_backward_z);
    one(forward ? tnk_dft_dfti_compute_forward_s : tnk_dft_dfti_compute_backward_s);
    one(forward ? tnk_dft_dfti_compute_forward_d : tnk_dft_dfti_compute_backward_d);
    two(forward ? tnk_dft_dfti_compute_forward_cc : tnk_dft_dfti_compute_backward_cc);
    two(forward ? tnk_dft_dfti_compute_forward_cs : tnk_dft_dfti_compute_backward_cs);
    two(forward ? tnk_dft_dfti_compute_forward_sc : tnk_dft_dfti_compute_backward_sc);
    two(forward ? tnk_dft_dfti_compute_forward_ss : tnk_dft_dfti_compute_backward_ss);
    two(forward ? tnk_dft_dfti_compute_forward_zz : tnk_dft_dfti_compute_backward_zz);
    two(forward ? tnk_dft_dfti_compute_forward_zd : tnk_dft_dfti_compute_backward_zd);
    two(forward ? tnk_dft_dfti_compute_forward_dz : tnk_dft_dfti_compute_backward_dz);
    two(forward ? tnk_dft_dfti_compute_forward_dd : tnk_dft_dfti_compute_backward_dd);
    four(forward ? tnk_dft_dfti_compute_forward_ssss : tnk_dft_dfti_compute_backward_ssss);
    four(forward ? tnk_dft_dfti_compute_forward_dddd : tnk_dft_dfti_compute_backward_dddd);
  }
  return forms;
}

TEST(DftCompute, ByAddressTellsWrongNumbersOfArraysFromUncommitted) {
  Plan plan(DftiDouble, DftiComplex, {6});
  double data[4];
  void *arrays[4] = {&data[0], &data[1], &data[2], &data[3]};
  for (const ComputeForm &form : compute_forms()) {
    DftiHandle none = nullptr;
    EXPECT_EQ(form.call(nullptr, arrays), DftiBadDescriptor);
    EXPECT_EQ(form.call(&none, arrays), DftiBadDescriptor);
    for (const int nioargs : {0, 1, 2, 4}) {
      const bool right = nioargs == form.arrays;
      plan->nioargs = nioargs;
      plan->compute_forward = plan->compute_backward = nullptr;
      EXPECT_EQ(form.call(&plan.handle, arrays),
                right ? DftiInvalidConfiguration : DftiInconsistentConfiguration);
      plan->magic ^= 1;
      EXPECT_EQ(form.call(&plan.handle, arrays), DftiBadDescriptor);
      plan->magic ^= 1;
      (form.forward ? plan->compute_forward : plan->compute_backward) = tnk::test::record;
      seen = {};
      EXPECT_EQ(form.call(&plan.handle, arrays), right ? 42 : DftiInconsistentConfiguration);
      for (int i = 0; i < 4; ++i) EXPECT_EQ(seen.arrays[i], right && i < nioargs ? arrays[i] : nullptr);
    }
  }
}

TEST(DftCompute, ByValuePassesItsArraysOn) {
  double data[4];
  const auto is = [&](tnk_int status, const DftiNode *node) {
    const bool same = seen.arrays[0] == &data[0] && seen.arrays[1] == &data[1] &&
                      seen.arrays[2] == &data[2] && seen.arrays[3] == &data[3];
    const DftiNode *const found = seen.node;
    seen = {};
    return status == 42 && found == node && same;
  };
  Plan plan(DftiDouble, DftiComplex, {6});
  for (const auto compute :
       {DftiComputeForward, DftiComputeBackward, tnk_dft_dfticomputeforward, tnk_dft_dfticomputebackward}) {
    const bool forward = compute == DftiComputeForward || compute == tnk_dft_dfticomputeforward;
    plan->compute_forward = plan->compute_backward = nullptr;
    EXPECT_EQ(compute(nullptr, data), DftiBadDescriptor);
    EXPECT_EQ(compute(plan, data), DftiInvalidConfiguration);
    (forward ? plan->compute_forward : plan->compute_backward) = tnk::test::record;
    EXPECT_TRUE(is(compute(plan, &data[0], &data[1], &data[2], &data[3]), plan));
  }
}

TEST(DftDescriptors, NoneAndBadOnesAreToldApart) {
  DftiNode bad = {};
  DftiHandle handles[] = {nullptr, &bad};
  tnk_int number = DftiParamPlacement, value = 43, length = 0;
  double scale = 1;
  float single = 1;
  char text[1];
  DftiHandle copy = untouched;
  for (DftiHandle &handle : handles)
    for (DftiHandle *const at : {&handle, static_cast<DftiHandle *>(nullptr)}) {
      const tnk_int statuses[] = {
          DftiSetValue(handle, DftiParamPlacement, 43),
          DftiGetValue(handle, DftiParamPlacement, &value),
          DftiCommitDescriptor(handle),
          DftiCopyDescriptor(handle, &copy),
          tnk_dft_dfticommitdescriptor(handle),
          tnk_dft_dfti_commit_descriptor_external(at),
          tnk_dft_dfti_copy_descriptor_external(at, &copy),
          tnk_dft_dfti_set_value_intval(at, &number, &value),
          tnk_dft_dfti_set_value_intvec(at, &number, &value),
          tnk_dft_dfti_set_value_sglval(at, &number, &single),
          tnk_dft_dfti_set_value_dblval(at, &number, &scale),
          tnk_dft_dfti_set_value_chars(at, &number, text, &length),
          tnk_dft_dfti_get_value_intval(at, &number, &value),
          tnk_dft_dfti_get_value_intvec(at, &number, &value),
          tnk_dft_dfti_get_value_sglval(at, &number, &single),
          tnk_dft_dfti_get_value_dblval(at, &number, &scale),
          tnk_dft_dfti_get_value_chars(at, &number, text, &length),
      };
      for (const tnk_int &status : statuses) EXPECT_EQ(status, DftiBadDescriptor) << &status - statuses;
      const tnk_int freed = at ? DftiBadDescriptor : DftiInconsistentConfiguration;
      EXPECT_EQ(DftiFreeDescriptor(at), freed);
      EXPECT_EQ(tnk_dft_dfti_free_descriptor_external(at), freed);
    }
  EXPECT_EQ(copy, untouched);
  Plan plan(DftiDouble, DftiComplex, {6});
  EXPECT_EQ(DftiCopyDescriptor(plan, nullptr), DftiInconsistentConfiguration);
  EXPECT_EQ(tnk_dft_dfticopydescriptor(plan, nullptr), DftiInconsistentConfiguration);
  const DftiMethods none = {}, *const methods = plan->methods;
  plan->methods = &none;
  EXPECT_EQ(DftiCommitDescriptor(plan), DftiInternalError);
  plan->methods = methods;
}

// ---- Statuses -----------------------------------------------------------------------------------------------------------------

TEST(DftStatus, HasAClassAndAMessage) {
  const tnk_int numbers[] = {0, 1, 9, 10, 100, -1};
  for (const tnk_int &a : numbers)
    for (const tnk_int &b : numbers) {
      EXPECT_EQ(DftiErrorClass(a, b), a == b);
      EXPECT_EQ(tnk_dft_dftierrorclass(a, b), a == b);
      EXPECT_EQ(tnk_dft_dfti_error_class_external(&a, &b), a == b);
    }
  std::vector<std::string> texts;
  for (const tnk_int status : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
    texts.push_back(DftiErrorMessage(status));
    EXPECT_EQ(tnk_dft_dftierrormessage(status), texts.back());
    char buffer[130] = "";
    const tnk_int length = 128, few = 3;
    buffer[128] = '#';
    EXPECT_EQ(tnk_dft_dfti_error_message_external(&status, buffer, &length), buffer);
    EXPECT_EQ(std::string(buffer, 129), texts.back() + std::string(128 - texts.back().size(), ' ') + '#');
    std::fill_n(buffer, 4, '#');
    tnk_dft_dfti_error_message_external(&status, buffer, &few);
    EXPECT_EQ(std::string(buffer, 4), texts.back().substr(0, 3) + '#');
  }
  for (const tnk_int other : {tnk_int{-1}, tnk_int{100}, tnk_int{1} << 40})
    EXPECT_EQ(DftiErrorMessage(other), texts[10]);
  EXPECT_EQ(texts[0], "no error");
  EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), texts.size());
  for (const std::string &text : texts) EXPECT_EQ(text.find("catalog"), std::string::npos) << text;
}

TEST(DftOutline, CountsArrays) {
  DftiOutline outline = {};
  const Ints lengths = {3, 0, 5, 6, 7, 8, 9};
  EXPECT_EQ(tnk_dft_create_descriptor_md(&outline, 36, 32, 2, lengths.data()), DftiInvalidConfiguration);
  EXPECT_EQ(tnk_dft_create_descriptor_md(&outline, 37, 32, 1, lengths.data()), DftiInvalidConfiguration);
  EXPECT_EQ(tnk_dft_create_descriptor_md(&outline, 36, 31, 1, lengths.data()), DftiInvalidConfiguration);
  EXPECT_EQ(tnk_dft_create_descriptor_md(&outline, 36, 32, 8, lengths.data()), DftiInvalidConfiguration);
  EXPECT_EQ(outline.rank, 0);
  for (const int32_t domain : {DftiComplex, DftiReal}) {
    ASSERT_EQ(tnk_dft_create_descriptor_md(&outline, 36, domain, 5, lengths.data() + 2), DftiNoError);
    EXPECT_EQ(outline.nioargs, 1);
    EXPECT_EQ(outline.lengths[4], 9);
    outline.complex_storage = DftiRealReal;
    EXPECT_EQ(tnk_dft_determine_nioargs(&outline), domain == DftiComplex ? 2 : 1);
    outline.placement = DftiNotInPlace;
    EXPECT_EQ(tnk_dft_determine_nioargs(&outline), domain == DftiComplex ? 4 : 2);
  }
}

} // namespace
