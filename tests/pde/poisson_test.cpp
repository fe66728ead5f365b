// The solvers by address: solutions in their equations, singular problems, statuses, what is said and where, threads.
#include "pde/poisson_problem.h"
#include "pde/said.h"
#include "support/guarded.h"
#include "support/named.h"
#include <cstdio>
#include <random>
#include <tnk/host.h>
#include <tnk/pde_poisson.h>
#include <tnk/pde_trig.h>

namespace tnk::test {
namespace {

// A problem with all that its routines want by address.
template <class R, int Dims> struct Solver : PoissonProblem<R, Dims> {
  using PoissonProblem<R, Dims>::PoissonProblem;
  std::vector<tnk_int> ipar = std::vector<tnk_int>(TNK_PDEPL_IPAR, 4711);
  Guarded<R> dpar{static_cast<std::size_t>(Dims == 2 ? TNK_PDEPL_DPAR_2D(this->n[0])
                                                     : TNK_PDEPL_DPAR_3D(this->n[0], this->n[1])),
                  page_end};
  DftiHandle handles[2] = {};
  tnk_int stat = 4711;

  tnk_int init() {
    const R its_q = static_cast<R>(this->q);
    std::vector<const void *> list;
    for (const R &end : this->ends) list.push_back(&end);
    for (const tnk_int &cells : this->n) list.push_back(&cells);
    list.insert(list.end(), {this->sides.c_str(), &its_q, ipar.data(), dpar.data(), &stat});
    return call(letter + "_init_helmholtz_", list);
  }
  tnk_int commit() { return call(letter + "_commit_helmholtz_", grid()); }
  tnk_int solve() { return call(letter + "_helmholtz_", grid()); }
  tnk_int release() {
    std::vector<const void *> list = grid();
    list.erase(list.begin(), list.begin() + 1 + 2 * Dims);
    list.erase(list.end() - 2);
    return call("free_helmholtz_", list);
  }

private:
  const std::string letter = sizeof(R) == 4 ? "s" : "d";
  std::vector<const void *> grid() {
    std::vector<const void *> list{this->u.data()};
    for (const auto &side : this->boundary) list.push_back(side.data());
    for (int axis = 0; axis + 1 < Dims; ++axis) list.push_back(handles + axis);
    list.insert(list.end(), {ipar.data(), dpar.data(), &stat});
    return list;
  }
  tnk_int call(const std::string &name, const std::vector<const void *> &list) {
    call_at("tnk_pdepl_" + name + std::to_string(Dims) + "d", list);
    return stat;
  }
};

template <class S> void silence(S &s) {
  s.ipar[TNK_PDEPL_ERRORS] = s.ipar[TNK_PDEPL_WARNINGS] = 0;
}
// The constant that was taken off f.
template <class S> double taken_off(const S &s) {
  return static_cast<double>(s.dpar.get(static_cast<std::size_t>(s.ipar[TNK_PDEPL_TABLES])));
}

// ---- Solutions --------------------------------------------------------------------------------------------------------

// In roundings of the sums in the largest equation. Elimination takes a few; transforms of n points have errors of some
// log n in the mean, but some n in single places, where running sums end or the sine of 1/(4 n) divides.
double allowed(const std::vector<tnk_int> &n) {
  return 8 + static_cast<double>(*std::max_element(n.begin(), n.end())) / 16;
}

template <class R, int Dims>
void check(const std::array<tnk_int, Dims> &n, const std::string &sides, double q) {
  SCOPED_TRACE(sides + " q " + std::to_string(q) + " cells " + std::to_string(n[0]) + " " +
               std::to_string(n[1]) + " " + std::to_string(n[Dims - 1]));
  Solver<R, Dims> s(n, sides, q);
  ASSERT_EQ(s.init(), 0);
  silence(s);
  ASSERT_EQ(s.commit(), 0);
  const double h = s.step(Dims - 1);
  const double shown = std::fabs(static_cast<double>(R(q * h * h + 2) - 2)); // of q
  const bool singular = sides == std::string(2 * Dims, 'N') && shown <= 1e-10;
  ASSERT_EQ(s.solve(), singular ? 1 : 0);
  const double off = singular ? taken_off(s) : 0,
               eps = static_cast<double>(std::numeric_limits<R>::epsilon());
  const double neglected = singular && q > 0 ? 1e-10 / 4 / eps : 0; // a q that counts as none
  EXPECT_LE(s.deviation(off), allowed({n.begin(), n.end()}) + neglected);
  EXPECT_TRUE(s.dpar.intact());
  if (singular) {
    const double slack = allowed({n.begin(), n.end()}) * eps;
    double largest = 0;
    for (const R value : s.u) largest = std::max(largest, std::fabs(static_cast<double>(value)));
    EXPECT_NEAR(s.mean(s.u), 0, slack * largest);
  }
  EXPECT_EQ(s.release(), 0);
}

template <class R> class Poisson : public testing::Test {};
using Reals = testing::Types<double, float>;
TYPED_TEST_SUITE(Poisson, Reals);

TYPED_TEST(Poisson, SolvesTheEquationsOfEveryRectangle) {
  using Cells = std::array<tnk_int, 2>;
  for (const std::string &sides : all_sides(4))
    for (const double q : {0., 3., 1e-7}) {
      for (tnk_int nx = 2; nx <= 12; ++nx) check<TypeParam, 2>(Cells{nx, 2 + nx * 5 % 11}, sides, q);
      for (const Cells &n : {Cells{2, 1}, {5, 1}, {3, 2}, {70, 3}, {4, 90}, {129, 65}})
        check<TypeParam, 2>(n, sides, q);
    }
}

TYPED_TEST(Poisson, SolvesTheEquationsOfEveryBox) {
  using Cells = std::array<tnk_int, 3>;
  for (const std::string &sides : all_sides(6)) {
    for (const double q : {0., 3., 1e-7}) check<TypeParam, 3>(Cells{5, 4, 6}, sides, q);
    for (const Cells &n : {Cells{2, 2, 1}, {2, 3, 2}, {11, 10, 3}, {70, 9, 2}})
      check<TypeParam, 3>(n, sides, 1);
  }
}

template <int Dims> void same_bits(const std::array<tnk_int, Dims> &n, const std::string &sides) {
  std::vector<double> first;
  for (const int threads : {1, 2, 3, 5}) {
    tnk_set_num_threads(threads);
    Solver<double, Dims> s(n, sides, 1);
    s.init();
    EXPECT_EQ(s.ipar[TNK_PDEPL_THREADS], threads);
    EXPECT_TRUE(s.commit() == 0 && s.solve() == 0);
    EXPECT_LE(s.deviation(), allowed({n.begin(), n.end()}));
    EXPECT_TRUE(threads == 1 || s.u == first); // a NaN is unequal
    first = s.u;
    s.release();
  }
  tnk_set_num_threads(0);
}
TEST(PoissonThreads, MoveNoBit) {
  same_bits<2>({210, 180}, "DNND");
  same_bits<3>({40, 33, 36}, "DDNNDN");
  same_bits<3>({150, 120, 2}, "NDDDDD"); // one plane, which is cut itself
}

// ---- Columns ------------------------------------------------------------------------------------------------------------

// - u[j-1] + lambda u[j] - u[j+1] = f[j], by plain elimination from both ends; equations at slopes are halved.
template <class R>
void eliminate(R *f, tnk_int stride, tnk_int n, bool slope_below, bool slope_above, R lambda) {
  const tnk_int first = slope_below ? 0 : 1, last = slope_above ? n : n - 1;
  if (first > last) return;
  const tnk_int middle = first + (last - first + 1) / 2;
  const auto at = [&](tnk_int j) -> R & { return f[j * stride]; };
  const auto half = [&](tnk_int j) {
    return (j == 0 && slope_below) || (j == n && slope_above) ? R(0.5) : R(1);
  };
  std::vector<R> w(static_cast<std::size_t>(n + 1));
  const auto from_end = [&](tnk_int end, tnk_int step) {
    R before = 0, w_before = 0;
    for (tnk_int j = end; j != middle; j += step) {
      w_before = w[static_cast<std::size_t>(j)] = 1 / (half(j) * lambda - w_before);
      before = at(j) = j == end ? at(j) * (half(j) * w_before) : (at(j) + before) * w_before;
    }
    return std::pair(before, w_before);
  };
  const auto [below, w_below] = from_end(first, 1);
  const auto [above, w_above] = from_end(last, -1);
  at(middle) = (half(middle) * at(middle) + below + above) / (half(middle) * lambda - w_below - w_above);
  for (tnk_int j = middle - 1; j >= first; --j) at(j) += w[static_cast<std::size_t>(j)] * at(j + 1);
  for (tnk_int j = middle + 1; j <= last; ++j) at(j) += w[static_cast<std::size_t>(j)] * at(j - 1);
}

// However columns go side by side, each has the bits of plain elimination, where its pivots settle too; others stay.
template <class R, class Solve> void same_as_plain(bool slope_below, bool slope_above, const Solve &solve) {
  std::mt19937 engine(5);
  std::uniform_real_distribution<R> any(-1, 1);
  const std::pair<tnk_int, std::vector<tnk_int>> sizes[] = {
      {5, {1, 2, 3, 4, 5, 6, 7, 8, 9, 90}}, {263, {6, 37, 120}}, {520, {23}}};
  for (const auto &[nx, heights] : sizes)
    for (const tnk_int ny : heights)
      for (const tnk_int threads : {1, 2}) {
        const tnk_int stride = nx + 1;
        std::vector<R> f(static_cast<std::size_t>(stride * (ny + 1))), dpar(static_cast<std::size_t>(nx + 6));
        std::vector<tnk_int> ipar(TNK_PDEPL_IPAR);
        ipar[TNK_PDEPL_SPECTRA] = 6;
        for (R &value : f) value = any(engine);
        R *const lambda = dpar.data() + 5;
        for (tnk_int i = 0; i <= nx; ++i) { // as spectra rise, but for one here and there
          const R angle = static_cast<R>(i) / static_cast<R>(nx);
          lambda[i] = 2 + 4 * angle * angle * (i % 50 == 49 ? R(0.001) : R(1)) + R(1e-5);
        }
        std::vector<R> expected = f;
        for (tnk_int i = 1; i < nx; ++i)
          eliminate(expected.data() + i, stride, ny, slope_below, slope_above, lambda[i]);
        tnk_int stat = -1;
        solve(&nx, &ny, f.data(), dpar.data(), ipar.data(), &threads, &stat);
        EXPECT_EQ(stat, 0);
        EXPECT_EQ(f, expected) << nx << " by " << ny << ", slopes " << slope_below << slope_above;
      }
}
TEST(PoissonColumns, AreThoseOfPlainElimination) {
  tnk_set_num_threads(2);
  const tnk_int regular = 14;
  same_as_plain<double>(false, false, tnk_pdepl_d_lu_2d_dd);
  same_as_plain<double>(false, true, tnk_pdepl_d_lu_2d_dn);
  same_as_plain<double>(true, false, tnk_pdepl_d_lu_2d_nd);
  same_as_plain<double>(true, true,
                        [&](auto nx, auto ny, auto f, auto dpar, auto ipar, auto threads, auto stat) {
                          tnk_pdepl_d_lu_2d_nn(nx, ny, f, dpar, ipar, threads, &regular, stat);
                        });
  same_as_plain<float>(false, false, tnk_pdepl_s_lu_2d_dd);
  same_as_plain<float>(false, true, tnk_pdepl_s_lu_2d_dn);
  tnk_set_num_threads(0);
}

// ---- Statuses -----------------------------------------------------------------------------------------------------------

TEST(PoissonInit, ReadsLettersAndFillsItsEntries) {
  const struct {
    const char *sides;
    tnk_int code, status;
  } cases[] = {
      {"DDDD", 0, 0},    {"NNNN", 15, 0},           {"dnNd", 6, 0}, {"nddD", 8, 0}, {"DDDX", -100, -100},
      {"XDDD", -100, 0}, {"XNDx", 4 - 200, 4 - 200}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.sides);
    Solver<double, 2> s({5, 7}, c.sides, 3);
    const bool left = c.status < 0;
    s.dpar.put(2, 4711);
    EXPECT_EQ(s.init(), c.status);
    EXPECT_EQ(s.ipar[TNK_PDEPL_STATUS], left ? -99999 : 0);
    EXPECT_EQ(s.ipar[TNK_PDEPL_CODE], c.code);
    EXPECT_EQ(s.ipar[TNK_PDEPL_C_TEXTS], left ? 4711 : 1);
    EXPECT_EQ(s.ipar[40], 4711); // the transform's
    if (!left) {
      const double expected[] = {s.ends[1] - s.ends[0], s.ends[3] - s.ends[2], 4711, 3, 1e-10};
      for (std::size_t k = 0; k < 5; ++k) EXPECT_EQ(s.dpar.get(k), expected[k]) << k;
      silence(s);
      EXPECT_EQ(s.commit(), c.code < 0 ? -100 : 0);
    }
    for (const std::size_t k : {8, 9, 12, 15, 16, 19, 20, 60, 127}) EXPECT_EQ(s.ipar[k], 4711) << k;
    if (left || c.code < 0) continue;
    EXPECT_TRUE(s.ipar[13] == 6 && s.ipar[14] == 11 && s.ipar[17] == 12 && s.ipar[18] == 19);
    EXPECT_EQ(s.dpar.get(11), 1e-10); // the transform's tolerance
    s.release();
  }
}

// What commit keeps: a second one on the same grid, after a change that its status allows.
TEST(PoissonCommit, KeepsWhatItsStatusSays) {
  for (const bool begun_anew : {false, true})
    for (const tnk_int status : {0, 9, 90, 99, 900, 909, 990})
      for (const char *const sides : {"DDDN", "NNNN", "DNDD"}) {
        SCOPED_TRACE(sides + std::to_string(status) + (begun_anew ? " begun anew" : ""));
        const bool lengths = status % 10 == 0; // taken after init only
        if (begun_anew != lengths && (begun_anew || status == 0)) continue;
        Solver<double, 2> s({9, 8}, sides, 2);
        s.init();
        ASSERT_EQ(s.commit(), 0);
        ASSERT_EQ(s.solve(), 0);
        DftiHandle before = s.handles[0];
        if (begun_anew) s.init();
        if (status / 100 == 0) s.dpar.put(3, s.q = 5); // the spectrum is new
        if (status / 10 % 10 == 0) DftiFreeDescriptor(&before), s.handles[0] = nullptr;
        for (double &value : s.f) value += 0.25;
        s.boundary[3][2] = 7;
        s.restart();
        s.ipar[TNK_PDEPL_STATUS] = status;
        ASSERT_EQ(s.commit(), 0);
        ASSERT_EQ(s.solve(), 0);
        EXPECT_LE(s.deviation(), allowed({9, 8}));
        EXPECT_EQ(s.release(), 0);
      }
  Solver<double, 2> s({9, 8}, "DDDD", 2);
  s.init();
  s.ipar[TNK_PDEPL_STATUS] = 999;
  s.u = s.f;
  EXPECT_EQ(s.commit(), 0);
  EXPECT_TRUE(s.u == s.f && !s.handles[0]);
}

// As for a commit that keeps the layout, of four cells a side, and nothing else.
void laid_out(Solver<double, 3> &s) {
  s.ipar[0] = 9, s.ipar[13] = 6, s.ipar[15] = 11, s.ipar[17] = 16, s.ipar[19] = 24;
}

TEST(PoissonStatus, ToldOnceAndWhereAsked) {
  using S = Solver<double, 3>;
  enum When { in_commit, in_solve, in_free };
  const struct {
    When when;
    void (*spoil)(S &);
    tnk_int status;
    bool warning;
    const char *text; // of the message, with entries counted from 0; empty: none
    const char *value;
  } cases[] = {
      {in_commit, [](S &s) { s.ipar[0] = 1; }, -10000, false, "ipar[0]", "1"},
      {in_commit, [](S &s) { s.ipar[10] = 0; }, -100, false, "ipar[10]", "0"},
      {in_commit, [](S &s) { s.ipar[11] = -3; }, -100, false, "ipar[11]", "-3"},
      {in_commit, [](S &s) { s.ipar[12] = 0; }, -100, false, "ipar[12]", "0"},
      {in_commit, [](S &s) { s.ipar[3] = 64; }, -100, false, "ipar[3]", "64"},
      {in_commit, [](S &s) { s.ipar[3] = 5; }, -100, false, "ipar[3]", "5"},
      {in_commit, [](S &s) { s.ipar[4] = 2, s.ipar[5] = -4; }, -100, false, "ipar[3]", "0"},
      {in_commit, [](S &s) { s.dpar.put(0, 0); }, -100, false, "dpar[0]", "0.000000e+00"},
      {in_commit, [](S &s) { s.dpar.put(1, -2); }, -100, false, "dpar[1]", "-2.000000e+00"},
      {in_commit, [](S &s) { s.dpar.put(2, NAN); }, -100, false, "dpar[2]", "nan"},
      {in_commit, [](S &s) { laid_out(s), s.dpar.put(0, 0); }, -2, false, "spectrum", ""},
      {in_commit, [](S &s) { s.ipar[11] = 1, s.ipar[41] = 0; }, -100, false, "n", ""},
      {in_commit, [](S &s) { s.dpar.put(4, -1); }, 10, true, "tolerance", ""},
      {in_commit, [](S &s) { s.dpar.put(3, -1); }, 1, true, "dpar[3]", "-1.000000e+00"},
      {in_solve, [](S &s) { s.ipar[0] = 990; }, -10000, false, "ipar[0]", "990"},
      {in_solve, [](S &s) { s.ipar[11] = 0; }, -100, false, "ipar[11]", "0"},
      {in_solve, [](S &s) { ++s.ipar[14]; }, 1, true, "ipar[13]", "6"},
      {in_free, [](S &) {}, -1000, false, "freed", ""},
  };
  for (const auto &c : cases)
    for (const int output : {1, -1, 0}) {
      SCOPED_TRACE(testing::Message() << "case " << &c - cases << ", output " << output);
      S s({4, 4, 4}, "DDDDDD", 1);
      s.init();
      s.ipar[TNK_PDEPL_ERRORS] = c.warning ? 0 : output;
      s.ipar[TNK_PDEPL_WARNINGS] = c.warning ? output : 0;
      if (c.when != in_commit) {
        ASSERT_EQ(s.commit(), 0);
      }
      if (c.when == in_free) DftiFreeDescriptor(&s.handles[1]), s.handles[1] = nullptr;
      c.spoil(s);
      const std::string text = said([&] {
        EXPECT_EQ(c.when == in_commit ? s.commit() : c.when == in_solve ? s.solve() : s.release(), c.status);
      });
      EXPECT_EQ(s.ipar[TNK_PDEPL_STATUS], c.status);
      const std::string value = *c.value ? ":\n" + std::string(c.value) + "\n" : "";
      EXPECT_EQ(text.empty(), output == 0) << text;
      EXPECT_TRUE(output == 0 || (text.find(c.text) != text.npos && text.find(value) != text.npos)) << text;
      EXPECT_EQ(text.rfind("log:\n", 0) == 0, output < 0) << text;
      EXPECT_TRUE(c.when != in_commit || c.status == 1 || !s.handles[0]);
      s.ipar[TNK_PDEPL_ERRORS] = s.ipar[41] = s.ipar[61] = 0;
      if (s.handles[0]) s.release();
    }
}

// Solutions that a warning comes with, messages by entries counted from 1, and a number that is none.
TEST(PoissonStatus, WarnsOfSingularProblems) {
  Solver<double, 2> s({6, 5}, "NNNN", 0);
  s.init();
  s.ipar[TNK_PDEPL_C_TEXTS] = 0;
  s.commit();
  ++s.ipar[TNK_PDEPL_TABLES + 1];
  const std::string text = said([&] { EXPECT_EQ(s.solve(), 1); });
  char off[32];
  std::snprintf(off, sizeof off, ":\n%e\n", taken_off(s));
  EXPECT_NE(text.find(off), std::string::npos) << text;
  EXPECT_NE(text.find("ipar(14)"), std::string::npos) << text;
  const tnk_int unknown = 11;
  EXPECT_EQ(
      said([&] { tnk_pdepl_d_pl_print_diagnostics_c(&unknown, s.ipar.data(), s.dpar.data(), nullptr); }), "");
  s.release();
}

TEST(PoissonStages, RefuseWhatTheyCannotUse) {
  Solver<double, 2> s({6, 5}, "DDNN", 0);
  s.init();
  silence(s);
  s.commit();
  std::vector<double> other = s.u;
  const auto basic = [&](auto entry, tnk_int code, std::vector<double> &f) {
    entry(&code, &s.n[0], &s.n[1], f.data(), s.handles, s.ipar.data(), s.dpar.data(), &s.stat);
    return s.stat;
  };
  for (const tnk_int code : {16, -1, 12}) EXPECT_EQ(basic(tnk_pdepl_d_basic_2d_poisson, code, s.u), -100);
  EXPECT_EQ(basic(tnk_pdepl_d_basic_2d_poisson, 3, s.u), 0);
  EXPECT_EQ(basic(tnk_pdepl_d_basic_2d_poisson_c, 3, other), 0);
  for (tnk_int j = 0; j <= 5; ++j)
    for (tnk_int i = 1; i < 6; ++i) EXPECT_EQ(s.u[s.index({i, j})], other[s.index({i, j})]);
  s.release();

  const tnk_int three = 3, none = 0;
  const double h = 0.5, zero = 0, q = 2;
  double x[4], y[4];
  tnk_int stat[4] = {};
  tnk_pdepl_d_spectr_2d(&none, &h, &h, &q, x, stat);
  tnk_pdepl_d_spectr_2d_mixed(&three, &zero, &h, &q, x, stat + 1);
  tnk_pdepl_d_spectr_3d(&three, &none, &h, &h, &h, &q, x, y, stat + 2);
  tnk_pdepl_d_spectr_3d_mixed_1(&three, &three, &h, &zero, &h, &q, x, y, stat + 3);
  for (const tnk_int &status : stat) EXPECT_EQ(status, -2) << &status - stat;
  const double angle = 7.25;
  const float rounded = 7.25f;
  EXPECT_EQ(tnk_pdepl_pl_dsin(&angle), std::sin(7.25));
  EXPECT_EQ(tnk_pdepl_pl_ssin(&rounded), static_cast<float>(std::sin(7.25)));
}

} // namespace
} // namespace tnk::test
