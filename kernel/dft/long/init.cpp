// How a long transform is split, and what its four steps need: nodes of the two lengths, and the twiddle factors.
#include <cmath>

#include "kernel/dft/long/long.h"

namespace tnk::dft {
namespace {

constexpr tnk_int declined_long = 102;
constexpr tnk_int longest = tnk_int{1} << 48; // numbers, far beyond any address

constexpr int log2_of(tnk_int n) {
  return 63 - __builtin_clzll(static_cast<unsigned long long>(n));
}

// ---- Factors ------------------------------------------------------------------------------------------------------------

// The prime factors, ascending; returns how many.
int factorise(tnk_int n, tnk_int *factors) {
  int count = 0;
  const auto divide = [&](tnk_int d) {
    for (; n % d == 0; n /= d) factors[count++] = d;
  };
  divide(2), divide(3);
  for (tnk_int d = 5; d * d <= n; d += 6) divide(d), divide(d + 2);
  if (n > 1) factors[count++] = n;
  return count;
}

// The smaller of two factors of n, 1 for a prime. Large primes go first, each to the smaller part unless that would pass
// the root.
tnk_int split(tnk_int n) {
  if (is_power_of_two(n)) return tnk_int{1} << (log2_of(n) >> 1);
  tnk_int root = static_cast<tnk_int>(std::sqrt(static_cast<double>(n)));
  while (root * root < n) ++root;
  tnk_int factors[64], a = 1, b = 1;
  for (int i = factorise(n, factors); i-- > 0;) (b >= a && a * factors[i] <= root ? a : b) *= factors[i];
  return std::min(a, b);
}

// ---- Twiddle factors ------------------------------------------------------------------------------------------------------

// exp(-2 pi i k / n). The angle is brought into the first octant as an integer, so that it has a small error, and quarters
// none.
tnk_complex16 root_of_unity(tnk_int k, tnk_int n) {
  const tnk_int eighths = 8 * (k % n), octant = eighths / n, rest = eighths % n;
  constexpr double quarter_pi = 0.78539816339744830961566084581987572;
  const double x =
      static_cast<double>(octant % 2 == 0 ? rest : n - rest) / static_cast<double>(n) * quarter_pi;
  double cosine = std::cos(x),
         sine = std::sin(in_register(x));             // two calls, where the compiler knows one for both
  if ((octant + 1) % 4 >= 2) std::swap(cosine, sine); // octants 1, 2, 5, 6: mirrored at the diagonal
  if (octant >= 2 && octant < 6) cosine = 0 - cosine;
  if (octant < 4) sine = 0 - sine;
  return {cosine, sine};
}

template <class R> void fill_tables(complex<R> *tables, tnk_int length, tnk_int n) {
  for (tnk_int step = 1; step <= length; step *= length)
    for (tnk_int i = 0; i < length; ++i) {
      const tnk_complex16 root = root_of_unity(i * step, n);
      *tables++ = {static_cast<R>(root.re), static_cast<R>(root.im)};
    }
}

// ---- Blocks ---------------------------------------------------------------------------------------------------------------

void release_block(DftiLongData *data) {
  if (data->node2 && data->node2 != data->node1) data->node2->destroy(data->node2);
  if (data->node1) data->node1->destroy(data->node1);
  tnk_serv_tnk_free(data->twiddles);
  tnk_serv_tnk_free(data);
}

void _free_data_1d_via_2d(DftiNode *node) {
  release_block(long_data(node));
}

// A node of one of the lengths. Each of its computes brings a buffer, since several may run at once.
template <class R> tnk_int make_inner(tnk_int length, DftiNode **made) {
  DftiNode *node = nullptr;
  if (const tnk_int status = precision<R>::create(&node, length)) return status;
  *made = node;
  node->requested_threads = 1;
  node->flags |= TNK_DFT_INNER;
  if (const tnk_int status = node->methods->static_dfti_commit(node)) return status;
  tnk_serv_tnk_free(node->workspace);
  node->workspace = nullptr;
  if (node->large_data) long_data(node)->variant = 0;
  return DftiNoError;
}

template <class R> tnk_int fill_block(DftiLongData *data, tnk_int n) {
  using C = complex<R>;
  data->n2 = n / data->n1;
  if (data->n1 > data->n2) std::swap(data->n1, data->n2);
  data->ld1 = padded<C>(data->n1), data->ld2 = padded<C>(data->n2);
  if (const tnk_int status = make_inner<R>(data->n1, &data->node1)) return status;
  if (data->n1 == data->n2)
    data->node2 = data->node1;
  else if (const tnk_int status = make_inner<R>(data->n2, &data->node2))
    return status;
  data->table_length = tnk_int{1} << (log2_of(n) / 2 + 1);
  data->twiddles = tnk_serv_tnk_malloc(2 * data->table_length * tnk_int{sizeof(C)}, 64);
  if (!data->twiddles) return DftiMemoryError;
  fill_tables<R>(static_cast<C *>(data->twiddles), data->table_length, n);
  return DftiNoError;
}

template <class R> tnk_int init(int32_t variant, DftiNode *node) {
  if (node->large_data) { // the threading layer's, for the steps on several threads
    long_data(node)->variant = variant;
    return DftiNoError;
  }
  const tnk_int n = node->axis.length, n1 = n < longest ? split(n) : 1;
  if (n1 == 1) return declined_long;
  auto *const data = static_cast<DftiLongData *>(tnk_serv_tnk_calloc(1, sizeof(DftiLongData), 64));
  if (!data) return DftiMemoryError;
  data->n1 = n1;
  data->variant = variant;
  if (const tnk_int status = fill_block<R>(data, n)) {
    release_block(data);
    return status;
  }
  node->large_data = data;
  node->large_free = _free_data_1d_via_2d;
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

tnk_int tnk_dft_xc_init_data_1d_via_2d(int32_t variant, DftiNode *node, DftiNode *) {
  return tnk::dft::init<float>(variant, node);
}
tnk_int tnk_dft_xz_init_data_1d_via_2d(int32_t variant, DftiNode *node, DftiNode *) {
  return tnk::dft::init<double>(variant, node);
}
