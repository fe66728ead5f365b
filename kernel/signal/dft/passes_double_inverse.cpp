// Inverse passes over pairs of doubles.
#include "kernel/signal/dft/pass_bodies.h"

namespace tnk::signal {
TNK_PASSES_OF_PAIRS(double, true)
} // namespace tnk::signal
