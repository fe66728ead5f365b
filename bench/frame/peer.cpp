#include "bench/frame/peer.h"

#include <dlfcn.h>
#include <strings.h>

#include <cstdlib>
#include <stdexcept>

namespace tnk::bench {
namespace {

Core chosen = Core::same;

using Text = char *();

std::string text_of(const Library &library, const char *symbol) {
  const auto function = reinterpret_cast<Text *>(library.address(symbol));
  return function ? function() : "";
}

// "OpenBLAS 0.3.21 NO_LAPACKE ...": the options do not matter here.
std::string openblas_version(const Library &library) {
  const std::string config = text_of(library, "openblas_get_config");
  const auto start = config.find(' ');
  return start == config.npos ? "" : config.substr(start + 1, config.find(' ', start + 1) - start - 1);
}

std::string openblas_core(const Library &library) {
  return text_of(library, "openblas_get_corename");
}

std::string blis_version(const Library &library) {
  return text_of(library, "bli_info_get_version_str");
}

// "3.3.10-sse2-avx"
std::string fftw_version(const Library &library) {
  const char *text = static_cast<const char *>(library.address("fftw_version"));
  if (!text) text = static_cast<const char *>(library.address("fftwf_version"));
  const std::string version = text ? text : "";
  return version.substr(version.find('-') + 1);
}

std::string gmp_version(const Library &library) {
  const auto text = static_cast<const char *const *>(library.address("__gmp_version"));
  return text ? *text : "";
}

} // namespace

void choose_core(Core core) {
  chosen = core;
}

Library &openblas() {
  static Library library({"OpenBLAS", "libopenblas.so.0", "libopenblas0-pthread", "OPENBLAS_CORETYPE",
                          "SANDYBRIDGE", openblas_version, openblas_core});
  return library;
}

// It takes the kernels for the processor that it finds, and no other ones.
Library &blis() {
  static Library library(
      {"BLIS", "libblis.so.4", "libblis4-serial", nullptr, nullptr, blis_version, nullptr});
  return library;
}

Library &fftw() {
  static Library library(
      {"FFTW", "libfftw3.so.3", "libfftw3-double3", nullptr, nullptr, fftw_version, nullptr});
  return library;
}

Library &fftw_single() {
  static Library library(
      {"FFTW", "libfftw3f.so.3", "libfftw3-single3", nullptr, nullptr, fftw_version, nullptr});
  return library;
}

Library &gmp() {
  static Library library({"GMP", "libgmp.so.10", "libgmp10", nullptr, nullptr, gmp_version, nullptr});
  return library;
}

void *Library::address(const char *symbol) const {
  return handle_ ? dlsym(handle_, symbol) : nullptr;
}

void Library::load() {
  if (!tried_) {
    tried_ = true;
    setenv("OPENBLAS_NUM_THREADS", "1", 1); // read when the library is loaded
    if (has_cores()) {
      chosen == Core::same ? setenv(traits_.core_variable, traits_.same_core, 1)
                           : unsetenv(traits_.core_variable);
    }
    handle_ = dlopen(traits_.file, RTLD_NOW | RTLD_LOCAL);
    full_name_ = traits_.name;
    if (!handle_) {
      absence_ = full_name_ + " is not installed, so rows beside it have no ratio and are compared with " +
                 "nothing: scripts/bootstrap.sh --peers installs it (" + traits_.package + ")";
      return;
    }
    if (traits_.version) full_name_ += " " + traits_.version(*this);
    if (traits_.core) core_ = traits_.core(*this);
    if (has_cores() && chosen == Core::same && strcasecmp(core_.c_str(), traits_.same_core) != 0)
      fault_ = full_name_ + " runs the core " + core_ + " although " + traits_.same_core + " was asked for";
  }
  if (!fault_.empty()) throw std::runtime_error(fault_);
}

} // namespace tnk::bench
