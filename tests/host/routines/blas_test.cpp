// The public vector routines and products: what they refuse, what they need not look at, and that a good call
// reaches its kernel with every argument in its place. The 32-bit surface, which must do what these do.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_level2.h>
#include <tnk/blas_level3.h>
#include <tnk/blas_lp64.h>

#include "tests/support/error_recorder.h"

namespace {

using tnk::test::ErrorRecorder;

// A routine called with a list of addresses. Gives its result as a double, 0 where it has none.
template <auto routine, class Result, class... Arguments, std::size_t... i>
double by_addresses(Result (*)(Arguments...), void *const *a, std::index_sequence<i...>) {
  if constexpr (std::is_void_v<Result>) {
    routine(static_cast<Arguments>(a[i])...);
    return 0;
  } else {
    return static_cast<double>(routine(static_cast<Arguments>(a[i])...));
  }
}
template <class Result, class... Arguments> constexpr std::size_t count_of(Result (*)(Arguments...)) {
  return sizeof...(Arguments);
}
template <auto routine> double by_addresses(void *const *a) {
  return by_addresses<routine>(routine, a, std::make_index_sequence<count_of(routine)>());
}

// The argument lists of the public routines.
constexpr char axpy_arguments[] = "n alpha x incx y incy", copy_arguments[] = "n x incx y incy",
               dotc_arguments[] = "result n x incx y incy", scal_arguments[] = "n alpha x incx",
               gemv_arguments[] = "trans m n alpha a lda x incx beta y incy",
               gemm_arguments[] = "transa transb m n k alpha a lda b ldb beta c ldc",
               triangle_arguments[] = "side uplo transa diag m n alpha a lda b ldb";

// A good call of a routine with these arguments, whatever the letters. What is no letter and no integer is an array:
// of bytes that make numbers in every type, and that no routine would write by accident.
struct Call {
  explicit Call(const char *arguments) {
    for (std::size_t a = 0; a < 5; ++a)
      for (std::size_t i = 0; i < sizeof arrays[a]; ++i)
        arrays[a][i] = static_cast<unsigned char>(0x38 + (a + i) % 9);
    std::istringstream words(arguments);
    std::size_t used = 0;
    for (std::string word; words >> word;) {
      const auto letter = letters.find(word);
      const auto integer = integers.find(word);
      names.push_back(word);
      addresses.push_back(letter != letters.end()     ? &letter->second
                          : integer != integers.end() ? &integer->second
                                                      : static_cast<void *>(arrays[used++]));
    }
  }
  Call(const Call &) = delete;
  Call &operator=(const Call &) = delete;
  bool has(const std::string &name) const { return std::count(names.begin(), names.end(), name) != 0; }
  std::size_t position(const std::string &name) const {
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
  }
  unsigned char *array(const std::string &name) {
    return static_cast<unsigned char *>(addresses[position(name)]);
  }
  bool memory_equals(const Call &other) const {
    return std::memcmp(arrays, other.arrays, sizeof arrays) == 0;
  }

