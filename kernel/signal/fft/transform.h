// Transforms of a table's length, through which all of an order go.
#pragma once

#include "kernel/signal/fft/large.h"
#include "kernel/signal/fft/small.h"

namespace tnk::signal {

// Orders 7 to 17. What stands between passes goes where the result will be, if that is neither the source nor astride the
// lines of the cache; else to the buffer.
template <class R, bool Inverse>
void cached_transform(pairs<const R *, Inverse> source, pairs<R *, Inverse> destination, int order,
                      const R *twiddles, const std::int32_t *reversal, R *buffer) {
  if (order == straight_order) return transform_128<R>(source, destination);
  const bool through_buffer = source.p == destination.p || !is_aligned_to(destination.p, 32);
  transform_through(source, destination, blocks<R>{through_buffer ? buffer : destination.p}, order, twiddles,
                    reversal);
}
template <class R>
void cached_transform(parts<const R *> source, parts<R *> destination, int order, const R *twiddles,
                      const std::int32_t *reversal, R *buffer) {
  if (order == straight_order) return transform_128<R>(source, destination);
  transform_through(source, destination, blocks<R>{buffer}, order, twiddles, reversal);
}

// From order 7 on.
template <class R, class Source, class Target>
void any_transform(Source source, Target destination, int order, const fft_spec<R> &spec, bool scaled,
                   R *buffer) {
  if (order >= large_order) return large_transform(source, destination, order, spec, scaled, buffer);
  cached_transform(source, destination, order, spec.twiddles, spec.reversal, buffer);
  if (scaled) scale_array(spec.scale, destination, tnk_int(1) << order);
}

} // namespace tnk::signal
