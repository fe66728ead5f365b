// The library that the kernels are measured against, loaded when it is installed.
#pragma once

#include <string>

namespace tnk::bench {

// Loads OpenBLAS for one thread. core is the name of the core whose kernels it shall run, "best" for its own
// choice,
// "" to leave this to the environment. False when it is not installed or runs another core than asked: see
// peer_message. Call it once, before peer_routine.
bool peer_load(const std::string &core);

// Why peer_load failed, and whether the library is merely absent.
const std::string &peer_message();
bool peer_is_absent();

// Version and core, for example "OpenBLAS 0.3.21" and "Sandybridge"; "" without a peer.
const std::string &peer_name();
const std::string &peer_core();

void *peer_symbol(const char *name);

// A routine of the peer, null when it is not there.
template <class Function> Function *peer_routine(const std::string &name) {
  return reinterpret_cast<Function *>(peer_symbol(name.c_str()));
}

} // namespace tnk::bench
