// Spectra in the order of the passes.
#include "kernel/signal/dft/any_order.h"
#include "kernel/signal/dft/pass_bodies.h"

namespace tnk::signal {
namespace {

// Transforms of the cofactor side by side: a short list of where they begin serves all of them.
constexpr int32_t at_once = 32;
template <class R, class Source, class Target>
void cofactors(const DftFactor<R> &entry, Source source, Target target, tnk_int count, R *scratch) {
  DftFactor<R> side_by_side = entry;
  side_by_side.before = 1;
  int32_t begin[at_once];
  for (int32_t i = 0; i < at_once; ++i) begin[i] = i * entry.factor;
  for (tnk_int b = 0; b < count; b += at_once)
    pass_of_cofactor(side_by_side, from(source, b * entry.factor), from(target, b * entry.factor), begin,
                     std::min<tnk_int>(at_once, count - b), scratch);
}

// Depth first, as in transform_block, but in the opposite order.
template <class R, class Source, class Target>
void split_block(const DftSpec<R> &spec, int32_t level, tnk_int block, Source source, Target target,
                 R *scratch) {
  const DftFactor<R> &entry = spec.factors[level];
  const tnk_int length = tnk_int{entry.factor} * entry.remaining, at = block * length;
  const Target own = from(target, at);
  pass_of_factor<splitting>(entry, from(source, at), own, 1, scratch);
  if (level == spec.last_factor)
    return cofactors(spec.factors[level + 1], as_source(own), own, entry.factor, scratch);
  for (tnk_int i = 0; i < entry.factor; ++i)
    split_block(spec, level + 1, block * entry.factor + i, as_source(target), target, scratch);
}

template <class R, class Source, class Target>
void join_block(const DftSpec<R> &spec, int32_t level, tnk_int block, Source source, Target target,
                R *scratch) {
  const DftFactor<R> &entry = spec.factors[level];
  const tnk_int length = tnk_int{entry.factor} * entry.remaining, at = block * length;
  const Target own = from(target, at);
  if (level == spec.last_factor)
    cofactors(spec.factors[level + 1], from(source, at), own, entry.factor, scratch);
  else
    for (tnk_int i = 0; i < entry.factor; ++i)
      join_block(spec, level + 1, block * entry.factor + i, source, target, scratch);
  pass_of_factor(entry, as_source(own), own, 1, scratch);
}

} // namespace

template <class R, bool Inverse>
int32_t run_any_order(const DftSpec<R> &spec, const complex<R> *source, complex<R> *target, R *work) {
  const auto from = packed_source<Inverse, R>(source);
  const auto to = packed_target<Inverse, R>(target);
  if constexpr (Inverse)
    join_block(spec, 0, 0, from, to, work);
  else
    split_block(spec, 0, 0, from, to, work);
  return TNK_SIGNAL_OK;
}

template int32_t run_any_order<float, false>(const DftSpec<float> &, const tnk_complex8 *, tnk_complex8 *,
                                             float *);
template int32_t run_any_order<float, true>(const DftSpec<float> &, const tnk_complex8 *, tnk_complex8 *,
                                            float *);
template int32_t run_any_order<double, false>(const DftSpec<double> &, const tnk_complex16 *, tnk_complex16 *,
                                              double *);
template int32_t run_any_order<double, true>(const DftSpec<double> &, const tnk_complex16 *, tnk_complex16 *,
                                             double *);

} // namespace tnk::signal
