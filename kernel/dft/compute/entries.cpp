// Compute entries, which commit puts into the node: each takes one of five routes, by flags alone.
#include "kernel/dft/compute/drivers.h"
#include "kernel/dft/compute/scale.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

// ---- What the layer below offers ------------------------------------------------------------------------------------

struct Parallel {
  DftiParallel *in_place;
  DftiParallelOut *out_of_place;
  tnk_int operator()(DftiNode *node, void *source, void *destination, Place place) const {
    return place == Place::in_place ? in_place(&node, source) : out_of_place(&node, source, destination);
  }
};
#define TNK_PARALLEL(name)                                                                                   \
  Parallel {                                                                                                 \
    tnk_dft_compute_##name##_par, tnk_dft_compute_##name##_out_par                                           \
  }
template <class R, bool Inverse>
constexpr Parallel complex_parallel = sizeof(R) == 4
                                          ? (Inverse ? TNK_PARALLEL(backward_c) : TNK_PARALLEL(forward_c))
                                          : (Inverse ? TNK_PARALLEL(backward_z) : TNK_PARALLEL(forward_z));
template <class R, bool Inverse>
constexpr Parallel packed_parallel = sizeof(R) == 4
                                         ? (Inverse ? TNK_PARALLEL(backward_s) : TNK_PARALLEL(forward_s))
                                         : (Inverse ? TNK_PARALLEL(backward_d) : TNK_PARALLEL(forward_d));
template <class R, bool Inverse>
constexpr Parallel half_parallel = sizeof(R) == 4
                                       ? (Inverse ? TNK_PARALLEL(backward_cs) : TNK_PARALLEL(forward_sc))
                                       : (Inverse ? TNK_PARALLEL(backward_zd) : TNK_PARALLEL(forward_dz));
#undef TNK_PARALLEL

// ---- Routes ---------------------------------------------------------------------------------------------------------

// All of the data by one call of the kernel.
template <class R, bool Inverse>
inline TNK_INLINED tnk_int one_call(DftiNode *node, void *source, void *destination, void *work) {
  const tnk_int status = kernel_of<R, Inverse>(node)(source, destination, node, work);
  scale_convolved<R, Inverse>(node, destination);
  return status;
}

// plane(kernel, next_kernel): the two-dimensional entry. on_threads(): on the threads of the layer below. drive(work): all
// transforms, one after another.
template <class R, bool Inverse, class Plane, class OnThreads, class Drive>
inline TNK_INLINED tnk_int route(DftiNode *node, void *source, void *destination, const Plane &plane,
                                 const OnThreads &on_threads, const Drive &drive) {
  if (node->flags & TNK_DFT_ONE_SHOT) return one_call<R, Inverse>(node, source, destination, node->workspace);
  if (node->flags & TNK_DFT_PLANE)
    return plane(kernel_of<R, Inverse>(node), kernel_of<R, Inverse>(node->next));
  if (node->user_threads > 1) {
    const int32_t slot = tnk_dft_grasp_user_thread(node);
    if (slot < 0) return DftiNumberOfThreadsError;
    void *const work =
        node->workspace ? static_cast<char *>(node->workspace) + slot * node->maximum_buffer_size : nullptr;
    const tnk_int status = node->flags & TNK_DFT_CONTIGUOUS
                               ? one_call<R, Inverse>(node, source, destination, work)
                               : drive(work);
    tnk_dft_release_user_thread(node, slot);
    return status;
  }
  if (node->threads != 1) return on_threads();
  return drive(node->workspace);
}

// ---- One transform on several threads -----------------------------------------------------------------------------------

void copy_numbers(tnk_int n, const float *from, float *to) {
  static constexpr tnk_int adjacent = 1;
  tnk_blas_xscopy(&n, from, &adjacent, to, &adjacent);
}
void copy_numbers(tnk_int n, const double *from, double *to) {
  static constexpr tnk_int adjacent = 1;
  tnk_blas_xdcopy(&n, from, &adjacent, to, &adjacent);
}

// Complex numbers on a boundary of 16 bytes: the caller's, or a copy of them.
template <class R> class Aligned {
public:
  Aligned(R *numbers, tnk_int reals) : original_(numbers), reals_(reals) {
    if (is_aligned_to(numbers, 16)) return;
    copy_ = static_cast<R *>(tnk_serv_allocate(reals * tnk_int{sizeof(R)}, 16));
    missing_ = !copy_;
    if (copy_) copy_numbers(reals, numbers, copy_);
  }
  Aligned(const Aligned &) = delete;
  Aligned &operator=(const Aligned &) = delete;
  ~Aligned() { tnk_serv_deallocate(copy_); }

  bool missing() const { return missing_; }
  R *numbers() const { return copy_ ? copy_ : original_; }
  void give_back() const {
    if (copy_) copy_numbers(reals_, copy_, original_);
  }

private:
  R *original_, *copy_ = nullptr;
  tnk_int reals_;
  bool missing_ = false;
};

template <class R, bool Inverse> DftiKernel *second_kernel(const DftiNode *node) {
  const DftiKernelPair &pair = sizeof(R) == 4 ? node->kernels.second_single : node->kernels.second_double;
  return Inverse ? pair.inverse : pair.forward;
}

template <class R>
tnk_int one_on_threads(DftiNode *node, DftiKernel *kernel, void *source, void *destination) {
  if (node->large_data) return kernel(source, destination, node, node->workspace);
  const tnk_int reals = 2 * node->axis.length;
  const Aligned<R> from(static_cast<R *>(source), reals);
  if (from.missing()) return DftiMemoryError;
  if (source == destination) {
    const tnk_int status = kernel(from.numbers(), from.numbers(), node, node->second_workspace);
    from.give_back();
    return status;
  }
  const Aligned<R> to(static_cast<R *>(destination), reals);
  if (to.missing()) return DftiMemoryError;
  const tnk_int status = kernel(from.numbers(), to.numbers(), node, node->second_workspace);
  to.give_back();
  return status;
}

