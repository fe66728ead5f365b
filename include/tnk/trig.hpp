// Sine and cosine transforms for C++17: the plans of tnk/trig.h as objects. Link with -ltnk.
//
//     const tnk::Trig<double> cosines(TNK_TRIG_COSINE, 1000);
//     std::vector<double> f(3 * cosines.row());     // three rows
//     cosines.forward(f);
//     cosines.backward(f);                          // as it was
//
// What fails throws tnk::TrigError, after a report to the error handler.
#ifndef TNK_TRIG_HPP
#define TNK_TRIG_HPP

#include <iterator>
#include <memory>
#include <stdexcept>
#include <tnk/trig.h>
#include <type_traits>

namespace tnk {

class TrigError : public std::runtime_error {
public:
  explicit TrigError(tnk_trig_result result) : std::runtime_error(text(result)), result_(result) {}
  tnk_trig_result result() const noexcept { return result_; }

private:
  static const char *text(tnk_trig_result result) {
    return result == TNK_TRIG_BAD_ARGUMENT ? "tnk::Trig: a bad argument"
           : result == TNK_TRIG_NO_LIBRARY ? "tnk::Trig: no kernel library"
                                           : "tnk::Trig: no memory, or no transform of that length";
  }
  tnk_trig_result result_;
};

template <class Real> class Trig {
  static_assert(std::is_same_v<Real, float> || std::is_same_v<Real, double>);
  static constexpr bool single = std::is_same_v<Real, float>;
  using Plan = std::conditional_t<single, tnk_trig_splan, tnk_trig_dplan>;

public:
  Trig(tnk_trig_kind kind, tnk_int n) : row_(TNK_TRIG_ROW(kind, n)) {
    Plan *plan = nullptr;
    if constexpr (single)
      check(tnk_trig_smake(&plan, kind, n));
    else
      check(tnk_trig_dmake(&plan, kind, n));
    plan_.reset(plan);
  }
  // Numbers in a row.
  tnk_int row() const { return row_; }

  void forward(Real *f, tnk_int rows, tnk_int distance) const {
    if constexpr (single)
      check(tnk_trig_sforward(plan_.get(), rows, f, distance));
    else
      check(tnk_trig_dforward(plan_.get(), rows, f, distance));
  }
  void backward(Real *f, tnk_int rows, tnk_int distance) const {
    if constexpr (single)
      check(tnk_trig_sbackward(plan_.get(), rows, f, distance));
    else
      check(tnk_trig_dbackward(plan_.get(), rows, f, distance));
  }
  // Rows one after another, of whatever holds them: std::vector, std::array.
  template <class Rows> void forward(Rows &rows) const { forward(std::data(rows), count(rows), row_); }
  template <class Rows> void backward(Rows &rows) const { backward(std::data(rows), count(rows), row_); }

private:
  struct Free {
    void operator()(tnk_trig_splan *plan) const { tnk_trig_sfree(plan); }
    void operator()(tnk_trig_dplan *plan) const { tnk_trig_dfree(plan); }
  };
  static void check(tnk_trig_result result) {
    if (result != TNK_TRIG_DONE) throw TrigError(result);
  }
  template <class Rows> tnk_int count(const Rows &rows) const {
    const auto size = static_cast<tnk_int>(std::size(rows));
    if (size % row_ != 0) throw std::invalid_argument("tnk::Trig: an array that is no number of rows");
    return size / row_;
  }

  tnk_int row_;
  std::unique_ptr<Plan, Free> plan_;
};

} // namespace tnk

#endif
