// Descriptors before they compute: creation, copies, the walk of commit, the way to compute entries, statuses in words.
#include "dft/plan.h"
#include "support/allocations.h"
#include <algorithm>
#include <set>
#include <string>

namespace tnk::test {
namespace {

const DftiHandle untouched = reinterpret_cast<DftiHandle>(8);

struct Creation {
  tnk_int precision, domain, dimension;
  Ints lengths;
};
using Create = tnk_int(DftiHandle *handle, const Creation &c);

template <auto *function> tnk_int any(DftiHandle *handle, const Creation &c) {
  const auto precision = static_cast<int32_t>(c.precision), domain = static_cast<int32_t>(c.domain);
  return c.dimension == 1 ? function(handle, precision, domain, c.dimension, c.lengths[0])
                          : function(handle, precision, domain, c.dimension, c.lengths.data());
}
template <auto *function> tnk_int line(DftiHandle *handle, const Creation &c) {
  return function(handle, static_cast<int32_t>(c.domain), c.lengths[0]);
}
template <auto *function> tnk_int space(DftiHandle *handle, const Creation &c) {
  return function(handle, static_cast<int32_t>(c.domain), c.dimension, c.lengths.data());
}
template <auto *function, class Precision> tnk_int by_address(DftiHandle *handle, const Creation &c) {
  const auto precision = static_cast<Precision>(c.precision);
  return function(handle, &precision, &c.domain, &c.dimension, c.lengths.data());
}

// What a form does not know of precision and shape by itself.
struct CreateForm {
  Create *create;
  Ints precisions;
  bool one_dimension, is_by_address;
};
const CreateForm create_forms[] = {
    {any<DftiCreateDescriptor>, {35, 36}, false, false},
    {any<tnk_dft_dfticreatedescriptor>, {35, 36}, false, false},
    {line<DftiCreateDescriptor_s_1d>, {35}, true, false},
    {line<DftiCreateDescriptor_d_1d>, {36}, true, false},
    {space<DftiCreateDescriptor_s_md>, {35}, false, false},
    {space<DftiCreateDescriptor_d_md>, {36}, false, false},
    {by_address<tnk_dft_dfti_create_descriptor_1d, tnk_int>, {35, 36}, true, true},
    {by_address<tnk_dft_dfti_create_descriptor_highd, tnk_int>, {35, 36}, false, true},
    {by_address<tnk_dft_dfti_create_descriptor_s_1d, float>, {35}, true, true},
    {by_address<tnk_dft_dfti_create_descriptor_s_md, float>, {35}, false, true},
    {by_address<tnk_dft_dfti_create_descriptor_d_1d, double>, {36}, true, true},
    {by_address<tnk_dft_dfti_create_descriptor_d_md, double>, {36}, false, true},
};

TEST(DftCreate, EveryFormMakesTheSame) {
  allocations.reset();
  for (const CreateForm &form : create_forms)
    for (const tnk_int precision : form.precisions)
      for (const tnk_int domain : {DftiComplex, DftiReal})
        for (Ints lengths : {Ints{6}, Ints{2, -3, 5}, Ints{2, 3, 4, 5, 6, 7, 8}}) {
          SCOPED_TRACE(&form - create_forms);
          const auto rank = static_cast<tnk_int>(lengths.size());
          if (form.one_dimension && rank > 1) continue;
          DftiHandle handle;
          ASSERT_EQ(form.create(&handle, {precision, domain, rank, lengths}), DftiNoError);
          EXPECT_TRUE(handle->precision == precision && handle->forward_domain == domain);
          EXPECT_TRUE(looks_uncommitted(handle));
          if (!form.is_by_address) std::reverse(lengths.begin(), lengths.end());
          Ints expected;
          tnk_int stride = 1;
          for (const tnk_int n : lengths) expected.insert(expected.end(), {n, stride, stride}), stride *= n;
          EXPECT_EQ(dims_of(handle->lengths), expected);
          EXPECT_EQ(DftiFreeDescriptor(&handle), DftiNoError);
        }
  EXPECT_EQ(allocations.live, 0);
}

TEST(DftCreate, RefusesInOrder) {
  allocations.reset();
  const Creation invalid[] = {
      {35, 32, 0, {4, 4}},   {35, 32, -1, {4, 4}},   {35, 32, 8, {2, 2, 2, 2, 2, 2, 2, 2}},
      {35, 32, 1, {0}},      {35, 32, 1, {-4}},      {34, 32, 2, {4, 4}},
      {37, 32, 2, {4, 4}},   {35, 31, 2, {4, 4}},    {36, 34, 2, {4, 4}},
      {35, 33, 1, {0}},      {36, 32, 3, {4, 4, 0}}, {35, 33, 3, {0, 4, 4}},
      {35, 33, 3, {4, 0, 4}}};
  for (const CreateForm &form : create_forms)
    for (const Creation &creation : invalid) {
      EXPECT_EQ(form.create(nullptr, creation), DftiInconsistentConfiguration);
      if (!form.is_by_address) {
        if (form.one_dimension && creation.dimension != 1) continue;
        if (form.precisions.size() == 1 && (creation.precision < 35 || creation.precision > 36)) continue;
      }
      DftiHandle handle = untouched;
      EXPECT_EQ(form.create(&handle, creation), DftiInvalidConfiguration) << &form - create_forms;
      EXPECT_EQ(handle, untouched);
    }
  EXPECT_EQ(allocations.made, 0);
}

tnk_int answer = DftiNoError;
const DftiStrategy strategy = {[](const DftiStrategy *, DftiNode *node) {
                                 if (answer == DftiNoError) pretend_committed(node);
                                 return answer;
                               },
                               nullptr};
const DftiStrategy *const strategy_list[] = {&strategy, nullptr};

// The configuration stays as it was told; what strategies see is in order, and without dimensions of 1 where data are
// complex. In place output strides do not count.
TEST(DftCommit, NormalisesDimensions) {
  const tnk_int input[] = {5, 40, 7, 1}, output[] = {6, 1, 9, 60};
  for (const bool complex : {true, false})
    for (const bool in_place : {true, false}) {
      Plan plan(
          DftiSingle, complex ? DftiComplex : DftiReal, {4, 1, 3},
          {{DftiParamPlacement, in_place ? DftiInPlace : DftiNotInPlace}, {DftiParamOutputDistance, 200}});
      plan->strategy_list = strategy_list;
      DftiSetValue(plan, DftiParamInputStrides, input);
      DftiSetValue(plan, DftiParamOutputStrides, output);
      for (int twice = 0; twice < 2; ++twice) {
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        EXPECT_EQ(dims_of(plan->committed_lengths), !complex   ? Ints({3, 1, 60, 1, 7, 9, 4, 40, 1})
                                                    : in_place ? Ints({3, 1, 1, 4, 40, 40})
                                                               : Ints({3, 1, 60, 4, 40, 1}));
        EXPECT_EQ(plan->output_distance, complex && in_place ? 0 : 200);
      }
      tnk_int distance = 0, strides[4];
      DftiGetValue(plan, DftiParamOutputDistance, &distance);
      DftiGetValue(plan, DftiParamOutputStrides, strides);
      EXPECT_TRUE(distance == 200 && std::equal(strides, strides + 4, output));
    }
}

TEST(DftCommit, AsksForThreads) {
  Plan plan(DftiSingle, DftiComplex, {4});
  plan->strategy_list = strategy_list;
  DftiApi api = {[] { return int32_t{17}; }, [] { return int32_t{5}; }, nullptr, nullptr, nullptr};
  plan->api_entries = &api;
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 5 && plan->dynamic == 17);
  plan->requested_threads = 3;
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 3);
  plan->requested_threads = 0, api = {};
  EXPECT_TRUE(DftiCommitDescriptor(plan) == 0 && plan->threads == 1 && plan->dynamic == 0);
  plan->strategy_list = strategy_list + 1;
  EXPECT_EQ(DftiCommitDescriptor(plan), DftiDeclined);
}

