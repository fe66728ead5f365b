// The public matrix products: what they refuse, what they need not look at, and that a good call reaches its kernel
// with every argument in its place.
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tnk/blas.h>
#include <type_traits>
#include <vector>

#include "tests/support/error_recorder.h"

namespace {

using tnk::test::ErrorRecorder;

struct Routine {
  const char *name;
  void (*call)(void *const *arguments);
  std::size_t element;
};

template <class T, auto routine> void call(void *const *a) {
  const auto number = [&](int i) { return static_cast<const tnk_int *>(a[i]); };
  routine(static_cast<char *>(a[0]), static_cast<char *>(a[1]), number(2), number(3), number(4),
          static_cast<T *>(a[5]), static_cast<T *>(a[6]), number(7), static_cast<T *>(a[8]), number(9),
          static_cast<T *>(a[10]), static_cast<T *>(a[11]), number(12));
}
const Routine routines[] = {
    {"tnk_blas_sgemm", call<float, tnk_blas_sgemm>, 4},
    {"tnk_blas_dgemm", call<double, tnk_blas_dgemm>, 8},
    {"tnk_blas_cgemm", call<tnk_complex8, tnk_blas_cgemm>, 8},
    {"tnk_blas_zgemm", call<tnk_complex16, tnk_blas_zgemm>, 16},
};

constexpr const char *names[] = {"transa", "transb", "m",   "n",    "k", "alpha", "a",
                                 "lda",    "b",      "ldb", "beta", "c", "ldc"};

// A good call: 3 by 4, k = 5, bytes in the arrays that no routine would write by accident. 0x3F makes a number
// that is not zero in every type.
struct Call {
  explicit Call(const Routine &r) : routine(r) {
    for (unsigned char *array : {a, b, c}) std::memset(array, 0x3F, 512);
    std::memset(alpha, 0x3F, sizeof alpha);
    std::memset(beta, 0x3F, sizeof beta);
  }
  tnk_int &integer(const std::string &name) {
    return name == "m"     ? m
           : name == "n"   ? n
           : name == "k"   ? k
           : name == "lda" ? lda
           : name == "ldb" ? ldb
                           : ldc;
  }
  void run() { routine.call(addresses); }
  bool untouched() const {
    for (const unsigned char byte : c)
      if (byte != 0x3F) return false;
    return true;
  }

