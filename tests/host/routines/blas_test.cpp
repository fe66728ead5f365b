// The public vector routines and products: refusals, what is not looked at, kernels reached; and their 32-bit surface.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <tnk/blas.h>
#include <vector>

#include "tests/support/error_recorder.h"
#include "tests/support/named.h"

namespace {

using tnk::test::ErrorRecorder;

constexpr char axpy_arguments[] = "n alpha x incx y incy", copy_arguments[] = "n x incx y incy",
               dotc_arguments[] = "result n x incx y incy", scal_arguments[] = "n alpha x incx",
               gemv_arguments[] = "trans m n alpha a lda x incx beta y incy",
               gemm_arguments[] = "transa transb m n k alpha a lda b ldb beta c ldc",
               triangle_arguments[] = "side uplo transa diag m n alpha a lda b ldb",
               product_arguments[] = "side uplo m n alpha a lda b ldb beta c ldc",
               rank_k_arguments[] = "uplo trans n k alpha a lda beta c ldc",
               rank_2k_arguments[] = "uplo trans n k alpha a lda b ldb beta c ldc";

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
                                          {"incy", 1}, {"lda", 6}, {"ldb", 5}, {"ldc", 4}};
  alignas(32) unsigned char arrays[5][512];
};

// A routine by its name, which takes nothing but addresses; its kernel has the same with an x.
struct Routine {
  std::string name;
  const char *arguments;
  bool has_kernel;

  tnk_int element() const { return name[0] == 's' ? 4 : name[0] == 'z' ? 16 : 8; }
  bool is_function() const { return name == "sdot" || name == "ddot"; }
  bool is_complex() const { return name[0] == 'c' || name[0] == 'z'; }
  // The result as a double, 0 where there is none.
  double run(Call &call, const std::string &prefix = "tnk_blas_") const {
    const std::vector<const void *> list(call.addresses.begin(), call.addresses.end());
    if (!is_function()) return tnk::test::call_at(prefix + name, list), 0;
    return name[0] == 's' ? static_cast<double>(tnk::test::call_at<float>(prefix + name, list))
                          : tnk::test::call_at<double>(prefix + name, list);
  }
  // What its letter of that name may be.
  std::string letters(const std::string &which) const {
    const bool updates = arguments == rank_k_arguments || arguments == rank_2k_arguments;
    return which == "side"             ? "L, R"
           : which == "uplo"           ? "U, L"
           : which == "diag"           ? "N, U"
           : !updates || !is_complex() ? "N, T, C"
           : name[1] == 'h'            ? "N, C"
                                       : "N, T";
  }
};
std::vector<Routine> made(std::initializer_list<std::pair<const char *, const char *>> rows,
                          bool have_kernels = false) {
  std::vector<Routine> all;
  for (const auto &[names, arguments] : rows) {
    std::istringstream words(names);
    for (std::string name; words >> name;) all.push_back({name, arguments, have_kernels});
  }
  return all;
}
const std::vector<Routine> with_kernels = made({{"saxpy daxpy caxpy zaxpy", axpy_arguments},
                                                {"scopy dcopy ccopy zcopy sdot ddot", copy_arguments},
                                                {"cdotc", dotc_arguments},
                                                {"sgemv dgemv cgemv zgemv", gemv_arguments},
                                                {"sgemm dgemm cgemm zgemm", gemm_arguments},
                                                {"strsm dtrsm ctrsm ztrsm", triangle_arguments},
                                                {"strmm dtrmm ctrmm ztrmm", triangle_arguments}},
                                               true);
const std::vector<Routine> thunks = made({{"saxpy daxpy caxpy zaxpy", axpy_arguments},
                                          {"scopy dcopy ccopy zcopy sdot ddot", copy_arguments},
                                          {"cdotu zdotu", dotc_arguments},
                                          {"sscal dscal cscal zscal", scal_arguments}});
