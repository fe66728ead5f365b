/* What a kernel library says of itself. */
#ifndef TNK_KERNEL_H
#define TNK_KERNEL_H

#include <tnk/types.h>

/* Processor classes, as tnk_serv_cpu_detect and dll_cpu_version number them. */
enum {
  TNK_CLASS_NONE = 0, /* a processor, or an operating system, without 256-bit floating point */
  TNK_CLASS_AVX = 4   /* AVX: 256-bit floating point; no fused multiply-add, no 256-bit integers */
};

TNK_BEGIN_DECLS

/* The class that this kernel library was built for: TNK_CLASS_AVX. Reads no state and has no side effect; may be
   called before anything else. */
int32_t dll_cpu_version(void);

TNK_END_DECLS

#endif
