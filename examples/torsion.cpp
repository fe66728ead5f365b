// How stiff a square bar is against torsion, from Poisson's equation, in C++.
//
// c++ -std=c++17 torsion.cpp $(pkg-config --cflags --libs tnk) -Wl,-rpath,$(pkg-config --variable=libdir tnk) -o torsion
#include <cstdio>
#include <exception>
#include <numeric>
#include <tnk/poisson.hpp>
#include <vector>

int main() try {
  const tnk_int cells = 256;
  tnk::PoissonSetup setup;
  setup.cells = {cells, cells}; // of the unit square, with values given on all sides

  // Prandtl's stress function: - u_xx - u_yy = 2 and no stress at the edges; twice its integral is the stiffness.
  tnk::Poisson<double> section(setup);
  std::vector<double> u(section.size(), 2.0);
  section.solve(u);
  const double sum = std::accumulate(u.begin(), u.end(), 0.0);
  std::printf("torsion constant %.4f\n", 2 * sum / (cells * cells));
} catch (const std::exception &error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