const std::vector<Routine> of_halves =
    made({{"ssymv dsymv chemv zhemv", "uplo n alpha a lda x incx beta y incy"},
          {"sspmv dspmv chpmv zhpmv", "uplo n alpha ap x incx beta y incy"},
          {"ssbmv dsbmv chbmv zhbmv", "uplo n k alpha a lda x incx beta y incy"},
          {"strmv dtrmv ctrmv ztrmv strsv dtrsv ctrsv ztrsv", "uplo trans diag n a lda x incx"},
          {"stpmv dtpmv ctpmv ztpmv stpsv dtpsv ctpsv ztpsv", "uplo trans diag n ap x incx"},
          {"stbmv dtbmv ctbmv ztbmv stbsv dtbsv ctbsv ztbsv", "uplo trans diag n k a lda x incx"},
          {"ssyr dsyr cher zher", "uplo n alpha x incx a lda"},
          {"sspr dspr chpr zhpr", "uplo n alpha x incx ap"},
          {"ssyr2 dsyr2 cher2 zher2", "uplo n alpha x incx y incy a lda"},
          {"sspr2 dspr2 chpr2 zhpr2", "uplo n alpha x incx y incy ap"}});
const std::vector<Routine> of_symmetric =
    made({{"ssymm dsymm csymm zsymm chemm zhemm", product_arguments},
          {"ssyrk dsyrk csyrk zsyrk cherk zherk", rank_k_arguments},
          {"ssyr2k dsyr2k csyr2k zsyr2k cher2k zher2k", rank_2k_arguments}});

// From its first good call on a routine knows its kernel, and looks at all arguments at once.
struct PublicBlas : testing::Test {
  PublicBlas() {
    for (const auto *family : families)
      for (const Routine &routine : *family) {
        Call good(routine.arguments);
        routine.run(good);
      }
  }
  static constexpr const std::vector<Routine> *families[] = {&with_kernels, &of_halves, &of_symmetric};
};

void expect_refusal(const Routine &routine, Call &call, const std::string &name,
                    const std::string &complaint) {
  ErrorRecorder errors;
  EXPECT_EQ(std::isnan(routine.run(call)), routine.is_function()) << routine.name;
  EXPECT_EQ(errors.bad_argument(), "tnk_blas_" + routine.name + ": argument " +
                                       std::to_string(call.position(name) + 1) + " (" + name + ") is " +
                                       complaint);
  EXPECT_TRUE(call.memory_equals(Call(routine.arguments))) << routine.name << ' ' << name;
}

TEST_F(PublicBlas, EveryBadAddressAndLetterIsReportedAndNothingTouched) {
  for (const auto *family : families)
    for (const Routine &routine : *family)
      for (const std::string &name : Call(routine.arguments).names) {
        Call null(routine.arguments);
        // Those behind it are null as well: the first one is reported.
        for (std::size_t i = null.position(name); i < null.names.size(); ++i) null.addresses[i] = nullptr;
        expect_refusal(routine, null, name, "a null address, expected the address of a value");
        if (null.letters.count(name) == 0) continue;
        const std::string expected = routine.letters(name);
        for (const char letter : {'\0', 'X', 'R', 'T', 'C', 'U', '\xCE'}) {
          if (letter && expected.find(letter) != expected.npos) continue;
          Call call(routine.arguments);
          call.letters[name] = letter;
          const std::string shown = letter == 0        ? "the byte 0"
                                    : letter == '\xCE' ? "the byte 206"
                                                       : std::string{'\'', letter, '\''};
          expect_refusal(routine, call, name, shown + ", expected one of " + expected);
        }
      }
}

// Numbers from `least` on, or up to `most`.
std::string from(tnk_int least, tnk_int most = 0) {
  return std::to_string(least) + (most ? " to " + std::to_string(most) : " or more");
}

