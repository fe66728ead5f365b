// The parameters of a descriptor: a table of all, set and read by value and by address.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <tnk/dft_node.h>
#include <tnk/services.h>
#include <vector>

#include "tests/dft/plan.h"

namespace {

using tnk::test::Ints;
using tnk::test::looks_committed;
using tnk::test::looks_uncommitted;
using tnk::test::Plan;
using tnk::test::pretend_committed;

// ---- Integer parameters, every cell of their table ------------------------------------------------------------------------

struct IntegerParameter {
  int32_t number;
  int width;                  // of DftiGetValue's result; 0: there is none
  tnk_int at_first;           // of a complex double descriptor of three dimensions
  std::set<tnk_int> accepted; // in the complex domain
  std::set<tnk_int> reserved;
  bool in_chain; // every node of a chain has it
};
const IntegerParameter integer_parameters[] = {
    {0, 32, 32, {}, {}, false},       {1, 64, 3, {}, {}, false},
    {3, 32, 36, {}, {}, false},       {8, 32, 39, {39, 42}, {40, 41}, true},
    {9, 32, 42, {42}, {41}, true},    {10, 32, 40, {39, 40}, {41, 42}, true},
    {11, 32, 43, {43, 44}, {}, true}, {18, 32, 48, {48, 49}, {50}, true},
    {19, 32, 53, {}, {}, false},      {21, 32, 54, {54, 55, 56, 57}, {}, true},
    {22, 32, 31, {}, {}, false},
};
const Ints candidates = {-1, 0,  1,  2,  30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42,  43, 44,
                         45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 63, 64, 103, 106};

tnk_int get_by_value(DftiHandle handle, const IntegerParameter &parameter) {
  tnk_int wide = -5;
  int32_t narrow[2] = {-5, -6};
  if (parameter.width == 64) {
    EXPECT_EQ(DftiGetValue(handle, parameter.number, &wide), DftiNoError) << parameter.number;
    return wide;
  }
  EXPECT_EQ(DftiGetValue(handle, parameter.number, narrow), DftiNoError) << parameter.number;
  EXPECT_EQ(narrow[1], -6) << parameter.number;
  return narrow[0];
}

tnk_int get(DftiHandle handle, const IntegerParameter &parameter) {
  tnk_int number = parameter.number, value = -5;
  EXPECT_EQ(tnk_dft_dfti_get_value_intval(&handle, &number, &value), DftiNoError) << number;
  EXPECT_EQ(get_by_value(handle, parameter), value) << number;
  return value;
}

TEST(DftParameters, TakeTheirValuesAndNoOthers) {
  for (const int32_t domain : {DftiComplex, DftiReal})
    for (const IntegerParameter &parameter : integer_parameters)
      for (const tnk_int value : candidates)
        for (const bool by_address : {false, true}) {
          SCOPED_TRACE(std::to_string(parameter.number) + " := " + std::to_string(value));
          Plan plan(DftiDouble, domain, {2, 3, 4});
          DftiNode *next = nullptr;
          ASSERT_EQ(tnk_dft_dfti_create_dc1d(&next, 5), DftiNoError);
          const IntegerParameter none{parameter.number, parameter.width, 0, {}, {}, false};
          const tnk_int at_first = parameter.number == DftiParamForwardDomain ? domain : parameter.at_first;
          EXPECT_EQ(get(plan, none), at_first);

          pretend_committed(plan);
          const tnk_int status_before = get(plan, none);
          plan->next = next;
          const tnk_int number = parameter.number;
          // By value an integer of 32 bits reaches the library without its sign.
          const tnk_int found = by_address
                                    ? tnk_dft_dfti_set_value_intval(&plan.handle, &number, &value)
                                    : DftiSetValue(plan, parameter.number, static_cast<int32_t>(value));
          const bool scrambled_reals = number == DftiParamOrdering && domain == DftiReal && value == 49;
          const tnk_int expected = parameter.reserved.count(value) || scrambled_reals ? DftiUnimplemented
                                   : parameter.accepted.count(value)                  ? DftiNoError
                                                                     : DftiInconsistentConfiguration;
          EXPECT_EQ(found, expected);
          EXPECT_TRUE(looks_uncommitted(plan));
          const tnk_int kept = number == DftiParamCommitStatus ? tnk_int{DftiUncommitted} : status_before;
          EXPECT_EQ(get(plan, none), expected == DftiNoError ? value : kept);
          if (parameter.in_chain) {
            EXPECT_EQ(get(next, none), expected == DftiNoError ? value : parameter.at_first);
          }
          const bool cce = number == DftiParamConjugateEvenStorage && value == DftiComplexComplex;
          if (number == DftiParamPackedFormat) continue;
          for (const DftiNode *node : {plan.handle, next}) EXPECT_EQ(node->packed_format, cce ? 57 : 54);
        }
}

// ---- The other kinds of parameters ------------------------------------------------------------------------------------------

// By number: i integer, v vector, d scale, s text, r reserved.
const std::string kinds = "iivi"
                          "ddrii"
                          "iiiv"
                          "viirri"
                          "isiisrri";
const std::set<tnk_int> never_set = {0, 1, 2, 3, 19, 22, 23};

TEST(DftParameters, AreReachedByTheFormsOfTheirKindAlone) {
  ASSERT_EQ(kinds.size(), 27u);
  Plan plan(DftiDouble, DftiComplex, {6});
  tnk_int numbers[2] = {1, 2}, length = 200;
  char text[200] = "text";
  double scale = 2;
  float single = 2;
  struct Form {
    const char *name;
    char kind;
    bool sets;
    std::function<tnk_int(DftiHandle *, const tnk_int *)> call;
  };
  const Form forms[] = {
      {"get integer", 'i', false,
       [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_intval(h, n, numbers); }},
      {"get vector", 'v', false,
       [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_intvec(h, n, numbers); }},
      {"get single", 'd', false,
       [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_sglval(h, n, &single); }},
      {"get double", 'd', false,
       [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_dblval(h, n, &scale); }},
      {"get text", 's', false,
       [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_chars(h, n, text, &length); }},
      {"set vector", 'v', true,
       [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_intvec(h, n, numbers); }},
      {"set single", 'd', true,
       [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_sglval(h, n, &single); }},
      {"set double", 'd', true,
       [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_dblval(h, n, &scale); }},
      {"set text", 's', true,
       [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_chars(h, n, text, &length); }},
  };
  for (const Form &form : forms)
    for (tnk_int number = -1; number <= 28; ++number) {
      const char kind = number < 0 || number > 26 ? '-' : kinds[static_cast<std::size_t>(number)];
      const bool right = kind == form.kind && !(form.sets && never_set.count(number));
      const bool only_length = form.kind == 'i' && number == DftiParamLengths;
      EXPECT_EQ(form.call(&plan.handle, &number), kind == 'r'            ? DftiUnimplemented
                                                  : right || only_length ? DftiNoError
                                                                         : DftiInconsistentConfiguration)
          << form.name << " " << number;
    }
  Plan plane(DftiDouble, DftiComplex, {6, 7});
  const tnk_int lengths = DftiParamLengths;
  EXPECT_EQ(tnk_dft_dfti_get_value_intval(&plane.handle, &lengths, numbers), DftiInconsistentConfiguration);
}

// Also a number that takes no integer by address leaves the descriptor to be committed anew; by value, one that is none
// does not.
TEST(DftParameters, ThatAreRefusedUncommit) {
  Plan plan(DftiDouble, DftiComplex, {6});
  const tnk_int value = 7;
  for (tnk_int number = -2; number <= 30; ++number) {
    const bool known = number >= 0 && number <= 26;
    const char kind = known ? kinds[static_cast<std::size_t>(number)] : '-';
    const tnk_int expected = kind == 'r' ? DftiUnimplemented : DftiInconsistentConfiguration;
    if (kind != 'i') {
      pretend_committed(plan);
      EXPECT_EQ(tnk_dft_dfti_set_value_intval(&plan.handle, &number, &value), expected) << number;
      EXPECT_TRUE(looks_uncommitted(plan)) << number;
    }
    if (known && kind != 'r' && !never_set.count(number)) continue;
    pretend_committed(plan);
    EXPECT_EQ(DftiSetValue(plan, static_cast<int32_t>(number), 7), expected) << number;
    EXPECT_EQ(looks_uncommitted(plan), known) << number;
    char nothing[8];
    if (known && kind != 'r') continue;
    EXPECT_EQ(DftiGetValue(plan, static_cast<int32_t>(number), nothing), expected) << number;
  }
}

TEST(DftParameters, CountsDistancesAndUsers) {
  Plan plan(DftiSingle, DftiReal, {6});
  const tnk_int large = tnk_int{1} << 40;
  for (const int32_t number : {DftiParamNumberOfTransforms, DftiParamInputDistance, DftiParamOutputDistance})
    for (const tnk_int value : {large, tnk_int{-3}, tnk_int{0}, tnk_int{12}}) {
      pretend_committed(plan);
      EXPECT_EQ(DftiSetValue(plan, number, value), DftiNoError);
      EXPECT_TRUE(looks_uncommitted(plan));
      EXPECT_EQ(get(plan, {number, 64, 0, {}, {}, false}), value);
    }
  EXPECT_EQ(plan->number_of_transforms, 12);
  EXPECT_EQ(plan->input_distance, 12);
  EXPECT_EQ(plan->output_distance, 12);

  const IntegerParameter users{DftiParamNumberOfUserThreads, 64, 1, {}, {}, true};
  EXPECT_EQ(get(plan, users), 1);
  for (const tnk_int value : {tnk_int{INT32_MAX}, tnk_int{INT32_MIN}, tnk_int{4}})
    EXPECT_TRUE(DftiSetValue(plan, users.number, value) == DftiNoError && get(plan, users) == value) << value;
  for (const tnk_int value : {large, tnk_int{INT32_MAX} + 1, tnk_int{INT32_MIN} - 1})
    EXPECT_EQ(DftiSetValue(plan, users.number, value), DftiInconsistentConfiguration) << value;
  EXPECT_EQ(get(plan, users), 4);
}

TEST(DftParameters, Scales) {
  const tnk_int forward = DftiParamForwardScale, backward = DftiParamBackwardScale;
  for (const int32_t precision : {DftiSingle, DftiDouble}) {
    Plan plan(precision, DftiComplex, {5});
    const auto get_scale = [&](int32_t number) -> double {
      double scale = -1;
      float single = -1;
      EXPECT_EQ(DftiGetValue(plan, number, precision == DftiSingle ? static_cast<void *>(&single) : &scale),
                DftiNoError);
      return precision == DftiSingle ? single : scale;
    };
    EXPECT_EQ(get_scale(forward), 1);
    pretend_committed(plan);
    EXPECT_EQ(DftiSetValue(plan, forward, 1.0), DftiNoError);
    EXPECT_TRUE(looks_committed(plan));
    EXPECT_EQ(DftiSetValue(plan, forward, 0.1), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    EXPECT_EQ(get_scale(forward), precision == DftiSingle ? 0.1f : 0.1);
    EXPECT_EQ(get_scale(backward), 1);
    pretend_committed(plan);
    const float half = 0.5f;
    EXPECT_EQ(tnk_dft_dfti_set_value_sglval(&plan.handle, &backward, &half), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int twice = 0; twice < 2; ++twice) { // NaN is never the scale that there is
      pretend_committed(plan);
      EXPECT_EQ(tnk_dft_dfti_set_value_dblval(&plan.handle, &forward, &nan), DftiNoError);
      EXPECT_TRUE(looks_uncommitted(plan));
    }
    float single;
    double scale;
    EXPECT_EQ(tnk_dft_dfti_get_value_sglval(&plan.handle, &backward, &single), DftiNoError);
    EXPECT_EQ(tnk_dft_dfti_get_value_dblval(&plan.handle, &backward, &scale), DftiNoError);
    EXPECT_TRUE(single == 0.5f && scale == 0.5);
  }
}

TEST(DftParameters, StridesAndLengthsComeInTheOrderOfTheForm) {
  Plan plan(DftiDouble, DftiComplex, {2, 3, 4});
  const auto by_value = [&](int32_t number, std::size_t size) {
    Ints found(size, -9);
    EXPECT_EQ(DftiGetValue(plan, number, found.data()), DftiNoError);
    return found;
  };
  const auto by_address = [&](tnk_int number, std::size_t size) {
    Ints found(size, -9);
    EXPECT_EQ(tnk_dft_dfti_get_value_intvec(&plan.handle, &number, found.data()), DftiNoError);
    return found;
  };
  EXPECT_EQ(by_value(DftiParamLengths, 3), Ints({2, 3, 4}));
  EXPECT_EQ(by_address(DftiParamLengths, 3), Ints({4, 3, 2}));
  tnk_int other = 900;
  for (const int32_t number : {DftiParamInputStrides, DftiParamOutputStrides}) {
    EXPECT_EQ(by_value(number, 4), Ints({0, 12, 4, 1}));
    EXPECT_EQ(by_address(number, 4), Ints({0, 1, 4, 12}));
    pretend_committed(plan);
    const tnk_int wide = number, strides[] = {other + 7, other + 60, other + 20, other + 5};
    EXPECT_EQ(DftiSetValue(plan, number, strides), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    EXPECT_EQ(by_address(number, 4), Ints({other + 7, other + 5, other + 20, other + 60}));
    other = 0;
    if (number == DftiParamInputStrides) continue;
    pretend_committed(plan);
    EXPECT_EQ(tnk_dft_dfti_set_value_intvec(&plan.handle, &wide, strides), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    EXPECT_EQ(by_value(number, 4), Ints({7, 5, 20, 60}));
  }
  EXPECT_EQ(by_value(DftiParamInputStrides, 4), Ints({907, 960, 920, 905}));
}

TEST(DftParameters, NamesAndTheVersion) {
  Plan plan(DftiDouble, DftiComplex, {5});
  const tnk_int number = DftiParamDescriptorName, version = DftiParamVersion;
  const auto by_value = [&] {
    char name[12];
    std::memset(name, '#', sizeof name);
    EXPECT_EQ(DftiGetValue(plan, DftiParamDescriptorName, name), DftiNoError);
    EXPECT_EQ(name[DftiNameLength], '#');
    return std::string(name);
  };
  const auto by_address = [&](DftiHandle handle, tnk_int parameter, tnk_int length, tnk_int status) {
    std::string text(static_cast<std::size_t>(length) + 2, '#');
    EXPECT_EQ(tnk_dft_dfti_get_value_chars(&handle, &parameter, text.data(), &length), status);
    EXPECT_EQ(text.substr(static_cast<std::size_t>(length)), "##");
    return text.substr(0, static_cast<std::size_t>(length));
  };
  EXPECT_EQ(by_value(), "");
  EXPECT_EQ(by_address(plan, number, 12, DftiNoError), "            ");
  pretend_committed(plan);
  EXPECT_EQ(DftiSetValue(plan, number, "abcdefghijkl"), DftiNoError);
  EXPECT_TRUE(looks_committed(plan));
  EXPECT_EQ(by_value(), "abcdefghi");
  EXPECT_EQ(by_address(plan, number, 12, DftiNoError), "abcdefghij  ");
  EXPECT_EQ(by_address(plan, number, 4, DftiNoError), "abcd");
  EXPECT_EQ(DftiSetValue(plan, number, "xyz"), DftiNoError);
  EXPECT_EQ(by_value(), "xyz");
  EXPECT_EQ(by_address(plan, number, 12, DftiNoError), "xyz         ");
  const tnk_int two = 2;
  EXPECT_EQ(tnk_dft_dfti_set_value_chars(&plan.handle, &number, "pqr", &two), DftiNoError);
  EXPECT_EQ(by_value(), "pq       ");
  EXPECT_EQ(by_address(nullptr, number, 5, DftiBadDescriptor), "     ");

  char whole[DftiVersionLength];
  EXPECT_EQ(DftiGetValue(nullptr, DftiParamVersion, whole), DftiNoError);
  const std::string text = whole;
  EXPECT_EQ(text.substr(0, 4), "tnk ");
  EXPECT_EQ(by_address(nullptr, version, 6, DftiNoError), text.substr(0, 6));
  EXPECT_EQ(by_address(nullptr, version, 190, DftiNoError), text + std::string(190 - text.size(), ' '));
}

} // namespace
