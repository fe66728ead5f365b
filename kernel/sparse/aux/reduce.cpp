// Private outputs added up. Each element gets the parts in their order, however many elements are taken at a time.
#include "kernel/frame/element.h"
#include "kernel/sparse/wrapped.h"
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

template <class T, class I> void split(I first, I last, I parts, I stride, const T *partial_y, T *y) {
  for (I p = 0; p <= parts - 2; ++p)
    for (I i = first; i <= last; ++i)
      put(y + i - 1, get(y + i - 1) + get(partial_y + wrapped_product(p, stride) + i - 1));
}

// y[i] ... y[i + Width - 1] in registers while all parts are added. part(t) is the address of what goes to y[0].
template <int Width, class T, class I, class Part> void add_parts_at(I i, I first, I last, Part part, T *y) {
  T sum[Width];
  for (int k = 0; k < Width; ++k) sum[k] = get(y + i + k);
  for (I t = first; t <= last; ++t) {
    const T *const from = part(t) + i;
    for (int k = 0; k < Width; ++k) sum[k] = sum[k] + get(from + k);
  }
  for (int k = 0; k < Width; ++k) put(y + i + k, sum[k]);
}
template <int Width, class T, class I, class Part> void add_parts(I count, I first, I last, Part part, T *y) {
  I i = 0;
  for (; i <= count - Width; i += Width) add_parts_at<Width>(i, first, last, part, y);
  for (; i < count; ++i) add_parts_at<1>(i, first, last, part, y);
}

// From this count on four elements at a time pay; the forms differ in what they do below.
constexpr int long_output = 100;

template <class T, class I> void split_syml(I end, I count, I start, const T *const *partial_y, T *y) {
  if (start > end - 1) return;
  const auto part = [=](I t) { return get(partial_y + t - 1) + wrapped_product<I>(start - 1, count); };
  if (count >= long_output)
    add_parts<4>(count, start, end - 1, part, y);
  else
    add_parts<1>(count, start, end - 1, part, y);
}

template <class T, class I> void split_symu(I count, I step, I parts, const T *const *partial_y, T *y) {
  if (parts < 1) return;
  const auto part = [=](I t) { return get(partial_y + t + 1) + wrapped_product<I>(step, parts - 1 - t); };
  if (count >= long_output)
    add_parts<4>(count, I(0), parts - 1, part, y);
  else
    add_parts<2>(count, I(0), parts - 1, part, y);
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##t##split_par(const I *first, const I *last, const I *parts, const I *stride, const T *partial_y,   \
                       T *y) {                                                                               \
    tnk::sparse::split(*first, *last, *parts, *stride, partial_y, y);                                        \
  }                                                                                                          \
  void p##t##split_syml_par(const I *end, const I *count, const I *start, const void *,                      \
                            const T *const *partial_y, T *y) {                                               \
    tnk::sparse::split_syml(*end, *count, *start, partial_y, y);                                             \
  }                                                                                                          \
  void p##t##split_symu_par(const I *count, const I *step, const I *parts, const void *,                     \
                            const T *const *partial_y, T *y) {                                               \
    tnk::sparse::split_symu(*count, *step, *parts, partial_y, y);                                            \
  }
TNK_SP_AUX_EACH(ENTRIES, )
