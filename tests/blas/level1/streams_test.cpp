// axpy, axpby, copy, swap, scale, rot and rotm in the four types against their definitions, bit for bit: so no bit
// depends on the place, the length or the increments, and none on the path that a kernel takes.
#include "blas/level1/elementwise.h"
#include "reference/sums.h"
#include <tnk/blas_level1.h>

namespace tnk::test {
namespace {

using reference::Real;

template <class T> struct Operation {
  const char *name;
  std::function<void(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy)> run;
  Step<T> step;
};

// The call of an entry by its name, which is that of the operation as well.
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

template <class T> T extreme(Random &random) {
  using Limits = std::numeric_limits<Real<T>>;
  const Real<T> inf = Limits::infinity(), nan = Limits::quiet_NaN(), tiny = Limits::denorm_min();
  const Real<T> table[] = {0, -Real<T>(0), 1, -1, inf, -inf, nan, Limits::max(), tiny};
  const auto part = [&] { return table[random.integer(0, 8)]; };
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
    const auto part = [&] { return extreme<Real<T>>(random); };
    const auto list = operations<T>(extreme<T>(random), extreme<T>(random), part(), part());
    for (const tnk_int n : {3, 37, 70})
      for (const tnk_int inc : {1, 2})
        for (const auto &operation : list) check(operation, {n, inc, 1, 0, 8}, extreme<T>, random);
  }
}

// No address is formed from an increment that would overflow it.
TYPED_TEST(Streams, LeastIntegers) {
  using T = TypeParam;
  Random random;
  constexpr tnk_int least = std::numeric_limits<tnk_int>::min();
  for (const auto &operation :
       operations<T>(random.number<T>(), random.number<T>(), Real<T>(0.375), Real<T>(-0.7))) {
    T x = random.number<T>(), y = random.number<T>(), u = x, v = y;
    operation.step(u, v);
    operation.run(1, &x, least, &y, least);
    operation.run(least, &x, -1, &y, -2);
    EXPECT_TRUE(reference::same(x, u) && reference::same(y, v)) << operation.name;
  }
}

// A signalling NaN shows whether a number went through a multiplication, which makes it quiet. zdscal is dscal at unit
// stride only; its own loop multiplies, and so does zscal.
TEST(Scale, AlphaOfOneLeavesDoublesUntouched) {
  const std::uint64_t signalling = 0x7FF0000000000001;
  const tnk_int n = 3;
  const tnk_complex16 one = {1, 0};
  for (const tnk_int inc : {1, 2, 0, -1, -2}) {
    const auto untouched = [&](auto scale, auto type) {
      std::uint64_t x[12];
      for (auto &part : x) part = signalling;
      scale(&n, reinterpret_cast<const decltype(type.first) *>(&one),
            reinterpret_cast<decltype(type.second) *>(x), &inc);
      return x[0] == signalling;
    };
    EXPECT_TRUE(untouched(tnk_blas_dscal, std::pair<double, double>())) << inc;
    EXPECT_EQ(untouched(tnk_blas_zdscal, std::pair<double, tnk_complex16>()), inc == 1) << inc;
    EXPECT_FALSE(untouched(tnk_blas_zscal, std::pair<tnk_complex16, tnk_complex16>())) << inc;
  }
}

} // namespace
} // namespace tnk::test