TEST_F(PublicBlas, EveryBadNumberIsReportedAndNothingTouched) {
  std::vector<Routine> all;
  for (const auto *family : families) all.insert(all.end(), family->begin(), family->end());
  constexpr tnk_int huge = tnk_int{1} << 62;
  for (const Routine &routine : all) {
    const tnk_int most = (tnk_int{1} << 47) / routine.element(), span = (most - 1) / 3,
                  span_y = (most - 1) / 2;
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
        {"ldb", 0, from(3), "r"}, {"ldc", 2, from(3), "r"},
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
    const Call good(routine.arguments);
    const tnk_int least = good.has("k") ? 6 : 4;
    const auto packed = static_cast<tnk_int>((std::sqrt(8. * static_cast<double>(most) + 1) - 1) / 2);
    const std::vector<Bad> of_half_matrices = {
        {"n", -1, from(0)},
        {"n", huge, from(0, good.has("ap") ? packed : most)},
        {"k", -1, from(0)},
        {"k", INT64_MAX, from(0, most)},
        {"lda", least - 1, from(least)},
        {"lda", huge, from(least, (most - least) / 3)},
        {"incx", 0, "another number than 0"},
        {"incy", 0, "another number than 0"},
        {"incx", span + 1, from(-span, span)},
        {"incy", INT64_MIN, from(-span, span)},
    };
    const char *const turned = routine.name[1] == 'h' ? "C" : "T";
    const std::vector<Bad> of_updates = {
        {"n", -1, from(0)},  {"k", huge, from(0, most)},  {"lda", 3, from(4)}, {"lda", 4, from(5), turned},
        {"ldb", 3, from(4)}, {"ldb", 4, from(5), turned}, {"ldc", 3, from(4)},
    };
    const bool triangle = good.has("side");
    for (const Bad &bad : triangle                              ? of_triangles
                          : routine.arguments == gemv_arguments ? of_gemv
                          : routine.has_kernel                  ? of_others
                          : good.has("c")                       ? of_updates
                                                                : of_half_matrices) {
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
  for (const Routine &routine : with_kernels)
    for (int variant = 0; variant < 8; ++variant) {
      const std::string none = std::array{"m", "n", "k", "alpha"}[static_cast<std::size_t>(variant / 2)];
      void *const nowhere = reinterpret_cast<void *>(variant % 2 ? 64 : 0);
      Call call(routine.arguments), before(routine.arguments);
      const bool product = call.has("m"), scales = none == "k" || none == "alpha";
      if (!call.has(none) || (!product && none != "n")) continue;
      const std::string output = call.has("side") ? "b" : call.has("c") ? "c" : "y";
      call.integers[output == "b" ? "ldb" : "ldc"] = 3; // no gaps
      if (none == "alpha")
        for (Call *c : {&call, &before}) std::memset(c->array("alpha"), 0, 16);
      else
        call.integers[none] = 0;
      if (scales) { // NaN, that a zero beta removes
        for (Call *c : {&call, &before})
          if (c->has("beta")) std::memset(c->array("beta"), 0, 16);
        std::memset(call.array(output), 0xFF, 512), std::memset(before.array(output), 0xFF, 512);
        std::memset(before.array(output), 0,
                    static_cast<std::size_t>((output == "y" ? 3 : 12) * routine.element()));
      }
      if (call.names[0] == "result") std::memset(before.array("result"), 0, 8);
      for (const std::string array : {"x", "incx", "y", "incy", "a", "b", "c"})
        if (call.has(array) && !(scales && array == output) && !(product && array.size() > 1))
          call.addresses[call.position(array)] = nowhere;
      EXPECT_EQ(routine.run(call), 0) << routine.name;
      EXPECT_TRUE(call.memory_equals(before)) << routine.name << " none of " << none;
    }
  EXPECT_EQ(errors.last().count, 0);
}

TEST_F(PublicBlas, GoodCallsReachTheirKernels) {
  ErrorRecorder errors;
  for (const Routine &routine : with_kernels)
    for (const char transa : std::string("NnTtCc"))
      for (const char transb : std::string("NnTtCc")) {
        Call call(routine.arguments), direct(routine.arguments);
        for (Call *c : {&call, &direct}) {
          c->letters["trans"] = c->letters["transa"] = transa, c->letters["transb"] = transb;
          c->letters["side"] = transb == 'C' ? 'R' : transb == 'c' ? 'r' : 'L';
          c->letters["uplo"] = transb == 'N' ? 'u' : 'L', c->letters["diag"] = transa == 'C' ? 'u' : 'N';
          c->integers["incx"] = transa == 'N' ? 2 : 1, c->integers["incy"] = transb == 'n' ? -2 : 1;
        }
        EXPECT_EQ(routine.run(call), routine.run(direct, "tnk_blas_x")) << routine.name;
        EXPECT_TRUE(call.memory_equals(direct)) << routine.name << ' ' << transa << transb;
        EXPECT_EQ(call.memory_equals(Call(routine.arguments)), routine.is_function()) << routine.name;
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
      const double expected = thunk.run(wide);
      const std::string report = errors.take().message;
      const double result = thunk.run(narrow, "tnk_blas_lp64_");
      SCOPED_TRACE(testing::Message() << thunk.name << ' ' << c[0] << ' ' << c[1] << ' ' << c[2]);
      EXPECT_TRUE(result == expected || (std::isnan(result) && std::isnan(expected)));
      EXPECT_TRUE(narrow.memory_equals(wide));
      EXPECT_EQ(errors.take().message, report);
    }
}

} // namespace
