// The stages by their names.
#include "kernel/signal/dft/any_order.h"
#include "kernel/signal/dft/methods.h"
#include "kernel/signal/dft/real.h"
#include "kernel/signal/dft/recombine.h"
#include "kernel/signal/dft/record.h"
#include <tnk/signal_dft_stages.h>

namespace tnk::signal {
namespace {

template <class R> R *aligned(uint8_t *work) {
  return reinterpret_cast<R *>(aligned_up(work));
}

template <bool Inverse, class R>
void cofactor(int32_t c, const complex<R> *source, complex<R> *target, int32_t apart, int32_t count,
              const int32_t *order, R *table = nullptr, uint8_t *work = nullptr) {
  const DftFactor<R> entry{c, 0, apart, count, table, nullptr};
  pass_of_cofactor(entry, packed_source<Inverse, R>(source), packed_target<Inverse, R>(target), order, count,
                   aligned<R>(work));
}
template <bool Inverse, class R>
void factor(int32_t f, const complex<R> *source, complex<R> *target, int32_t part, int32_t blocks,
            R *twiddles, R *table = nullptr, uint8_t *work = nullptr) {
  const DftFactor<R> entry{f, part, 0, 0, table, twiddles};
  pass_of_factor(entry, packed_source<Inverse, R>(source), packed_target<Inverse, R>(target), blocks,
                 aligned<R>(work));
}

template <class R>
int32_t init_factors_of(tnk_signal_dft *handle, int32_t length, const complex<R> *base, int32_t n) {
  auto &spec = *reinterpret_cast<DftSpec<R> *>(handle);
  return find_factors(spec, length) ? init_factors(spec, length, base, n) : TNK_SIGNAL_BAD_LENGTH;
}

// Pairs of two numbers by part.
template <class R> void to_pairs(R *data, int32_t length) {
  for (tnk_int i = 0; i + 4 <= 2 * tnk_int{length}; i += 4) std::swap(data[i + 1], data[i + 2]);
}

} // namespace
} // namespace tnk::signal

#define TNK_PRIME(n, p, C, R, d, inverse)                                                                    \
  void e9_vpks_cDft##d##_Prime##n##_##p##fc(const C *source, C *destination, int32_t apart, int32_t count,   \
                                            const int32_t *order) {                                          \
    tnk::signal::cofactor<inverse, R>(n, source, destination, apart, count, order);                          \
  }
#define TNK_FACT(n, p, C, R, d, inverse)                                                                     \
  void e9_vpks_cDft##d##_Fact##n##_##p##fc(const C *source, C *destination, int32_t part, int32_t blocks,    \
                                           const R *twiddles) {                                              \
    tnk::signal::factor<inverse, R>(n, source, destination, part, blocks, const_cast<R *>(twiddles));        \
  }
#define TNK_BOTH(n, p, C, R, d, inverse) TNK_PRIME(n, p, C, R, d, inverse) TNK_FACT(n, p, C, R, d, inverse)

#define TNK_STAGES_BY_DIRECTION(p, C, R, d, inverse)                                                         \
  TNK_BOTH(2, p, C, R, d, inverse)                                                                           \
  TNK_BOTH(3, p, C, R, d, inverse)                                                                           \
  TNK_BOTH(4, p, C, R, d, inverse)                                                                           \
  TNK_BOTH(5, p, C, R, d, inverse)                                                                           \
  TNK_BOTH(7, p, C, R, d, inverse)                                                                           \
  TNK_PRIME(8, p, C, R, d, inverse)                                                                          \
  TNK_BOTH(11, p, C, R, d, inverse)                                                                          \
  TNK_BOTH(13, p, C, R, d, inverse)                                                                          \
  TNK_PRIME(16, p, C, R, d, inverse)                                                                         \
  void e9_vpks_cDft##d##_Prime_##p##fc(const C *source, C *destination, int32_t factor, int32_t apart,       \
                                       int32_t count, const int32_t *order, const R *table, uint8_t *work) { \
    using namespace tnk::signal;                                                                             \
    cofactor<inverse, R>(factor, source, destination, apart, count, order, const_cast<R *>(table), work);    \
  }                                                                                                          \
  void e9_vpks_cDft##d##_Fact_##p##fc(const C *source, C *destination, int32_t factor, int32_t part,         \
                                      int32_t blocks, const R *table, const R *twiddles, uint8_t *work) {    \
    using namespace tnk::signal;                                                                             \
    tnk::signal::factor<inverse, R>(factor, source, destination, part, blocks, const_cast<R *>(twiddles),    \
                                    const_cast<R *>(table), work);                                           \
  }                                                                                                          \
  void e9_vpks_cDft##d##_PrimeFact_##p##fc(const tnk_signal_dft *spec, const C *source, C *destination,      \
                                           uint8_t *work) {                                                  \
    using namespace tnk::signal;                                                                             \
    run_factors(*record<R>(spec), packed_source<inverse, R>(source), packed_target<inverse, R>(destination), \
                aligned<R>(work));                                                                           \
  }                                                                                                          \
  int32_t e9_vpks_cDft##d##_OutOrd_##p##fc(const tnk_signal_dft *spec, const C *source, C *destination,      \
                                           uint8_t *work) {                                                  \
    using namespace tnk::signal;                                                                             \
    return run_any_order<R, inverse>(*record<R>(spec), source, destination, aligned<R>(work));               \
  }                                                                                                          \
  int32_t e9_vpks_rDft##d##_PrimeFact_##p##f(const tnk_signal_dft *spec, const R *source, R *destination,    \
                                             uint8_t *work) {                                                \
    using namespace tnk::signal;                                                                             \
    const auto &first = record<R>(spec)->factors[0];                                                         \
    return run_real_odd<R, inverse>(*record<R>(spec), first.factor * first.remaining, source, destination,   \
                                    aligned<R>(work));                                                       \
  }                                                                                                          \
  void e9_vpks_rDft##d##_Dir_##p##f(const R *source, R *destination, int32_t length, const R *table,         \
                                    uint8_t *work) {                                                         \
    using namespace tnk::signal;                                                                             \
    run_real_direct<R, inverse>(length, source, destination, table, aligned<R>(work));                       \
  }                                                                                                          \
  int32_t e9_vpks_rDft##d##_Conv_##p##f(const tnk_signal_dft *spec, const R *source, R *destination,         \
                                        int32_t length, uint8_t *work) {                                     \
    using namespace tnk::signal;                                                                             \
    return run_real_odd<R, inverse>(*record<R>(spec), length, source, destination, aligned<R>(work));        \
  }

