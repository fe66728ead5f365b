/* Signal primitives: everything but the stages that they are made of. C and C++ alike. */
#ifndef TNK_SIGNAL_H
#define TNK_SIGNAL_H

#include <tnk/signal_dft.h>
#include <tnk/signal_fft.h>
#include <tnk/signal_vector.h>

#endif
