#include "bench/peer.h"

#include <dlfcn.h>
#include <strings.h>

#include <cstdlib>
#include <cstring>

namespace tnk::bench {
namespace {

struct Peer {
  void *library = nullptr;
  bool absent = false;
  std::string name, core, message;
};

Peer &peer() {
  static Peer instance;
  return instance;
}

} // namespace

bool peer_load(const std::string &core) {
  // The library reads both variables when it is loaded.
  setenv("OPENBLAS_NUM_THREADS", "1", 1);
  const bool best = core == "best";
  if (best) {
    unsetenv("OPENBLAS_CORETYPE");
  } else if (!core.empty()) {
    setenv("OPENBLAS_CORETYPE", core.c_str(), 1);
  }
  Peer &p = peer();
  p.library = dlopen("libopenblas.so.0", RTLD_NOW | RTLD_LOCAL);
  if (!p.library) {
    p.absent = true;
    p.message =
        "OpenBLAS is not installed, so rows beside it have no ratio and their results are not compared; "
        "install it with scripts/bootstrap.sh --peers";
    return false;
  }
  using Text = char *();
  if (Text *running = peer_routine<Text>("openblas_get_corename")) p.core = running();
  if (Text *config = peer_routine<Text>("openblas_get_config")) {
    // "OpenBLAS 0.3.21 NO_LAPACKE ...": the options do not matter here.
    const std::string text = config();
    p.name = text.substr(0, text.find(' ', text.find(' ') + 1));
  }
  if (!best && !core.empty() && strcasecmp(core.c_str(), p.core.c_str()) != 0) {
    p.message = "OpenBLAS runs the core " + p.core + " although " + core + " was asked for";
    return false;
  }
  return true;
}

const std::string &peer_message() {
  return peer().message;
}
bool peer_is_absent() {
  return peer().absent;
}
const std::string &peer_name() {
  return peer().name;
}
const std::string &peer_core() {
  return peer().core;
}

void *peer_symbol(const char *name) {
  return peer().library ? dlsym(peer().library, name) : nullptr;
}

} // namespace tnk::bench
