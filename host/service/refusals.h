// Memory that a kernel asked for and did not get, as its caller on the same thread can learn of it.
#pragma once

namespace tnk::host {

// The routine in whose name this thread last reported, through tnk_serv_check_ptr, that there is no memory. A caller sets
// it to null, calls a kernel, and looks again.
const char *&last_refusal();

} // namespace tnk::host
