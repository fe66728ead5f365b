// Which pass serves an entry. To be included where passes are instantiated.
#pragma once

#include "kernel/signal/dft/passes.h"

namespace tnk::signal {

template <class R, class Source, class Target>
void pass_of_cofactor(const DftFactor<R> &entry, Source source, Target target, const int32_t *order,
                      tnk_int count, R *scratch) {
  const auto run = [&](auto c) TNK_INLINED {
    cofactor_pass<c, R>(entry.factor, source, target, order, entry.before, count, entry.direct, scratch);
  };
  switch (entry.factor) {
  case 2:
    return run(constant<2>);
  case 3:
    return run(constant<3>);
  case 4:
    return run(constant<4>);
  case 5:
    return run(constant<5>);
  case 7:
    return run(constant<7>);
  case 8:
    return run(constant<8>);
  case 11:
    return run(constant<11>);
  case 13:
    return run(constant<13>);
  case 16:
    return run(constant<16>);
  default:
    return run(constant<0>);
  }
}

template <Direction D, class R, class Source, class Target>
void pass_of_factor(const DftFactor<R> &entry, Source source, Target target, tnk_int blocks, R *scratch) {
  const auto run = [&](auto f) TNK_INLINED {
    factor_pass<f, D, R>(entry.factor, source, target, entry.remaining, blocks, entry.twiddles, entry.direct,
                         scratch);
  };
  switch (entry.factor) {
  case 2:
    return run(constant<2>);
  case 3:
    return run(constant<3>);
  case 4:
    return run(constant<4>);
  case 5:
    return run(constant<5>);
  case 7:
    return run(constant<7>);
  case 11:
    return run(constant<11>);
  case 13:
    return run(constant<13>);
  default:
    return run(constant<0>);
  }
}

#define TNK_PASSES(R, Source, Target)                                                                        \
  template void pass_of_cofactor(const DftFactor<R> &, Source, Target, const int32_t *, tnk_int, R *);       \
  template void pass_of_factor<joining>(const DftFactor<R> &, Source, Target, tnk_int, R *);
#define TNK_PASSES_OF_PAIRS(R, inverse)                                                                      \
  using Source = pairs<const R *, inverse>;                                                                  \
  using Target = pairs<R *, inverse>;                                                                        \
  TNK_PASSES(R, Source, Target)

} // namespace tnk::signal
