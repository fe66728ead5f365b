// How many threads a transform may use, and what follows from that: nothing here is measured, all are closed rules.
#include <cmath>
#include <cstdint>
#include <tnk/services.h>

#include "kernel/dft/commit/precision.h"

namespace tnk::dft {
namespace {

enum class Shape { one, several };

// ---- Suggestions -----------------------------------------------------------------------------------------------------
// Each rule names a number of threads at most, or 0, which is no opinion.

// Numbers below which a transform of several dimensions has too little for two threads.
constexpr int64_t few_numbers = 343, few_in_plane = 2048;

// Bytes that one compute touches.
template <class T> double data_bytes(const DftiNode *node) {
  const double numbers =
      static_cast<double>(node->total_length) * static_cast<double>(node->number_of_transforms);
  return numbers * sizeof(typename precision<T>::complex) * (node->placement == DftiNotInPlace ? 2 : 1);
}

template <class T> bool fits_cache(const DftiNode *node) {
  int32_t info[2] = {0, 0};
  tnk_serv_cache_info(info);
  const int32_t cache = info[0] > 0 && info[1] > 0 ? info[1] : 8192;
  return data_bytes<T>(node) < cache;
}

// Work grows with D ln D for D bytes; its square root balances the parts against what starting and joining them costs.
template <class T> int32_t by_root(const DftiNode *node) {
  const double bytes = data_bytes<T>(node);
  if (!(bytes > 1)) return 0;
  const double root = std::sqrt(bytes * std::log(bytes) / 313600) + 0.5;
  const int32_t factor = node->committed_rank > 1 ? node->committed_rank : node->large_data ? 2 : 1;
  return root < INT32_MAX / DftiMaxDimension ? static_cast<int32_t>(root) * factor : 0;
}

// A small plane.
template <class T, Shape shape> int32_t static_suggest_optimal_nt_1(const DftiNode *node) {
  const int64_t few = is_power_of_two(node->total_length) ? few_in_plane : few_numbers;
  return shape == Shape::several && node->committed_rank == 2 && node->user_threads == 1 &&
         node->number_of_transforms == 1 && node->total_length < few;
}

// By the work; all that the processor has for several dimensions that fill their caches and no more.
template <class T, Shape shape> int32_t static_suggest_optimal_nt_2(const DftiNode *node) {
  if (shape == Shape::several && node->committed_rank != 1 && node->total_length >= few_numbers) {
    const auto ask = __atomic_load_n(&node->api_entries->hardware_threads, __ATOMIC_RELAXED);
    const int32_t hardware = ask ? ask() : 0;
    const int64_t most = hardware >= 4 ? 8192 : 32000;
    if (hardware >= 2 && node->total_length <= most) return hardware;
  }
  return by_root<T>(node);
}

// A batch that fits into one cache, and what is small in several dimensions.
template <class T, Shape shape> int32_t static_suggest_optimal_nt_3(const DftiNode *node) {
  const bool several = shape == Shape::several;
  if (node->number_of_transforms == 1)
    return several && node->committed_rank > 1 && node->total_length < few_numbers;
  return (several || node->number_of_transforms > 1) && fits_cache<T>(node);
}

// Two places are kept for rules that no shape has yet.
template <class T, Shape shape> int32_t static_suggest_optimal_nt_4(const DftiNode *) {
  return 0;
}
template <class T, Shape shape> int32_t static_suggest_optimal_nt_5(const DftiNode *) {
  return 0;
}

// In the order in which they are asked.
using Suggester = int32_t(const DftiNode *node);
template <class T, Shape shape>
constexpr Suggester *suggest_optimal_nt[] = {
    static_suggest_optimal_nt_1<T, shape>, static_suggest_optimal_nt_2<T, shape>,
    static_suggest_optimal_nt_3<T, shape>, static_suggest_optimal_nt_4<T, shape>,
    static_suggest_optimal_nt_5<T, shape>, nullptr};

// ---- Modes -------------------------------------------------------------------------------------------------------------

// The slots in which callers of one descriptor claim their slices of the workspace.
tnk_int make_slots(DftiNode *node) {
  constexpr int32_t most_users = 0x7FFFFFF, alignment = 64;
  if (node->user_threads > most_users) return DftiMemoryError;
  tnk_serv_tnk_free(node->thread_slots);
  node->thread_slots = static_cast<uint64_t *>(
      tnk_serv_tnk_calloc(2 * int64_t{node->user_threads} + 1, sizeof(uint64_t), alignment));
  return node->thread_slots ? DftiNoError : DftiMemoryError;
}

void set_flag(DftiNode *node, uint32_t flag, bool on) {
  node->flags = on ? node->flags | flag : node->flags & ~flag;
}

template <class T, Shape shape, int32_t domain> tnk_int define_mode(DftiNode *node, int32_t dynamic) {
  constexpr bool several = shape == Shape::several;
  const bool one_transform = node->number_of_transforms == 1;
  const bool one_dimensional = !several || node->committed_rank == 1;
  // The threading layer may have a parallel path for one complex transform, and has named it before.
  const bool has_parallel_path =
      !several && domain == DftiComplex &&
      ((node->kernels.*precision<T>::second_pair).forward || node->kernels.parallel_step);
  if (one_dimensional && one_transform && !has_parallel_path) node->threads = 1;

  if (node->user_threads > 1) { // they are the parallelism
    if (const tnk_int status = make_slots(node)) return status;
    node->threads = 1;
  }

  if (dynamic) {
    for (Suggester *const *next = suggest_optimal_nt<T, shape>; *next && node->threads != 1; ++next) {
      const int32_t suggestion = (*next)(node);
      if (suggestion > 0 && suggestion < node->threads) node->threads = suggestion;
    }
  }

  const bool alone = one_transform && node->threads == 1;
  const bool contiguous =
      one_dimensional && alone && node->axis.input_stride == 1 && node->axis.output_stride == 1;
  set_flag(node, TNK_DFT_CONTIGUOUS, contiguous);
  set_flag(node, TNK_DFT_PLANE, several && alone && node->committed_rank == 2 && node->user_threads == 1);
  if (node->user_threads == 1) set_flag(node, TNK_DFT_ONE_SHOT, contiguous);
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

tnk_int tnk_dft_threaded_mode_definition_s_c2c_1d(DftiNode *node, int32_t dynamic) {
  return define_mode<float, Shape::one, DftiComplex>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_s_c2c_md(DftiNode *node, int32_t dynamic) {
  return define_mode<float, Shape::several, DftiComplex>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_s_r2c_1d(DftiNode *node, int32_t dynamic) {
  return define_mode<float, Shape::one, DftiReal>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_s_r2c_md(DftiNode *node, int32_t dynamic) {
  return define_mode<float, Shape::several, DftiReal>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_d_c2c_1d(DftiNode *node, int32_t dynamic) {
  return define_mode<double, Shape::one, DftiComplex>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_d_c2c_md(DftiNode *node, int32_t dynamic) {
  return define_mode<double, Shape::several, DftiComplex>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_d_r2c_1d(DftiNode *node, int32_t dynamic) {
  return define_mode<double, Shape::one, DftiReal>(node, dynamic);
}
tnk_int tnk_dft_threaded_mode_definition_d_r2c_md(DftiNode *node, int32_t dynamic) {
  return define_mode<double, Shape::several, DftiReal>(node, dynamic);
}
