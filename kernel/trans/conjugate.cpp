// Conjugates of single numbers.
#include "kernel/frame/element.h"
#include <tnk/trans.h>

tnk_complex8 tnk_cconj(tnk_complex8 x) {
  return tnk::conjugate(x);
}
tnk_complex16 tnk_zconj(tnk_complex16 x) {
  return tnk::conjugate(x);
}