  std::vector<std::string> names;
  std::vector<void *> addresses;
  std::map<std::string, char> letters{{"trans", 'N'}, {"transa", 'N'}, {"transb", 'N'},
                                      {"side", 'L'},  {"uplo", 'U'},   {"diag", 'N'}};
  std::map<std::string, tnk_int> integers{{"m", 3},    {"n", 4},   {"k", 5},   {"incx", 1},
                                          {"incy", 1}, {"lda", 5}, {"ldb", 5}, {"ldc", 3}};
  alignas(32) unsigned char arrays[5][512];
};

// A routine, the one that it is to do the work of, and the size of an element.
struct Routine {
  std::string name;
  double (*run)(void *const *arguments), (*same)(void *const *arguments);
  const char *arguments;
  tnk_int element = 0;
};
#define ROUTINE(name, shape, element)                                                                        \
  {                                                                                                          \
    "tnk_blas_" #name, by_addresses<tnk_blas_##name>, by_addresses<tnk_blas_x##name>, shape##_arguments,     \
        element                                                                                              \
  }
const Routine routines[] = {
    ROUTINE(saxpy, axpy, 4),     ROUTINE(daxpy, axpy, 8),      ROUTINE(caxpy, axpy, 8),
    ROUTINE(zaxpy, axpy, 16),    ROUTINE(scopy, copy, 4),      ROUTINE(dcopy, copy, 8),
    ROUTINE(ccopy, copy, 8),     ROUTINE(zcopy, copy, 16),     ROUTINE(sgemv, gemv, 4),
    ROUTINE(dgemv, gemv, 8),     ROUTINE(cgemv, gemv, 8),      ROUTINE(zgemv, gemv, 16),
    ROUTINE(sgemm, gemm, 4),     ROUTINE(dgemm, gemm, 8),      ROUTINE(cgemm, gemm, 8),
    ROUTINE(zgemm, gemm, 16),    ROUTINE(sdot, copy, 4),       ROUTINE(ddot, copy, 8),
    ROUTINE(cdotc, dotc, 8),     ROUTINE(strsm, triangle, 4),  ROUTINE(dtrsm, triangle, 8),
    ROUTINE(ctrsm, triangle, 8), ROUTINE(ztrsm, triangle, 16), ROUTINE(strmm, triangle, 4),
    ROUTINE(dtrmm, triangle, 8), ROUTINE(ctrmm, triangle, 8),  ROUTINE(ztrmm, triangle, 16),
};
#define THUNK(name, shape)                                                                                   \
  { #name, by_addresses < tnk_blas_lp64_##name>, by_addresses < tnk_blas_##name>, shape##_arguments }
const Routine thunks[] = {
    THUNK(saxpy, axpy), THUNK(daxpy, axpy), THUNK(caxpy, axpy), THUNK(zaxpy, axpy),
    THUNK(scopy, copy), THUNK(dcopy, copy), THUNK(ccopy, copy), THUNK(zcopy, copy),
    THUNK(sdot, copy),  THUNK(ddot, copy),  THUNK(cdotu, dotc), THUNK(zdotu, dotc),
    THUNK(sscal, scal), THUNK(dscal, scal), THUNK(cscal, scal), THUNK(zscal, scal),
};
bool is_function(const Routine &routine) {
  return routine.name.substr(routine.name.size() - 3) == "dot";
}

// From its first good call on a routine knows its kernel, and looks at all arguments at once.
struct PublicBlas : testing::Test {
  PublicBlas() {
    for (const Routine &routine : routines) {
      Call good(routine.arguments);
      routine.run(good.addresses.data());
    }
  }
};

void expect_refusal(const Routine &routine, Call &call, const std::string &name,
                    const std::string &complaint) {
  ErrorRecorder errors;
  EXPECT_EQ(std::isnan(routine.run(call.addresses.data())), is_function(routine)) << routine.name;
  EXPECT_EQ(errors.bad_argument(), routine.name + ": argument " + std::to_string(call.position(name) + 1) +
                                       " (" + name + ") is " + complaint);
  EXPECT_TRUE(call.memory_equals(Call(routine.arguments))) << routine.name << ' ' << name;
}

TEST_F(PublicBlas, EveryBadAddressAndLetterIsReportedAndNothingTouched) {
  std::map<std::string, const char *> known{{"side", "L, R"}, {"uplo", "U, L"}, {"diag", "N, U"}};
  for (const Routine &routine : routines)
    for (const std::string &name : Call(routine.arguments).names) {
      Call null(routine.arguments);
      // Those behind it are null as well: the first one is reported.
      for (std::size_t i = null.position(name); i < null.names.size(); ++i) null.addresses[i] = nullptr;
      expect_refusal(routine, null, name, "a null address, expected the address of a value");
      for (const auto &[letter, shown] :
           {std::pair{'\0', "the byte 0"}, {'X', "'X'"}, {'R', "'R'"}, {'\xCE', "the byte 206"}}) {
        Call call(routine.arguments);
        if (call.letters.count(name) == 0) break;
        if (name == "side" && letter == 'R') continue;
        call.letters[name] = letter;
        expect_refusal(routine, call, name,
                       std::string(shown) + ", expected one of " +
                           (known.count(name) ? known[name] : "N, T, C"));
      }
    }
}

// Numbers from `least` on, or up to `most`.
std::string from(tnk_int least, tnk_int most = 0) {
  return std::to_string(least) + (most ? " to " + std::to_string(most) : " or more");
}

TEST_F(PublicBlas, EveryBadNumberIsReportedAndNothingTouched) {
  constexpr tnk_int huge = tnk_int{1} << 62;
  for (const Routine &routine : routines) {
    const tnk_int most = (tnk_int{1} << 47) / routine.element, span = (most - 1) / 3, span_y = (most - 1) / 2;
    struct Bad {
      std::string name;
      tnk_int value;
      std::string expected;
      const char *letters = "NN";
      std::map<std::string, tnk_int> others = {}; // leading dimensions count even where a dimension is 0
    };
    const std::vector<Bad> of_gemv = {
        {"m", -1, from(0)},
        {"m", huge, from(0, most)},
        {"n", INT64_MIN, from(0)},
        {"n", most + 1, from(0, most)},
        {"lda", 2, from(3)},
        {"lda", 2, from(3), "T", {{"n", 0}}},
        {"lda", huge, from(3, (most - 3) / 3)},
        {"lda", most, "a matrix that fits into memory", "c", {{"m", most}}},
        {"incx", 0, "another number than 0"},
        {"incx", 0, "another number than 0", "N", {{"m", 0}}},
        {"incy", 0, "another number than 0", "C", {{"n", 0}}},
        {"incx", span + 1, from(-span, span)},
        {"incx", -span_y - 1, from(-span_y, span_y), "T"},
        {"incy", INT64_MIN, from(-span_y, span_y)},
        {"incy", INT64_MAX, from(-span, span), "t"},
    };
    const std::vector<Bad> of_triangles = {
        {"m", -1, from(0), "L"},  {"n", INT64_MIN, from(0), "L"}, {"n", huge, from(0, most), "L"},
        {"lda", 2, from(3), "L"}, {"lda", 3, from(4), "R"},       {"ldb", 2, from(3), "L"},
        {"ldb", 0, from(3), "r"},
    };
    const std::vector<Bad> of_others = {
        {"n", -1, from(0)},
        {"n", most + 1, from(0, most)},
        {"incx", INT64_MIN, from(-span, span)},
        {"incy", -span - 1, from(-span, span)},
        {"m", huge, from(0, most)},
        {"n", huge, from(0, most), "NN", {{"m", 0}}},
        {"k", INT64_MAX, from(0, most)},
        {"lda", 2, from(3)},
        {"lda", 4, from(5), "TN"},
        {"lda", 4, from(5), "cN", {{"n", 0}}},
        {"ldb", 4, from(5)},
        {"ldb", 3, from(4), "Nt"},
        {"ldb", 3, from(4), "NC", {{"m", 0}}},
        {"ldc", 2, from(3)},
        {"ldc", 0, from(1), "NN", {{"m", 0}}},
        {"lda", huge, from(3, (most - 3) / 4)},
        {"lda", huge, from(5, (most - 5) / 2), "TN"},
        {"ldb", huge, from(5, (most - 5) / 3)},
        {"ldb", huge, from(4, (most - 4) / 4), "NT"},
        {"ldc", huge, from(3, (most - 3) / 3)},
        // A dimension that fits alone and makes a matrix that does not, whatever the leading dimension.
        {"lda", most, "a matrix that fits into memory", "NN", {{"m", most}}},
    };
    const bool triangle = routine.arguments == triangle_arguments;
    for (const Bad &bad : triangle                              ? of_triangles
                          : routine.arguments == gemv_arguments ? of_gemv
                                                                : of_others) {
      Call call(routine.arguments);
      if (!call.has(bad.name) || (!bad.others.empty() && !call.has("m"))) continue;
      if (triangle)
        call.letters["side"] = bad.letters[0];
      else
        call.letters["trans"] = call.letters["transa"] = bad.letters[0],
        call.letters["transb"] = bad.letters[1];
      for (const auto &[name, value] : bad.others) call.integers[name] = value;
      call.integers[bad.name] = bad.value;
      expect_refusal(routine, call, bad.name, std::to_string(bad.value) + ", expected " + bad.expected);
    }
  }
}

// Arrays that a call does not touch may have any address.
TEST_F(PublicBlas, WhatIsNotTouchedIsNotLookedAt) {
  ErrorRecorder errors;
  for (const Routine &routine : routines)
    for (int variant = 0; variant < 8; ++variant) {
      const std::string none = std::array{"m", "n", "k", "alpha"}[static_cast<std::size_t>(variant / 2)];
      void *const nowhere = reinterpret_cast<void *>(variant % 2 ? 64 : 0);
      Call call(routine.arguments), before(routine.arguments);
      const bool product = call.has("m"), scales = none == "k" || none == "alpha";
      if (!call.has(none) || (!product && none != "n")) continue;
      const std::string output = call.has("side") ? "b" : call.has("c") ? "c" : "y";
      if (output == "b") call.integers["ldb"] = 3; // no gaps
      if (none == "alpha")
        for (Call *c : {&call, &before}) std::memset(c->array("alpha"), 0, 16);
      else
        call.integers[none] = 0;
      if (scales) { // NaN, that a zero beta removes
        for (Call *c : {&call, &before})
          if (c->has("beta")) std::memset(c->array("beta"), 0, 16);
        std::memset(call.array(output), 0xFF, 512), std::memset(before.array(output), 0xFF, 512);
        std::memset(before.array(output), 0,
                    static_cast<std::size_t>((output == "y" ? 3 : 12) * routine.element));
      }
      if (call.names[0] == "result") std::memset(before.array("result"), 0, 8);
      for (const std::string array : {"x", "incx", "y", "incy", "a", "b", "c"})
        if (call.has(array) && !(scales && array == output) && !(product && array.size() > 1))
          call.addresses[call.position(array)] = nowhere;
      EXPECT_EQ(routine.run(call.addresses.data()), 0) << routine.name;
      EXPECT_TRUE(call.memory_equals(before)) << routine.name << " none of " << none;
    }
  EXPECT_EQ(errors.last().count, 0);
}

TEST_F(PublicBlas, GoodCallsReachTheirKernels) {
  ErrorRecorder errors;
  for (const Routine &routine : routines)
    for (const char transa : std::string("NnTtCc"))
      for (const char transb : std::string("NnTtCc")) {
        Call call(routine.arguments), direct(routine.arguments);
        for (Call *c : {&call, &direct}) {
          c->letters["trans"] = c->letters["transa"] = transa, c->letters["transb"] = transb;
          c->letters["side"] = transb == 'C' ? 'R' : transb == 'c' ? 'r' : 'L';
          c->letters["uplo"] = transb == 'N' ? 'u' : 'L', c->letters["diag"] = transa == 'C' ? 'u' : 'N';
          c->integers["incx"] = transa == 'N' ? 2 : 1, c->integers["incy"] = transb == 'n' ? -2 : 1;
        }
        EXPECT_EQ(routine.run(call.addresses.data()), routine.same(direct.addresses.data())) << routine.name;
        EXPECT_TRUE(call.memory_equals(direct)) << routine.name << ' ' << transa << transb;
        EXPECT_EQ(call.memory_equals(Call(routine.arguments)), is_function(routine)) << routine.name;
      }
  EXPECT_EQ(errors.last().count, 0);
}

// The largest that pass. An alpha of 0 keeps the kernel from walking them; one element takes no step.
TEST_F(PublicBlas, LimitsThemselvesAreNoErrors) {
  ErrorRecorder errors;
  const double zero = 0, x = 5;
  double y = 0;
  const tnk_int most = (tnk_int{1} << 47) / 8, span = (most - 1) / 2;
  for (const auto &[n, inc] : {std::pair{most, tnk_int{1}}, {3, span}, {3, -span}})
    tnk_blas_daxpy(&n, &zero, &x, &inc, &y, &inc);
  for (const tnk_int inc : {INT64_MIN, INT64_MAX, tnk_int{0}, tnk_int{-1}}) {
    const tnk_int n = 1;
    y = 0;
    tnk_blas_dcopy(&n, &x, &inc, &y, &inc);
    EXPECT_EQ(y, 5) << inc;
  }
  EXPECT_EQ(errors.last().message, "");
}

// An argument between other values, so that reading 64 bits where 32 are given would show.
struct Narrow {
  int32_t before = 0x7E7E7E7E, value, after = 0x7E7E7E7E;
};

TEST(Lp64, DoesWhatThe64BitRoutinesDo) {
  const int32_t cases[][3] = {
      {3, 1, 2}, {3, -2, 1}, {3, 2, -1},         {3, 0, -2}, {1, INT32_MIN, INT32_MAX},
      {0, 1, 1}, {-3, 1, 1}, {INT32_MIN, -1, -1}};
  const char *const names[] = {"n", "incx", "incy"};
  ErrorRecorder errors;
  for (const Routine &thunk : thunks)
    for (const auto &c : cases) {
      Narrow integers[3];
      Call narrow(thunk.arguments), wide(thunk.arguments);
      for (int k = 0; k < 3; ++k) {
        wide.integers[names[k]] = integers[k].value = c[k];
        if (narrow.has(names[k])) narrow.addresses[narrow.position(names[k])] = &integers[k].value;
      }
      const double expected = thunk.same(wide.addresses.data());
      const std::string report = errors.take().message;
      const double result = thunk.run(narrow.addresses.data());
      SCOPED_TRACE(testing::Message() << thunk.name << ' ' << c[0] << ' ' << c[1] << ' ' << c[2]);
      EXPECT_TRUE(result == expected || (std::isnan(result) && std::isnan(expected)));
      EXPECT_TRUE(narrow.memory_equals(wide));
      EXPECT_EQ(errors.take().message, report);
    }
}

} // namespace
