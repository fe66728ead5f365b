// Kernels of vectors that are values and positions, counted from one.
#include "blas/level1/elementwise.h"
#include "reference/sums.h"
#include <numeric>

namespace tnk::test {
namespace {

using reference::Real;

// nz values and their positions in y, which holds twice as many elements; with `repeats` every third position is that
// of the value before. `x` and `target` are what the memory of x and those elements of y is to come to.
template <class T> struct Problem {
  Guarded<T> x_memory, y_memory;
  Guarded<tnk_int> indx;
  std::vector<T> x, y;

  Problem(std::size_t nz, bool repeats, std::size_t shift_x, std::size_t shift_other)
      : x_memory(nz, shift_x), y_memory(2 * nz + 1, shift_other), indx(nz, shift_other) {
    Random random(static_cast<unsigned>(nz + 1));
    std::vector<tnk_int> positions(2 * nz + 1);
    std::iota(positions.begin(), positions.end(), 1); // first and last position come up as well
    for (std::size_t i = positions.size(); i > 1; --i)
      std::swap(positions[i - 1],
                positions[static_cast<std::size_t>(random.integer(0, static_cast<tnk_int>(i) - 1))]);
    for (std::size_t i = 0; i < nz; ++i) {
      indx.put(i, positions[repeats ? i * 2 / 3 : i]);
      x.push_back(i % 4 ? random.number<T>() : T{});
      x_memory.put(i, x[i]);
    }
    for (std::size_t i = 0; i < positions.size(); ++i) {
      y.push_back(i % 3 ? random.number<T>() : reference::number<T>(-0.0f));
      y_memory.put(i, y[i]);
    }
  }
  T &target(std::size_t i) { return y[static_cast<std::size_t>(indx.get(i) - 1)]; }

  void expect_results() {
    bool right = x_memory.intact() && y_memory.intact() && indx.intact();
    for (std::size_t i = 0; i < x.size(); ++i) right = right && reference::same(x_memory.get(i), x[i]);
    for (std::size_t i = 0; i < y.size(); ++i) right = right && reference::same(y_memory.get(i), y[i]);
    EXPECT_TRUE(right);
  }
};

// Every remainder of the loops, every address that matters.
template <class T, class Check> void for_each_problem(bool repeats, Check check) {
  for (std::size_t nz = 0; nz <= 70; ++nz)
    for (const std::size_t shift_x : shifts<T>())
      for (const std::size_t shift_other :
           {std::size_t{0}, std::size_t{1}, std::size_t{4}, page_end, page_start}) {
        if (testing::Test::HasFailure()) return;
        SCOPED_TRACE(testing::Message() << "nz " << nz << (repeats ? " repeated" : "") << " shifts "
                                        << shift_x << ' ' << shift_other);
        Problem<T> p(nz, repeats, shift_x, shift_other);
        check(p, static_cast<tnk_int>(nz));
        p.expect_results();
      }
}

template <class T> class SparseVectors : public testing::Test {};
TYPED_TEST_SUITE(SparseVectors, Types);

TYPED_TEST(SparseVectors, EqualTheirDefinitions) {
  using T = TypeParam;
  using K = Kernels<T>;
  using Run = std::function<void(tnk_int nz, T * x, const tnk_int *indx, T *y)>;
  const T alpha = reference::number<T>(Real<T>(-0.3), Real<T>(0.7)), zero{};
  const Real<T> c = Real<T>(0.6), s = Real<T>(0.8), one = 1, none = 0;
  const T unknown = reference::number<T>(std::numeric_limits<Real<T>>::quiet_NaN());
  const Askew askew(alpha);
  const Askew askew_c(c), askew_s(s);
  // Whether a repeated position is taken by one value after the other; elsewhere nothing is promised.
  enum : bool { once, repeats };
  struct Operation {
    Run run;
    Step<T> step;
    bool repeats;
  };
  std::vector<Operation> list = {
      {[&](auto nz, auto x, auto indx, auto y) { K::axpyi(&nz, askew.at(), x, indx, y); }, add_scaled(alpha),
       once},
      {[&](auto nz, auto x, auto indx, auto y) { K::axpyi(&nz, &unknown, x, indx, y); }, add_scaled(unknown),
       once},
      {[&](auto nz, auto, auto indx, auto y) { K::axpyi(&nz, &zero, nullptr, indx, y); }, nothing<T>(), once},
      {[](auto nz, auto x, auto indx, auto y) { K::gather(&nz, y, x, indx); }, [](T &x, T &y) { x = y; },
       once},
      {[](auto nz, auto x, auto indx, auto y) { K::gather_zero(&nz, y, x, indx); },
       [](T &x, T &y) { x = y, y = T{}; }, repeats},
      {[](auto nz, auto x, auto indx, auto y) { K::scatter(&nz, x, indx, y); }, [](T &x, T &y) { y = x; },
       once},
  };
  if constexpr (!reference::is_pair<T>) {
    // Not a negation, which would leave a zero the other sign.
    const auto from_zero = [](T cosine, T sine) -> Step<T> {
      return
          [=](T &x, T &y) { std::tie(x, y) = std::pair(cosine * x + sine * y, (0 - sine * x) + cosine * y); };
    };
    list.push_back(
        {[&](auto nz, auto x, auto indx, auto y) { K::roti(&nz, x, indx, y, askew_c.at(), askew_s.at()); },
         from_zero(c, s), repeats});
    list.push_back({[&](auto nz, auto x, auto indx, auto y) { K::roti(&nz, x, indx, y, &one, &unknown); },
                    from_zero(one, unknown), repeats});
    list.push_back({[&](auto nz, auto, auto indx, auto y) { K::roti(&nz, nullptr, indx, y, &one, &none); },
                    nothing<T>(), once});
  }
  for (const Operation &operation : list) {
    for (const bool repeated : {false, true})
      if (operation.repeats || !repeated)
        for_each_problem<T>(repeated, [&](Problem<T> &p, tnk_int nz) {
          operation.run(nz, p.x_memory.data(), p.indx.data(), p.y_memory.data());
          for (std::size_t i = 0; i < p.x.size(); ++i) operation.step(p.x[i], p.target(i));
        });
    operation.run(-3, nullptr, nullptr, nullptr); // touches nothing
  }
}

template <class T, class Dot> void check_dot(Dot dot, bool conjugate) {
  for_each_problem<T>(false, [&](Problem<T> &p, tnk_int nz) {
    reference::Sum exact;
    for (std::size_t i = 0; i < p.x.size(); ++i)
      reference::add_product(exact, p.x[i], p.target(i), conjugate);
    const T result = dot(&nz, p.x_memory.data(), p.indx.data(), p.y_memory.data());
    const reference::wide bound =
        (nz + 1) * static_cast<reference::wide>(std::numeric_limits<Real<T>>::epsilon()) * exact.size;
    EXPECT_TRUE(std::fabs(reference::re(result) - exact.re) <= bound &&
                std::fabs(reference::im(result) - exact.im) <= bound);
  });
  const tnk_int none = -1;
  EXPECT_EQ(reference::magnitude(dot(&none, nullptr, nullptr, nullptr)), 0);
}

// The complex forms put their result in front of the other arguments, at any address.
template <class C> auto returning(void (*dot)(C *, const tnk_int *, const C *, const tnk_int *, const C *)) {
  return [=](const tnk_int *nz, const C *x, const tnk_int *indx, const C *y) {
    Guarded<C> result(1, 4);
    dot(result.data(), nz, x, indx, y);
    EXPECT_TRUE(result.intact());
    return result.get(0);
  };
}

TEST(SparseDot, IsWithinItsBound) {
  check_dot<float>(tnk_blas_sdoti, false);
  check_dot<double>(tnk_blas_ddoti, false);
  check_dot<tnk_complex8>(returning(tnk_blas_cdotui), false);
  check_dot<tnk_complex8>(returning(tnk_blas_cdotci), true);
  check_dot<tnk_complex16>(returning(tnk_blas_zdotui), false);
  check_dot<tnk_complex16>(returning(tnk_blas_zdotci), true);
}

} // namespace
} // namespace tnk::test
