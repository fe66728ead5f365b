#include "tools/tnk/families.h"
#include "tools/tnk/plot/png.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/elf_symbols.h"
#include "tools/tnk/support/files.h"
#include "tools/tools_support.h"
#include <algorithm>
#include <cmath>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits>
#include <png.h>
#include <unistd.h>

namespace {

using namespace tnk::tool;
using namespace tnk::test;

TEST(Files, ReplacedWholeOrNotAtAll) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "a" / "b.txt";
  write_file(file, "first");
  write_file(file, std::string("second\0half", 11));
  EXPECT_EQ(read_file(file), std::string("second\0half", 11));

  // A folder stands where the file should go, and a file where a folder should.
  std::filesystem::create_directories(folder.path() / "taken" / "inside");
  for (const auto &bad : {folder.path() / "taken", file / "c.txt"})
    EXPECT_TRUE(holds(failure_of([&] { write_file(bad, "text"); }), bad.parent_path().string())) << bad;
  std::size_t entries = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(folder.path())) {
    ++entries;
    EXPECT_FALSE(holds(entry.path().string(), ".part")) << entry.path();
  }
  EXPECT_EQ(entries, 4u); // a, b.txt, taken, inside
}

// In a folder that others may write to, a link may have been laid where the text is to go.
TEST(Files, NeverWrittenThroughWhatIsThereAlready) {
  const TemporaryFolder folder;
  const std::string stem = (folder.path() / "new.txt").string() + ".part" + std::to_string(getpid()) + ".";
  write_file(folder.path() / "victim", "untouched");
  for (int i = 0; i < 2; ++i) std::filesystem::create_symlink("victim", stem + std::to_string(i));
  write_file(folder.path() / "new.txt", "text");
  EXPECT_EQ(read_file(folder.path() / "new.txt"), "text");
  EXPECT_EQ(read_file(folder.path() / "victim"), "untouched");
  for (int i = 2; i < 100; ++i) std::filesystem::create_symlink("victim", stem + std::to_string(i));
  EXPECT_TRUE(
      holds(failure_of([&] { write_file(folder.path() / "new.txt", "more"); }), "new.txt: File exists"));
  EXPECT_EQ(read_file(folder.path() / "new.txt"), "text");
}

TEST(Files, FoldersAreMadeAndTriedBeforeTheWork) {
  const TemporaryFolder folder;
  make_folder(folder.path() / "a" / "b");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "a" / "b"));
  write_file(folder.path() / "file", "");
  EXPECT_TRUE(holds(failure_of([&] { make_folder(folder.path() / "file" / "c"); }), "file/c"));
  EXPECT_TRUE(holds(failure_of([] { make_folder("/proc/self"); }), "/proc/self:"))
      << "nobody makes files there";
}

TEST(ElfSymbols, NamesAreThoseThatTheDynamicLinkerFinds) {
  const auto names = exported_names(TNK_TEST_KERNEL);
  void *library = dlopen(TNK_TEST_KERNEL, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  for (const std::string &name : names) EXPECT_NE(dlsym(library, name.c_str()), nullptr) << name;
  const auto has = [&](const char *name) { return std::count(names.begin(), names.end(), name) == 1; };
  EXPECT_TRUE(has("dll_cpu_version") && has("tnk_blas_dnrm2"));
  EXPECT_FALSE(has("tnk_serv_lsame") || has("memcpy")) << "an import is no export";
  dlclose(library);
}

TEST(ElfSymbols, DamagedFilesAreRefused) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "library.so";
  const std::string whole = read_file(TNK_TEST_KERNEL);
  for (std::size_t length = 0; length < whole.size(); length += length < 256 ? 16 : whole.size() / 20) {
    write_file(file, whole.substr(0, length));
    EXPECT_THROW(exported_names(file), Failure) << length;
  }
  // The section headers may hold anything: refused or read, no fault.
  std::string damaged = whole;
  std::fill(damaged.end() - 64 * 40, damaged.end(), '\xFF');
  write_file(file, damaged);
  EXPECT_THROW(exported_names(file), Failure);
  write_file(file, "no library\n" + std::string(200, ' '));
  EXPECT_THROW(exported_names(file), Failure);
}

