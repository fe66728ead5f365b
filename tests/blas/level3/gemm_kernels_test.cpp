// Packing and block kernels of the matrix product: panels element for element, products from packed panels.
#include "family.h"
#include "kernel/blas/level3/tile.h"
#include <functional>

namespace tnk::test {
namespace {

template <class T> constexpr int parts = is_complex<T> ? 2 : 1;

template <class T> class GemmKernels : public testing::Test {};
TYPED_TEST_SUITE(GemmKernels, Types, );

// One option of an operand: its copy, and how the source is read.
struct Copy {
  std::function<tnk_gemm_copy> copy;
  char letter;
};
template <class T> std::vector<Copy> copies(bool of_a) {
  const tnk_gemm_row &row = Entries<T>::row;
  const auto &columns = of_a ? row.copya : row.copyb;
  std::vector<Copy> all = {{columns[0], 'N'}, {columns[1], 'T'}, {columns[2], 'C'}};
  const auto extended = of_a ? row.copya_ext : row.copyb_ext;
  for (const char letter : std::string(extended ? "nNtC" : ""))
    all.push_back({[=](auto... arguments) { extended(&letter, arguments...); }, letter});
  return all;
}

template <class T> T not_a_number() {
  T x;
  std::memset(&x, 0xFF, sizeof x); // what guarded memory holds as well
  return x;
}

// Packs lanes by steps of a random source, into panels that stand further apart than they need to, and
// compares all of the buffer: what no layout names keeps the pattern of guarded memory.
template <class T>
void check_copy(const Copy &option, bool of_a, tnk_int lanes, tnk_int steps, std::size_t shift) {
  SCOPED_TRACE(testing::Message() << (of_a ? "A " : "B ") << option.letter << " lanes " << lanes << " steps "
                                  << steps);
  using R = real_of<T>;
  const int width = of_a ? level3::gemm_tile<T>::mr : level3::gemm_tile<T>::nr;
  Random random(static_cast<unsigned>(lanes * 64 + steps));
  Operand<T> source(option.letter, of_a ? lanes : steps, of_a ? steps : lanes, 3, shift);
  source.fill(random, source.ld - 3);
  if (source.memory.size() > 0) source.memory.put(0, scalar<T>(0.5)); // whose conjugate has +0 as well
  const T alpha = random.number<T>();
  const tnk_int padded = (steps + 3) / 4 * 4, stride = width * (padded + 8);
  Guarded<R> buffer(static_cast<std::size_t>((lanes / width + 1) * stride * parts<T>));
  std::vector<R> expected(buffer.size(), not_a_number<R>());
  // Panels of `width` lanes, behind which the columns of B that fill none stand in groups of 4. The parts of pairs are
  // pairs of lanes.
  const auto put = [&](tnk_int lane, tnk_int step, T x) {
    const tnk_int panel = lane / width, in_panel = lane % width;
    const bool grouped = !of_a && panel == lanes / width;
    const tnk_int together = grouped ? 4 : width, at = in_panel % together;
    const tnk_int first = panel * stride + (grouped ? in_panel / 4 * 4 * padded : 0) + together * step;
    R values[2] = {};
    std::memcpy(values, &x, sizeof x);
    const tnk_int cell = is_complex<T> ? 2 * first + at / 2 * 4 + at % 2 : first + at;
    for (int part = 0; part < parts<T>; ++part) expected[cell + 2 * part] = values[part];
  };
  for (tnk_int l = 0; l < padded && steps > 0; ++l) {
    for (tnk_int r = 0; r < lanes; ++r)
      put(r, l, l >= steps ? T{} : of_a ? alpha * source.get(r, l) : source.get(l, r));
    // Zeros: all steps of B's lanes without a column, the pad steps of every lane of A.
    const tnk_int unit = of_a || lanes % width == 0 ? width : 4;
    for (tnk_int r = lanes; r % unit != 0 && (!of_a || l >= steps); ++r) put(r, l, T{});
  }
  const tnk_gemm_panels panels = {buffer.data(), stride, 0, 12};
  option.copy(of_a ? &lanes : &steps, of_a ? &steps : &lanes, source.memory.data(), &source.ld, buffer.data(),
              &panels, of_a ? &alpha : nullptr);
  EXPECT_TRUE(buffer.intact());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const R x = buffer.get(i);
    ASSERT_TRUE(same_bits(&x, &expected[i])) << "at " << i << ": " << x << ", not " << expected[i];
  }
}
TYPED_TEST(GemmKernels, CopiesFillPanels) {
  using T = TypeParam;
  const std::size_t shifts[] = {0, sizeof(real_of<T>), 1};
  std::size_t turn = 0; // addresses change with every call, by an order of their own for each option
  for (const bool of_a : {true, false})
    for (const Copy &option : copies<T>(of_a))
      for (tnk_int lanes = 0; lanes <= 37; lanes += lanes < 20 ? 1 : 3)
        for (const tnk_int steps : {0, 1, 2, 3, 4, 5, 7, 8, 9, 14, 20})
          for (int two = 0; two < 2; ++two, ++turn)
            ASSERT_NO_FATAL_FAILURE(check_copy<T>(option, of_a, lanes, steps, shifts[turn % 3]));
}

// C := C + A B by one of the kernels, from panels that stand further apart than they need to. Each element is to the
// bit, wherever it stands in a tile, a sum with the steps in order, in complex one of each product of parts. Lanes
// above the last row of A hold NaN.
template <class T>
void check_kernel(tnk_gemm_kernel *kernel, tnk_int m, tnk_int n, tnk_int k, const T *beta, bool adds) {
  SCOPED_TRACE(testing::Message() << "m " << m << " n " << n << " k " << k << " adds " << adds);
  using R = real_of<T>;
  constexpr int mr = level3::gemm_tile<T>::mr, nr = level3::gemm_tile<T>::nr;
  Random random(static_cast<unsigned>(m * 1024 + n * 32 + k));
  Operand<T> a('N', m, k, 0, 0), b('N', k, n, 0, 0), c('N', m, n, 3, sizeof(R)), before('N', m, n, 3, 0);
  a.fill(random, m), b.fill(random, k), before.fill(random, adds ? m : 0);
  std::memcpy(c.memory.data(), before.memory.data(), c.memory.size() * sizeof(T));
  const tnk_int a_stride = mr * (k + 4), b_stride = nr * (k + 8);
  Guarded<R> a_panels(static_cast<std::size_t>((m / mr + 1) * a_stride * parts<T>)),
      b_panels(static_cast<std::size_t>((n / nr + 1) * b_stride * parts<T>));
  const tnk_gemm_panels of_a = {a_panels.data(), a_stride, 0, 12}, of_b = {b_panels.data(), b_stride, 0, 12};
  Entries<T>::row.copya[0](&m, &k, a.memory.data(), &a.ld, a_panels.data(), &of_a, &one<T>);
  Entries<T>::row.copyb[0](&k, &n, b.memory.data(), &b.ld, b_panels.data(), &of_b, nullptr);

  kernel(nullptr, nullptr, &m, &n, &k, nullptr, a_panels.data(), &of_a, b_panels.data(), &of_b, beta,
         c.memory.data(), &c.ld, nullptr, 2 + static_cast<int32_t>(n % 2));

  EXPECT_TRUE(c.memory.intact());
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i < c.ld; ++i) {
      const T sum = sum_in_order<T>(
          0, i < m ? k : 0, [&](tnk_int l) { return a.get(i, l); }, [&](tnk_int l) { return b.get(l, j); });
      const T got = c.get(i, j), old = before.get(i, j), expected = adds ? old + sum : sum;
      ASSERT_TRUE(i < m ? reference::re(got) == reference::re(expected) &&
                              reference::im(got) == reference::im(expected)
                        : same_bits(&got, &old))
          << "at " << i << ", " << j;
    }
}

