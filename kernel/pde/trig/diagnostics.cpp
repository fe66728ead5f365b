// Messages of the trigonometric transforms, shown or appended to a log file.
#include "kernel/pde/log.h"
#include "kernel/pde/trig/report.h"
#include <cstdio>
#include <cstring>
#include <tnk/services.h>

namespace tnk::pde {
namespace {

constexpr char log_name[] = "TNK_Trig_Transforms_Log.txt";

// Numbers of the catalog.
enum Line : int32_t {
  heading = 396,
  where_to_look = 397,
  closing = 398,
  unknown_message = 407,
  fortran_lines = 410,
  c_lines = 449
};

constexpr tnk_int messages[] = {
    commit_with_status, n_too_small,          no_such_kind,  zero_divisor, transform_with_status,
    n_is_zero,          negative_tolerance,   sine_first,    sine_last,    cosine_last,
    negative_users,     staggered_sine_first, fourier_failed};
constexpr int lines_each = 3;

// Six lines of the catalog and the line feed that opens them.
class Text {
public:
  void add(const char *line) {
    std::strncat(text_, line, most);
    text_[std::strlen(text_)] = '\n'; // zeros lie behind
  }
  const char *text() const { return text_; }

private:
  static constexpr std::size_t most = 512, lines = 6;
  char text_[1 + lines * (most + 1) + 1] = "\n";
  static_assert(sizeof text_ == 3079 + 1);
};

// The second of a message's lines has its values.
template <class T>
const char *line_of_values(int32_t number, tnk_int id, const tnk_int *ipar, const T *dpar, const char *text) {
  const auto entry = [&](int index) { return tnk_serv_tnk_get_msg(number, 1, ipar[index]); };
  switch (id) {
  case commit_with_status:
  case transform_with_status:
    return entry(TNK_PDETT_STATUS);
  case no_such_kind:
    return entry(TNK_PDETT_KIND);
  case negative_users:
    return entry(TNK_PDETT_USERS);
  case negative_tolerance:
    return tnk_serv_tnk_get_msg(number, 1, static_cast<double>(dpar[0]));
  case fourier_failed:
    return tnk_serv_tnk_get_msg(number, 1, text);
  case n_too_small:
  case zero_divisor:
  case n_is_zero:
    return entry(TNK_PDETT_N);
  default: // ends
    return tnk_serv_tnk_get_msg(number, 2, text, static_cast<double>(dpar[0]));
  }
}

void show(const char *message, bool printed) {
  if (!printed) return append_to_log(log_name, message);
  std::printf("%.3079s", message);
  std::fflush(nullptr);
}

template <class T>
void print(int32_t first_line, tnk_int id, const tnk_int *ipar, const T *dpar, const char *text) {
  Text message;
  message.add(tnk_serv_tnk_get_msg(heading, 0));
  int place = 0;
  constexpr int count = sizeof messages / sizeof *messages;
  while (place < count && messages[place] != id) ++place;
  if (place == count) {
    message.add(tnk_serv_tnk_get_msg(unknown_message, 1, id));
  } else {
    const int32_t line = first_line + lines_each * place;
    message.add(tnk_serv_tnk_get_msg(line, 0));
    message.add(line_of_values(line + 1, id, ipar, dpar, text));
    message.add(tnk_serv_tnk_get_msg(line + 2, 0));
  }
  message.add(tnk_serv_tnk_get_msg(where_to_look, 0));
  message.add(tnk_serv_tnk_get_msg(closing, 0));
  show(message.text(), ipar[is_warning(id) ? TNK_PDETT_WARNINGS : TNK_PDETT_ERRORS] > 0);
}

} // namespace
} // namespace tnk::pde

#define TNK_PDETT_PRINT(p, T)                                                                                \
  void tnk_pdett_##p##_print_diagnostics_c(const tnk_int *id, const tnk_int *ipar, const T *dpar,            \
                                           const char *text) {                                               \
    tnk::pde::print(tnk::pde::c_lines, *id, ipar, dpar, text);                                               \
  }                                                                                                          \
  void tnk_pdett_##p##_print_diagnostics_f(const tnk_int *id, const tnk_int *ipar, const T *dpar,            \
                                           const char *text) {                                               \
    tnk::pde::print(tnk::pde::fortran_lines, *id, ipar, dpar, text);                                         \
  }
TNK_PDETT_PRINT(d, double)
TNK_PDETT_PRINT(s, float)
