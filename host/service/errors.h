// How the host reports what went wrong: through the handler that tnk_set_error_handler sets.
#pragma once

#include <tnk/host.h>

namespace tnk::host {

// A bad argument: "routine: argument position (name) is value, expected ...".
void report_argument(const char *routine, int position, const char *name, const char *value,
                     const char *expected);

// Anything else: no argument is at fault.
void report(tnk_error_kind kind, const char *routine, const char *message);

} // namespace tnk::host
