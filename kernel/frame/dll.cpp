// What the dispatching core asks first.
#include <tnk/kernel.h>

int32_t dll_cpu_version(void) {
  return TNK_CLASS_AVX;
}
