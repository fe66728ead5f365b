// The parameters of a descriptor: a table of all, set and read by value and by address.
#include "dft/plan.h"
#include <cmath>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <tnk/services.h>

namespace tnk::test {
namespace {

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

// By address, and by value the same.
tnk_int get(DftiHandle handle, tnk_int number, int width) {
  tnk_int value = -5, wide = -5;
  EXPECT_EQ(tnk_dft_dfti_get_value_intval(&handle, &number, &value), DftiNoError) << number;
  EXPECT_EQ(DftiGetValue(handle, static_cast<int32_t>(number), &wide), DftiNoError) << number;
  if (width == 32) {
    int32_t narrow[2];
    std::memcpy(narrow, &wide, sizeof wide);
    EXPECT_EQ(narrow[1], -1) << "written behind " << number;
    wide = narrow[0];
  }
  EXPECT_EQ(wide, value) << number;
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
          const tnk_int number = parameter.number;
          const auto value_in = [&](DftiHandle handle) { return get(handle, number, parameter.width); };
          const tnk_int at_first = parameter.number == DftiParamForwardDomain ? domain : parameter.at_first;
          EXPECT_EQ(value_in(plan), at_first);

          pretend_committed(plan);
          const tnk_int status_before = value_in(plan);
          plan->next = next;
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
          EXPECT_EQ(value_in(plan), expected == DftiNoError ? value : kept);
          if (parameter.in_chain) {
            EXPECT_EQ(value_in(next), expected == DftiNoError ? value : parameter.at_first);
          }
          const bool cce = number == DftiParamConjugateEvenStorage && value == DftiComplexComplex;
          if (number == DftiParamPackedFormat) continue;
          for (const DftiNode *node : {plan.handle, next}) EXPECT_EQ(node->packed_format, cce ? 57 : 54);
        }
}

// By number: i integer, v vector, d scale, s text, r reserved.
const std::string kinds = "iividdriiiiivviirriisiisrri";
const std::set<tnk_int> never_set = {0, 1, 2, 3, 19, 22, 23};

TEST(DftParameters, AreReachedByTheFormsOfTheirKindAlone) {
  ASSERT_EQ(kinds.size(), 27u);
  Plan plan(DftiDouble, DftiComplex, {6});
  tnk_int numbers[2] = {1, 2}, length = 200;
  char text[200] = "text";
  double scale = 2;
  float single = 2;
  const struct {
    const char *name;
    char kind;
    std::function<tnk_int(DftiHandle *, const tnk_int *)> call;
  } forms[] = {
      {"get integer", 'i', [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_intval(h, n, numbers); }},
      {"get vector", 'v', [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_intvec(h, n, numbers); }},
      {"get single", 'd', [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_sglval(h, n, &single); }},
      {"get double", 'd', [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_dblval(h, n, &scale); }},
      {"get text", 's', [&](auto *h, auto *n) { return tnk_dft_dfti_get_value_chars(h, n, text, &length); }},
      {"set vector", 'v', [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_intvec(h, n, numbers); }},
      {"set single", 'd', [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_sglval(h, n, &single); }},
      {"set double", 'd', [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_dblval(h, n, &scale); }},
      {"set text", 's', [&](auto *h, auto *n) { return tnk_dft_dfti_set_value_chars(h, n, text, &length); }}};
  for (tnk_int number = -1; number <= 28; ++number) {
    const bool known = number >= 0 && number <= 26;
    const char kind = known ? kinds[static_cast<std::size_t>(number)] : '-';
    const tnk_int refusal = kind == 'r' ? DftiUnimplemented : DftiInconsistentConfiguration;
    for (const auto &form : forms) {
      const bool right = kind == form.kind && !(form.name[0] == 's' && never_set.count(number));
      const bool only_length = form.kind == 'i' && number == DftiParamLengths;
      EXPECT_EQ(form.call(&plan.handle, &number), right || only_length ? tnk_int{DftiNoError} : refusal)
          << form.name << " " << number;
    }
    // What is refused leaves the descriptor to be committed anew; by value, a number that is none does not.
    if (kind != 'i') {
      pretend_committed(plan);
      EXPECT_EQ(tnk_dft_dfti_set_value_intval(&plan.handle, &number, numbers), refusal) << number;
      EXPECT_TRUE(looks_uncommitted(plan)) << number;
    }
    if (known && kind != 'r' && !never_set.count(number)) continue;
    pretend_committed(plan);
    EXPECT_EQ(DftiSetValue(plan, static_cast<int32_t>(number), 7), refusal) << number;
    EXPECT_EQ(looks_uncommitted(plan), known) << number;
    if (known && kind != 'r') continue;
    EXPECT_EQ(DftiGetValue(plan, static_cast<int32_t>(number), text), refusal) << number;
  }
  Plan plane(DftiDouble, DftiComplex, {6, 7});
  const tnk_int lengths = DftiParamLengths;
  EXPECT_EQ(tnk_dft_dfti_get_value_intval(&plane.handle, &lengths, numbers), DftiInconsistentConfiguration);
}

TEST(DftParameters, CountsDistancesAndUsers) {
  Plan plan(DftiSingle, DftiReal, {6});
  const tnk_int large = tnk_int{1} << 40;
  for (const int32_t number : {DftiParamNumberOfTransforms, DftiParamInputDistance, DftiParamOutputDistance})
    for (const tnk_int value : {large, tnk_int{-3}, tnk_int{0}, tnk_int{12}}) {
      pretend_committed(plan);
      EXPECT_EQ(DftiSetValue(plan, number, value), DftiNoError);
      EXPECT_TRUE(looks_uncommitted(plan));
      EXPECT_EQ(get(plan, number, 64), value);
    }
  EXPECT_TRUE(plan->number_of_transforms == 12 && plan->input_distance == 12 && plan->output_distance == 12);
  constexpr int32_t users = DftiParamNumberOfUserThreads;
  EXPECT_EQ(get(plan, users, 64), 1);
  for (const tnk_int value : {tnk_int{INT32_MAX}, tnk_int{INT32_MIN}, tnk_int{4}})
    EXPECT_TRUE(DftiSetValue(plan, users, value) == DftiNoError && get(plan, users, 64) == value) << value;
  for (const tnk_int value : {large, tnk_int{INT32_MAX} + 1, tnk_int{INT32_MIN} - 1})
    EXPECT_EQ(DftiSetValue(plan, users, value), DftiInconsistentConfiguration) << value;
  EXPECT_EQ(get(plan, users, 64), 4);
}

TEST(DftParameters, Scales) {
  const tnk_int forward = DftiParamForwardScale, backward = DftiParamBackwardScale;
  for (const int32_t precision : {DftiSingle, DftiDouble}) {
    Plan plan(precision, DftiComplex, {5});
    const auto expect = [&](int32_t number, double expected) { // by value in the descriptor's precision
      double scale = -1;
      float single = -1;
      EXPECT_EQ(DftiGetValue(plan, number, precision == DftiSingle ? static_cast<void *>(&single) : &scale),
                DftiNoError);
      EXPECT_TRUE(precision == DftiSingle ? single == float(expected) : scale == expected) << single << scale;
    };
    const auto set = [&](bool disturbs, const auto &call) {
      pretend_committed(plan);
      EXPECT_EQ(call(), DftiNoError);
      EXPECT_TRUE(disturbs ? looks_uncommitted(plan) : looks_committed(plan));
    };
    expect(forward, 1);
    set(false, [&] { return DftiSetValue(plan, forward, 1.0); });
    set(true, [&] { return DftiSetValue(plan, forward, 0.1); });
    expect(forward, 0.1), expect(backward, 1);
    const float half = 0.5f;
    set(true, [&] { return tnk_dft_dfti_set_value_sglval(&plan.handle, &backward, &half); });
    for (int twice = 0; twice < 2; ++twice) // NaN is never the scale that there is
      set(true,
          [&, nan = std::nan("")] { return tnk_dft_dfti_set_value_dblval(&plan.handle, &forward, &nan); });
    float single;
    double scale;
    EXPECT_EQ(tnk_dft_dfti_get_value_sglval(&plan.handle, &backward, &single), DftiNoError);
    EXPECT_EQ(tnk_dft_dfti_get_value_dblval(&plan.handle, &backward, &scale), DftiNoError);
    EXPECT_TRUE(single == 0.5f && scale == 0.5);
  }
}

TEST(DftParameters, StridesAndLengthsComeInTheOrderOfTheForm) {
  Plan plan(DftiDouble, DftiComplex, {2, 3, 4});
  const auto expect = [&](tnk_int number, const Ints &by_value, const Ints &by_address) {
    Ints found(by_value.size(), -9), other = found;
    EXPECT_EQ(DftiGetValue(plan, static_cast<int32_t>(number), found.data()), DftiNoError);
    EXPECT_EQ(tnk_dft_dfti_get_value_intvec(&plan.handle, &number, other.data()), DftiNoError);
    EXPECT_EQ(found, by_value) << number;
    EXPECT_EQ(other, by_address) << number;
  };
  expect(DftiParamLengths, {2, 3, 4}, {4, 3, 2});
  const tnk_int strides[] = {7, 60, 20, 5}, others[] = {907, 960, 920, 905};
  for (const tnk_int number : {DftiParamInputStrides, DftiParamOutputStrides}) {
    expect(number, {0, 12, 4, 1}, {0, 1, 4, 12});
    pretend_committed(plan);
    EXPECT_EQ(DftiSetValue(plan, static_cast<int32_t>(number), strides), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    expect(number, {7, 60, 20, 5}, {7, 5, 20, 60});
    pretend_committed(plan);
    EXPECT_EQ(tnk_dft_dfti_set_value_intvec(&plan.handle, &number, others), DftiNoError);
    EXPECT_TRUE(looks_uncommitted(plan));
    expect(number, {907, 905, 920, 960}, {907, 960, 920, 905});
  }
  expect(DftiParamInputStrides, {907, 905, 920, 960}, {907, 960, 920, 905});
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
} // namespace tnk::test
