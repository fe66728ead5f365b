// Libraries that ours is measured against, loaded when a row asks for a routine of theirs.
#pragma once

#include <string>

namespace tnk::bench {

// Which of its cores a library that has several shall run: that of our kernels' instruction set, or its own choice. A
// library chooses once, when it is loaded.
enum class Core { same, best };

class Library {
public:
  struct Traits {
    const char *name;          // "OpenBLAS"
    const char *file;          // "libopenblas.so.0"
    const char *package;       // that brings it
    const char *core_variable; // of the environment: names the core; null when the library has only one
    const char *same_core;     // its value for Core::same
    // Read from the loaded library; null where there is nothing to read.
    std::string (*version)(const Library &);
    std::string (*core)(const Library &);
  };

  explicit Library(const Traits &traits) : traits_(traits) {}

  const char *name() const { return traits_.name; }
  bool has_cores() const { return traits_.core_variable; }

  // A routine, null when the library or the routine is not there. Throws std::runtime_error when the library runs
  // another core than was asked for.
  template <class Function> Function *routine(const std::string &symbol) {
    load();
    return reinterpret_cast<Function *>(address(symbol.c_str()));
  }

  // Once a routine was asked for: "OpenBLAS 0.3.21"; "Sandybridge"; how to get a library that is not there, else "".
  const std::string &full_name() const { return full_name_; }
  const std::string &core() const { return core_; }
  const std::string &absence() const { return absence_; }

  void *address(const char *symbol) const;

private:
  void load();

  Traits traits_;
  bool tried_ = false;
  void *handle_ = nullptr;
  std::string full_name_, core_, absence_, fault_;
};

// To be said before the first routine is asked for.
void choose_core(Core core);

Library &openblas();
Library &blis();
Library &fftw();        // double precision
Library &fftw_single(); // the same library for single precision
Library &gmp();

} // namespace tnk::bench
