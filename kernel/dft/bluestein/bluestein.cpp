// Transforms of any length N as a circular convolution (L. I. Bluestein, IEEE Trans. Audio Electroacoust. 18, 1970). Since
// 2 j k = j^2 + k^2 - (k - j)^2, the spectrum is the conjugate chirp times the convolution of the chirp exp(i pi j^2 / N)
// with the data times the conjugate chirp. The convolution has a power of two M of at least 2 N points and goes through
// another descriptor of this library.
//
// Takes 2 M complex numbers from init to free, and M more in each compute. The node's scale is not applied here.
#include <cmath>
#include <tnk/dft_commit.h>

#include "kernel/dft/bluestein/products.h"
#include "kernel/dft/commit/precision.h"

namespace tnk::dft {
namespace {

constexpr int32_t boundary = 256;

struct Block {
  uint64_t length; // N
  DftiNode *inner;
  uint64_t padded_length; // M
  void *chirp;            // conjugate from element 0 to N - 1
  void *spectrum;         // of the chirp, over M
};

Block *block_of(const DftiNode *node) {
  return static_cast<Block *>(node->bluestein_data);
}

// ---- Computing --------------------------------------------------------------------------------------------------------

// Forward, and with all tables conjugated backward: the conjugate of a spectrum is that of the conjugate read backward.
template <class R, bool Inverse> tnk_int transform(void *source, void *destination, DftiNode *node, void *) {
  using C = complex<R>;
  const Block &block = *block_of(node);
  const auto length = static_cast<int64_t>(block.length), padded = static_cast<int64_t>(block.padded_length);
  const auto *const chirp = static_cast<const C *>(block.chirp);
  const auto *const spectrum = static_cast<const C *>(block.spectrum);

  auto *const work = static_cast<C *>(tnk_serv_allocate(padded * tnk_int{sizeof(C)}, boundary));
  if (!work) return DftiMemoryError;
  products<Inverse>(work, static_cast<const C *>(source), chirp, length);
  std::memset(work + length, 0, static_cast<std::size_t>(padded - length) * sizeof(C));
  DftiNode *const inner = block.inner;
  tnk_int status = inner->compute_forward(inner, work, nullptr, nullptr, nullptr);
  if (status == DftiNoError) {
    if constexpr (Inverse)
      products_conj_reverse(work, spectrum, padded);
    else
      products<false>(work, work, spectrum, padded);
    status = inner->compute_backward(inner, work, nullptr, nullptr, nullptr);
  }
  if (status == DftiNoError) products<Inverse>(static_cast<C *>(destination), work, chirp, length);
  tnk_serv_deallocate(work);
  return status;
}

// ---- Setting up ---------------------------------------------------------------------------------------------------------

void sine_and_cosine(float angle, float *sine, float *cosine) {
  tnk_serv_libm_sincosf(angle, sine, cosine);
}
void sine_and_cosine(double angle, double *sine, double *cosine) {
  tnk_serv_libm_sincos(angle, sine, cosine);
}

// exp(i pi j^2 / N) from -N + 1 to N - 1 by the period M, and zeros between. Squares are taken modulo 2 N, where they
// count: each is the one before and the next odd number.
template <class R> void fill_chirp(complex<R> *chirp, int64_t length, int64_t padded) {
  constexpr R pi = R(3.14159265358979323846);
  chirp[0] = {1, 0};
  int64_t square = 1 % (2 * length);
  for (int64_t j = 1; j < length; ++j) {
    R sine, cosine;
    sine_and_cosine(pi * static_cast<R>(square) / static_cast<R>(length), &sine, &cosine);
    chirp[j] = chirp[padded - j] = {cosine, sine};
    square += 2 * j + 1;
    if (square >= 2 * length) square -= 2 * length;
  }
  for (int64_t j = length; j <= padded - length; ++j) chirp[j] = {0, 0};
}

// A descriptor in place for the transforms within. Calls of the outer one overlap where it has several users, and where
// the threads of a batch share it.
tnk_int make_inner(const DftiNode *node, tnk_int padded, DftiNode **inner) {
  if (const tnk_int status = tnk_dft_dfti_create_node(inner, node->precision, DftiComplex, 1, &padded))
    return status;
  (*inner)->strategy_list = node->strategy_list;
  (*inner)->user_threads = node->user_threads > node->threads ? node->user_threads : node->threads;
  (*inner)->requested_threads = node->requested_threads;
  tnk_dft_bless_node_omp(*inner);
  return (*inner)->methods->static_dfti_commit(*inner);
}

template <class R> tnk_int fill(Block &block, const DftiNode *node) {
  using C = complex<R>;
  const auto length = static_cast<int64_t>(block.length), padded = static_cast<int64_t>(block.padded_length);
  const tnk_int bytes = padded * tnk_int{sizeof(C)};
  block.chirp = tnk_serv_tnk_malloc(bytes, boundary);
  block.spectrum = tnk_serv_tnk_malloc(bytes, boundary);
  if (!block.chirp || !block.spectrum) return DftiMemoryError;
  if (const tnk_int status = make_inner(node, padded, &block.inner)) return status;

  auto *const chirp = static_cast<C *>(block.chirp);
  auto *const spectrum = static_cast<C *>(block.spectrum);
  fill_chirp<R>(chirp, length, padded);
  std::memcpy(spectrum, chirp, static_cast<std::size_t>(bytes));
  if (const tnk_int status = block.inner->compute_forward(block.inner, spectrum, nullptr, nullptr, nullptr))
    return status;
  // The transforms within do not scale; M is a power of two, so this is exact.
  const R share = 1 / static_cast<R>(padded);
  for (int64_t k = 0; k < padded; ++k) spectrum[k] = share * spectrum[k];
  for (int64_t j = 0; j < length; ++j) chirp[j] = conjugate(chirp[j]);
  return DftiNoError;
}

template <class R> tnk_int init(DftiNode *node) {
  using p = precision<R>;
  constexpr tnk_int too_long = tnk_int{1} << 29; // M is a 32-bit number
  const tnk_int length = node->axis.length;
  if (length < 1) return DftiDeclined;
  if (length >= too_long) return DftiLengthExceedsLimit;
  const int32_t bits = 64 - __builtin_clzll(static_cast<unsigned long long>(length));

  auto *const block = static_cast<Block *>(tnk_serv_tnk_calloc(1, sizeof(Block), boundary));
  if (!block) return DftiMemoryError;
  block->length = static_cast<uint64_t>(length);
  block->padded_length = static_cast<uint64_t>(int32_t{1} << (bits + 1));
  node->bluestein_data = block;
  if (const tnk_int status = fill<R>(*block, node)) {
    tnk_dft_bluestein_free(node);
    return status;
  }
  node->bluestein_free = tnk_dft_bluestein_free;
  node->kernels.*p::pair = {transform<R, false>, transform<R, true>};
  // Only transforms alone on several threads would look at this one, and such a node has one thread then.
  (node->kernels.*p::second_pair).forward = transform<R, true>;
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

tnk_int tnk_dft_bluestein_init_c(DftiNode *node) {
  return init<float>(node);
}
tnk_int tnk_dft_bluestein_init_z(DftiNode *node) {
  return init<double>(node);
}

void tnk_dft_bluestein_free(DftiNode *node) {
  if (!node || !node->bluestein_data) return;
  Block *const block = block_of(node);
  if (block->inner) block->inner->destroy(block->inner);
  tnk_serv_tnk_free(block->chirp);
  tnk_serv_tnk_free(block->spectrum);
  tnk_serv_tnk_free(block);
  node->bluestein_data = nullptr;
}
