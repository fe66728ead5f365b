// Power-of-two transforms against their definition: every kind, flag and place, in arrays, records and work buffers of
// exactly the promised sizes.
#include "tests/reference/fourier.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cfloat>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <thread>
#include <tnk/services.h>
#include <tnk/signal.h>

namespace tnk::test {
namespace {

using reference::Wide;
using Numbers = std::vector<Wide>;

// ---- The kinds behind one face ------------------------------------------------------------------------------------

enum Form { pairs, parts, real };
struct Kind {
  const char *name;
  Form form;
  bool single;
  int highest_order;
  decltype(&e9_vpksFFTGetSize_C_64fc) get_size;
  decltype(&e9_vpksFFTInit_C_64fc) init;
  decltype(&e9_vpksFFTInitAlloc_C_64fc) init_alloc;
  decltype(&e9_vpksFFTFree_C_64fc) free;
  decltype(&e9_vpksFFTGetBufSize_C_64fc) buffer_size;
};
#define TNK_KIND(kind, form, single, highest)                                                                \
  {                                                                                                          \
#kind, form, single, highest, e9_vpksFFTGetSize_##kind, e9_vpksFFTInit_##kind,                           \
        e9_vpksFFTInitAlloc_##kind, e9_vpksFFTFree_##kind, e9_vpksFFTGetBufSize_##kind                       \
  }
const Kind kinds[] = {TNK_KIND(C_32fc, pairs, true, 27), TNK_KIND(C_32f, parts, true, 27),
                      TNK_KIND(R_32f, real, true, 27),   TNK_KIND(C_64fc, pairs, false, 26),
                      TNK_KIND(C_64f, parts, false, 26), TNK_KIND(R_64f, real, false, 26)};

template <class R> struct Calls;
template <> struct Calls<float> {
  using Complex = tnk_complex8;
  static constexpr auto pairs_forward = e9_vpksFFTFwd_CToC_32fc, pairs_inverse = e9_vpksFFTInv_CToC_32fc;
  static constexpr auto parts_forward = e9_vpksFFTFwd_CToC_32f, parts_inverse = e9_vpksFFTInv_CToC_32f;
  static constexpr auto real_forward = e9_vpksFFTFwd_RToPerm_32f, real_inverse = e9_vpksFFTInv_PermToR_32f;
};
template <> struct Calls<double> {
  using Complex = tnk_complex16;
  static constexpr auto pairs_forward = e9_vpksFFTFwd_CToC_64fc, pairs_inverse = e9_vpksFFTInv_CToC_64fc;
  static constexpr auto parts_forward = e9_vpksFFTFwd_CToC_64f, parts_inverse = e9_vpksFFTInv_CToC_64f;
  static constexpr auto real_forward = e9_vpksFFTFwd_RToPerm_64f, real_inverse = e9_vpksFFTInv_PermToR_64f;
};

template <class R>
int call(Form form, bool inverse, const R *source, R *destination, std::size_t n, const tnk_signal_fft *spec,
         uint8_t *work) {
  using Call = Calls<R>;
  using C = typename Call::Complex;
  switch (form) {
  case pairs:
    return (inverse ? Call::pairs_inverse : Call::pairs_forward)(
        reinterpret_cast<const C *>(source), reinterpret_cast<C *>(destination), spec, work);
  case parts:
    return (inverse ? Call::parts_inverse : Call::parts_forward)(source, source + n, destination,
                                                                 destination + n, spec, work);
  default:
    return (inverse ? Call::real_inverse : Call::real_forward)(source, destination, spec, work);
  }
}

// Where complex number k of n, or its place in the Perm layout, has its parts.
std::size_t re_place(Form form, std::size_t k, std::size_t n) {
  return form == parts ? k : form == pairs || k < n / 2 ? 2 * k : 1;
}
std::size_t im_place(Form form, std::size_t k, std::size_t n) {
  return form == parts ? n + k : 2 * k + 1;
}

// What a transform reads and should give: numbers, or a spectrum of which the lower half travels.
template <class R> void put_numbers(Guarded<R> &array, Form form, const Numbers &x, bool spectrum) {
  const std::size_t n = x.size();
  if (form == real && (!spectrum || n == 1)) {
    for (std::size_t k = 0; k < n; ++k) array.put(k, static_cast<R>(x[k].real()));
    return;
  }
  for (std::size_t k = 0; k < (form == real ? n / 2 + 1 : n); ++k) {
    array.put(re_place(form, k, n), static_cast<R>(x[k].real()));
    if (form != real || (k > 0 && k < n / 2)) array.put(im_place(form, k, n), static_cast<R>(x[k].imag()));
  }
}
template <class R> Numbers numbers_of(const Guarded<R> &array, Form form, std::size_t n, bool spectrum) {
  Numbers x(n);
  if (form == real && (!spectrum || n == 1)) {
    for (std::size_t k = 0; k < n; ++k) x[k] = static_cast<long double>(array.get(k));
    return x;
  }
  for (std::size_t k = 0; k < (form == real ? n / 2 + 1 : n); ++k) {
    const bool has_im = form != real || (k > 0 && k < n / 2);
    x[k] = {static_cast<long double>(array.get(re_place(form, k, n))),
            has_im ? static_cast<long double>(array.get(im_place(form, k, n))) : 0};
    if (form == real && has_im) x[n - k] = std::conj(x[k]);
  }
  return x;
}

// Root mean square of the error relative to that of what is right.
long double error_of(const Numbers &got, const Numbers &right, long double factor) {
  long double error = 0, size = 0;
  for (std::size_t k = 0; k < right.size(); ++k)
    error += std::norm(got[k] - factor * right[k]), size += std::norm(factor * right[k]);
  return std::sqrt(error / size);
}

// The errors of random rounding grow as the root of the number of steps. Seen, in eps: 0.44 for two numbers, 1.1 for 32, 1.5
// for 2^20, the same in both precisions.
long double bound(bool single, int order) {
  return (single ? FLT_EPSILON : DBL_EPSILON) * (0.35L + 0.35L * std::sqrt(static_cast<long double>(order)));
}

// Single numbers, so that both precisions share what is right. A spectrum of real numbers is its own mirror.
Numbers random_numbers(std::size_t n, Form form, bool spectrum) {
  Random random(static_cast<unsigned>(n));
  Numbers x(n);
  for (auto &z : x) {
    const auto pair = random.number<tnk_complex8>();
    z = form == real && !spectrum ? Wide(pair.re) : Wide(pair.re, pair.im);
  }
  if (form == real && spectrum) {
    x[0] = x[0].real(), x[n / 2] = x[n / 2].real();
    for (std::size_t k = 1; k < n / 2; ++k) x[n - k] = std::conj(x[k]);
  }
  return x;
}

// The same numbers for all kinds that can share them, with what is right.
const std::pair<Numbers, Numbers> &numbers_and_transform(std::size_t n, Form form, bool inverse) {
  static std::map<std::tuple<std::size_t, bool, bool>, std::pair<Numbers, Numbers>> known;
  auto &both = known[{n, form == real, inverse}];
  if (both.first.empty()) {
    both.first = random_numbers(n, form, inverse);
    both.second = reference::transform_by_halves(both.first, inverse ? 1 : -1);
  }
  return both;
}

// A record and a work buffer in memory of exactly the promised sizes, at odd addresses.
struct Record {
  Record(const Kind &kind_, int order, int flag) : kind(kind_) {
    int32_t spec_size = -1, init_size = -1, work_size = -1, size = -1;
    EXPECT_EQ(kind.get_size(order, flag, 0, &spec_size, &init_size, &work_size), 0);
    memory.reset(new Guarded<uint8_t>(static_cast<std::size_t>(spec_size), 1));
    {
      Guarded<uint8_t> init(static_cast<std::size_t>(init_size), 3);
      EXPECT_EQ(kind.init(&spec, order, flag, 0, memory->data(), init_size ? init.data() : nullptr), 0);
      EXPECT_TRUE(init.intact());
    }
    EXPECT_EQ(kind.buffer_size(spec, &size), 0);
    EXPECT_EQ(size, work_size);
    work.reset(new Guarded<uint8_t>(static_cast<std::size_t>(work_size), 7));
  }
  ~Record() {
    EXPECT_TRUE(memory->intact() && work->intact()) << kind.name;
    EXPECT_EQ(kind.free(spec), 0);
    EXPECT_EQ(kind.free(spec), TNK_SIGNAL_BAD_TAG);
  }
  const Kind &kind;
  std::unique_ptr<Guarded<uint8_t>> memory, work;
  tnk_signal_fft *spec = nullptr;
};

// One transform of x: its error, relative to eps log2 N, goes to *worst.
template <class R>
void expect_transform(const Kind &kind, const Record &record, int flag, bool inverse, bool in_place,
                      std::size_t shift, bool own_work, const Numbers &x, const Numbers &right) {
  const std::size_t n = x.size(), length = kind.form == real ? n : 2 * n;
  const int order = static_cast<int>(std::lround(std::log2(n)));
  SCOPED_TRACE(testing::Message() << kind.name << " order " << order << " flag " << flag
                                  << (inverse ? " inverse" : "") << (in_place ? " in place" : "") << " shift "
                                  << shift);
  Guarded<R> source(length, shift), other(length, shift == page_end ? shift : 3 * shift % 64);
  put_numbers(source, kind.form, x, inverse);
  Guarded<R> &destination = in_place ? source : other;
  ASSERT_EQ(call(kind.form, inverse, source.data(), destination.data(), n, record.spec,
                 own_work || record.work->size() == 0 ? nullptr : record.work->data()),
            0);
  const long double wide = static_cast<long double>(n);
  const long double factor = flag == 4 ? 1 / std::sqrt(wide) : flag == (inverse ? 2 : 1) ? 1 / wide : 1;
  const long double error = error_of(numbers_of(destination, kind.form, n, !inverse), right, factor);
  ASSERT_TRUE(error <= bound(kind.single, order)) << error / bound(kind.single, order);
  ASSERT_TRUE(source.intact() && other.intact());
  if (!in_place) {
    const Numbers kept = numbers_of(source, kind.form, n, inverse);
    ASSERT_TRUE(std::equal(x.begin(), x.end(), kept.begin()));
  }
}

void expect_order(const Kind &kind, int order, bool everything) {
  const std::size_t n = std::size_t{1} << order;
  for (const bool inverse : {false, true}) {
    const auto &[x, right] = numbers_and_transform(n, kind.form, inverse);
    int turn = order;
    for (const int flag : {8, 1, 2, 4}) {
      if (!everything && flag != 1 << turn % 4) continue;
      const Record record(kind, order, flag);
      for (const bool in_place : {false, true})
        for (const std::size_t shift : {std::size_t{0}, std::size_t{kind.single ? 8u : 16u}, page_end}) {
          if (!everything && shift == 0) continue;
          const bool own_work = ++turn % 4 == 0;
          if (kind.single)
            expect_transform<float>(kind, record, flag, inverse, in_place, shift, own_work, x, right);
          else
            expect_transform<double>(kind, record, flag, inverse, in_place, shift, own_work, x, right);
          if (testing::Test::HasFatalFailure()) return;
        }
    }
  }
}

class PowerOfTwo : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Signal, PowerOfTwo, testing::ValuesIn(kinds),
                         [](const auto &kind) { return std::string(kind.param.name); });

TEST(PowerOfTwoReference, AgreesWithTheDefinition) {
  const Numbers x = random_numbers(512, pairs, false);
  for (const int sign : {1, -1})
    EXPECT_LT(error_of(reference::transform_by_halves(x, sign), reference::transform(x, sign), 1), 1e-17L);
}

TEST_P(PowerOfTwo, EveryOrderInEveryWay) {
  for (int order = 0; order <= 11 && !HasFatalFailure(); ++order) expect_order(GetParam(), order, true);
}

// Each way of passes, the first ones by block, and the real ones on top of them.
TEST_P(PowerOfTwo, LargeOrders) {
  for (const int order : {12, 13, 14, 17, 18, 19})
    if (!HasFatalFailure() && (order < 19 || GetParam().form == real)) expect_order(GetParam(), order, false);
}

// Pairs and arrays by part, at any address, in place or not.
TEST(PowerOfTwoBits, AreTheSameEverywhere) {
  for (const int order : {4, 7, 9, 12, 18}) {
    const std::size_t n = std::size_t{1} << order;
    const Numbers x = random_numbers(n, pairs, false);
    Numbers first;
    for (const Kind *kind : {&kinds[3], &kinds[4]}) {
      const Record record(*kind, order, 1);
      for (const std::size_t shift : {0, 8, 16})
        for (const bool in_place : {false, true}) {
          Guarded<double> source(2 * n, shift), other(2 * n, shift);
          put_numbers(source, kind->form, x, false);
          Guarded<double> &to = in_place ? source : other;
          ASSERT_EQ(call(kind->form, false, source.data(), to.data(), n, record.spec, nullptr), 0);
          const Numbers found = numbers_of(to, kind->form, n, true);
          if (first.empty()) first = found;
          ASSERT_TRUE(found == first) << kind->name << ' ' << order << ' ' << shift << ' ' << in_place;
        }
    }
  }
}

TEST_P(PowerOfTwo, StatusesInTheirOrder) {
  const Kind &kind = GetParam();
  const auto n = std::size_t{1} << 8;
  int32_t a, b, c;
  tnk_signal_fft *spec = nullptr;
  uint8_t memory[20000];
  EXPECT_EQ(kind.get_size(-1, 8, 0, nullptr, &b, &c), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.get_size(8, 8, 0, &a, nullptr, &c), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.get_size(8, 8, 0, &a, &b, nullptr), TNK_SIGNAL_NULL);
  for (const int order : {-1, kind.highest_order + 1, 31}) {
    EXPECT_EQ(kind.get_size(order, 8, 0, &a, &b, &c), TNK_SIGNAL_BAD_ORDER);
    EXPECT_EQ(kind.init(&spec, order, 3, 0, memory, memory), TNK_SIGNAL_BAD_ORDER);
    EXPECT_EQ(kind.init_alloc(&spec, order, 3, 0), TNK_SIGNAL_BAD_ORDER);
  }
  ASSERT_EQ(kind.get_size(kind.highest_order, 8, 0, &a, &b, &c), 0);
  EXPECT_TRUE(a > 0 && b > 0 && c > 0);

  for (const int flag : {0, 3, 16, -1}) {
    std::fill(std::begin(memory), std::end(memory), uint8_t{0xFF});
    EXPECT_EQ(kind.init(&spec, 8, flag, 0, memory, nullptr), TNK_SIGNAL_BAD_FLAG);
    const auto *const record = memory + (0 - reinterpret_cast<std::uintptr_t>(memory)) % 32;
    EXPECT_TRUE(std::all_of(record, record + 4, [](uint8_t byte) { return byte == 0; })) << "the tag";
    EXPECT_EQ(kind.init_alloc(&spec, 8, flag, 0), TNK_SIGNAL_BAD_FLAG);
  }
  EXPECT_EQ(kind.init(nullptr, 8, 8, 0, memory, nullptr), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.init(&spec, 8, 8, 0, nullptr, nullptr), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.init(&spec, 11, 8, 0, memory, nullptr), TNK_SIGNAL_NULL) << "no init buffer";
  EXPECT_EQ(kind.init_alloc(nullptr, 8, 8, 0), TNK_SIGNAL_NULL);
  EXPECT_EQ(spec, nullptr);
  EXPECT_EQ(kind.free(nullptr), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.buffer_size(nullptr, &a), TNK_SIGNAL_NULL);

  ASSERT_EQ(kind.init_alloc(&spec, 8, 8, 0), 0);
  EXPECT_EQ(kind.buffer_size(spec, nullptr), TNK_SIGNAL_NULL);
  const auto status = [&](const void *from, void *to, const tnk_signal_fft *record, bool inverse) {
    return kind.single ? call(kind.form, inverse, static_cast<const float *>(from), static_cast<float *>(to),
                              n, record, nullptr)
                       : call(kind.form, inverse, static_cast<const double *>(from),
                              static_cast<double *>(to), n, record, nullptr);
  };
  alignas(32) static double x[2 << 8];
  for (const bool inverse : {false, true}) {
    EXPECT_EQ(status(nullptr, nullptr, nullptr, inverse), TNK_SIGNAL_NULL);
    if (kind.form != parts) {
      EXPECT_EQ(status(nullptr, x, spec, inverse), TNK_SIGNAL_NULL);
      EXPECT_EQ(status(x, nullptr, spec, inverse), TNK_SIGNAL_NULL);
    }
    for (const Kind &other : kinds)
      if (other.form != kind.form || other.single != kind.single) {
        tnk_signal_fft *foreign = nullptr;
        ASSERT_EQ(other.init_alloc(&foreign, 8, 8, 0), 0);
        EXPECT_EQ(status(nullptr, nullptr, foreign, inverse), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(kind.free(foreign), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(kind.buffer_size(foreign, &a), TNK_SIGNAL_BAD_TAG);
        EXPECT_EQ(other.free(foreign), 0);
      }
  }
  EXPECT_EQ(kind.free(spec), 0);
}

// A record is only read: threads that share it give the same bits as one alone.
TEST(PowerOfTwoThreads, ShareARecord) {
  for (const int order : {9, 18}) {
    const std::size_t n = std::size_t{1} << order;
    const Record record(kinds[3], order, 4);
    Random random;
    std::vector<double> x(2 * n);
    for (double &value : x) value = random.real<double>();
    std::vector<std::vector<double>> results(5, std::vector<double>(2 * n));
    const auto run = [&](std::vector<double> &to) {
      for (int again = 0; again < (order < 18 ? 200 : 2); ++again)
        if (call(pairs, again % 2, x.data(), to.data(), n, record.spec, nullptr) != 0) to.clear();
    };
    run(results[0]);
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < results.size(); ++i) threads.emplace_back(run, std::ref(results[i]));
    for (auto &thread : threads) thread.join();
    for (std::size_t i = 1; i < results.size(); ++i) EXPECT_TRUE(results[i] == results[0]) << order;
  }
}

// ---- Memory that is refused ---------------------------------------------------------------------------------------

int refuse = 0, live = 0;
void *counted_malloc(std::size_t size) {
  if (refuse > 0 && --refuse == 0) return nullptr;
  ++live;
  return std::malloc(size);
}
void counted_free(void *block) {
  --live;
  std::free(block);
}

TEST_P(PowerOfTwo, EveryAllocationRefused) {
  const Kind &kind = GetParam();
  const auto malloc_before = i_malloc;
  const auto free_before = i_free;
  i_malloc = counted_malloc, i_free = counted_free;
  for (const int order : {3, 9, 12}) {
    tnk_signal_fft *spec = nullptr;
    for (int at = 1;; ++at) {
      refuse = at;
      const int status = kind.init_alloc(&spec, order, 8, 0);
      if (status == 0) break;
      EXPECT_EQ(status, TNK_SIGNAL_NO_MEMORY);
      EXPECT_EQ(spec, nullptr);
      EXPECT_EQ(live, 0);
    }
    std::vector<double> x(std::size_t{2} << order, 1);
    refuse = 1;
    const auto n = std::size_t{1} << order;
    const int status = kind.single ? call(kind.form, false, reinterpret_cast<float *>(x.data()),
                                          reinterpret_cast<float *>(x.data()), n, spec, nullptr)
                                   : call(kind.form, false, x.data(), x.data(), n, spec, nullptr);
    EXPECT_EQ(status, order == 3 ? 0 : TNK_SIGNAL_NO_MEMORY);
    EXPECT_TRUE(status == 0 || std::all_of(x.begin(), x.end(), [](double v) { return v == 1; }));
    refuse = 0;
    EXPECT_EQ(kind.free(spec), 0);
    EXPECT_EQ(live, 0);
  }
  i_malloc = malloc_before, i_free = free_before;
}

// ---- Lengths beyond the oracle --------------------------------------------------------------------------------------

// A few impulses, whose spectrum is known, then back, in both places.
template <class R> void expect_impulses(int order) {
  using C = typename Calls<R>::Complex;
  constexpr bool single = sizeof(R) == 4;
  const std::size_t n = std::size_t{1} << order;
  const Kind &kind = kinds[single ? 0 : 3];
  tnk_signal_fft *spec = nullptr;
  ASSERT_EQ(kind.init_alloc(&spec, order, 2, 0), 0);
  const std::unique_ptr<C[]> x(new C[n]()), y(new C[n]);
  const std::size_t at[] = {1, n / 3, n - 5};
  for (const bool in_place : {false, true}) {
    for (const auto p : at) x[p].re = 1, x[p].im = R(-0.5);
    C *const to = in_place ? x.get() : y.get();
    ASSERT_EQ(Calls<R>::pairs_forward(x.get(), to, spec, nullptr), 0);
    long double worst = 0;
    for (std::size_t k = 0; k < n; k += 977) {
      Wide right = 0;
      for (const auto p : at) right += Wide(1, -0.5L) * reference::root(p * k % n, n, -1);
      worst = std::max(worst, std::abs(Wide(to[k].re, to[k].im) - right));
    }
    EXPECT_TRUE(worst <= 8 * bound(single, order)) << worst; // of numbers up to 3.4
    ASSERT_EQ(Calls<R>::pairs_inverse(to, x.get(), spec, nullptr), 0);
    for (const auto p : at) x[p].re -= 1, x[p].im += R(0.5);
    long double left = 0;
    for (std::size_t k = 0; k < n; ++k) {
      left = std::max(left, static_cast<long double>(std::max(std::fabs(x[k].re), std::fabs(x[k].im))));
      x[k] = {};
    }
    EXPECT_TRUE(left <= 8 * bound(single, order)) << left;
  }
  EXPECT_EQ(kind.free(spec), 0);
}

// Orders up to 21 differ in how they are cut.
TEST(PowerOfTwoLarge, ThereAndBack) {
  for (const int order : {19, 20, 21}) expect_impulses<double>(order), expect_impulses<float>(order);
  expect_impulses<double>(23);
  expect_impulses<float>(24);
}

// The least orders that combine twice: gigabytes and half a minute, so only where they are asked for.
TEST(PowerOfTwoLarge, TwoStepsOfCombining) {
  if (!std::getenv("TNK_TEST_HUGE")) GTEST_SKIP() << "set TNK_TEST_HUGE for 2^26 and 2^27 numbers in 3 GB";
  expect_impulses<double>(26);
  expect_impulses<float>(27);
}

} // namespace
} // namespace tnk::test