  const Routine &routine;
  char transa = 'N', transb = 'N';
  tnk_int m = 3, n = 4, k = 5, lda = 3, ldb = 5, ldc = 3;
  alignas(16) unsigned char alpha[16], beta[16], a[512], b[512], c[512];
  void *addresses[13] = {&transa, &transb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc};
};

// The last report must be of that argument.
void expect_report(ErrorRecorder &errors, const Call &call, int position, const std::string &value,
                   const std::string &expected) {
  const auto seen = errors.take();
  EXPECT_EQ(seen.count, 1);
  EXPECT_EQ(seen.kind, TNK_ERROR_ARGUMENT);
  EXPECT_EQ(seen.routine, call.routine.name);
  EXPECT_EQ(seen.position, position);
  EXPECT_EQ(seen.argument, names[position - 1]);
  EXPECT_EQ(seen.value, value);
  EXPECT_EQ(seen.expected, expected);
  EXPECT_TRUE(call.untouched());
}

TEST(PublicGemm, EveryNullAddressIsReported) {
  ErrorRecorder errors;
  for (const Routine &routine : routines)
    for (int position = 1; position <= 13; ++position) {
      SCOPED_TRACE(std::string(routine.name) + ' ' + names[position - 1]);
      Call call(routine);
      // Those behind it may be null as well: the first one is reported.
      for (int i = position; i <= 13; ++i) call.addresses[i - 1] = nullptr;
      call.run();
      expect_report(errors, call, position, "a null address", "the address of a value");
    }
}

TEST(PublicGemm, EveryBadValueIsReported) {
  struct Bad {
    const char *transa, *transb; // how A and B are given
    const char *name;
    tnk_int value;
    const char *expected;
    const char *emptied = ""; // a dimension that is 0: leading dimensions count all the same
  };
  constexpr tnk_int huge = tnk_int{1} << 62;
  const Bad bads[] = {
      {"N", "N", "m", -1, "0 or more"},          {"N", "N", "n", INT64_MIN, "0 or more"},
      {"N", "N", "k", -7, "0 or more"},          {"N", "N", "m", huge, "0 to most"},
      {"N", "N", "n", huge, "0 to most", "m"},   {"N", "N", "k", INT64_MAX, "0 to most"},
      {"N", "N", "lda", 2, "3 or more"},         {"T", "N", "lda", 4, "5 or more"},
      {"c", "N", "lda", 4, "5 or more", "n"},    {"N", "N", "ldb", 4, "5 or more"},
      {"N", "t", "ldb", 3, "4 or more"},         {"N", "C", "ldb", 3, "4 or more", "m"},
      {"N", "N", "ldc", 2, "3 or more"},         {"N", "N", "ldc", 0, "1 or more", "m"},
      {"N", "N", "lda", INT64_MIN, "3 or more"}, {"N", "N", "lda", huge, "3 to A"},
      {"T", "N", "lda", huge, "5 to A"},         {"N", "N", "ldb", huge, "5 to B"},
      {"N", "T", "ldb", huge, "4 to B"},         {"N", "N", "ldc", huge, "3 to C"},
  };
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    const tnk_int most = INT64_MAX / static_cast<tnk_int>(routine.element);
    for (const Bad &bad : bads) {
      SCOPED_TRACE(std::string(routine.name) + ' ' + bad.transa + bad.transb + ' ' + bad.name + " = " +
                   std::to_string(bad.value));
      Call call(routine);
      call.transa = *bad.transa, call.transb = *bad.transb;
      // Leading dimensions that go with the letters.
      call.lda = call.transa == 'N' ? call.m : call.k;
      call.ldb = call.transb == 'N' ? call.k : call.n;
      const bool ta = call.transa != 'N', tb = call.transb != 'N';
      if (*bad.emptied) call.integer(bad.emptied) = 0;
      call.integer(bad.name) = bad.value;
      call.run();
      int position = 1;
      while (std::string(names[position - 1]) != bad.name) ++position;
      std::string expected = bad.expected;
      const auto put = [&](const char *mark, tnk_int limit) {
        const auto at = expected.find(mark);
        if (at != std::string::npos) expected = expected.substr(0, at + 3) + std::to_string(limit);
      };
      put("to most", most);
      put("to A", ta ? (most - 5) / 2 : (most - 3) / 4);
      put("to B", tb ? (most - 4) / 4 : (most - 5) / 3);
      put("to C", (most - 3) / 3);
      expect_report(errors, call, position, std::to_string(bad.value), expected);
    }
    // A dimension that fits alone and makes a matrix that does not, whatever the leading dimension.
    Call call(routine);
    call.m = call.lda = call.ldc = most;
    call.run();
    expect_report(errors, call, 8, std::to_string(most), "a matrix that fits into memory");
    for (const char letter : {'\0', 'X', 'R', '\xCE'})
      for (const int position : {1, 2}) {
        Call bad_letter(routine);
        (position == 1 ? bad_letter.transa : bad_letter.transb) = letter;
        bad_letter.run();
        const bool shown = letter == 'X' || letter == 'R';
        expect_report(errors, bad_letter, position,
                      shown    ? std::string("'") + letter + "'"
                      : letter ? "the byte 206"
                               : "the byte 0",
                      "one of N, T, C");
      }
  }
}

