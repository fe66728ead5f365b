// One long transform on one thread: the kernels that commit puts into a node.
#include "kernel/dft/long/long.h"

namespace tnk::dft {
namespace {

// Memory for the length of a call; none for 0 bytes.
class Scratch {
public:
  explicit Scratch(tnk_int bytes)
      : block_(bytes ? tnk_serv_allocate(bytes, 64) : nullptr), missing_(bytes && !block_) {}
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  ~Scratch() { tnk_serv_deallocate(block_); }

  bool missing() const { return missing_; }
  void *get() const { return block_; }

private:
  void *block_;
  bool missing_;
};

template <class R, bool Inverse>
tnk_int rows_to_columns(const DftiLongData &data, complex<R> *matrix, complex<R> *destination, R factor,
                        void *work) {
  const Step step{kernel_of<R, Inverse>(data.node2), data.node2, work};
  for (tnk_int i = 0; i < data.n1; i += rows_at_once) {
    const tnk_int count = std::min<tnk_int>(rows_at_once, data.n1 - i);
    complex<R> *const rows = matrix + i * data.ld2;
    for (tnk_int r = 0; r < count; ++r) {
      char *const row = reinterpret_cast<char *>(rows + r * data.ld2);
      if (const tnk_int status = step(row, row)) return status;
    }
    if (factor == 1)
      steps<R>::four(count, data.n2, rows, data.ld2, destination + i, data.n1);
    else
      steps<R>::scale_four(count, data.n2, rows, data.ld2, destination + i, data.n1, factor);
  }
  return DftiNoError;
}

template <class R, bool Inverse> tnk_int in_four_steps(void *first, void *second, DftiNode *node, void *) {
  using C = complex<R>;
  const DftiLongData &data = *long_data(node);
  const bool stays = node->placement == DftiInPlace || first == second;
  C *source = static_cast<C *>(first), *const destination = stays ? source : static_cast<C *>(second);
  const R factor = factor_of<R, Inverse>(node);
  const auto n1 = static_cast<std::uint64_t>(data.n1), n2 = static_cast<std::uint64_t>(data.n2);

  const bool apart = data.variant == 0;
  const Scratch matrix(apart ? data.n1 * data.ld2 * tnk_int{sizeof(C)} : 0);
  if (matrix.missing()) return DftiMemoryError;
  if (!apart && stays) {
    steps<R>::transpose_in_place('C', 'T', n2, n1, {factor, 0}, source, n2, n1);
  } else if (data.variant == -1) {
    steps<R>::transpose('C', 'T', n2, n1, {factor, 0}, source, n2, destination, n1);
    source = destination;
  }
  C *const between = apart ? static_cast<C *>(matrix.get()) : destination;
  {
    const Scratch work(data.node1->buffer_size);
    if (work.missing()) return DftiMemoryError;
    if (const tnk_int status = steps<R>::one_two(
            node, data.n1, data.n2, source, between, kernel_of<R, Inverse>(data.node1), data.n1, work.get(),
            static_cast<const C *>(data.twiddles), 0, data.table_length, Inverse ? -1 : 1))
      return status;
  }
  const Scratch work(data.node2->buffer_size);
  if (work.missing()) return DftiMemoryError;
  if (apart) return rows_to_columns<R, Inverse>(data, between, destination, factor, work.get());
  return steps<R>::three(between, data.n1, data.n2, data.n1, kernel_of<R, Inverse>(data.node2), data.n2,
                         data.node2, work.get());
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

#define TNK_LONG(x, R)                                                                                       \
  tnk_int tnk_dft_##x##_1d_via_2d_f(void *source, void *destination, DftiNode *node, void *work) {           \
    return in_four_steps<R, false>(source, destination, node, work);                                         \
  }                                                                                                          \
  tnk_int tnk_dft_##x##_1d_via_2d_b(void *source, void *destination, DftiNode *node, void *work) {           \
    return in_four_steps<R, true>(source, destination, node, work);                                          \
  }
TNK_LONG(xc, float)
TNK_LONG(xz, double)
#undef TNK_LONG
