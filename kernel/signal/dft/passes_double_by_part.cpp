// Passes over arrays of doubles by part.
#include "kernel/signal/dft/pass_bodies.h"

namespace tnk::signal {
TNK_PASSES(double, parts<const double *>, parts<double *>)
} // namespace tnk::signal
