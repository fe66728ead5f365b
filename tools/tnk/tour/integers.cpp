// Scene "integers": pi by two formulas, whose digits must agree; polynomials through the sunspot numbers, exactly and in
// double; two Mersenne numbers, one prime and one not; and how long products take.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <tnk/integer.hpp>

namespace tnk::tool {
namespace {

template <class F> double seconds_of(F &&f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// ---- Pi -----------------------------------------------------------------------------------------------------------

constexpr int places = 20000, guard = 20;

// 10^(places + guard) pi by the series of D. and G. Chudnovsky (1988), 14 digits a term. Terms from a to b are P / Q
// times what stands before them, and T / Q together.
struct Part {
  Integer p, q, t;
};
Part part(std::int64_t a, std::int64_t b) {
  if (b - a == 1) {
    const Integer p = a == 0 ? Integer(1) : Integer(6 * a - 5) * (2 * a - 1) * (6 * a - 1);
    const Integer q = a == 0 ? Integer(1) : Integer(a) * a * a * Integer(10939058860032000);
    const Integer t = p * (Integer(545140134) * a + 13591409);
    return {p, q, a % 2 == 0 ? t : -t};
  }
  const std::int64_t middle = (a + b) / 2;
  const Part left = part(a, middle), right = part(middle, b);
  return {left.p * right.p, left.q * right.q, left.t * right.q + left.p * right.t};
}
Integer pi_by_chudnovsky() {
  const Part all = part(0, (places + guard) / 14 + 2);
  const Integer root = sqrt(Integer(10005) * pow(10, 2 * (places + guard)));
  return Integer(426880) * root * all.q / all.t;
}

// The same by Machin's formula (1706): 16 arctan(1/5) - 4 arctan(1/239), each as a sum of shrinking terms.
Integer arctan_of_inverse(std::int64_t x, const Integer &unit) {
  Integer power = unit / x, sum = power;
  const Integer square = x * x;
  for (std::int64_t k = 3; power; k += 2) {
    power /= square;
    k % 4 == 3 ? sum -= power / k : sum += power / k;
  }
  return sum;
}
Integer pi_by_machin() {
  const Integer unit = pow(10, places + guard);
  return 16 * arctan_of_inverse(5, unit) - 4 * arctan_of_inverse(239, unit);
}

// A step for each digit, in the direction that it has on the face of a clock with ten hours.
std::string draw_walk(const std::string &digits) {
  std::vector<Point> path = {{0, 0}};
  double low[2] = {0, 0}, high[2] = {0, 0};
  for (const char digit : digits) {
    const double angle = 2 * std::acos(-1.0) * (digit - '0') / 10;
    const Point next = {path.back().x + std::sin(angle), path.back().y + std::cos(angle)};
    low[0] = std::min(low[0], next.x), high[0] = std::max(high[0], next.x);
    low[1] = std::min(low[1], next.y), high[1] = std::max(high[1], next.y);
    path.push_back(next);
  }
  // One scale for both axes.
  const double half = std::max(high[0] - low[0], (high[1] - low[1]) * 2) / 2 * 1.05;
  const double x = (low[0] + high[0]) / 2, y = (low[1] + high[1]) / 2;
  Figure figure(1000, 620, "A walk by the digits of pi",
                format("%zu digits, each a step of length 1 in one of ten directions", digits.size()));
  Panel panel(figure, {82, 90, 880, 460}, "", {x - half, x + half, "steps"},
              {y - half / 2, y + half / 2, "steps"});
  const std::size_t parts = 4;
  const char *const colours[parts] = {colour::blue, colour::green, colour::grey, colour::vermilion};
  for (std::size_t i = 0; i < parts; ++i) {
    const auto from = static_cast<std::ptrdiff_t>(i * digits.size() / parts);
    const auto to = static_cast<std::ptrdiff_t>((i + 1) * digits.size() / parts);
    panel.line({path.begin() + from, path.begin() + to + 1}, colours[i], 0.6);
  }
  panel.marker(path.front(), colour::blue);
  panel.marker(path.back(), colour::vermilion);
  return figure.svg();
}

void pi(Stage &stage) {
  Integer first, second;
  const double seconds = seconds_of([&] { first = pi_by_chudnovsky(); });
  second = pi_by_machin();
  const Integer unit = pow(10, guard);
  std::string digits;
  const double to_text = seconds_of([&] { digits = (first / unit).text(); });
  stage.stop_on_error();
  stage.say("numbers are exact: an error of 0 is none, and nothing else is allowed");
  stage.heading();
  stage.show({format("%d digits of pi", places), "integer",
              format("3.%s..., %.0f ms", digits.substr(1, 10).c_str(), seconds * 1e3),
              first / unit == second / unit ? 0.0 : 1.0, 0, ""});
  stage.show({"its text, read again", "get_text",
              format("...%s, %.1f ms", digits.substr(digits.size() - 10).c_str(), to_text * 1e3),
              Integer(digits) == first / unit ? 0.0 : 1.0, 0, ""});
  stage.picture("pi_walk.svg", draw_walk(digits));
}

// ---- Polynomials --------------------------------------------------------------------------------------------------

constexpr int highest_degree = 36;

using Row = std::vector<Integer>;

// Coefficients, over one denominator, of the polynomial through (i, y[i]), by elimination without fractions: each entry
// stays a determinant, and so divisible by the pivot before (Bareiss, 1968).
struct Polynomial {
  Row numerators;
  Integer denominator;
};
Polynomial exact_polynomial(const std::vector<std::int64_t> &y) {
  const std::size_t n = y.size();
  std::vector<Row> a(n);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) a[i].push_back(pow(static_cast<std::int64_t>(i), j));
    a[i].push_back(y[i]);
  }
  Integer before = 1;
  for (std::size_t k = 0; k < n; ++k) { // no pivot is 0: leading minors are products of differences
    for (std::size_t i = 0; i < n; ++i) {
      if (i == k) continue;
      const Integer factor = a[i][k];
      for (std::size_t j = i < k ? i : k; j <= n; ++j)
        a[i][j] = (a[k][k] * a[i][j] - factor * a[k][j]) / before;
    }
    before = a[k][k];
  }
  Polynomial p{{}, before};
  for (std::size_t i = 0; i < n; ++i) p.numerators.push_back(a[i][n]);
  return p;
}

// The same in double, rows in the order of their pivots.
std::vector<double> double_polynomial(const std::vector<std::int64_t> &y) {
  const std::size_t n = y.size();
  std::vector<std::vector<double>> a(n);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j)
      a[i].push_back(std::pow(static_cast<double>(i), static_cast<double>(j)));
    a[i].push_back(static_cast<double>(y[i]));
  }
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t i = k; i < n; ++i)
      if (std::fabs(a[i][k]) > std::fabs(a[pivot][k])) pivot = i;
    std::swap(a[k], a[pivot]);
    for (std::size_t i = k + 1; i < n; ++i) {
      const double factor = a[i][k] / a[k][k];
      for (std::size_t j = k; j <= n; ++j) a[i][j] -= factor * a[k][j];
    }
  }
  std::vector<double> x(n);
  for (std::size_t i = n; i-- > 0;) {
    double sum = a[i][n];
    for (std::size_t j = i + 1; j < n; ++j) sum -= a[i][j] * x[j];
    x[i] = sum / a[i][i];
  }
  return x;
}

