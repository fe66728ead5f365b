// Which BLAS a program loads.
#pragma once

#include <filesystem>
#include <string>

namespace tnk::tool {

struct LoadedBlas {
  std::string name;           // as the program asks for it: "libblas.so.3"
  std::filesystem::path file; // where the dynamic linker finds it, links followed
  bool ours;
};

// The first of the libraries that the dynamic linker would load with the program, or shared object, and with this process's
// environment, which has the matrix product. The program itself does not run. Throws Failure when there is none, or no such
// program.
LoadedBlas blas_of(const std::string &program);

} // namespace tnk::tool
