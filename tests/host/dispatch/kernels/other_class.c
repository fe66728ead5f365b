/* A kernel library of a processor class that is none of ours. */
#include <stdint.h>

int32_t dll_cpu_version(void);

int32_t dll_cpu_version(void) {
  return 7;
}
