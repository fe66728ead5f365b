// axpy, axpby, copy, swap, scale, rot and rotm in the four types against their definitions, bit for bit: so no bit
// depends on the place, the length or the increments, and none on the path that a kernel takes.
#include "blas/level1/shapes.h"
#include "reference/sums.h"
#include "support/named.h"
#include <functional>
#include <limits>
#include <numeric>
#include <tnk/blas_level1.h>
#include <tuple>

namespace tnk::test {
namespace {

using reference::Real;

template <class T> using Step = std::function<void(T &x, T &y)>;

template <class T> Step<T> nothing() {
  return [](T &, T &) {};
}
template <class T> Step<T> add_scaled(T alpha) {
  using reference::operator+, reference::operator*;
  return [=](T &x, T &y) { y = y + alpha * x; };
}
template <class T, class S> Step<T> rotation(reference::Real<T> c, S s) {
  using reference::operator+, reference::operator-, reference::operator*;
  return [=](T &x, T &y) { std::tie(x, y) = std::pair(c * x + s * y, c * y - reference::conj(s) * x); };
}
template <class T, class A> Step<T> multiply(A alpha) {
  using reference::operator*;
  return [=](T &x, T &) { x = alpha * x; };
}

// One vector: its guarded memory and what its elements should be. With an increment of 0 they are all the same one,
// which each pair finds as the pair before it left it.
template <class T> struct Operand {
  Strided<T> memory;
  std::vector<T> expected;

  Operand(tnk_int n, tnk_int inc, std::size_t shift, T (*number)(Random &), Random &random)
      : memory(n, inc, shift) {
    for (tnk_int i = 0; i < n; ++i) memory.put(i, number(random));
    for (tnk_int i = 0; i < n; ++i) expected.push_back(memory.get(i));
  }
  T &at(tnk_int i) { return expected[memory.inc() == 0 ? 0 : static_cast<std::size_t>(i)]; }
  bool as_expected() {
    for (tnk_int i = 0; i < memory.n(); ++i)
      if (!reference::same(memory.get(i), at(i))) return false;
    return memory.intact();
  }
};

template <class T> struct Operation {
  const char *name;
  std::function<void(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy)> run;
  Step<T> step;
};

#define RUN(name, ...)                                                                                       \
  name, [=, kernel = Named<T>("tnk_blas_" name)](tnk_int n, T *x, tnk_int incx, [[maybe_unused]] T *y,       \
                                                 [[maybe_unused]] tnk_int incy) { kernel(&n, __VA_ARGS__); }
template <class T> std::vector<Operation<T>> operations(T a, T b, Real<T> p, Real<T> q) {
  using reference::operator+, reference::operator*;
  const T zero{};
  const Real<T> none = 0;
  const Askew alpha(a), beta(b), nil(zero);
  const Askew no(none), c(p), s(q);
  const bool is_zero = reference::magnitude(a) == 0;
  std::vector<Operation<T>> list = {
      {RUN("x?axpy", alpha.at(), x, &incx, y, &incy), is_zero ? nothing<T>() : add_scaled(a)},
      {RUN("x?axpy", nil.at(), x, &incx, y, &incy), nothing<T>()},
      {RUN("?axpby", alpha.at(), x, &incx, beta.at(), y, &incy), [=](T &x, T &y) { y = a * x + b * y; }},
      {RUN("x?copy", x, &incx, y, &incy), [](T &x, T &y) { y = x; }},
      {RUN("x?swap", x, &incx, y, &incy), [](T &x, T &y) { std::swap(x, y); }},
      {RUN("?scal", alpha.at(), x, &incx), multiply<T>(a)},
      {RUN("?scal", nil.at(), x, &incx), multiply<T>(zero)},
      {RUN("x#rot", x, &incx, y, &incy, c.at(), s.at()), rotation<T>(p, q)},
  };
  if constexpr (reference::is_pair<T>) {
    list.push_back({RUN("x?axpy_a", alpha.at(), x, &incx, y, &incy), add_scaled(a)});
    list.push_back({RUN("x?axpy_a", nil.at(), x, &incx, y, &incy), add_scaled(zero)});
    list.push_back({RUN("#scal", c.at(), x, &incx), multiply<T>(p)});
    list.push_back({RUN("#scal", no.at(), x, &incx), multiply<T>(none)});
    list.push_back({RUN("x?rot", x, &incx, y, &incy, c.at(), beta.at()), rotation<T>(p, b)});
  } else {
    // The elements that a flag implies stand there as NaN: they must not be used.
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const struct {
      T h[5];
      Step<T> step;
    } forms[] = {
        {{-2, nan, nan, nan, nan}, nothing<T>()},
        {{-1, a, b, p, q}, [=](T &x, T &y) { std::tie(x, y) = std::pair(x * a + y * p, x * b + y * q); }},
        {{0, nan, b, p, nan}, [=](T &x, T &y) { std::tie(x, y) = std::pair(x + y * p, x * b + y); }},
        {{1, a, nan, nan, q}, [=](T &x, T &y) { std::tie(x, y) = std::pair(x * a + y, y * q - x); }},
    };
    for (const auto &form : forms) list.push_back({RUN("?rotm", x, &incx, y, &incy, form.h), form.step});
  }
  return list;
}
#undef RUN

// Of the first four alone, so that signs of zeros show, or of all.
template <class T, int kinds> T extreme(Random &random) {
  using Limits = std::numeric_limits<Real<T>>;
  const Real<T> inf = Limits::infinity(), nan = Limits::quiet_NaN(), tiny = Limits::denorm_min();
  const Real<T> table[] = {0, -Real<T>(0), 1, -1, inf, -inf, nan, Limits::max(), tiny};
  const auto part = [&] { return table[random.integer(0, kinds - 1)]; };
  const Real<T> re = part();
  return reference::number<T>(re, part());
}

template <class T>
void check(const Operation<T> &operation, const Shape &s, T (*number)(Random &), Random &random) {
  Operand<T> x(s.n, s.incx, s.shift_x, number, random), y(s.n, s.incy, s.shift_y, number, random);
  for (tnk_int i = 0; i < s.n; ++i) operation.step(x.at(i), y.at(i));
  operation.run(s.n, x.memory.data(), s.incx, y.memory.data(), s.incy);
  EXPECT_TRUE(x.as_expected() && y.as_expected()) << operation.name << ' ' << s;
}

template <class T> class Streams : public testing::Test {};
TYPED_TEST_SUITE(Streams, Types);

TYPED_TEST(Streams, EqualTheirDefinitionsInEveryShape) {
  using T = TypeParam;
  Random random;
  const auto list = operations<T>(random.number<T>(), random.number<T>(), Real<T>(0.375), Real<T>(-0.7));
  for_each_shape<T>([&](const Shape &shape) {
    for (const auto &operation : list) check(operation, shape, ordinary<T>, random);
  });
}

TYPED_TEST(Streams, NansInfinitiesAndZerosGoThrough) {
  using T = TypeParam;
  Random random;
  for (int round = 0; round < 40; ++round) {
    const auto number = round % 2 ? extreme<T, 4> : extreme<T, 9>;
    const auto part = round % 2 ? extreme<Real<T>, 4> : extreme<Real<T>, 9>;
    const auto list = operations<T>(number(random), number(random), part(random), part(random));
    for (const tnk_int n : {3, 37, 70})
      for (const tnk_int inc : {1, 2})
        for (const auto &operation : list) check(operation, {n, inc, 1, 0, 8}, number, random);
  }
}

// A signalling NaN shows whether a number went through a multiplication, which makes it quiet. zdscal is dscal at unit
// stride only; its own loop multiplies, and so does zscal.
TEST(Scale, AlphaOfOneLeavesDoublesUntouched) {
  const std::uint64_t signalling = 0x7FF0000000000001;
  const tnk_int n = 3;
  const tnk_complex16 one = {1, 0};
  for (const tnk_int inc : {1, 2, 0, -1, -2}) {
    const auto untouched = [&](const char *name) {
      std::uint64_t x[12];
      for (auto &part : x) part = signalling;
      Named<double>{name}(&n, &one, x, &inc);
      return x[0] == signalling;
    };
    EXPECT_TRUE(untouched("tnk_blas_dscal")) << inc;
    EXPECT_EQ(untouched("tnk_blas_zdscal"), inc == 1) << inc;
    EXPECT_FALSE(untouched("tnk_blas_zscal")) << inc;
  }
}

// ---- Vectors that are values and positions, counted from one -------------------------------------------------------

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

// The complex forms put their result in front of the other arguments, at any address.
TYPED_TEST(SparseVectors, DotsAreWithinTheirBound) {
  using T = TypeParam;
  for (const bool conjugate : {false, true}) {
    if (conjugate && !reference::is_pair<T>) continue;
    const char *const name = !reference::is_pair<T> ? "tnk_blas_?doti"
                             : conjugate            ? "tnk_blas_?dotci"
                                                    : "tnk_blas_?dotui";
    const auto dot = [&](tnk_int nz, const T *x, const tnk_int *indx, const T *y) {
      if constexpr (reference::is_pair<T>) {
        Guarded<T> result(1, 4);
        Named<T>{name}(result, &nz, x, indx, y);
        EXPECT_TRUE(result.intact());
        return result.get(0);
      } else {
        return Named<T, T>{name}(&nz, x, indx, y);
      }
    };
    for_each_problem<T>(false, [&](Problem<T> &p, tnk_int nz) {
      reference::Sum exact;
      for (tnk_int i = 0; i < nz; ++i) reference::add_product(exact, p.x.at(i), p.target(i), conjugate);
      const T result = dot(nz, p.x.memory.data(), p.indx.data(), p.y.memory.data());
      const reference::wide bound =
          (nz + 1) * static_cast<reference::wide>(std::numeric_limits<Real<T>>::epsilon()) * exact.size;
      EXPECT_TRUE(std::fabs(reference::re(result) - exact.re) <= bound &&
                  std::fabs(reference::im(result) - exact.im) <= bound);
    });
    EXPECT_EQ(reference::magnitude(dot(-1, nullptr, nullptr, nullptr)), 0);
  }
}

} // namespace
} // namespace tnk::test