TEST(DftCopy, HasTheConfigurationAndCommitsWhereTheSourceIs) {
  allocations.reset();
  {
    Plan plan(DftiSingle, DftiComplex, {4, 1, 3},
              {{DftiParamComplexStorage, 42},
               {DftiParamConjugateEvenStorage, 39},
               {DftiParamPlacement, 44},
               {DftiParamOrdering, 49},
               {DftiParamPackedFormat, 56},
               {DftiParamNumberOfUserThreads, 3},
               {DftiParamInputDistance, 70},
               {DftiParamOutputDistance, 80},
               {DftiParamNumberOfTransforms, 9}},
              1, 0.25);
    plan->strategy_list = strategy_list;
    plan->requested_threads = 3;
    const tnk_int strides[] = {5, 40, 7, 2};
    DftiSetValue(plan, DftiParamInputStrides, strides);
    DftiSetValue(plan, DftiParamOutputStrides, strides);
    DftiSetValue(plan, DftiParamDescriptorName, "name");

    for (const bool committed : {false, true}) {
      EXPECT_TRUE(!committed || DftiCommitDescriptor(plan) == DftiNoError);
      DftiHandle copies[2];
      ASSERT_EQ(DftiCopyDescriptor(plan, &copies[0]), DftiNoError);
      ASSERT_EQ(tnk_dft_dfti_copy_descriptor_external(&plan.handle, &copies[1]), DftiNoError);
      for (DftiHandle &copy : copies) {
        EXPECT_EQ(looks_committed(copy), committed);
        EXPECT_EQ(copy->threads, committed ? 3 : 0);
        for (tnk_int number = 0; number <= 26; ++number) {
          tnk_int found = -1, expected = -1;
          tnk_dft_dfti_get_value_intval(&plan.handle, &number, &expected);
          tnk_dft_dfti_get_value_intval(&copy, &number, &found);
          EXPECT_EQ(found, expected) << number;
        }
        EXPECT_EQ(dims_of(copy->lengths), dims_of(plan->lengths));
        EXPECT_TRUE(copy->input_offset == 5 && copy->output_offset == 5 && copy->backward_scale == 0.25);
        EXPECT_EQ(std::string(copy->name, 5), std::string("name", 5));
        EXPECT_EQ(DftiFreeDescriptor(&copy), DftiNoError);
      }
    }
    answer = DftiInternalError;
    DftiHandle copy = untouched;
    EXPECT_EQ(DftiCopyDescriptor(plan, &copy), DftiDeclined);
    answer = DftiNoError;
    EXPECT_EQ(copy, untouched);
  }
  EXPECT_EQ(allocations.live, 0);
}

