// Which pass serves an entry. To be included where passes are instantiated.
#pragma once

#include "kernel/signal/dft/passes.h"

namespace tnk::signal {

// run(constant<F>) for the F that is the factor, run(constant<0>) where there is none.
template <int... F, class Run> TNK_INLINE void for_factor(int32_t factor, Run run) {
  if (!((factor == F && (run(constant<F>), true)) || ...)) run(constant<0>);
}

template <class R, class Source, class Target>
void pass_of_cofactor(const DftFactor<R> &entry, Source source, Target target, const int32_t *order,
                      tnk_int count, R *scratch) {
  for_factor<2, 3, 4, 5, 7, 8, 11, 13, 16>(entry.factor, [&](auto c) TNK_INLINED {
    cofactor_pass<c, R>(entry.factor, source, target, order, entry.before, count, entry.direct, scratch);
  });
}

template <Direction D, class R, class Source, class Target>
void pass_of_factor(const DftFactor<R> &entry, Source source, Target target, tnk_int blocks, R *scratch) {
  for_factor<2, 3, 4, 5, 7, 11, 13>(entry.factor, [&](auto f) TNK_INLINED {
    factor_pass<f, D, R>(entry.factor, source, target, entry.remaining, blocks, entry.twiddles, entry.direct,
                         scratch);
  });
}

#define TNK_PASSES(R, Source, Target)                                                                        \
  template void pass_of_cofactor(const DftFactor<R> &, Source, Target, const int32_t *, tnk_int, R *);       \
  template void pass_of_factor<joining>(const DftFactor<R> &, Source, Target, tnk_int, R *);
#define TNK_PASSES_OF_PAIRS(R, inverse)                                                                      \
  using Source = pairs<const R *, inverse>;                                                                  \
  using Target = pairs<R *, inverse>;                                                                        \
  TNK_PASSES(R, Source, Target)

} // namespace tnk::signal