TYPED_TEST(GemmKernels, ProductsOfPanels) {
  using T = TypeParam;
  using E = Entries<T>;
  const T zero{}, minus_zero = -1 * zero, other = is_complex<T> ? scalar<T>(0, 2) : scalar<T>(2),
                  unordered = not_a_number<T>();
  for (const tnk_int k : {4, 8, 12, 16, 256, 268})
    for (tnk_int m = 1; m <= 17; m += k >= 256 ? 4 : 1)
      for (tnk_int n = 1; n <= 21; n += k >= 256 ? 5 : 1) {
        const bool edge = m < level3::gemm_tile<T>::mr, whole = m % level3::gemm_tile<T>::mr == 0;
        const struct {
          tnk_gemm_kernel *kernel;
          const T *beta;
          bool adds, fits = true;
        } calls[] = {
            {E::row.ker0, &zero, false},
            {E::row.ker0, m % 2 == 0 ? &other : &unordered, true}, // anything but zero acts as one
            {E::ker0_pst, &minus_zero, false, edge},
            {E::ker0_pst, &unordered, true, edge},
            {E::kernel_0_b0, nullptr, false, whole}, // these do not read beta
            {E::kernel_0, nullptr, true, whole},
        };
        for (const auto &c : calls)
          if (c.fits) {
            ASSERT_NO_FATAL_FAILURE(check_kernel<T>(c.kernel, m, n, k, c.beta, c.adds));
          }
      }
}

} // namespace
} // namespace tnk::test
