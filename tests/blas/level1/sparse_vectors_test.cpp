// Kernels of vectors that are values and positions, counted from one.
#include "blas/level1/elementwise.h"
#include "reference/sums.h"
#include <numeric>
#include <tnk/blas_level1.h>

namespace tnk::test {
namespace {

using reference::Real;

// nz values x and their positions in y, which holds twice as many elements; with `repeats` every third position is that
// of the value before.
template <class T> struct Problem {
  Operand<T> x, y;
  Guarded<tnk_int> indx;

  Problem(tnk_int nz, bool repeats, std::size_t shift_x, std::size_t shift_other, Random &random)
      : x(nz, 1, shift_x, with_zeros, random), y(2 * nz + 1, 1, shift_other, with_zeros, random),
        indx(static_cast<std::size_t>(nz), shift_other) {
    std::vector<tnk_int> positions(y.expected.size());
    std::iota(positions.begin(), positions.end(), 1); // first and last position come up as well
    for (tnk_int i = 2 * nz; i > 0; --i) std::swap(positions[i], positions[random.integer(0, i)]);
    for (tnk_int i = 0; i < nz; ++i) indx.put(i, positions[repeats ? i * 2 / 3 : i]);
  }
  static T with_zeros(Random &random) {
    const tnk_int kind = random.integer(0, 7);
    return kind == 0 ? T{} : kind == 1 ? reference::number<T>(-0.0f) : random.number<T>();
  }
  T &target(tnk_int i) { return y.at(indx.get(i) - 1); }
};

// Every remainder of the loops, every address that matters.
template <class T, class Check> void for_each_problem(bool repeats, Check check) {
  Random random;
  for (tnk_int nz = 0; nz <= 70; ++nz)
    for (const std::size_t shift_x : shifts<T>())
      for (const std::size_t shift_other :
           {std::size_t{0}, std::size_t{1}, std::size_t{4}, page_end, page_start}) {
        if (testing::Test::HasFailure()) return;
        SCOPED_TRACE(testing::Message() << "nz " << nz << (repeats ? " repeated" : "") << " shifts "
                                        << shift_x << ' ' << shift_other);
        Problem<T> p(nz, repeats, shift_x, shift_other, random);
        check(p, nz);
        EXPECT_TRUE(p.x.as_expected() && p.y.as_expected() && p.indx.intact());
      }
}

template <class T> class SparseVectors : public testing::Test {};
TYPED_TEST_SUITE(SparseVectors, Types);

TYPED_TEST(SparseVectors, EqualTheirDefinitions) {
  using T = TypeParam;
  const T alpha = reference::number<T>(Real<T>(-0.3), Real<T>(0.7)), zero{};
  const Real<T> c = Real<T>(0.6), s = Real<T>(0.8), one = 1, none = 0;
  const T unknown = reference::number<T>(std::numeric_limits<Real<T>>::quiet_NaN());
  const Askew askew(alpha);
  const Askew askew_c(c), askew_s(s);
  T *const null = nullptr;
  // Whether a repeated position is taken by one value after the other; elsewhere nothing is promised.
  enum : bool { once, repeats };
  struct Operation {
    const char *name;
    std::function<void(tnk_int nz, T *x, const tnk_int *indx, T *y)> run;
    Step<T> step;
    bool repeats;
  };
#define RUN(name, ...)                                                                                       \
  name, [=, kernel = Named<T>("tnk_blas_" name)](tnk_int nz, [[maybe_unused]] T *x, const tnk_int *indx,     \
                                                 T *y) { kernel(&nz, __VA_ARGS__); }
  std::vector<Operation> list = {
      {RUN("?axpyi", askew.at(), x, indx, y), add_scaled(alpha), once},
      {RUN("?axpyi", &unknown, x, indx, y), add_scaled(unknown), once},
      {RUN("?axpyi", &zero, null, indx, y), nothing<T>(), once},
      {RUN("?gthr", y, x, indx), [](T &x, T &y) { x = y; }, once},
      {RUN("?gthrz", y, x, indx), [](T &x, T &y) { x = y, y = T{}; }, repeats},
      {RUN("?sctr", x, indx, y), [](T &x, T &y) { y = x; }, once},
  };
  if constexpr (!reference::is_pair<T>) {
    // Not a negation, which would leave a zero the other sign.
    const auto from_zero = [](T cosine, T sine) -> Step<T> {
      return
          [=](T &x, T &y) { std::tie(x, y) = std::pair(cosine * x + sine * y, (0 - sine * x) + cosine * y); };
    };
    list.push_back({RUN("?roti", x, indx, y, askew_c.at(), askew_s.at()), from_zero(c, s), repeats});
    list.push_back({RUN("?roti", x, indx, y, &one, &unknown), from_zero(one, unknown), repeats});
    list.push_back({RUN("?roti", null, indx, y, &one, &none), nothing<T>(), once});
  }
#undef RUN
  for (const Operation &operation : list) {
    SCOPED_TRACE(operation.name);
    for (const bool repeated : {false, true})
      if (operation.repeats || !repeated)
        for_each_problem<T>(repeated, [&](Problem<T> &p, tnk_int nz) {
          operation.run(nz, p.x.memory.data(), p.indx.data(), p.y.memory.data());
          for (tnk_int i = 0; i < nz; ++i) operation.step(p.x.at(i), p.target(i));
        });
    operation.run(-3, nullptr, nullptr, nullptr); // touches nothing
  }
}

template <class T, class Dot> void check_dot(Dot dot, bool conjugate) {
  for_each_problem<T>(false, [&](Problem<T> &p, tnk_int nz) {
    reference::Sum exact;
    for (tnk_int i = 0; i < nz; ++i) reference::add_product(exact, p.x.at(i), p.target(i), conjugate);
    const T result = dot(&nz, p.x.memory.data(), p.indx.data(), p.y.memory.data());
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
