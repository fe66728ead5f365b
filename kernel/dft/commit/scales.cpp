// Scales that a signal record can apply by itself, and the statuses of signal primitives.
#include <cmath>

#include "kernel/dft/commit/precision.h"

int32_t tnk_dft_vpk_can_scale(const DftiNode *node, int32_t *flag) {
  const double forward = node->forward_scale, backward = node->backward_scale;
  const double length = static_cast<double>(node->axis.length);
  const double root = 1 / std::sqrt(length);
  int32_t found;
  if (forward == 1 && backward == 1)
    found = tnk::dft::unscaled;
  else if (forward == 1 / length && backward == 1)
    found = 1;
  else if (forward == 1 && backward == 1 / length)
    found = 2;
  else if (forward == root && backward == root)
    found = 4;
  else
    return 0;
  if (flag) *flag = found;
  return 1;
}

tnk_int tnk_dft_transfer_vpk_tnk_error(int32_t signal_status) {
  return tnk::dft::status_of(signal_status);
}