#define TNK_STAGES(p, C, R)                                                                                  \
  TNK_STAGES_BY_DIRECTION(p, C, R, Fwd, false)                                                               \
  TNK_STAGES_BY_DIRECTION(p, C, R, Inv, true)                                                                \
  void e9_vpks_cDft_Dir_##p##fc(const C *source, C *destination, int32_t length, int32_t sign,               \
                                const R *table, uint8_t *work) {                                             \
    using namespace tnk::signal;                                                                             \
    if (sign > 0)                                                                                            \
      run_direct(length, packed_source<false, R>(source), packed_target<false, R>(destination), table,       \
                 aligned<R>(work));                                                                          \
    else                                                                                                     \
      run_direct(length, packed_source<true, R>(source), packed_target<true, R>(destination), table,         \
                 aligned<R>(work));                                                                          \
  }                                                                                                          \
  int32_t e9_vpks_cDft_Conv_##p##fc(const tnk_signal_dft *spec, const C *source, C *destination,             \
                                    int32_t length, int32_t sign, uint8_t *work) {                           \
    using namespace tnk::signal;                                                                             \
    return run_convolution(*record<R>(spec), source, destination, length, sign < 0, aligned<R>(work));       \
  }                                                                                                          \
  C *e9_vpks_createTabDftBase_##p##f(int32_t n) {                                                            \
    return tnk::signal::new_base_table<R>(n);                                                                \
  }                                                                                                          \
  R *e9_vpks_createTabDftDir_##p##f(int32_t f, const C *base, int32_t n) {                                   \
    return tnk::signal::new_direct_table<R>(f, base, n);                                                     \
  }                                                                                                          \
  R *e9_vpks_createTabDftFwdRec_##p##f(int32_t length, const C *base, int32_t n) {                           \
    return tnk::signal::new_forward_recombination<R>(length, base, n);                                       \
  }                                                                                                          \
  R *e9_vpks_createTabDftInvRec_##p##f(int32_t length, const C *base, int32_t n) {                           \
    return tnk::signal::new_inverse_recombination<R>(length, base, n);                                       \
  }                                                                                                          \
  int32_t e9_vpks_initDftPrimeFact_##p##f(tnk_signal_dft *spec, int32_t length, const C *base, int32_t n) {  \
    return tnk::signal::init_factors_of<R>(spec, length, base, n);                                           \
  }                                                                                                          \
  int32_t e9_vpks_initDftConv_##p##f(tnk_signal_dft *spec, int32_t length, const C *base, int32_t n) {       \
    return tnk::signal::init_convolution(*reinterpret_cast<tnk::signal::DftSpec<R> *>(spec), length, base,   \
                                         n);                                                                 \
  }                                                                                                          \
  void e9_vpks_cDftReord_##p##fc(C *data, int32_t length) {                                                  \
    tnk::signal::to_pairs(reinterpret_cast<R *>(data), length);                                              \
  }                                                                                                          \
  void e9_vpks_rDftFwdRecombine_##p##f(R *data, int32_t length, const R *table) {                            \
    tnk::signal::recombine_forward(data, length, table);                                                     \
  }                                                                                                          \
  void e9_vpks_rDftInvRecombine_##p##f(R *data, int32_t length, const R *table) {                            \
    tnk::signal::recombine_inverse(data, length, table);                                                     \
  }
TNK_STAGES(64, tnk_complex16, double)
TNK_STAGES(32, tnk_complex8, float)
