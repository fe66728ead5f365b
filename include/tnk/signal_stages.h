/* The stages that signal transforms are made of. C and C++ alike. */
#ifndef TNK_SIGNAL_STAGES_H
#define TNK_SIGNAL_STAGES_H

#include <tnk/signal_dft_stages.h>
#include <tnk/signal_fft_stages.h>

#endif
