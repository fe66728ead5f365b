// Scene "precision": dot products whose terms cancel, carried in floats, doubles and pairs of doubles, and Hilbert systems
// that are refined by residuals in doubles and in pairs.
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>
#include <tnk/xblas.hpp>

namespace tnk::tool {
namespace {

using namespace tnk::xblas;
using Vector = std::vector<double>;

// ---- Dot products -----------------------------------------------------------------------------------------------------

// A sum without error: parts that do not overlap, the smallest first (Shewchuk, Adaptive precision floating-point
// arithmetic, Discrete & Computational Geometry 18 (1997)).
class ExactSum {
public:
  void add_product(double a, double b) {
    const double p = a * b;
    add(std::fma(a, b, -p));
    add(p);
  }
  double value() const { return std::accumulate(parts_.begin(), parts_.end(), 0.0); }

private:
  void add(double x) {
    std::vector<double> kept;
    for (const double part : parts_) {
      const double sum = x + part, v = sum - x, left = (part - v) + (x - (sum - v));
      if (left != 0) kept.push_back(left);
      x = sum;
    }
    kept.push_back(x);
    parts_ = kept;
  }
  std::vector<double> parts_;
};

struct Terms {
  Vector x, y;
  double exact, magnitude;
  double condition() const { return 2 * magnitude / std::fabs(exact); }
};

// Terms of up to 2^bits that cancel but for some of their size 1 (Ogita, Rump, Oishi, Accurate sum and dot product, SIAM
// Journal on Scientific Computing 26 (2005), algorithm 6.1), in operands of type T.
template <class T> Terms cancelling(std::mt19937_64 &engine, int bits) {
  constexpr std::size_t half = 50;
  std::uniform_real_distribution<double> digits(-1, 1), powers(0, bits / 2.0);
  const auto rounded = [](double x) { return static_cast<double>(static_cast<T>(x)); };
  Terms terms{{}, {}, 0, 0};
  ExactSum sum;
  const auto take = [&](double x, double y) {
    terms.x.push_back(rounded(x)), terms.y.push_back(rounded(y));
    sum.add_product(terms.x.back(), terms.y.back());
    terms.magnitude += std::fabs(terms.x.back() * terms.y.back());
  };
  for (std::size_t i = 0; i < half; ++i) {
    const double power = i == 0 ? bits / 2.0 : powers(engine);
    take(std::exp2(power) * digits(engine), std::exp2(power) * digits(engine));
  }
  for (std::size_t i = 0; i < half; ++i) {
    const double power = bits / 2.0 * static_cast<double>(half - 1 - i) / (half - 1);
    const double x = rounded(std::exp2(power) * (1.5 + digits(engine) / 2));
    take(x, (std::exp2(power) * digits(engine) - sum.value()) / x);
  }
  terms.exact = sum.value();
  return terms;
}

struct Method {
  const char *name, *routine, *colour;
  precision prec;
  double unit, result_unit; // roundoff of a step, and of the result's type
  Point beside;             // its curve, where the picture has its name
  std::vector<Point> points;
  Worst over_bound;
  double safe = 0; // the largest condition up to which it had two digits
};

template <class T> double dot_of(const Terms &terms, precision prec) {
  const std::vector<T> x(terms.x.begin(), terms.x.end()), y(terms.y.begin(), terms.y.end());
  T r = 0;
  dot(conjugation::none, static_cast<tnk_int>(x.size()), T(1), x.data(), 1, T(0), y.data(), 1, &r, prec);
  return static_cast<double>(r);
}

template <class T> void measure(Method &method, const std::vector<Terms> &all) {
  bool safe = true;
  for (const Terms &terms : all) {
    const double error = std::fabs(dot_of<T>(terms, method.prec) - terms.exact),
                 relative = error / std::fabs(terms.exact);
    const auto n = static_cast<double>(terms.x.size());
    const double steps = method.prec == precision::extra ? 3 * n + 8 : n + 2;
    const double bound = steps * method.unit * terms.magnitude + method.result_unit * std::fabs(terms.exact);
    method.over_bound.take(error / bound);
    method.points.push_back(
        {std::log10(terms.condition()), std::log10(std::clamp(relative, method.result_unit / 4, 2.0))});
    safe = safe && relative < 0.01;
    if (safe) method.safe = terms.condition();
  }
}

template <class T> std::vector<Terms> sweep(std::mt19937_64 &engine) {
  std::vector<Terms> all;
  for (int bits = 2; bits <= 120; bits += 2) all.push_back(cancelling<T>(engine, bits));
  std::sort(all.begin(), all.end(),
            [](const Terms &a, const Terms &b) { return a.condition() < b.condition(); });
  return all;
}

// ---- Hilbert systems ----------------------------------------------------------------------------------------------------

constexpr tnk_int smallest = 3, largest = 11; // beyond, double precision finds no factor
constexpr int steps = 8;

// The matrix times the least common multiple of its denominators, by rows.
Vector hilbert(tnk_int n) {
  tnk_int multiple = 1;
  for (tnk_int i = 2; i < 2 * n; ++i) multiple = std::lcm(multiple, i);
  Vector h;
  for (tnk_int i = 0; i < n; ++i)
    for (tnk_int j = 0; j < n; ++j) h.push_back(static_cast<double>(multiple / (i + j + 1)));
  return h;
}

// The lower factor of Cholesky's.
Vector factor_of(Vector a, tnk_int n) {
  const auto at = [&](tnk_int i, tnk_int j) -> double & { return a[static_cast<std::size_t>(i * n + j)]; };
  for (tnk_int j = 0; j < n; ++j) {
    for (tnk_int k = 0; k < j; ++k)
      for (tnk_int i = j; i < n; ++i) at(i, j) -= at(i, k) * at(j, k);
    const double root = std::sqrt(at(j, j));
    for (tnk_int i = j; i < n; ++i) at(i, j) /= root;
  }
  return a;
}

// The error of the solution, which is all ones, at first and after steps of refinement with residuals of that precision.
struct Refined {
  double first, last;
};
Refined refine(tnk_int n, precision prec) {
  const Vector a = hilbert(n), l = factor_of(a, n), ones(static_cast<std::size_t>(n), 1);
  Vector x(ones.size()), b(ones.size());
  gemv(ordering::by_rows, operation::as_it_is, n, n, 1, a.data(), n, ones.data(), 1, 0, b.data(), 1,
       precision::extra);
  Refined error{};
  for (int step = 0; step <= steps; ++step) {
    Vector r = b;
    gemv(ordering::by_rows, operation::as_it_is, n, n, -1, a.data(), n, x.data(), 1, 1, r.data(), 1, prec);
    for (const auto op : {operation::as_it_is, operation::transposed})
      trsv(ordering::by_rows, triangle::lower, op, diagonal::stored, n, 1, l.data(), n, r.data(), 1,
           precision::plain);
    Worst worst;
    for (std::size_t i = 0; i < x.size(); ++i) worst.take(std::fabs((x[i] += r[i]) - 1));
    error.last = worst.value();
    if (step == 0) error.first = error.last;
  }
  return error;
}

std::string draw(const std::array<Method, 5> &methods, const std::array<std::vector<Point>, 3> &hilberts) {
  Figure figure(1280, 640, "What is left when terms cancel",
                "Left: dot products of 100 terms, the same operands carried in floats, doubles and pairs of "
                "doubles. Right: "
                "Hilbert systems, refined with residuals in doubles and in pairs");
  Panel dots(figure, {86, 110, 640, 460}, "Dot product", {0, 37, "log\u2081\u2080 of the condition"},
             {-17, 1, "log\u2081\u2080 of the relative error"});
  for (const Method &method : methods) {
    dots.line(method.points, method.colour, method.prec == precision::extra ? 2.2 : 1.4);
    dots.note(method.beside, 0, 0, Panel::Side::right, method.colour, method.name);
  }
  Panel systems(figure, {830, 110, 420, 460}, "Hilbert system", {smallest, largest, "order"},
                {-17, 1, "log\u2081\u2080 of the error"});
  const struct {
    const char *name, *colour;
    double height; // of the name
  } kinds[] = {{"without refinement", colour::grey, 0},
               {"residual in doubles", colour::vermilion, -1},
               {"residual in pairs", colour::blue, -15.8}};
  for (std::size_t k = 0; k < hilberts.size(); ++k) {
    systems.line(hilberts[k], kinds[k].colour, 1.8);
    systems.note({smallest + 0.2, kinds[k].height}, 0, 0, Panel::Side::right, kinds[k].colour, kinds[k].name);
  }
  return figure.svg();
}

} // namespace

void precision_scene(Stage &stage) {
  std::mt19937_64 engine;
  const std::vector<Terms> floats = sweep<float>(engine), numbers = sweep<double>(engine);
  constexpr double u = roundoff, single = 0x1p-24;
  std::array<Method, 5> methods = {
      {{"floats in floats", "sdot_x", colour::grey, precision::single, single, single, {4.3, -4.9}, {}, {}},
       {"floats in doubles", "sdot_x", colour::vermilion, precision::plain, u, single, {14.7, -4.2}, {}, {}},
       {"floats in pairs", "sdot_x", colour::blue, precision::extra, u * u, single, {29.3, -4.6}, {}, {}},
       {"doubles in doubles", "ddot_x", colour::vermilion, precision::plain, u, u, {9.0, -9.0}, {}, {}},
       {"doubles in pairs", "ddot_x", colour::blue, precision::extra, u * u, u, {25.2, -9.4}, {}, {}}}};
  for (std::size_t k = 0; k < methods.size(); ++k)
    k < 3 ? measure<float>(methods[k], floats) : measure<double>(methods[k], numbers);
  stage.stop_on_error();
  stage.say(format(
      "%zu dot products of conditions up to %.0e; their errors are over the bounds that the arithmetic gives",
      floats.size() + numbers.size(), numbers.back().condition()));
  stage.heading();
  for (const Method &method : methods)
    stage.show({method.name, method.routine,
                format("two digits up to 10^%.0f", std::floor(std::log10(method.safe))),
                method.over_bound.value(), 1, ""});
  std::array<std::vector<Point>, 3> hilberts;
  Worst in_pairs, in_doubles;
  for (tnk_int n = smallest; n <= largest; ++n) {
    const Refined plain = refine(n, precision::plain), pairs = refine(n, precision::extra);
    const auto point = [&](double error) {
      return Point{static_cast<double>(n), std::log10(std::clamp(error, u / 4, 2.0))};
    };
    hilberts[0].push_back(point(plain.first));
    hilberts[1].push_back(point(plain.last));
    hilberts[2].push_back(point(pairs.last));
    in_pairs.take(pairs.last), in_doubles.take(plain.last);
  }
  stage.stop_on_error();
  stage.show({"Hilbert systems", "dgemv_x", format("%.0e in doubles", in_doubles.value()), in_pairs.value(),
              2 * roundoff, ""});
  stage.picture("precision.svg", draw(methods, hilberts));
}

} // namespace tnk::tool
