// Records: making and releasing them, and what each entry asks of one first.
#pragma once

#include "kernel/signal/dft/spec.h"
#include <tnk/signal_dft.h>

namespace tnk::signal {

template <class R>
int32_t init_dft(tnk_signal_dft **out, int32_t tag, int32_t length, int32_t flag, int32_t hint);
template <class R> int32_t free_dft(tnk_signal_dft *spec, int32_t tag);
template <class R> int32_t dft_buffer_size(const tnk_signal_dft *spec, int32_t tag, int32_t *size);

template <class R> inline const DftSpec<R> *record(const tnk_signal_dft *spec) {
  return reinterpret_cast<const DftSpec<R> *>(spec);
}
template <class R> inline int32_t checked_record(const tnk_signal_dft *spec, int32_t tag) {
  if (!spec) return TNK_SIGNAL_NULL;
  return record<R>(spec)->tag == tag ? TNK_SIGNAL_OK : TNK_SIGNAL_BAD_TAG;
}

inline bool is_real(int32_t tag) {
  return tag == dft_real_single || tag == dft_real_double;
}
inline bool is_in_parts(int32_t tag) {
  return tag == dft_parts_single || tag == dft_parts_double;
}
// The length of the complex transform: two real numbers make a complex one, if there is none left over.
template <class R> inline int32_t complex_length(const DftSpec<R> &spec) {
  return is_real(spec.tag) && spec.length % 2 == 0 ? spec.length / 2 : spec.length;
}

// The work buffer of one call: the caller's, on a boundary, or one of its own. body(p) gets null where none is needed.
template <class R, class Body> inline int32_t with_work(const DftSpec<R> &spec, uint8_t *work, Body body) {
  if (spec.buffer_size == 0) return body(static_cast<R *>(nullptr));
  const Scoped<uint8_t> own{work ? nullptr : e9_vpksMalloc_8u(spec.buffer_size)};
  if (!work && !own.p) return TNK_SIGNAL_NO_MEMORY;
  return body(reinterpret_cast<R *>(aligned_up(work ? work : own.p)));
}

} // namespace tnk::signal
