// Transforms behind one face: every kind of data, layout of spectra and precision, of any length or of powers of two.
#pragma once

#include "tests/reference/fourier.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cfloat>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <thread>
#include <tnk/services.h>
#include <tnk/signal.h>

namespace tnk::test {

using reference::Wide;
using Numbers = std::vector<Wide>;

enum Layout { pairs, parts, any_order, ccs, pack, perm };

// size: the length, or the order of a power of two.
template <class Spec> struct Form {
  using Handle = const Spec *;
  const char *name;
  Layout layout;
  bool single;
  int32_t (*init_alloc)(Spec **spec, int32_t size, int32_t flag, int32_t hint);
  int32_t (*free)(Spec *spec);
  int32_t (*buffer_size)(const Spec *spec, int32_t *bytes);
  void *forward, *inverse; // by layout and precision
  bool real() const { return layout >= ccs; }
  std::size_t value_size() const { return single ? sizeof(float) : sizeof(double); }
};

#define TNK_FORM(layout, single, family, kind, to, from, p)                                                  \
#layout #p, layout, single, e9_vpks##family##InitAlloc_##kind, e9_vpks##family##Free_##kind,               \
      e9_vpks##family##GetBufSize_##kind, reinterpret_cast < void *>(e9_vpks##family##Fwd_##to##_##p),       \
      reinterpret_cast < void *>(e9_vpks##family##Inv_##from##_##p)

template <class R, class Spec>
int call(const Form<Spec> &form, bool inverse, const R *source, R *destination, std::size_t n,
         typename Form<Spec>::Handle spec, uint8_t *work) {
  void *const entry = inverse ? form.inverse : form.forward;
  if (form.layout == parts)
    return reinterpret_cast<int32_t (*)(const R *, const R *, R *, R *, const Spec *, uint8_t *)>(entry)(
        source, source + n, destination, destination + n, spec, work);
  return reinterpret_cast<int32_t (*)(const R *, R *, const Spec *, uint8_t *)>(entry)(source, destination,
                                                                                       spec, work);
}
template <class Spec>
int status_of(const Form<Spec> &form, bool inverse, void *from, void *to, std::size_t n,
              typename Form<Spec>::Handle spec) {
  return form.single
             ? call(form, inverse, static_cast<float *>(from), static_cast<float *>(to), n, spec, nullptr)
             : call(form, inverse, static_cast<double *>(from), static_cast<double *>(to), n, spec, nullptr);
}

// Values in an array of n numbers, or of their spectrum.
template <class Spec> std::size_t values(const Form<Spec> &form, std::size_t n, bool spectrum) {
  if (!form.real()) return 2 * n;
  return form.layout == ccs && spectrum ? n / 2 * 2 + 2 : n;
}

// Calls at(k, re, im) with where the parts of number k stand; im is -1 where it is none that is kept.
template <class Spec, class At> void each_place(const Form<Spec> &form, std::size_t n, bool spectrum, At at) {
  if (form.real() && !spectrum) {
    for (std::size_t k = 0; k < n; ++k) at(k, k, std::ptrdiff_t{-1});
    return;
  }
  for (std::size_t k = 0; k < (form.real() ? n / 2 + 1 : n); ++k) {
    const bool alone = form.real() && (k == 0 || 2 * k == n);
    std::size_t re = 2 * k;
    if (form.layout == parts) re = k;
    if (form.layout == pack || (form.layout == perm && n % 2 != 0)) re = k == 0 ? 0 : 2 * k - 1;
    if (form.layout == perm && 2 * k == n) re = 1;
    const std::size_t im = form.layout == parts ? n + k : re + 1;
    at(k, re, alone && form.layout != ccs ? std::ptrdiff_t{-1} : static_cast<std::ptrdiff_t>(im));
  }
}

template <class R, class Spec>
void put_numbers(Guarded<R> &array, const Form<Spec> &form, const Numbers &x, bool spectrum) {
  each_place(form, x.size(), spectrum, [&](std::size_t k, std::size_t re, std::ptrdiff_t im) {
    array.put(re, static_cast<R>(x[k].real()));
    if (im >= 0) array.put(static_cast<std::size_t>(im), static_cast<R>(x[k].imag()));
  });
}
template <class R, class Spec>
Numbers numbers_of(const Guarded<R> &array, const Form<Spec> &form, std::size_t n, bool spectrum) {
  Numbers x(n);
  each_place(form, n, spectrum, [&](std::size_t k, std::size_t re, std::ptrdiff_t im) {
    x[k] = {array.get(re), im < 0 ? 0 : array.get(static_cast<std::size_t>(im))};
    if (form.real() && spectrum && k > 0) x[n - k] = std::conj(x[k]);
  });
  return x;
}

// Single numbers, so that both precisions share what is right. A spectrum of real numbers is its own mirror.
inline Numbers random_numbers(std::size_t n, bool real, bool spectrum) {
  Random random(static_cast<unsigned>(n));
  Numbers x(n);
  for (auto &z : x) {
    const auto pair = random.number<tnk_complex8>();
    z = real && !spectrum ? Wide(pair.re) : Wide(pair.re, pair.im);
  }
  if (real && spectrum)
    for (std::size_t k = 0; k <= n / 2; ++k)
      x[(n - k) % n] = k == 0 || 2 * k == n ? x[k].real() : std::conj(x[k]);
  return x;
}

// Numbers and their transform: all of it, or at some places as far as the sums take no longer. Then the roots too.
struct Case {
  Numbers x, right;
  std::vector<std::size_t> places;
  Numbers roots = {};
};
// The same for all forms that can share it.
inline const Case &known_case(std::size_t n, bool real, bool inverse) {
  static std::map<std::tuple<std::size_t, bool, bool>, Case> known;
  Case &made = known[{n, real, inverse}];
  if (!made.x.empty()) return made;
  made.x = random_numbers(n, real, inverse);
  const Numbers w = reference::roots(n, inverse ? 1 : -1);
  const bool all = n <= 2048;
  for (std::size_t i = 0; i < (all ? n : std::max<std::size_t>(25, (1 << 22) / n)); ++i) {
    const std::size_t k = all ? i : (i % 4 * (n / 4) + i / 4 * 7919) % n;
    Wide sum = 0;
    for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n) sum += made.x[j] * w[turn];
    made.places.push_back(k), made.right.push_back(sum);
  }
  if (!all) made.roots = w;
  return made;
}

inline long double factor_of(int flag, bool inverse, std::size_t n) {
  const auto wide = static_cast<long double>(n);
  return flag == 4 ? 1 / std::sqrt(wide) : flag == (inverse ? 2 : 1) ? 1 / wide : 1;
}

// Root mean square of the error relative to that of what is right: at the given places, or at all.
inline long double error_of(const Numbers &got, const Numbers &right, long double factor,
                            const std::vector<std::size_t> &places = {}) {
  long double error = 0, size = 0;
  for (std::size_t i = 0; i < right.size(); ++i) {
    error += std::norm(got[places.empty() ? i : places[i]] - factor * right[i]);
    size += std::norm(factor * right[i]);
  }
  return size > 0 ? std::sqrt(error / size) : error;
}

// That of a transform. Where few places are known, the whole must also give the second number back: errors add up at random
// there, so a quarter of what is missing is no more than theirs.
inline long double error_of(const Numbers &got, const Case &data, long double factor) {
  const long double at_places = error_of(got, data.right, factor, data.places);
  if (data.roots.empty()) return at_places;
  Wide back = 0;
  long double size = 0;
  for (std::size_t k = 0; k < got.size(); ++k)
    back += got[k] * std::conj(data.roots[k]), size += std::norm(got[k]);
  const long double missing = std::abs(back - factor * static_cast<long double>(got.size()) * data.x[1]);
  return std::max(at_places, missing / (4 * std::sqrt(size)));
}

// Numbers as they stand in memory, within so many roundings.
template <class C>
void expect_near(const C *got, const Numbers &right, long double roundings, const std::string &what = "") {
  Numbers found;
  for (std::size_t k = 0; k < right.size(); ++k) found.emplace_back(got[k].re, got[k].im);
  const long double error = error_of(found, right, 1), eps = sizeof(C) == 8 ? FLT_EPSILON : DBL_EPSILON;
  EXPECT_TRUE(error <= roundings * eps) << what << ' ' << error / eps;
}

// How one transform is called.
struct Way {
  int flag;
  bool inverse, in_place;
  std::size_t shift;
  bool own_work;
};

// What becomes of x, in arrays that are guarded; the source stays.
template <class R, class Record> Numbers transformed(const Record &record, const Way &way, const Numbers &x) {
  const auto &form = record.form;
  const std::size_t n = x.size(), from = values(form, n, way.inverse), to = values(form, n, !way.inverse);
  Guarded<R> source(way.in_place ? std::max(from, to) : from, way.shift),
      other(to, way.shift == page_end ? way.shift : 3 * way.shift % 64);
  put_numbers(source, form, x, way.inverse);
  Guarded<R> &destination = way.in_place ? source : other;
  uint8_t *const work = way.own_work ? nullptr : record.buffer();
  EXPECT_EQ(call(form, way.inverse, source.data(), destination.data(), n, record.spec, work), 0);
  EXPECT_TRUE(source.intact() && other.intact());
  EXPECT_TRUE(way.in_place || numbers_of(source, form, n, way.inverse) == x);
  return numbers_of(destination, form, n, !way.inverse);
}
// error(what has become of it) is at most bound.
template <class Record, class Error>
void expect_transform(const Record &record, const Way &way, const Numbers &x, long double bound,
                      Error error) {
  SCOPED_TRACE(testing::Message() << record.form.name << " of " << x.size() << ", flag " << way.flag
                                  << (way.inverse ? ", inverse" : "") << (way.in_place ? ", in place" : "")
                                  << ", shift " << way.shift);
  const long double found =
      error((record.form.single ? transformed<float, Record> : transformed<double, Record>)(record, way, x));
  ASSERT_TRUE(found <= bound) << found / bound;
  ASSERT_FALSE(testing::Test::HasFailure());
}

// What no transform takes: null addresses, and the records of other kinds.
template <class Spec, class Forms>
void expect_refusals(const Form<Spec> &form, const Forms &forms, int32_t size, std::size_t n) {
  Spec *spec = nullptr;
  int32_t bytes = 0;
  EXPECT_EQ(form.init_alloc(nullptr, size, 8, 0), TNK_SIGNAL_NULL);
  EXPECT_EQ(form.free(nullptr), TNK_SIGNAL_NULL);
  EXPECT_EQ(form.buffer_size(nullptr, &bytes), TNK_SIGNAL_NULL);
  ASSERT_EQ(form.init_alloc(&spec, size, 8, 0), 0);
  EXPECT_EQ(form.buffer_size(spec, nullptr), TNK_SIGNAL_NULL);
  std::vector<double> x(2 * n + 2);
  for (const bool inverse : {false, true}) {
    EXPECT_EQ(status_of(form, inverse, nullptr, nullptr, n, static_cast<Spec *>(nullptr)), TNK_SIGNAL_NULL);
    if (form.layout != parts) {
      EXPECT_EQ(status_of(form, inverse, nullptr, x.data(), n, spec), TNK_SIGNAL_NULL);
      EXPECT_EQ(status_of(form, inverse, x.data(), nullptr, n, spec), TNK_SIGNAL_NULL);
    }
    for (const auto &other : forms)
      if (other.init_alloc != form.init_alloc) {
        EXPECT_EQ(status_of(other, inverse, nullptr, nullptr, n, spec), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(other.free(spec), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(other.buffer_size(spec, &bytes), TNK_SIGNAL_BAD_TAG);
      }
  }
  EXPECT_EQ(form.free(spec), 0);
}

// Of lengths that no oracle can sum: impulses, whose spectrum is known, then back, in both places.
template <class C, class Spec>
void expect_impulses(const Form<Spec> &form, int32_t size, std::size_t n, long double bound) {
  SCOPED_TRACE(n);
  using R = decltype(C::re);
  Spec *spec = nullptr;
  ASSERT_EQ(form.init_alloc(&spec, size, 2, 0), 0);
  const std::unique_ptr<C[]> x(new C[n]()), y(new C[n]);
  const std::size_t at[] = {1, n / 3, n - 5};
  for (const bool in_place : {false, true}) {
    for (const auto p : at) x[p].re = 1, x[p].im = R(-0.5);
    C *const to = in_place ? x.get() : y.get();
    ASSERT_EQ(status_of(form, false, x.get(), to, n, spec), 0);
    long double worst = 0;
    for (std::size_t k = 0; k < n; k += 977) {
      Wide right = 0;
      for (const auto p : at) right += Wide(1, -0.5L) * reference::root(p * k % n, n, -1);
      worst = std::max(worst, std::abs(Wide(to[k].re, to[k].im) - right));
    }
    EXPECT_TRUE(worst <= 8 * bound) << worst; // of numbers up to 3.4
    ASSERT_EQ(status_of(form, true, to, x.get(), n, spec), 0);
    for (const auto p : at) x[p].re -= 1, x[p].im += R(0.5);
    long double left = 0;
    for (std::size_t k = 0; k < n; ++k) {
      left = std::max(left, static_cast<long double>(std::max(std::fabs(x[k].re), std::fabs(x[k].im))));
      x[k] = {};
    }
    EXPECT_TRUE(left <= 2 * bound) << left;
  }
  EXPECT_EQ(form.free(spec), 0);
}

// ---- Memory and threads ------------------------------------------------------------------------------------------

// In place of the allocator of records: counts blocks, and refuses a request.
struct RefusingAllocator {
  static inline int refuse = 0, live = 0;
  RefusingAllocator() {
    i_malloc = [](std::size_t size) -> void * {
      if (refuse > 0 && --refuse == 0) return nullptr;
      ++live;
      return std::malloc(size);
    };
    i_free = [](void *block) {
      if (block) --live;
      std::free(block);
    };
  }
  RefusingAllocator(const RefusingAllocator &) = delete;
  RefusingAllocator &operator=(const RefusingAllocator &) = delete;
  ~RefusingAllocator() { i_malloc = own_malloc, i_free = own_free; }
  decltype(i_malloc) own_malloc = i_malloc;
  decltype(i_free) own_free = i_free;
};

// Whatever was made is released, and a transform without its buffer leaves the data alone.
template <class Spec> void expect_no_harm_by_refusals(const Form<Spec> &form, int32_t size, std::size_t n) {
  SCOPED_TRACE(size);
  RefusingAllocator allocator;
  int &refuse = allocator.refuse, &live = allocator.live;
  Spec *spec = nullptr;
  for (int at = 1;; ++at) {
    refuse = at;
    const int status = form.init_alloc(&spec, size, 8, 0);
    if (status == 0) break;
    ASSERT_TRUE(status == TNK_SIGNAL_NO_MEMORY && !spec && live == 0) << at;
  }
  std::vector<double> x(2 * n + 2, 1);
  int32_t bytes = 0;
  refuse = 1;
  EXPECT_EQ(form.buffer_size(spec, &bytes), 0);
  for (const bool inverse : {false, true}) {
    refuse = 1;
    EXPECT_EQ(status_of(form, inverse, x.data(), x.data(), n, spec), bytes > 0 ? TNK_SIGNAL_NO_MEMORY : 0);
  }
  EXPECT_TRUE(bytes == 0 || std::all_of(x.begin(), x.end(), [](double v) { return v == 1; }));
  refuse = 0;
  EXPECT_EQ(form.free(spec), 0);
  EXPECT_EQ(live, 0);
}

// A record is only read: threads that share it give the same bits as one alone.
template <class Record> void expect_shared(const Record &record, std::size_t n, int times) {
  Random random;
  std::vector<double> x(2 * n);
  for (double &value : x) value = random.real<double>();
  std::vector<std::vector<double>> results(5, std::vector<double>(2 * n));
  const auto run = [&](std::vector<double> &to) {
    for (int again = 0; again < times; ++again)
      if (call(record.form, again % 2, x.data(), to.data(), n, record.spec, nullptr) != 0) to.clear();
  };
  run(results[0]);
  std::vector<std::thread> threads;
  for (std::size_t i = 1; i < results.size(); ++i) threads.emplace_back(run, std::ref(results[i]));
  for (auto &thread : threads) thread.join();
  for (std::size_t i = 1; i < results.size(); ++i) EXPECT_TRUE(results[i] == results[0]) << n;
}

} // namespace tnk::test
