// Transforms of any length against their definition: up to 300 in every kind, flag and place, larger ones of each method.
#include "tests/signal/forms.h"

namespace tnk::test {
namespace {

using DftForm = Form<tnk_signal_dft>;
const DftForm forms[] = {{TNK_FORM(pairs, false, DFT, C_64fc, CToC, CToC, 64fc)},
                         {TNK_FORM(pairs, true, DFT, C_32fc, CToC, CToC, 32fc)},
                         {TNK_FORM(parts, false, DFT, C_64f, CToC, CToC, 64f)},
                         {TNK_FORM(parts, true, DFT, C_32f, CToC, CToC, 32f)},
                         {TNK_FORM(any_order, false, DFTOutOrd, C_64fc, CToC, CToC, 64fc)},
                         {TNK_FORM(any_order, true, DFTOutOrd, C_32fc, CToC, CToC, 32fc)},
                         {TNK_FORM(ccs, false, DFT, R_64f, RToCCS, CCSToR, 64f)},
                         {TNK_FORM(ccs, true, DFT, R_32f, RToCCS, CCSToR, 32f)},
                         {TNK_FORM(pack, false, DFT, R_64f, RToPack, PackToR, 64f)},
                         {TNK_FORM(pack, true, DFT, R_32f, RToPack, PackToR, 32f)},
                         {TNK_FORM(perm, false, DFT, R_64f, RToPerm, PermToR, 64f)},
                         {TNK_FORM(perm, true, DFT, R_32f, RToPerm, PermToR, 32f)}};

// A record, and a work buffer of exactly the promised size at an odd address.
struct Record {
  Record(const DftForm &form_, std::size_t n, int flag) : form(form_) {
    int32_t size = -1;
    EXPECT_EQ(form.init_alloc(&spec, static_cast<int32_t>(n), flag, 0), 0) << form.name << " " << n;
    if (!spec) return;
    EXPECT_EQ(form.buffer_size(spec, &size), 0);
    work.reset(new Guarded<uint8_t>(static_cast<std::size_t>(size), 7));
  }
  ~Record() {
    if (!spec) return;
    EXPECT_TRUE(work->intact()) << form.name;
    EXPECT_EQ(form.free(spec), 0);
  }
  uint8_t *buffer() const { return work->size() == 0 ? nullptr : work->data(); }
  const DftForm &form;
  tnk_signal_dft *spec = nullptr;
  std::unique_ptr<Guarded<uint8_t>> work;
};

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

// A spectrum in order as passes of these factors leave it, the last one the cofactor; or the other way round.
Numbers reordered(const Numbers &x, const std::vector<std::size_t> &factors, bool into_passes) {
  if (factors.empty()) return x;
  Numbers y(x.size());
  for (std::size_t k = 0; k < x.size(); ++k) {
    std::size_t place = 0, part = x.size(), rest = k;
    for (const std::size_t f : factors) {
      part /= f;
      place += rest % f * part;
      rest /= f;
    }
    into_passes ? y[place] = x[k] : y[k] = x[place];
  }
  return y;
}

// `factors`: those of the passes whose order the spectrum has, if it is not in order.
void expect_case(const Record &record, const Way &way, const Case &data,
                 const std::vector<std::size_t> &factors = {}) {
  const std::size_t n = data.x.size();
  expect_transform(record, way, way.inverse ? reordered(data.x, factors, true) : data.x,
                   bound(record.form.single, n), [&](const Numbers &got) {
                     return error_of(way.inverse ? got : reordered(got, factors, false), data,
                                     factor_of(way.flag, way.inverse, n));
                   });
}

class AnyLength : public testing::TestWithParam<DftForm> {};
INSTANTIATE_TEST_SUITE_P(Signal, AnyLength, testing::ValuesIn(forms),
                         [](const auto &form) { return std::string(form.param.name); });

TEST_P(AnyLength, EveryShortOneInEveryWay) {
  const DftForm &form = GetParam();
  std::size_t turn = 0;
  for (std::size_t n = 1; n <= 300; ++n)
    for (const int flag : {8, 1 << n % 3}) {
      const Record record(form, n, flag);
      ASSERT_NE(record.spec, nullptr);
      for (const bool inverse : {false, true})
        for (const bool in_place : {false, true}) {
          const std::size_t shifts[] = {0, form.value_size(), page_end, 16 + form.value_size(), page_end};
          ++turn;
          expect_case(record, {flag, inverse, in_place, shifts[turn % 5], turn % 7 == 0},
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
  const DftForm &form = GetParam();
  for (const Long &one : long_ones) {
    const int flag = 1 << one.n % 4;
    const Record record(form, one.n, flag);
    ASSERT_NE(record.spec, nullptr);
    for (const bool inverse : {false, true})
      for (const bool in_place : {false, true}) {
        const bool is_in_passes = form.layout == any_order && one.n > 5000;
        expect_case(record, {flag, inverse, in_place, form.value_size(), false},
                    known_case(one.n, form.real(), inverse), is_in_passes ? one.factors : Long{}.factors);
        if (HasFatalFailure()) return;
      }
  }
}

// ---- Statuses and memory ----------------------------------------------------------------------------------------------

TEST_P(AnyLength, StatusesInTheirOrder) {
  const DftForm &form = GetParam();
  tnk_signal_dft *spec = nullptr;
  int32_t size = 0;
  EXPECT_EQ(form.init_alloc(nullptr, 0, 3, 0), TNK_SIGNAL_NULL);
  EXPECT_EQ(form.init_alloc(&spec, 0, 3, 0), TNK_SIGNAL_BAD_LENGTH);
  for (const int n : {10, 64, 100, 0x4000001})
    for (const int flag : {0, 3, 16}) EXPECT_EQ(form.init_alloc(&spec, n, flag, 0), TNK_SIGNAL_BAD_FLAG) << n;
  EXPECT_EQ(form.init_alloc(&spec, 0x4000001, 8, 0), TNK_SIGNAL_BAD_LENGTH);
  EXPECT_EQ(form.init_alloc(&spec, 1 << 28, 8, 0), TNK_SIGNAL_BAD_ORDER);
  EXPECT_EQ(spec, nullptr);
  ASSERT_EQ(form.init_alloc(&spec, 100, 8, 0), 0);
  EXPECT_TRUE(form.buffer_size(spec, &size) == 0 && size > 0 && size <= 2048);
  EXPECT_EQ(form.free(spec), 0);
  expect_refusals(form, forms, 100, 100);
}

// Buffers tell the method: sums take 16 N + 32, a convolution of M numbers 16 M + 32 and what its transforms take.
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

// In each method.
TEST_P(AnyLength, EveryAllocationRefused) {
  for (const int n : {10, 31, 62, 256, 34, 1000, 1009, 10007 * 2})
    expect_no_harm_by_refusals(GetParam(), n, static_cast<std::size_t>(n));
}

// ---- Uses ---------------------------------------------------------------------------------------------------------

TEST(AnyLengthUses, OneRecordInManyThreads) {
  for (const std::size_t n : {1000u, 1009u}) expect_shared(Record(forms[0], n, 8), n, 20);
}

TEST(AnyLengthUses, SameBitsEverywhere) {
  for (const std::size_t n : {15u, 17u, 34u, 100u, 999u, 15842u, 44100u, 1009u}) {
    const Record record(forms[0], n, 1);
    const Numbers x = random_numbers(n, false, false);
    EXPECT_TRUE(transformed<double>(record, {1, false, false, 8, true}, x) ==
                transformed<double>(record, {1, false, true, page_end, false}, x))
        << n;
  }
}

TEST(AnyLengthUses, HugeLengths) {
  for (const std::size_t n : {std::size_t{1062882}, std::size_t{500009}}) // 2 3^12, a prime
    expect_impulses<tnk_complex16>(forms[0], static_cast<int32_t>(n), n, bound(false, n));
}

} // namespace
} // namespace tnk::test
