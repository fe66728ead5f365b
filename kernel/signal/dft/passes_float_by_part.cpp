// Passes over arrays of floats by part.
#include "kernel/signal/dft/pass_bodies.h"

namespace tnk::signal {
TNK_PASSES(float, parts<const float *>, parts<float *>)
} // namespace tnk::signal