TEST(DftDescriptors, LeaveNothingBehindWhenMemoryIsRefused) {
  allocations.reset();
  const Ints lengths = {3, 1, 5};
  DftiHandle handle = untouched, copy = untouched;
  // Each of the five blocks of a descriptor; only the handle of one that is there is written.
  const auto refuse_each = [](const DftiHandle &made, const auto &call) {
    const int before = allocations.live;
    EXPECT_EQ(refuse_in_turn(call,
                             [&](tnk_int status, bool refused) {
                               EXPECT_EQ(status, refused ? DftiMemoryError : DftiNoError);
                               EXPECT_EQ(made == untouched, refused);
                               EXPECT_EQ(allocations.live, before + (refused ? 0 : 5));
                             }),
              5);
  };
  refuse_each(handle, [&] { return DftiCreateDescriptor_d_md(&handle, DftiComplex, 3, lengths.data()); });
  refuse_each(copy, [&] { return DftiCopyDescriptor(handle, &copy); });
  // A dimension of 1 is gone after a commit, so the next one takes room for it.
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

using ByAddress = tnk_int(DftiHandle *handle, void *const *arrays);
template <auto *function, int... i> tnk_int with(DftiHandle *handle, void *const *a) {
  return function(handle, a[i]...);
}
struct ComputeForm {
  int arrays;
  ByAddress *forward, *backward;
};
template <auto *forward, auto *backward, int... i>
constexpr ComputeForm form = {sizeof...(i), with<forward, i...>, with<backward, i...>};
#define TNK_FORM(types, ...)                                                                                 \
  form<tnk_dft_dfti_compute_forward_##types, tnk_dft_dfti_compute_backward_##types, __VA_ARGS__>
const ComputeForm compute_forms[] = {TNK_FORM(c, 0),
                                     TNK_FORM(z, 0),
                                     TNK_FORM(s, 0),
                                     TNK_FORM(d, 0),
                                     TNK_FORM(cc, 0, 1),
                                     TNK_FORM(cs, 0, 1),
                                     TNK_FORM(sc, 0, 1),
                                     TNK_FORM(ss, 0, 1),
                                     TNK_FORM(zz, 0, 1),
                                     TNK_FORM(zd, 0, 1),
                                     TNK_FORM(dz, 0, 1),
                                     TNK_FORM(dd, 0, 1),
                                     TNK_FORM(ssss, 0, 1, 2, 3),
                                     TNK_FORM(dddd, 0, 1, 2, 3)};
#undef TNK_FORM

TEST(DftCompute, ByAddressTellsWrongNumbersOfArraysFromUncommitted) {
  Plan plan(DftiDouble, DftiComplex, {6});
  double data[4];
  void *arrays[4] = {&data[0], &data[1], &data[2], &data[3]};
  for (const ComputeForm &form : compute_forms)
    for (ByAddress *const call : {form.forward, form.backward}) {
      DftiHandle none = nullptr;
      EXPECT_EQ(call(nullptr, arrays), DftiBadDescriptor);
      EXPECT_EQ(call(&none, arrays), DftiBadDescriptor);
      for (const int nioargs : {0, 1, 2, 4}) {
        const bool right = nioargs == form.arrays;
        plan->nioargs = nioargs;
        plan->compute_forward = plan->compute_backward = nullptr;
        EXPECT_EQ(call(&plan.handle, arrays),
                  right ? DftiInvalidConfiguration : DftiInconsistentConfiguration);
        plan->magic ^= 1;
        EXPECT_EQ(call(&plan.handle, arrays), DftiBadDescriptor);
        plan->magic ^= 1;
        (call == form.forward ? plan->compute_forward : plan->compute_backward) = record;
        seen = {};
        EXPECT_EQ(call(&plan.handle, arrays), right ? 42 : DftiInconsistentConfiguration);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(seen.arrays[i], right && i < nioargs ? arrays[i] : nullptr);
      }
    }
}

TEST(DftDescriptors, NoneAndBadOnesAreToldApart) {
  DftiNode bad = {};
  DftiHandle handles[] = {nullptr, &bad}, copy = untouched;
  tnk_int number = DftiParamPlacement, value = 43, length = 0;
  double scale = 1;
  float single = 1;
  char text[1];
  for (DftiHandle &handle : handles)
    for (DftiHandle *const at : {&handle, static_cast<DftiHandle *>(nullptr)}) {
      const tnk_int statuses[] = {DftiSetValue(handle, DftiParamPlacement, 43),
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
                                  tnk_dft_dfti_get_value_chars(at, &number, text, &length)};
      for (const tnk_int &status : statuses) EXPECT_EQ(status, DftiBadDescriptor) << &status - statuses;
      const tnk_int freed = at ? DftiBadDescriptor : DftiInconsistentConfiguration;
      EXPECT_EQ(DftiFreeDescriptor(at), freed);
      EXPECT_EQ(tnk_dft_dfti_free_descriptor_external(at), freed);
    }
  EXPECT_EQ(copy, untouched);
  Plan plan(DftiDouble, DftiComplex, {6});
  for (const auto compute : {DftiComputeForward, DftiComputeBackward}) {
    EXPECT_EQ(compute(nullptr, text), DftiBadDescriptor);
    EXPECT_EQ(compute(plan, text), DftiInvalidConfiguration);
  }
  EXPECT_EQ(DftiCopyDescriptor(plan, nullptr), DftiInconsistentConfiguration);
  EXPECT_EQ(tnk_dft_dfticopydescriptor(plan, nullptr), DftiInconsistentConfiguration);
  const DftiMethods none = {}, *const methods = plan->methods;
  plan->methods = &none;
  EXPECT_EQ(DftiCommitDescriptor(plan), DftiInternalError);
  plan->methods = methods;
}

TEST(DftStatus, HasAClassAndAMessage) {
  for (const tnk_int a : {0, 1, 9, 10, 100, -1})
    for (const tnk_int b : {0, 9, -1}) {
      EXPECT_EQ(DftiErrorClass(a, b), a == b);
      EXPECT_EQ(tnk_dft_dfti_error_class_external(&a, &b), a == b);
    }
  std::set<std::string> texts;
  for (tnk_int status = 0; status <= 10; ++status) {
    const std::string text = *texts.insert(DftiErrorMessage(status)).first;
    char buffer[130] = "";
    for (const tnk_int length : {128, 3}) {
      buffer[length] = '#';
      EXPECT_EQ(tnk_dft_dfti_error_message_external(&status, buffer, &length), buffer);
      const auto size = static_cast<std::size_t>(length);
      EXPECT_EQ(std::string(buffer, size + 1), (text + std::string(128, ' ')).substr(0, size) + '#');
    }
  }
  EXPECT_EQ(texts.size(), 11u);
  EXPECT_STREQ(DftiErrorMessage(0), "no error");
  for (const tnk_int other : {tnk_int{-1}, tnk_int{100}, tnk_int{1} << 40})
    EXPECT_STREQ(DftiErrorMessage(other), DftiErrorMessage(10));
}

TEST(DftOutline, CountsArrays) {
  DftiOutline outline = {};
  const tnk_int lengths[] = {3, 5, 0};
  const int32_t bad[][3] = {{36, 32, 3}, {37, 32, 1}, {36, 31, 1}, {36, 32, 8}, {36, 32, 0}};
  for (const auto &[precision, domain, rank] : bad)
    EXPECT_EQ(tnk_dft_create_descriptor_md(&outline, precision, domain, rank, lengths),
              DftiInvalidConfiguration);
  EXPECT_EQ(outline.rank, 0);
  for (const int32_t domain : {DftiComplex, DftiReal}) {
    ASSERT_EQ(tnk_dft_create_descriptor_md(&outline, DftiDouble, domain, 2, lengths), DftiNoError);
    EXPECT_TRUE(outline.nioargs == 1 && outline.lengths[1] == 5);
    outline.complex_storage = DftiRealReal;
    EXPECT_EQ(tnk_dft_determine_nioargs(&outline), domain == DftiComplex ? 2 : 1);
    outline.placement = DftiNotInPlace;
    EXPECT_EQ(tnk_dft_determine_nioargs(&outline), domain == DftiComplex ? 4 : 2);
  }
}

} // namespace
} // namespace tnk::test
