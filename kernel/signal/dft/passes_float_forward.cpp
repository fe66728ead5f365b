// Forward passes over pairs of floats.
#include "kernel/signal/dft/pass_bodies.h"

namespace tnk::signal {
TNK_PASSES_OF_PAIRS(float, false)
} // namespace tnk::signal
