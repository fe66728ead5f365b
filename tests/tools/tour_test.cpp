// The tour: all scenes there are, as they should be and as they should end.
#include "tools/tnk/support/files.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include "tools/tools_support.h"
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace {

using namespace tnk::test;
using tnk::tool::read_file, tnk::tool::write_file;
namespace fs = std::filesystem;

std::vector<std::string> scenes() {
  std::istringstream list(run("tour --list").out);
  std::vector<std::string> names;
  for (std::string line; std::getline(list, line);) names.push_back(line.substr(0, line.find(' ')));
  return names;
}

// Of a value that is no number, as text outside of embedded images.
bool shows_no_number(std::string text) {
  for (std::size_t at; (at = text.find("base64,")) != text.npos;) text.erase(at, text.find('"', at) - at);
  for (const std::string word : {"nan", "inf"})
    for (auto at = text.find(word); at != text.npos; at = text.find(word, at + 1))
      if (!std::isalpha(text[at - 1]) && !std::isalpha(text[at + word.size()])) return true;
  return false;
}

TEST(Tour, EveryListedSceneHoldsAndLeavesItsPictures) {
  const std::map<std::string, std::vector<const char *>> facts = {
      {"vectors", {"253.8, October 1957", "125 months, 10.4 years"}},
      {"product", {"87.91 %", "after 120 steps"}},
      {"sparse", {"3.114811969e+12", "83883 entries"}},
      {"solves", {"12349 entries", "8 diagonals", "1841 diagonals", "Gauss-Seidel"}},
      {"smoothing", {"33.1 ... 74.2"}},
      {"cholesky", {"single, 6 steps"}},
      {"precision", {"floats in pairs", "two digits up to 10^29", "in doubles"}},
      {"spectrum", {"11.03 years", "497 short spectra"}},
      {"lengths", {"own kernels", "by convolution"}},
      {"transposition", {"along 117 cycles"}},
      {"filter", {"94.1 ... 185.2 m"}},
      {"matching", {"sample 23456"}},
      {"integers", {"3.1415926535...", "prime, ", "not prime"}},
      {"plate", {"69.922 of 69.922"}},
      {"film", {"94.0 ... 124.0 m"}},
      {"numpy", {"singular values", "tnk-blas/libblas.so.3"}}};
  const auto names = scenes();
  ASSERT_GE(names.size(), facts.size());
  for (const std::string &name : names) {
#ifdef __SANITIZE_ADDRESS__
    if (name == "numpy") continue; // the interpreter has no sanitizer to load the libraries under
#endif
    const TemporaryFolder folder;
    const Outcome outcome = run("tour --scene " + name + " --out " + quoted(folder.path() / "new"));
    EXPECT_EQ(outcome.code, 0) << name;
    EXPECT_EQ(outcome.err, "") << name;
    if (name == "numpy" && holds(outcome.out, "left out: ")) continue; // which is all there can be then
    EXPECT_TRUE(outcome.out.rfind(name + ": ", 0) == 0 && holds(outcome.out, "  quantity")) << outcome.out;
    EXPECT_FALSE(shows_no_number(outcome.out)) << outcome.out;
    const auto known = facts.find(name);
    for (const char *fact : known == facts.end() ? std::vector<const char *>() : known->second)
      EXPECT_TRUE(holds(outcome.out, fact)) << fact << "\n" << outcome.out;
    int pictures = 0;
    for (const auto &entry : fs::directory_iterator(folder.path() / "new")) {
      ++pictures;
      EXPECT_TRUE(holds(outcome.out, "  " + entry.path().string() + "\n")) << entry.path();
      const std::string text = read_file(entry.path());
      if (entry.path().extension() != ".svg") continue;
      EXPECT_EQ(xml_fault(text), "") << entry.path();
      EXPECT_FALSE(shows_no_number(text)) << entry.path();
    }
    EXPECT_GE(pictures, 1) << name;
  }
}

// Without what every scene calls the first refusal ends the scene, before there is a table, with nothing drawn.
TEST(Tour, ASceneEndsAtTheFirstErrorThatARoutineReports) {
  for (const std::string &name : scenes()) {
    const TemporaryFolder folder;
    const Outcome outcome = run("tour --scene " + name + " --out " + quoted(folder.path()),
                                "TNK_KERNEL_PATH=" TNK_TEST_WITHOUT_AXPY);
    EXPECT_EQ(outcome.code, 1) << name;
    EXPECT_TRUE(count(outcome.err, "\n") == 1 && holds(outcome.err, "has no entry ")) << outcome.err;
    EXPECT_FALSE(holds(outcome.out, "quantity") || holds(outcome.out, "Pictures")) << outcome.out;
    EXPECT_TRUE(fs::is_empty(folder.path())) << name;
  }
}

TEST(Tour, AWrongResultEndsItOnceItsLineIsShown) {
  const TemporaryFolder folder;
  const Outcome outcome = run("tour --out " + quoted(folder.path()), "TNK_KERNEL_PATH=" TNK_TEST_WRONG_NORM);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_TRUE(holds(outcome.err, "the Euclidean norm by dnrm2 is wrong")) << outcome.err;
  EXPECT_TRUE(holds(outcome.out, "Euclidean norm") && !holds(outcome.out, "idamax")) << outcome.out;
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

void ignore(const tnk_error *) {}

TEST(Stage, KeepsTheFirstErrorReportedAndGivesTheHandlerBack) {
  const auto before = tnk_set_error_handler(ignore);
  {
    const tnk::tool::Stage stage("data", "out");
    EXPECT_EQ(failure_of([&] { stage.stop_on_error(); }), "no failure");
    const tnk_int negative = -1;
    const double x = 0;
    double y = 0;
    tnk_blas_daxpy(&negative, &x, &x, &tnk::tool::one, &y, &tnk::tool::one);
    tnk_blas_dcopy(&negative, &x, &tnk::tool::one, &y, &tnk::tool::one);
    EXPECT_TRUE(holds(failure_of([&] { stage.stop_on_error(); }), "tnk_blas_daxpy"));
  }
  EXPECT_EQ(failure_of([] { tnk::tool::Stage("data", "out").stop_on_error(); }), "no failure")
      << "a new stage";
  EXPECT_EQ(tnk_set_error_handler(before), ignore);
}

TEST(Stage, AnErrorOverWhatIsAllowedOrNoNumberIsAFailure) {
  const tnk::tool::Stage stage("data", "out");
  const auto shown = [&](double error) { stage.show({"quantity", "routine", "1", error, 1e-3, ""}); };
  EXPECT_EQ(failure_of([&] { shown(1e-3); }), "no failure");
  EXPECT_NE(failure_of([&] { shown(1.01e-3); }), "no failure");
  tnk::tool::Worst worst;
  worst.take(1e-4), worst.take(1e-5);
  EXPECT_EQ(worst.value(), 1e-4);
  worst.take(NAN), worst.take(1e-4);
  EXPECT_NE(failure_of([&] { shown(worst.value()); }), "no failure")
      << "a number after it does not hide a NaN";
}

TEST(Tour, NamesWhatIsWrongWithItsInput) {
  std::string gap = "year,spots\n", flat = gap, line = gap, ancient = gap, negative = gap;
  for (int i = 0; i < 1200; ++i) {
    const std::string year = std::to_string(1800 + i / 12.0);
    flat += year + ",7\n";
    line += year + "," + std::to_string(i) + "\n";
    ancient += std::to_string(-50 + i / 12.0) + "," + std::to_string(i % 130) + "\n";
    negative += year + "," + std::to_string(i % 130 - 1) + "\n";
    if (i != 600) gap += year + "," + std::to_string(i % 130) + "\n";
  }
  const struct {
    std::string text;
    const char *message;
  } cases[] = {{"", "the file is empty"},
               {"year,spots\n1749,x\n", "line 2: column \"spots\""},
               {"year,dots\n1749,1\n", "no column \"spots\""},
               {"year,spots\n1749,1\n", "too few"},
               {gap, "does not follow"},
               {ancient, "year -50.0000 is negative"},
               {negative, "year 1800.0000 has a negative number of spots, -1"},
               {flat, "all values are equal"},
               {line, "no peak"}};
  const TemporaryFolder folder;
  EXPECT_TRUE(
      holds(run("tour --scene vectors --data " + quoted(folder.path())).err, "sunspots.csv: No such file"));
  for (const auto &c : cases) {
    write_file(folder.path() / "sunspots.csv", c.text);
    const Outcome outcome = run("tour --scene vectors --data " + quoted(folder.path()) + " --out " +
                                quoted(folder.path() / "out"));
    EXPECT_EQ(outcome.code, 1) << c.message;
    EXPECT_TRUE(holds(outcome.err, "sunspots.csv") && holds(outcome.err, c.message)) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "out" / "vectors.svg")) << c.message;
  }
}

} // namespace
