// Memory that a kernel asked for and did not get, as its caller on the same thread can learn of it.
#pragma once

#include <cstdint>

namespace tnk::host {

// The routine in whose name this thread last reported, through tnk_serv_check_ptr, that there is no memory. A caller sets
// it to null, calls a kernel, and looks again.
const char *&last_refusal();

// Calls of public routines on this thread that a refusal left without their result: what tnk_undone_calls shows.
std::int64_t &undone_calls();

} // namespace tnk::host
