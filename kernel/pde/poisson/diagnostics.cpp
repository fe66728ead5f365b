// Messages of the solvers, shown or appended to a log file.
#include "kernel/pde/log.h"
#include "kernel/pde/poisson/problem.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tnk/services.h>

namespace tnk::poisson {
namespace {

constexpr char log_name[] = "TNK_Poisson_Library_Log.txt";

// Numbers of the catalog.
enum Line : int32_t {
  heading = 488,
  where_to_look = 489,
  closing = 490,
  first_line_fortran = 500,
  first_line_c = 539,
};
constexpr int lines_each = 3;

// In the order of their lines.
constexpr Message messages[] = {message_nx,        message_ny,       message_sides,    message_x_length,
                                message_y_length,  message_spectrum, message_status,   message_free,
                                message_nz,        message_z_length, message_singular, message_layout,
                                message_negative_q};

// Eight lines and the line feed that opens them.
class Text {
public:
  void add(const char *line) {
    const size_t length = std::min(std::strlen(line), most);
    std::memcpy(end_, line, length);
    end_ += length;
    *end_++ = '\n';
  }
  void add(int32_t number) { add(tnk_serv_tnk_get_msg(number, 0)); }
  const char *text() const { return text_; }

private:
  static constexpr size_t most = 512, lines = 8;
  char text_[1 + lines * (most + 1) + 1] = "\n", *end_ = text_ + 1;
  static_assert(sizeof text_ == 4105 + 1);
};

class Value {
public:
  explicit Value(tnk_int value) { std::sprintf(text_, "%lli", static_cast<long long>(value)); }
  explicit Value(double value) { std::sprintf(text_, "%e", value); }
  const char *text() const { return text_; }

private:
  char text_[32];
};

// What the message is about; of messages about no number, no text.
template <class R> void add_value(Text &text, tnk_int id, const tnk_int *ipar, const R *dpar) {
  const auto entry = [&](tnk_int index) { text.add(Value(ipar[index]).text()); };
  const auto number = [&](tnk_int index) { text.add(Value(static_cast<double>(dpar[index])).text()); };
  switch (id) {
  case message_nx:
    return entry(TNK_PDEPL_CELLS);
  case message_ny:
    return entry(TNK_PDEPL_CELLS + 1);
  case message_nz:
    return entry(TNK_PDEPL_CELLS + 2);
  case message_sides:
    return entry(TNK_PDEPL_CODE);
  case message_status:
    return entry(TNK_PDEPL_STATUS);
  case message_layout:
    return entry(TNK_PDEPL_SPECTRA);
  case message_x_length:
    return number(0);
  case message_y_length:
    return number(1);
  case message_z_length:
    return number(2);
  case message_negative_q:
    return number(3);
  case message_singular:
    return number(ipar[TNK_PDEPL_TABLES]);
  }
}

void show(const char *message, bool printed) {
  if (!printed) return pde::append_to_log(log_name, message);
  std::printf("%.4105s", message);
  std::fflush(nullptr);
}

template <class R>
void print(int32_t first_line, tnk_int id, const tnk_int *ipar, const R *dpar, const char *more) {
  constexpr int count = sizeof messages / sizeof *messages;
  int place = 0;
  while (place < count && messages[place] != id) ++place;
  if (place == count) return;
  Text text;
  text.add(heading);
  for (int line = 0; line < lines_each; ++line) text.add(first_line + lines_each * place + line);
  add_value(text, id, ipar, dpar);
  if (more) text.add(more);
  text.add(where_to_look);
  text.add(closing);
  show(text.text(), ipar[id >= message_singular ? TNK_PDEPL_WARNINGS : TNK_PDEPL_ERRORS] > 0);
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_PRINT(p, R)                                                                                      \
  void tnk_pdepl_##p##_pl_print_diagnostics_c(const tnk_int *id, const tnk_int *ipar, const R *dpar,         \
                                              const char *text) {                                            \
    print(first_line_c, *id, ipar, dpar, text);                                                              \
  }                                                                                                          \
  void tnk_pdepl_##p##_pl_print_diagnostics_f(const tnk_int *id, const tnk_int *ipar, const R *dpar,         \
                                              const char *text) {                                            \
    print(first_line_fortran, *id, ipar, dpar, text);                                                        \
  }
TNK_PRINT(d, double)
TNK_PRINT(s, float)