// 2^degree p(i / 2) times the denominator.
Integer value_at_half(const Row &coefficients, std::int64_t i) {
  Integer sum;
  for (std::size_t j = coefficients.size(), k = 0; j-- > 0; ++k) sum = sum * i + (coefficients[j] << k);
  return sum;
}
// Of two positive numbers of any size.
double quotient(const Integer &a, const Integer &b) {
  const auto beyond = [](const Integer &x) { return x.bits() > 60 ? x.bits() - 60 : 0; };
  const double mantissa = static_cast<double>(a >> beyond(a)) / static_cast<double>(b >> beyond(b));
  return std::ldexp(mantissa, static_cast<int>(beyond(a)) - static_cast<int>(beyond(b)));
}

void polynomials(Stage &stage) {
  const CsvTable table = read_csv(stage.data("sunspots.csv"));
  const std::vector<double> &spots = table.column("spots");
  std::vector<Point> by_degree;
  Integer missed;
  double seconds = 0, worst_at_all = 0;
  for (int degree = 2; degree <= highest_degree; degree += 2) {
    std::vector<std::int64_t> y; // tenths of a spot, each January
    for (int i = 0; i <= degree; ++i) y.push_back(std::llround(spots[static_cast<std::size_t>(12 * i)] * 10));
    Polynomial exact;
    seconds += seconds_of([&] { exact = exact_polynomial(y); });
    constexpr int shift = 400; // below which no coefficient has a bit
    Row rounded;
    for (const double coefficient : double_polynomial(y)) {
      int exponent;
      const double mantissa = std::frexp(coefficient, &exponent);
      rounded.push_back(
          (Integer(std::ldexp(mantissa, 53)) << static_cast<std::uint64_t>(shift + exponent - 53)) *
          exact.denominator);
    }
    double worst = 0;
    const auto largest = static_cast<double>(*std::max_element(y.begin(), y.end()));
    for (std::int64_t i = 0; i <= 2 * degree; i += 2) {
      const Integer exactly = value_at_half(exact.numerators, i);
      missed += abs(exactly - ((exact.denominator * y[static_cast<std::size_t>(i / 2)])
                               << static_cast<std::uint64_t>(degree)));
      const Integer difference = value_at_half(rounded, i) - (exactly << shift);
      worst = std::max(worst, quotient(abs(difference), abs(exact.denominator)
                                                            << static_cast<std::uint64_t>(shift + degree)) /
                                  largest);
    }
    by_degree.push_back({static_cast<double>(degree), std::log10(std::max(worst, 1e-17))});
    worst_at_all = std::max(worst_at_all, worst);
  }
  stage.stop_on_error();
  stage.show({format("polynomials to x^%d", highest_degree), "integer",
              format("%.2f s, double %.0e off", seconds, worst_at_all), missed ? 1.0 : 0.0, 0, ""});

  Figure figure(
      1000, 520, "Polynomials through the sunspot numbers, in double",
      "How far elimination in double misses the numbers that the polynomial goes through; exact elimination "
      "misses none");
  Panel panel(figure, {82, 108, 880, 340}, "", {0, highest_degree + 2.0, "degree"},
              {-18, std::ceil(std::max(0.0, by_degree.back().y)) + 2,
               "error over the largest number, powers of ten"});
  panel.line(by_degree, colour::vermilion, 1.5);
  for (const Point &point : by_degree) panel.marker(point, colour::vermilion);
  panel.horizontal(0, colour::grey);
  panel.note({0.3, 0}, 0, 6, Panel::Side::right, colour::grey, "nothing is right any more");
  stage.picture("polynomials.svg", figure.svg());
}