TEST(Families, LongestPrefixWins) {
  const auto families = count_families({"tnk_blas_dnrm2", "tnk_blas_lp64_daxpy", "tnk_blas_lp64_dscal",
                                        "tnk_cconj", "tnk_trans_x", "mpn_addmul", "tnk_gmp_y", "something"});
  const std::pair<std::string, int> expected[] = {
      {"tnk_blas_", 1}, {"tnk_blas_lp64_", 2}, {"tnk_trans_", 2}, {"tnk_gmp_", 2}, {"", 1}};
  ASSERT_EQ(families.size(), std::size(expected));
  for (std::size_t i = 0; i < families.size(); ++i) {
    EXPECT_EQ(families[i].prefix, expected[i].first);
    EXPECT_EQ(families[i].count, expected[i].second) << families[i].prefix;
  }
}

TEST(Svg, TicksAreRoundAndInside) {
  const double ranges[][2] = {{0, 1},      {1749, 2014}, {-0.6, 1.1}, {0, 3e-7},
                              {-5e9, 1e9}, {0.95, 1.05}, {0, 7}};
  for (const auto &[low, high] : ranges) {
    const Ticks found = ticks(low, high, 8);
    ASSERT_GE(found.values.size(), 4u) << low << " " << high;
    ASSERT_LE(found.values.size(), 14u) << low << " " << high;
    const double step = found.values[1] - found.values[0], slack = 1e-6 * step;
    const double digit = step / std::pow(10, std::floor(std::log10(step) + 1e-9));
    EXPECT_LT(std::min({std::fabs(digit - 1), std::fabs(digit - 2), std::fabs(digit - 5)}), 1e-6) << step;
    EXPECT_GE(found.values.front(), low - slack);
    EXPECT_LE(found.values.back(), high + slack);
    EXPECT_LE(std::pow(10, -found.decimals), step * 1.000001) << "labels of neighbours would be equal";
  }
}

TEST(Svg, TextIsEscapedAndGapsBreakCurves) {
  Figure figure(400, 300, "a < b & \"c\"", "");
  Panel panel(figure, {50, 50, 300, 200}, "p", {0, 3, "x"}, {0, 1, "y"});
  const double nan = std::numeric_limits<double>::quiet_NaN();
  panel.line({{0, 0}, {1, 1}, {1.5, nan}, {2, 1}, {3, 0}}, colour::blue, 1);
  const std::string svg = figure.svg();
  EXPECT_TRUE(holds(svg, "a &lt; b &amp; &quot;c&quot;")) << svg;
  EXPECT_TRUE(holds(svg, "M50.00 250.00L150.00 50.00M250.00 50.00L350.00 250.00") && !holds(svg, "nan"))
      << svg;
  EXPECT_EQ(tnk::test::xml_fault(svg), "");
}

// The examples of RFC 4648.
TEST(Base64, FillsUpTheLastGroup) {
  const char *const pairs[][2] = {{"", ""},
                                  {"f", "Zg=="},
                                  {"fo", "Zm8="},
                                  {"foo", "Zm9v"},
                                  {"foob", "Zm9vYg=="},
                                  {"fooba", "Zm9vYmE="},
                                  {"foobar", "Zm9vYmFy"}};
  for (const auto &pair : pairs) EXPECT_EQ(base64(pair[0]), pair[1]);
  EXPECT_EQ(base64("\xFB\xEF\xBE"), "++++");
}

TEST(Png, HoldsThePixelsRowByRow) {
  const std::string file = png(2, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}, {255, 0, 128}, {0, 0, 0}});
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_memory(&image, file.data(), file.size()));
  EXPECT_TRUE(image.width == 2 && image.height == 3);
  image.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(18);
  ASSERT_TRUE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr));
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 255, 0, 128, 0, 0, 0}));
}

} // namespace
