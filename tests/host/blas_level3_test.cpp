// The public matrix products: what they refuse, what they need not look at, and that a good call reaches its kernel
// with every argument in its place.
#include "tests/support/call.h"
#include "tests/support/error_recorder.h"
#include "tests/support/product.h"
#include <gtest/gtest.h>
#include <tnk/blas.h>

namespace tnk::test {
namespace {

const struct Routine {
  const char *name;
  double (*call)(void *const *arguments);
  tnk_int element;
} routines[] = {
    {"tnk_blas_sgemm", by_addresses<tnk_blas_sgemm>, 4},
    {"tnk_blas_dgemm", by_addresses<tnk_blas_dgemm>, 8},
    {"tnk_blas_cgemm", by_addresses<tnk_blas_cgemm>, 8},
    {"tnk_blas_zgemm", by_addresses<tnk_blas_zgemm>, 16},
};

const std::vector<std::string> names = {"transa", "transb", "m",   "n",    "k", "alpha", "a",
                                        "lda",    "b",      "ldb", "beta", "c", "ldc"};

// A good call: 3 by 4, k = 5, bytes in the arrays that no routine would write by accident. 0x3F makes a number
// that is not zero in every type.
struct GemmCall {
  explicit GemmCall(const Routine &r, char of_a = 'N', char of_b = 'N') : routine(r), letters{of_a, of_b} {
    for (auto &array : arrays) std::memset(array, 0x3F, sizeof array);
  }
  tnk_int &integer(const std::string &name) {
    return *static_cast<tnk_int *>(at[std::find(names.begin(), names.end(), name) - names.begin()]);
  }
  // The report must be of that argument, and nothing done.
  void expect_report(const std::string &name, const std::string &value, const std::string &expected) {
    ErrorRecorder errors;
    routine.call(at);
    const auto position = std::find(names.begin(), names.end(), name) - names.begin() + 1;
    EXPECT_EQ(errors.bad_argument(), std::string(routine.name) + ": argument " + std::to_string(position) +
                                         " (" + name + ") is " + value + ", expected " + expected);
    EXPECT_EQ(std::count(c, c + sizeof arrays[0], 0x3F), static_cast<long>(sizeof arrays[0])) << name;
  }

  const Routine &routine;
  char letters[2];
  tnk_int m = 3, n = 4, k = 5, lda = letters[0] == 'N' ? m : k, ldb = letters[1] == 'N' ? k : n, ldc = m;
  alignas(16) unsigned char arrays[5][512];
  unsigned char *alpha = arrays[0], *beta = arrays[1], *c = arrays[4];
  void *at[13] = {&letters[0], &letters[1], &m,   &n,   &k, alpha, arrays[2],
                  &lda,        arrays[3],   &ldb, beta, c,  &ldc};
};

TEST(PublicGemm, EveryBadArgumentIsReported) {
  constexpr tnk_int huge = tnk_int{1} << 62;
  for (const Routine &routine : routines) {
    for (std::size_t i = 0; i < 13; ++i) {
      GemmCall call(routine);
      // Those behind it are null as well: the first one is reported.
      std::fill(call.at + i, call.at + 13, nullptr);
      call.expect_report(names[i], "a null address", "the address of a value");
    }
    for (const auto &[letter, shown] :
         {std::pair{'\0', "the byte 0"}, {'X', "'X'"}, {'R', "'R'"}, {'\xCE', "the byte 206"}}) {
      GemmCall(routine, letter).expect_report("transa", shown, "one of N, T, C");
      GemmCall(routine, 'N', letter).expect_report("transb", shown, "one of N, T, C");
    }
    const tnk_int most = INT64_MAX / routine.element;
    const struct {
      const char *letters, *name;
      tnk_int value, least, limit; // limit 0: none
      const char *emptied = "";    // a dimension that is 0: leading dimensions count all the same
    } bads[] = {
        {"NN", "m", -1, 0, 0},
        {"NN", "n", INT64_MIN, 0, 0},
        {"NN", "k", -7, 0, 0},
        {"NN", "m", huge, 0, most},
        {"NN", "n", huge, 0, most, "m"},
        {"NN", "k", INT64_MAX, 0, most},
        {"NN", "lda", 2, 3, 0},
        {"TN", "lda", 4, 5, 0},
        {"cN", "lda", 4, 5, 0, "n"},
        {"NN", "ldb", 4, 5, 0},
        {"Nt", "ldb", 3, 4, 0},
        {"NC", "ldb", 3, 4, 0, "m"},
        {"NN", "ldc", 2, 3, 0},
        {"NN", "ldc", 0, 1, 0, "m"},
        {"NN", "lda", INT64_MIN, 3, 0},
        {"NN", "lda", huge, 3, (most - 3) / 4},
        {"TN", "lda", huge, 5, (most - 5) / 2},
        {"NN", "ldb", huge, 5, (most - 5) / 3},
        {"NT", "ldb", huge, 4, (most - 4) / 4},
        {"NN", "ldc", huge, 3, (most - 3) / 3},
    };
    for (const auto &bad : bads) {
      GemmCall call(routine, bad.letters[0], bad.letters[1]);
      if (*bad.emptied) call.integer(bad.emptied) = 0;
      call.integer(bad.name) = bad.value;
      call.expect_report(bad.name, std::to_string(bad.value),
                         std::to_string(bad.least) +
                             (bad.limit ? " to " + std::to_string(bad.limit) : " or more"));
    }
    // A dimension that fits alone and makes a matrix that does not, whatever the leading dimension.
    GemmCall call(routine);
    call.m = call.lda = call.ldc = most;
    call.expect_report("lda", std::to_string(most), "a matrix that fits into memory");
  }
}

// Arrays that a call does not touch may have any address.
TEST(PublicGemm, WhatIsNotTouchedIsNotLookedAt) {
  ErrorRecorder errors;
  for (const Routine &routine : routines)
    for (const char *none : {"m", "n", "k", "alpha"}) {
      SCOPED_TRACE(std::string(routine.name) + " none of " + none);
      GemmCall call(routine);
      const bool scales = *none == 'k' || *none == 'a';
      std::memset(&call.integer(none), 0, *none == 'a' ? 16 : 8);
      std::memset(call.beta, 0, 16);
      std::memset(call.c, 0xFF, 512); // NaN, that a zero beta removes
      call.at[6] = call.at[8] = nullptr;
      if (!scales) call.at[11] = nullptr;
      routine.call(call.at);
      EXPECT_EQ(errors.last().count, 0);
      for (tnk_int i = 0; i < 512; ++i) ASSERT_EQ(call.c[i], scales && i < 12 * routine.element ? 0 : 0xFF);
    }
}

template <class T, class Gemm> void expect_products(Gemm gemm) {
  for (const char ta : std::string("NnTtCc"))
    for (const char tb : std::string("NnTtCc")) {
      // Over and under the register tiles.
      Product<T> p(std::string{ta, tb}.c_str(), 13, 11, 9, scalar<T>(2, -1), scalar<T>(-3, 2));
      p.call(gemm, p.c.memory.data());
      ASSERT_EQ(p.fault(), "") << p.name();
    }
}
TEST(PublicGemm, AGoodCallIsTheProduct) {
  expect_products<float>(tnk_blas_sgemm);
  expect_products<double>(tnk_blas_dgemm);
  expect_products<tnk_complex8>(tnk_blas_cgemm);
  expect_products<tnk_complex16>(tnk_blas_zgemm);
}

} // namespace
} // namespace tnk::test
