// Power-of-two transforms against their definition: every kind, flag and place, in memory of exactly the promised sizes.
#include "tests/signal/forms.h"

namespace tnk::test {
namespace {

struct Kind : Form<tnk_signal_fft> {
  decltype(&e9_vpksFFTGetSize_C_64fc) get_size;
  decltype(&e9_vpksFFTInit_C_64fc) init;
  int highest_order() const { return single ? 27 : 26; }
};
#define TNK_KIND(layout, single, kind, to, from, p)                                                          \
  { {TNK_FORM(layout, single, FFT, kind, to, from, p)}, e9_vpksFFTGetSize_##kind, e9_vpksFFTInit_##kind }
const Kind kinds[] = {
    TNK_KIND(pairs, true, C_32fc, CToC, CToC, 32fc),    TNK_KIND(parts, true, C_32f, CToC, CToC, 32f),
    TNK_KIND(perm, true, R_32f, RToPerm, PermToR, 32f), TNK_KIND(pairs, false, C_64fc, CToC, CToC, 64fc),
    TNK_KIND(parts, false, C_64f, CToC, CToC, 64f),     TNK_KIND(perm, false, R_64f, RToPerm, PermToR, 64f)};

// The errors of random rounding grow as the root of the number of steps. Seen, in eps: 0.44 for two numbers, 1.1 for 32, 1.5
// for 2^20, the same in both precisions.
long double bound(bool single, int order) {
  return (single ? FLT_EPSILON : DBL_EPSILON) * (0.35L + 0.35L * std::sqrt(static_cast<long double>(order)));
}

// A record and a work buffer in memory of exactly the promised sizes, at odd addresses.
struct Record {
  Record(const Kind &kind, int order, int flag) : form(kind) {
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
    EXPECT_TRUE(memory->intact() && work->intact()) << form.name;
    EXPECT_EQ(form.free(spec), 0);
    EXPECT_EQ(form.free(spec), TNK_SIGNAL_BAD_TAG);
  }
  uint8_t *buffer() const { return work->size() == 0 ? nullptr : work->data(); }
  const Form<tnk_signal_fft> &form;
  std::unique_ptr<Guarded<uint8_t>> memory, work;
  tnk_signal_fft *spec = nullptr;
};

void expect_order(const Kind &kind, int order, bool everything) {
  const std::size_t n = std::size_t{1} << order;
  for (const bool inverse : {false, true}) {
    const Case &data = known_case(n, kind.real(), inverse);
    int turn = order;
    for (const int flag : {8, 1, 2, 4}) {
      if (!everything && flag != 1 << turn % 4) continue;
      const Record record(kind, order, flag);
      for (const bool in_place : {false, true})
        for (const std::size_t shift : {std::size_t{0}, 2 * kind.value_size(), page_end}) {
          if (!everything && shift == 0) continue;
          expect_transform(
              record, {flag, inverse, in_place, shift, ++turn % 4 == 0}, data.x, bound(kind.single, order),
              [&](const Numbers &got) { return error_of(got, data, factor_of(flag, inverse, n)); });
          if (testing::Test::HasFatalFailure()) return;
        }
    }
  }
}

class PowerOfTwo : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Signal, PowerOfTwo, testing::ValuesIn(kinds),
                         [](const auto &kind) { return std::string(kind.param.name); });

TEST_P(PowerOfTwo, EveryOrderInEveryWay) {
  for (int order = 0; order <= 11 && !HasFatalFailure(); ++order) expect_order(GetParam(), order, true);
}

// Each way of passes, the first ones by block, and the real ones on top of them.
TEST_P(PowerOfTwo, LargeOrders) {
  for (const int order : {12, 13, 14, 17, 18, 19})
    if (!HasFatalFailure() && (order < 19 || GetParam().real())) expect_order(GetParam(), order, false);
}

// Pairs and arrays by part, at any address, in place or not.
TEST(PowerOfTwoBits, AreTheSameEverywhere) {
  for (const int order : {4, 7, 9, 12, 18}) {
    const Numbers x = random_numbers(std::size_t{1} << order, false, false);
    Numbers first;
    for (const Kind *kind : {&kinds[3], &kinds[4]}) {
      const Record record(*kind, order, 1);
      for (const std::size_t shift : {0, 8, 16})
        for (const bool in_place : {false, true}) {
          const Numbers found = transformed<double>(record, {1, false, in_place, shift, true}, x);
          if (first.empty()) first = found;
          ASSERT_TRUE(found == first) << kind->name << ' ' << order << ' ' << shift << ' ' << in_place;
        }
    }
  }
}

TEST_P(PowerOfTwo, StatusesInTheirOrder) {
  const Kind &kind = GetParam();
  int32_t a, b, c;
  tnk_signal_fft *spec = nullptr;
  uint8_t memory[20000];
  EXPECT_EQ(kind.get_size(-1, 8, 0, nullptr, &b, &c), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.get_size(8, 8, 0, &a, nullptr, &c), TNK_SIGNAL_NULL);
  EXPECT_EQ(kind.get_size(8, 8, 0, &a, &b, nullptr), TNK_SIGNAL_NULL);
  for (const int order : {-1, kind.highest_order() + 1, 31}) {
    EXPECT_EQ(kind.get_size(order, 8, 0, &a, &b, &c), TNK_SIGNAL_BAD_ORDER);
    EXPECT_EQ(kind.init(&spec, order, 3, 0, memory, memory), TNK_SIGNAL_BAD_ORDER);
    EXPECT_EQ(kind.init_alloc(&spec, order, 3, 0), TNK_SIGNAL_BAD_ORDER);
  }
  ASSERT_EQ(kind.get_size(kind.highest_order(), 8, 0, &a, &b, &c), 0);
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
  EXPECT_EQ(spec, nullptr);
  expect_refusals(kind, kinds, 8, std::size_t{1} << 8);
}

TEST(PowerOfTwoThreads, ShareARecord) {
  for (const int order : {9, 18})
    expect_shared(Record(kinds[3], order, 4), std::size_t{1} << order, order < 18 ? 200 : 2);
}

TEST_P(PowerOfTwo, EveryAllocationRefused) {
  for (const int order : {3, 9, 12}) expect_no_harm_by_refusals(GetParam(), order, std::size_t{1} << order);
}

// ---- Lengths beyond the oracle --------------------------------------------------------------------------------------

template <class C> void expect_impulses(int order) {
  const Kind &kind = kinds[sizeof(C) == 8 ? 0 : 3];
  expect_impulses<C>(kind, order, std::size_t{1} << order, bound(kind.single, order));
}

// Orders up to 21 differ in how they are cut. What comes back has met every number of the spectrum.
TEST(PowerOfTwoLarge, ThereAndBack) {
  for (const int order : {12, 13, 14, 17, 18, 19, 20, 21})
    expect_impulses<tnk_complex16>(order), expect_impulses<tnk_complex8>(order);
  expect_impulses<tnk_complex16>(23);
  expect_impulses<tnk_complex8>(24);
}

// The least orders that combine twice: gigabytes and half a minute, so only where they are asked for.
TEST(PowerOfTwoLarge, TwoStepsOfCombining) {
  if (!std::getenv("TNK_TEST_HUGE")) GTEST_SKIP() << "set TNK_TEST_HUGE for 2^26 and 2^27 numbers in 3 GB";
  expect_impulses<tnk_complex16>(26);
  expect_impulses<tnk_complex8>(27);
}

} // namespace
} // namespace tnk::test