// Arrays that a call does not touch may have any address.
TEST(PublicGemm, WhatIsNotTouchedIsNotLookedAt) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    for (const char *emptied : {"m", "n"}) {
      Call call(routine);
      call.integer(emptied) = 0;
      for (const int array : {6, 8, 11}) call.addresses[array] = nullptr;
      call.run();
      EXPECT_EQ(errors.last().count, 0) << routine.name << ' ' << emptied;
    }
    for (const bool by_alpha : {false, true}) {
      Call call(routine);
      if (by_alpha)
        std::memset(call.alpha, 0, sizeof call.alpha);
      else
        call.k = 0;
      std::memset(call.beta, 0, sizeof call.beta);
      std::memset(call.c, 0xFF, sizeof call.c); // NaN, that a zero beta removes
      call.addresses[6] = call.addresses[8] = nullptr;
      call.run();
      EXPECT_EQ(errors.last().count, 0) << routine.name << ' ' << by_alpha;
      for (std::size_t i = 0; i < sizeof call.c; ++i)
        ASSERT_EQ(call.c[i], i < 12 * routine.element ? 0 : 0xFF)
            << routine.name << ' ' << by_alpha << ' ' << i;
    }
  }
}

// Small integers, so that every type and order of sums is exact.
template <class T> struct Numbers {
  using Scalar = T;
  static T make(int re, int) { return static_cast<T>(re); }
  static std::complex<double> read(T a) { return static_cast<double>(a); }
};
template <class T, class R> struct ComplexNumbers {
  using Scalar = T;
  static T make(int re, int im) { return {static_cast<R>(re), static_cast<R>(im)}; }
  static std::complex<double> read(T a) { return {a.re, a.im}; }
};

template <class N, auto gemm> void expect_products() {
  using T = typename N::Scalar;
  const tnk_int m = 13, n = 11, k = 9, ld = 15; // over and under the register tiles
  std::vector<T> a(15 * 15), b(15 * 15), c(15 * 15);
  for (int i = 0; i < 225; ++i) {
    a[static_cast<std::size_t>(i)] = N::make(i % 7 - 3, i % 5 - 2);
    b[static_cast<std::size_t>(i)] = N::make(i % 9 - 4, i % 4 - 1);
    c[static_cast<std::size_t>(i)] = N::make(i % 11, i % 3);
  }
  const T alpha = N::make(2, -1), beta = N::make(-3, 2);
  const auto element = [&](const std::vector<T> &x, char trans, tnk_int i, tnk_int j) {
    const bool plain = trans == 'N' || trans == 'n';
    const auto value = N::read(x[static_cast<std::size_t>(plain ? i + j * ld : j + i * ld)]);
    return trans == 'C' || trans == 'c' ? std::conj(value) : value;
  };
  for (const char ta : {'N', 'n', 'T', 't', 'C', 'c'})
    for (const char tb : {'N', 'n', 'T', 't', 'C', 'c'}) {
      std::vector<T> result = c;
      gemm(&ta, &tb, &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, result.data(), &ld);
      for (tnk_int j = 0; j < ld; ++j)
        for (tnk_int i = 0; i < ld; ++i) {
          std::complex<double> expected = element(c, 'N', i, j);
          if (i < m && j < n) {
            std::complex<double> sum = 0;
            for (tnk_int l = 0; l < k; ++l) sum += element(a, ta, i, l) * element(b, tb, l, j);
            expected = N::read(beta) * expected + N::read(alpha) * sum;
          }
          ASSERT_EQ(element(result, 'N', i, j), expected) << ta << tb << ' ' << i << ' ' << j;
        }
    }
}

TEST(PublicGemm, AGoodCallIsTheProduct) {
  expect_products<Numbers<float>, tnk_blas_sgemm>();
  expect_products<Numbers<double>, tnk_blas_dgemm>();
  expect_products<ComplexNumbers<tnk_complex8, float>, tnk_blas_cgemm>();
  expect_products<ComplexNumbers<tnk_complex16, double>, tnk_blas_zgemm>();
}

} // namespace
