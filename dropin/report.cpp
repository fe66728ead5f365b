#include "dropin/report.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int CBLAS_CallFromC = 0, RowMajorStrg = 0;

namespace tnk::dropin {
namespace {

// The two variables are one pair for all threads, since the names are published; what this library itself asks is each
// thread's own.
thread_local Way way_of_report = Way::fortran;

// They hold while a report is made and at no other time, so that calls of several threads do not meet in them. A program's
// own xerbla_ may leave by a jump, so every report sets all of them.
void announce(Way way) {
  way_of_report = way;
  __atomic_store_n(&CBLAS_CallFromC, way != Way::fortran, __ATOMIC_RELAXED);
  __atomic_store_n(&RowMajorStrg, way == Way::c_by_rows, __ATOMIC_RELAXED);
}

[[noreturn]] void end_program(const char *routine, int position, const char *message) {
  const tnk_error error{TNK_ERROR_ARGUMENT, routine, position, "", "", "", message};
  behind().report_error(&error);
  std::exit(EXIT_FAILURE);
}

// A call by rows was turned round: which argument of the C function is meant by that of the turned call.
int position_by_rows(int position, const char *name) {
  struct Exchange {
    const char *routine;
    int first, second;
  };
  constexpr Exchange exchanges[] = {{"gemm", 4, 5}, {"gemm", 9, 11}, {"symm", 4, 5}, {"hemm", 4, 5},
                                    {"trmm", 6, 7}, {"trsm", 6, 7},  {"gemv", 3, 4}, {"gbmv", 3, 4},
                                    {"gbmv", 5, 6}, {"ger", 2, 3},   {"ger", 6, 8},  {"her2", 6, 8},
                                    {"hpr2", 6, 8}};
  if (std::strstr(name, "her2k")) return position;
  for (const Exchange &exchange : exchanges)
    if (std::strstr(name, exchange.routine)) {
      if (position == exchange.first) return exchange.second;
      if (position == exchange.second) return exchange.first;
    }
  return position;
}

} // namespace

void Call::refuse(int position) const {
  announce(way);
  char padded[7];
  std::snprintf(padded, sizeof padded, "%-6s", name);
  for (char &letter : padded)
    if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
  const Int number = position;
  xerbla_(padded, &number, 6);
  announce(Way::fortran);
}

void Call::refuse_setting(int position, const char *argument, int value) const {
  announce(way);
  char routine[32], form[64];
  std::snprintf(routine, sizeof routine, "cblas_%s", name);
  std::snprintf(form, sizeof form, "Illegal %s setting, %%d\n", argument);
  cblas_xerbla(position, routine, form, value);
  announce(Way::fortran);
}

} // namespace tnk::dropin

using namespace tnk::dropin;

void xerbla_(const char *name, const Int *position, std::size_t length) {
  // Not ended by a zero, but padded; and whoever calls from C may have left the length out.
  char routine[33];
  std::size_t count = 0;
  while (count < length && count < 32 && name[count] > ' ' && name[count] <= '~') {
    routine[count] = name[count];
    ++count;
  }
  routine[count] = '\0';
  const int number = static_cast<int>(*position);
  if (way_of_report != Way::fortran) {
    char wrapper[48];
    std::snprintf(wrapper, sizeof wrapper, "cblas_%s", routine);
    for (char *letter = wrapper; *letter; ++letter) *letter = lower(*letter);
    cblas_xerbla(*position + 1, wrapper, "");
    return;
  }
  char message[128];
  std::snprintf(message, sizeof message, " ** On entry to %s parameter number %2d had an illegal value",
                routine, number);
  end_program(routine, number, message);
}

void xerbla_array_(const char *name, const Int *length, const Int *position) {
  xerbla_(name, position, *length > 0 ? static_cast<std::size_t>(*length) : 0);
}

void cblas_xerbla(Int position, const char *name, const char *form, ...) {
  const int number = way_of_report == Way::c_by_rows ? position_by_rows(static_cast<int>(position), name)
                                                     : static_cast<int>(position);
  char message[256];
  int size = number > 0 ? std::snprintf(message, sizeof message, "Parameter %d to routine %s was incorrect ",
                                        number, name)
                        : std::snprintf(message, sizeof message, "Routine %s: ", name);
  if (size >= static_cast<int>(sizeof message)) size = sizeof message - 1;
  va_list arguments;
  va_start(arguments, form);
  std::vsnprintf(message + size, sizeof message - static_cast<std::size_t>(size), form, arguments);
  va_end(arguments);
  for (std::size_t end = std::strlen(message);
       end > 0 && (message[end - 1] == '\n' || message[end - 1] == ' ');)
    message[--end] = '\0';
  end_program(name, number, message);
}