// ---- Mersenne numbers ---------------------------------------------------------------------------------------------

// Whether m = 2^p - 1 is prime, for a prime p > 2 (Lucas 1878, Lehmer 1930).
bool lucas_lehmer(std::uint64_t p) {
  const Integer m = (Integer(1) << p) - 1;
  Integer s = 4, upper;
  for (std::uint64_t i = 2; i < p; ++i) {
    s *= s;
    s -= 2;
    upper = s;
    upper >>= p; // modulo m the bits above count like those below
    s &= m;
    s += upper;
    if (s >= m) s -= m;
  }
  return !s;
}

void mersenne(Stage &stage) {
  const struct {
    std::uint64_t exponent;
    bool prime;
  } numbers[] = {{9689, true}, {9697, false}};
  for (const auto &number : numbers) {
    bool found = false;
    const double seconds = seconds_of([&] { found = lucas_lehmer(number.exponent); });
    // Fermat's test by another way through the library: 3^(m - 1) is 1 for every prime m.
    const Integer m = (Integer(1) << number.exponent) - 1;
    const bool passes = pow(3, m - 1, m) == 1;
    stage.stop_on_error();
    stage.show({format("2^%d - 1", static_cast<int>(number.exponent)), "integer",
                format("%s, %.2f s", found ? "prime" : "not prime", seconds),
                found == number.prime && passes == found ? 0.0 : 1.0, 0, ""});
  }
}

// ---- Products -----------------------------------------------------------------------------------------------------

void products(Stage &stage) {
  const struct {
    double from;
    const char *method;
  } methods[] = {{10, "Karatsuba"}, {201, "Toom"}, {8193, "Fourier"}, {32769, "halves"}};
  std::mt19937_64 engine(9689);
  std::vector<Point> times;
  double last = 0;
  Integer wrong;
  for (int step = 0; step <= 24; ++step) { // without large prime factors, by which transforms take longer
    constexpr int round[] = {10, 15, 20, 30, 45, 70};
    const int limbs = round[step % 6] * static_cast<int>(std::lround(std::pow(10, step / 6)));
    Integer a = 1, b = 1, r;
    for (Integer *x : {&a, &b}) {
      std::string text;
      for (int i = 0; i < 16 * limbs; ++i) text.push_back("123456789abcdef"[engine() % 15]);
      *x = Integer(text, 16);
    }
    Integer::expect(tnk_integer_multiply(r.record(), a.record(), b.record()));
    // Modulo 2^61 - 1, which no method works with.
    const Integer modulus = (Integer(1) << 61) - 1;
    wrong += abs(a % modulus * (b % modulus) % modulus - r % modulus);
    stage.stop_on_error();
    last = seconds_per_call([&] { tnk_integer_multiply(r.record(), a.record(), b.record()); });
    times.push_back({std::log10(limbs), std::log10(last)});
  }
  stage.show({"10 to 100 000 limbs", "multiply", format("to %.1f ms", last * 1e3), wrong ? 1.0 : 0.0, 0, ""});

  Figure figure(1000, 560, "How long a product takes",
                "Two numbers of that many limbs of 64 bits; lines where another method begins");
  // On a busy machine a longer product may have been the faster one.
  const auto [fastest, slowest] = std::minmax_element(
      times.begin(), times.end(), [](const Point &p, const Point &q) { return p.y < q.y; });
  const double low = std::floor(fastest->y), high = std::ceil(slowest->y);
  Panel panel(figure, {82, 108, 880, 380}, "", {1, 5, "limbs, powers of ten"},
              {low, high, "seconds, powers of ten"});
  for (const auto &method : methods) {
    panel.vertical(std::log10(method.from), colour::grey);
    panel.note({std::log10(method.from), high}, 6, -16, Panel::Side::right, colour::grey, method.method);
  }
  panel.line(times, colour::blue, 1.5);
  for (const Point &point : times) panel.marker(point, colour::blue);
  stage.picture("products.svg", figure.svg());
}

} // namespace

void integers_scene(Stage &stage) {
  try {
    pi(stage);
    polynomials(stage);
    mersenne(stage);
    products(stage);
  } catch (const IntegerError &error) {
    stage.stop_on_error(); // what was reported says more
    throw Failure(error.what());
  }
}

} // namespace tnk::tool
