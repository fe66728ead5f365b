// Transforms of any length against their definition: every length up to 300 in every kind, flag and place, and larger ones
// of each method.
#include "tests/signal/dft_forms.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <thread>
#include <tnk/services.h>

namespace tnk::test {
namespace {

std::size_t largest_prime_factor(std::size_t n) {
  for (std::size_t d = 2; d * d <= n; ++d)
    while (n % d == 0 && n > d) n /= d;
  return n;
}

// Root mean square error. Random roundings grow as the root of the number of steps; a convolution has three times as many.
// Seen, in eps: 0.8 for 3 numbers, 1.3 for 18 real ones and for 83, 2.1 for 15842 by factors; 2.0 for 97 and 2.9 for 104729 by
// convolution, the same in both precisions.
long double bound(bool single, std::size_t n) {
  const auto log2 = std::log2(static_cast<long double>(n));
  const bool is_convolved = n > 90 && largest_prime_factor(n) > 90;
  return (single ? FLT_EPSILON : DBL_EPSILON) *
         (is_convolved ? 0.85L * std::sqrt(log2) : 0.35L + 0.5L * std::sqrt(log2));
}

// The error at the given places relative to the size of what is right there.
long double error_of(const Numbers &got, const Numbers &right, const std::vector<std::size_t> &places,
                     long double factor) {
  long double error = 0, size = 0;
  for (std::size_t i = 0; i < places.size(); ++i)
    error += std::norm(got[places[i]] - factor * right[i]), size += std::norm(factor * right[i]);
  return size > 0 ? std::sqrt(error / size) : error;
}

// Numbers and their transform, all of it or, where that takes too long, at a few places.
struct Case {
  Numbers x, right;
  std::vector<std::size_t> places;
};
const Case &known_case(std::size_t n, bool real, bool inverse) {
  static std::map<std::tuple<std::size_t, bool, bool>, Case> known;
  Case &made = known[{n, real, inverse}];
  if (!made.x.empty()) return made;
  made.x = random_numbers(n, real, inverse);
  const Numbers w = reference::roots(n, inverse ? 1 : -1);
  for (std::size_t i = 0; i < std::min<std::size_t>(n, n <= 300 ? n : 25); ++i) {
    const std::size_t k = n <= 300 ? i : i * 7919 % n;
    Wide sum = 0;
    for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n) sum += made.x[j] * w[turn];
    made.places.push_back(k), made.right.push_back(sum);
  }
  return made;
}

// Where frequency k stands in a spectrum in the order of the passes of these factors, the last one the cofactor.
std::size_t place_in_passes(std::size_t k, std::size_t n, const std::vector<std::size_t> &factors) {
  std::size_t place = 0, part = n;
  for (const std::size_t f : factors) {
    part /= f;
    place += k % f * part;
    k /= f;
  }
  return place;
}
Numbers in_order(const Numbers &x, const std::vector<std::size_t> &factors) {
  if (factors.empty()) return x;
  Numbers y(x.size());
  for (std::size_t k = 0; k < x.size(); ++k) y[k] = x[place_in_passes(k, x.size(), factors)];
  return y;
}
Numbers in_passes(const Numbers &x, const std::vector<std::size_t> &factors) {
  if (factors.empty()) return x;
  Numbers y(x.size());
  for (std::size_t k = 0; k < x.size(); ++k) y[place_in_passes(k, x.size(), factors)] = x[k];
  return y;
}

template <class R>
void expect_transform(const Record &record, int flag, bool inverse, bool in_place, std::size_t shift,
                      bool own_work, const Case &data, const std::vector<std::size_t> &factors = {}) {
  const Form &form = record.form;
  const std::size_t n = data.x.size(), from = values(form, n, inverse), to = values(form, n, !inverse);
  SCOPED_TRACE(testing::Message() << form.name << " of " << n << ", flag " << flag
                                  << (inverse ? ", inverse" : "") << (in_place ? ", in place" : "")
                                  << ", shift " << shift);
  Guarded<R> source(in_place ? std::max(from, to) : from, shift),
      other(to, shift == page_end ? shift : 3 * shift % 64);
  const Numbers given = inverse ? in_passes(data.x, factors) : data.x;
  put_numbers(source, form, given, inverse);
  Guarded<R> &destination = in_place ? source : other;
  ASSERT_EQ(call(form, inverse, source.data(), destination.data(), n, record.spec,
                 own_work ? nullptr : record.buffer()),
            0);
  Numbers got = numbers_of(destination, form, n, !inverse);
  if (!inverse) got = in_order(got, factors);
  const long double error = error_of(got, data.right, data.places, factor_of(flag, inverse, n));
  ASSERT_TRUE(error <= bound(form.single, n)) << error / bound(form.single, n);
  ASSERT_TRUE(source.intact() && other.intact());
  if (!in_place) {
    const Numbers kept = numbers_of(source, form, n, inverse);
    ASSERT_TRUE(std::equal(given.begin(), given.end(), kept.begin()));
  }
}
void expect_in_precision(const Record &record, int flag, bool inverse, bool in_place, std::size_t shift,
                         bool own_work, const Case &data, const std::vector<std::size_t> &factors = {}) {
  (record.form.single ? expect_transform<float> : expect_transform<double>)(record, flag, inverse, in_place,
                                                                            shift, own_work, data, factors);
}

class AnyLength : public testing::TestWithParam<Form> {};
INSTANTIATE_TEST_SUITE_P(Signal, AnyLength, testing::ValuesIn(forms),
                         [](const auto &form) { return std::string(form.param.name); });

TEST_P(AnyLength, EveryShortOneInEveryWay) {
  const Form &form = GetParam();
  std::size_t turn = 0;
  for (std::size_t n = 1; n <= 300; ++n)
    for (const int flag : {8, 1 << n % 3}) {
      const Record record(form, n, flag);
      ASSERT_NE(record.spec, nullptr);
      for (const bool inverse : {false, true})
        for (const bool in_place : {false, true}) {
          const std::size_t shifts[] = {0, form.value_size(), page_end, 16 + form.value_size(), page_end};
          ++turn;
          expect_in_precision(record, flag, inverse, in_place, shifts[turn % 5], turn % 7 == 0,
                              known_case(n, form.real(), inverse));
          if (HasFatalFailure()) return;
        }
    }
}

struct Long {
  std::size_t n;
  std::vector<std::size_t> factors; // of spectra in any order, where they are not in order
};
const Long long_ones[] = {{501, {}},
                          {1000, {}},
                          {1536, {}},
                          {5000, {}}, // by factors
                          {2 * 89 * 89, {2, 89, 89}},
                          {4 * 149, {}},
                          {4 * 149 * 9, {4, 3, 3, 149}}, // with sums for some
                          {1009, {}},
                          {4099, {}},
                          {9973, {}},
                          {92674, {}},
                          {104729, {}}, // by convolution
                          {5001, {}},
                          {6561, {3, 3, 3, 3, 3, 3, 3, 3}},
                          {10000, {4, 4, 5, 5, 5, 5}},
                          {5040, {4, 4, 3, 3, 5, 7}},
                          {7200, {2, 4, 4, 3, 3, 5, 5}},
                          {44100, {4, 3, 3, 5, 5, 7, 7}},
                          {8192, {}},
                          {131072, {}}};

TEST_P(AnyLength, LongOnes) {
  const Form &form = GetParam();
  for (const Long &one : long_ones) {
    const int flag = 1 << one.n % 4;
    const Record record(form, one.n, flag);
    ASSERT_NE(record.spec, nullptr);
    for (const bool inverse : {false, true})
      for (const bool in_place : {false, true}) {
        const bool is_in_passes = form.layout == any_order && one.n > 5000;
        expect_in_precision(record, flag, inverse, in_place, form.value_size(), false,
                            known_case(one.n, form.real(), inverse),
                            is_in_passes ? one.factors : Long{}.factors);
        if (HasFatalFailure()) return;
      }
  }
}

// ---- Statuses and memory ----------------------------------------------------------------------------------------------

int status_of(const Form &form, bool inverse, void *from, void *to, std::size_t n,
              const tnk_signal_dft *spec) {
  return form.single
             ? call(form, inverse, static_cast<float *>(from), static_cast<float *>(to), n, spec, nullptr)
             : call(form, inverse, static_cast<double *>(from), static_cast<double *>(to), n, spec, nullptr);
}

TEST_P(AnyLength, StatusesInTheirOrder) {
  const Form &form = GetParam();
  tnk_signal_dft *spec = nullptr;
  int32_t size = 0;
  EXPECT_EQ(form.init_alloc(nullptr, 0, 3, 0), TNK_SIGNAL_NULL);
  EXPECT_EQ(form.init_alloc(&spec, 0, 3, 0), TNK_SIGNAL_BAD_LENGTH);
  for (const int n : {10, 64, 100, 0x4000001})
    for (const int flag : {0, 3, 16}) EXPECT_EQ(form.init_alloc(&spec, n, flag, 0), TNK_SIGNAL_BAD_FLAG) << n;
  EXPECT_EQ(form.init_alloc(&spec, 0x4000001, 8, 0), TNK_SIGNAL_BAD_LENGTH);
  EXPECT_EQ(form.init_alloc(&spec, 1 << 28, 8, 0), TNK_SIGNAL_BAD_ORDER);
  EXPECT_EQ(spec, nullptr);
  EXPECT_EQ(form.free(nullptr), TNK_SIGNAL_NULL);
  EXPECT_EQ(form.buffer_size(nullptr, &size), TNK_SIGNAL_NULL);
  ASSERT_EQ(form.init_alloc(&spec, 100, 8, 0), 0);
  EXPECT_EQ(form.buffer_size(spec, nullptr), TNK_SIGNAL_NULL);
  EXPECT_TRUE(form.buffer_size(spec, &size) == 0 && size > 0 && size <= 2048);
  double x[204];
  for (const bool inverse : {false, true}) {
    EXPECT_EQ(status_of(form, inverse, nullptr, nullptr, 100, nullptr), TNK_SIGNAL_NULL);
    if (form.layout != parts) {
      EXPECT_EQ(status_of(form, inverse, nullptr, x, 100, spec), TNK_SIGNAL_NULL);
      EXPECT_EQ(status_of(form, inverse, x, nullptr, 100, spec), TNK_SIGNAL_NULL);
    }
    for (const Form &other : forms)
      if (other.init_alloc != form.init_alloc) {
        EXPECT_EQ(status_of(other, inverse, nullptr, nullptr, 100, spec), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(other.free(spec), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(other.buffer_size(spec, &size), TNK_SIGNAL_BAD_TAG);
      }
  }
  EXPECT_EQ(form.free(spec), 0);
}

// Buffers tell the method: sums by definition take 16 N + 32, a convolution of M numbers 16 M + 32 and what its transforms
// take.
TEST(AnyLengthUses, BuffersOfEachMethod) {
  const auto buffer_of = [](std::size_t n) {
    int32_t size = -1;
    const Record record(forms[0], n, 8);
    EXPECT_EQ(e9_vpksDFTGetBufSize_C_64fc(record.spec, &size), 0);
    return size;
  };
  EXPECT_EQ(buffer_of(16), 0);
  EXPECT_EQ(buffer_of(32), 0);
  for (const int n : {17, 61, 89}) EXPECT_EQ(buffer_of(static_cast<std::size_t>(n)), 16 * n + 32);
  for (const auto &[n, m] : {std::pair(97, 200), {101, 256}, {4073, 8192}, {4091, 8192}, {4099, 16384}})
    EXPECT_EQ(buffer_of(static_cast<std::size_t>(n)), 16 * m + 32 + buffer_of(static_cast<std::size_t>(m)))
        << n;
}

int refuse = 0, live = 0;
void *counted_malloc(std::size_t size) {
  if (refuse > 0 && --refuse == 0) return nullptr;
  ++live;
  return std::malloc(size);
}
void counted_free(void *block) {
  if (block) --live;
  std::free(block);
}

// In each method: whatever was made is released, and a transform without its buffer leaves the data alone.
TEST_P(AnyLength, EveryAllocationRefused) {
  const Form &form = GetParam();
  const auto malloc_before = i_malloc;
  const auto free_before = i_free;
  i_malloc = counted_malloc, i_free = counted_free;
  for (const std::size_t n : {10u, 31u, 62u, 256u, 34u, 1000u, 1009u, 10007u * 2}) {
    tnk_signal_dft *spec = nullptr;
    for (int at = 1;; ++at) {
      refuse = at;
      const int status = form.init_alloc(&spec, static_cast<int32_t>(n), 8, 0);
      if (status == 0) break;
      ASSERT_TRUE(status == TNK_SIGNAL_NO_MEMORY && !spec && live == 0) << n << " at " << at;
    }
    std::vector<double> x(2 * n + 2, 1);
    int32_t size = 0;
    refuse = 1;
    EXPECT_EQ(form.buffer_size(spec, &size), 0);
    for (const bool inverse : {false, true}) {
      refuse = 1;
      EXPECT_EQ(status_of(form, inverse, x.data(), x.data(), n, spec), size > 0 ? TNK_SIGNAL_NO_MEMORY : 0);
    }
    EXPECT_TRUE(size == 0 || std::all_of(x.begin(), x.end(), [](double v) { return v == 1; }));
    refuse = 0;
    EXPECT_EQ(form.free(spec), 0);
    EXPECT_EQ(live, 0);
  }
  i_malloc = malloc_before, i_free = free_before;
}

// ---- Uses ---------------------------------------------------------------------------------------------------------

TEST(AnyLengthUses, OneRecordInManyThreads) {
  for (const std::size_t n : {1000u, 1009u}) {
    const Record record(forms[0], n, 8);
    std::vector<tnk_complex16> x(n, {1, 2}), right(n);
    for (std::size_t i = 0; i < n; ++i) x[i].re = static_cast<double>(i * i % 17);
    ASSERT_EQ(e9_vpksDFTFwd_CToC_64fc(x.data(), right.data(), record.spec, nullptr), 0);
    std::vector<std::thread> threads;
    std::vector<int> same(4);
    for (int &ok : same)
      threads.emplace_back([&] {
        std::vector<tnk_complex16> y(n);
        ok = 1;
        for (int i = 0; i < 20; ++i) {
          e9_vpksDFTFwd_CToC_64fc(x.data(), y.data(), record.spec, nullptr);
          ok &= std::memcmp(y.data(), right.data(), n * sizeof y[0]) == 0;
        }
      });
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(std::count(same.begin(), same.end(), 1), 4);
  }
}

TEST(AnyLengthUses, SameBitsInPlaceAndElsewhere) {
  for (const std::size_t n : {15u, 17u, 34u, 100u, 999u, 15842u, 44100u, 1009u}) {
    const Record record(forms[0], n, 1);
    Guarded<tnk_complex16> x(n, 8), y(n, page_end);
    for (std::size_t i = 0; i < n; ++i)
      x.put(i, {static_cast<double>(i * i % 17), 1 / (1.0 + static_cast<double>(i))});
    ASSERT_EQ(e9_vpksDFTFwd_CToC_64fc(x.data(), y.data(), record.spec, nullptr), 0);
    ASSERT_EQ(e9_vpksDFTFwd_CToC_64fc(x.data(), x.data(), record.spec, record.buffer()), 0);
    EXPECT_EQ(std::memcmp(x.data(), y.data(), n * sizeof(tnk_complex16)), 0) << n;
  }
}

// What no oracle can sum: shifts turn the spectrum, and there and back is where it was.
TEST(AnyLengthUses, HugeLengths) {
  for (const std::size_t n : {std::size_t{1062882}, std::size_t{500009}}) { // 2 3^12, a prime
    const Record record(forms[0], n, 2);
    std::vector<tnk_complex16> x(n), y(n);
    const std::size_t at = n / 3;
    x[at].re = 1, x[0].im = 1;
    ASSERT_EQ(e9_vpksDFTFwd_CToC_64fc(x.data(), y.data(), record.spec, nullptr), 0);
    long double worst = 0;
    for (std::size_t k = 0; k < n; k += 4001) {
      const Wide right = reference::root(at * k % n, n, -1) + Wide(0, 1);
      worst = std::max(worst, std::abs(Wide(y[k].re, y[k].im) - right));
    }
    EXPECT_TRUE(worst <= 8 * bound(false, n)) << worst;
    ASSERT_EQ(e9_vpksDFTInv_CToC_64fc(y.data(), y.data(), record.spec, nullptr), 0);
    worst = 0;
    for (std::size_t k = 0; k < n; ++k)
      worst = std::max({worst, std::abs(y[k].re - static_cast<long double>(x[k].re)),
                        std::abs(y[k].im - static_cast<long double>(x[k].im))});
    EXPECT_TRUE(worst <= 2 * bound(false, n)) << worst;
  }
}

} // namespace
} // namespace tnk::test