// ---- Kinds --------------------------------------------------------------------------------------------------------------

enum class Shape { line, several };

template <class R, bool Inverse>
tnk_int compute_split(DftiNode *node, R *const *source, R *const *destination, Place place) {
  const auto drive = [=](void *work) {
    return drive_split<R, Inverse>(node, source, destination, node->number_of_transforms, work, place);
  };
  R **const from = const_cast<R **>(source), **const to = const_cast<R **>(destination);
  const auto drive_alone = [&] { return drive(node->workspace); };
  return route<R, Inverse>(
      node, from, to, [&](DftiKernel *, DftiKernel *) { return drive_alone(); }, drive_alone, drive);
}

template <class R, bool Inverse, Shape shape, Place place>
tnk_int compute_complex(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  constexpr bool stays = place == Place::in_place;
  if (node->complex_storage == DftiRealReal) {
    R *const source[2] = {static_cast<R *>(first) + node->input_offset,
                          static_cast<R *>(second) + node->input_offset};
    if (stays) return compute_split<R, Inverse>(node, source, source, place);
    R *const destination[2] = {static_cast<R *>(third) + node->output_offset,
                               static_cast<R *>(fourth) + node->output_offset};
    return compute_split<R, Inverse>(node, source, destination, place);
  }
  using C = complex<R>;
  C *const source = static_cast<C *>(first) + node->input_offset;
  C *const destination = stays ? source : static_cast<C *>(second) + node->output_offset;
  return route<R, Inverse>(
      node, source, destination,
      [=](DftiKernel *row, DftiKernel *column) {
        return node->kernels.plane(source, destination, &node->axis, &node->next->axis, row, column, node,
                                   node->workspace);
      },
      [=] {
        if (shape == Shape::line && node->number_of_transforms == 1)
          if (DftiKernel *const kernel = second_kernel<R, Inverse>(node))
            return one_on_threads<R>(node, kernel, source, destination);
        return complex_parallel<R, Inverse>(node, source, destination, place);
      },
      [=](void *work) {
        return drive_complex<R, Inverse>(node, reinterpret_cast<char *>(source),
                                         reinterpret_cast<char *>(destination), node->number_of_transforms,
                                         work, place);
      });
}

template <class R, bool Inverse, Place place>
tnk_int compute_real(DftiNode *node, void *first, void *second, void *, void *) {
  const bool packed = node->conjugate_even_storage != DftiComplexComplex;
  const tnk_int spectral = packed ? sizeof(R) : sizeof(complex<R>), real = sizeof(R);
  char *const source = static_cast<char *>(first) + node->input_offset * (Inverse ? spectral : real);
  char *const destination = static_cast<char *>(place == Place::in_place ? first : second) +
                            node->output_offset * (Inverse ? real : spectral);
  const auto drive = [=](void *work) {
    return drive_real<R, Inverse>(node, source, destination, node->number_of_transforms, work, place);
  };
  return route<R, Inverse>(
      node, source, destination,
      [=](DftiKernel *row, DftiKernel *column) {
        DftiRealPlane *const plane = Inverse ? node->kernels.backward_plane : node->kernels.forward_plane;
        return plane(source, destination, &node->axis, &node->next->axis, &node->axis.output_stride,
                     &node->next->axis.output_stride, row, column, node, node->workspace);
      },
      [=] {
        // The layer below knows one address in place.
        if (place == Place::in_place && source != destination) return drive(node->workspace);
        return (packed ? packed_parallel<R, Inverse> : half_parallel<R, Inverse>)(node, source, destination,
                                                                                  place);
      },
      drive);
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

#define TNK_ENTRY(name, function, ...)                                                                       \
  tnk_int tnk_dft_compute_##name(DftiNode *node, void *first, void *second, void *third, void *fourth) {     \
    return function<__VA_ARGS__>(node, first, second, third, fourth);                                        \
  }
#define TNK_ENTRIES(direction, p, R, Inverse)                                                                \
  TNK_ENTRY(direction##_##p##_c2c_1d_i, compute_complex, R, Inverse, Shape::line, Place::in_place)           \
  TNK_ENTRY(direction##_##p##_c2c_1d_o, compute_complex, R, Inverse, Shape::line, Place::out_of_place)       \
  TNK_ENTRY(direction##_##p##_c2c_md_i, compute_complex, R, Inverse, Shape::several, Place::in_place)        \
  TNK_ENTRY(direction##_##p##_c2c_md_o, compute_complex, R, Inverse, Shape::several, Place::out_of_place)    \
  TNK_ENTRY(direction##_##p##_r2c_1d_i, compute_real, R, Inverse, Place::in_place)                           \
  TNK_ENTRY(direction##_##p##_r2c_1d_o, compute_real, R, Inverse, Place::out_of_place)                       \
  TNK_ENTRY(direction##_##p##_r2c_md_i, compute_real, R, Inverse, Place::in_place)                           \
  TNK_ENTRY(direction##_##p##_r2c_md_o, compute_real, R, Inverse, Place::out_of_place)
TNK_ENTRIES(fwd, s, float, false)
TNK_ENTRIES(bwd, s, float, true)
TNK_ENTRIES(fwd, d, double, false)
TNK_ENTRIES(bwd, d, double, true)
#undef TNK_ENTRIES
#undef TNK_ENTRY
