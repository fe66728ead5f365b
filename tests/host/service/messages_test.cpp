// What the host says: the texts of its catalog, and reports of errors.
#include "host/service/messages.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tnk/blas.h>
#include <tnk/host.h>
#include <tnk/services.h>
#include <unistd.h>
#include <vector>

namespace {

using tnk::host::TextWriter;

// The text formatted into a buffer of `size` bytes, the bytes behind it guarded.
std::string formatted(std::size_t size, const char *text, int count, ...) {
  std::vector<char> buffer(size + 8, '#');
  TextWriter out(buffer.data(), size);
  va_list arguments;
  va_start(arguments, count);
  tnk::host::format(out, text, count, arguments);
  va_end(arguments);
  EXPECT_EQ(std::string(buffer.data() + size, 8), "########") << text;
  EXPECT_LT(std::strlen(buffer.data()), size) << text;
  return buffer.data();
}

TEST(Format, PutsArgumentsInOrderAndShowsWhatIsMissing) {
  EXPECT_EQ(formatted(100, "{s} = {d} of {f}.", 3, "a", int64_t{-7}, 0.5), "a = -7 of 0.5.");
  EXPECT_EQ(formatted(100, "{d}{d}", 2, INT64_MIN, INT64_MAX), "-92233720368547758089223372036854775807");
  EXPECT_EQ(formatted(100, "{f} {f} {f}", 3, 1e300, -1.0 / 0.0, 0.1), "1e+300 -inf 0.1");
  EXPECT_EQ(formatted(100, "", 0), "");
  EXPECT_EQ(formatted(100, "{s} and {d} and {f}", 0), "? and ? and ?");
  EXPECT_EQ(formatted(100, "{s} and {d}", 1, "one"), "one and ?");
  EXPECT_EQ(formatted(100, "{s} and {s}", -5), "? and ?");
  EXPECT_EQ(formatted(100, "{s} and {s}", 2, static_cast<const char *>(nullptr), "two"), "? and two");
  EXPECT_EQ(formatted(100, "one {d}", 3, int64_t{1}, "left", "over"), "one 1");
}

TEST(Format, CutsAtEveryLength) {
  const std::string whole = formatted(200, "ab{s}cd{d}ef{f}g", 3, "xyz", int64_t{12345}, 2.25);
  for (std::size_t size = 1; size <= whole.size() + 2; ++size)
    EXPECT_EQ(formatted(size, "ab{s}cd{d}ef{f}g", 3, "xyz", int64_t{12345}, 2.25), whole.substr(0, size - 1));
}

TEST(Format, OnlyThreePlaceholdersAreWellFormed) {
  using tnk::host::is_well_formed;
  for (const char *good : {"", "plain", "{s}", "{d}{f}", "a {s} b"})
    EXPECT_TRUE(is_well_formed(good)) << good;
  for (const char *bad : {"{", "}", "{}", "{x}", "{s", "s}", "{{s}", "{s}}", "%d {i}"})
    EXPECT_FALSE(is_well_formed(bad)) << bad;
  const tnk::host::Message twice[] = {{1, "a"}, {1, "b"}}, unordered[] = {{2, "a"}, {1, "b"}},
                           percent[] = {{395, "5%"}, {396, "5%"}};
  EXPECT_FALSE(is_well_formed(twice, 2));
  EXPECT_FALSE(is_well_formed(unordered, 2));
  EXPECT_TRUE(is_well_formed(percent, 1));
  EXPECT_FALSE(is_well_formed(percent, 2)) << "a format";
}

TEST(GetMsg, FillsTheCatalogTextUpTo511Characters) {
  EXPECT_STREQ(tnk_serv_tnk_get_msg(tnk::host::message_no_memory, 1, "xgemm"),
               "xgemm: no memory for a work array");
  EXPECT_STREQ(tnk_serv_tnk_get_msg(-31, 0), "message -31 is not in the catalog");
  EXPECT_STREQ(tnk_serv_tnk_get_msg(INT32_MAX, 2, "a", "b"), "message 2147483647 is not in the catalog");
  const std::string longer(5000, 'x');
  EXPECT_EQ(tnk_serv_tnk_get_msg(tnk::host::message_no_memory, 1, longer.c_str()), std::string(511, 'x'));
}

TEST(Print, WritesALineAndLeavesFetchedTextAlone) {
  const char *fetched = tnk_serv_tnk_get_msg(tnk::host::message_no_memory, 1, "fetched");
  std::thread([] { tnk_serv_tnk_get_msg(tnk::host::message_no_memory, 1, "by another thread"); }).join();
  testing::internal::CaptureStdout();
  tnk_serv_tnk_print(1, tnk::host::message_no_memory, 1, "printed %s%n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "printed %s%n: no memory for a work array\n");
  EXPECT_STREQ(fetched, "fetched: no memory for a work array");
}

TEST(Version, IsCutToTheBuffer) {
  char whole[198];
  tnk_serv_getversionstring_c(whole, sizeof whole);
  const std::string version = whole;
  EXPECT_EQ(version.rfind("tnk 0.", 0), 0u) << version;
  for (int32_t length = -1; length <= static_cast<int32_t>(version.size()) + 1; ++length) {
    std::string buffer(300, '#');
    tnk_serv_getversionstring_c(buffer.data(), length);
    const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
    EXPECT_EQ(buffer.substr(size), std::string(300 - size, '#'));
    if (size > 0) {
      EXPECT_EQ(std::string(buffer.c_str()), version.substr(0, size - 1));
    }
  }
}

void first(const tnk_error *) {}
void second(const tnk_error *) {}

TEST(Errors, SettingAHandlerGivesTheOneBefore) {
  const tnk_error_handler original = tnk_set_error_handler(first);
  EXPECT_NE(original, nullptr);
  EXPECT_EQ(tnk_set_error_handler(second), first);
  EXPECT_EQ(tnk_set_error_handler(nullptr), second);
  EXPECT_EQ(tnk_set_error_handler(original), original) << "null sets the default";
}

TEST(Errors, TheDefaultHandlerWritesOneLineAndKeepsErrno) {
  const tnk_int n = -2, inc = 1;
  double x = 0, y = 0;
  const auto report = [&] {
    errno = 77;
    tnk_blas_dcopy(&n, &x, &inc, &y, &inc);
    return errno;
  };
  testing::internal::CaptureStderr();
  EXPECT_EQ(report(), 77);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tnk: tnk_blas_dcopy: argument 1 (n) is -2, expected 0 or more\n");
  const int standard_error = dup(STDERR_FILENO);
  close(STDERR_FILENO); // nothing can be written
  const int seen = report();
  dup2(standard_error, STDERR_FILENO);
  close(standard_error);
  EXPECT_EQ(seen, 77);
}

TEST(Errors, AHandlerMayCallTheLibrary) {
  static int calls;
  calls = 0;
  const tnk_error_handler before = tnk_set_error_handler([](const tnk_error *) {
    if (++calls == 1) tnk_blas_dcopy(nullptr, nullptr, nullptr, nullptr, nullptr);
  });
  tnk_blas_dcopy(nullptr, nullptr, nullptr, nullptr, nullptr);
  tnk_set_error_handler(before);
  EXPECT_EQ(calls, 2);
}

} // namespace
