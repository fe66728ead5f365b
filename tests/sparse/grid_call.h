// Kernels of the sparse grid by their names.
#pragma once

#include "reference/sparse_grid.h"
#include <dlfcn.h>
#include <fstream>

namespace tnk::test {

inline std::vector<std::string> exported_names() {
  std::ifstream file(TNK_TEST_SPARSE_EXPORTS);
  std::vector<std::string> names;
  for (std::string line; std::getline(file, line);)
    if (line[0] != '#') names.push_back(line); // not the headings
  return names;
}

inline std::string cell_of(const reference::GridName &name) {
  return name.storage + "_" + name.operation;
}

// f(a number, an integer) of the types of a kernel.
template <class F> auto with_types(const reference::GridName &name, F f) {
  const auto of = [&](auto number) { return name.lp64 ? f(number, std::int32_t{}) : f(number, tnk_int{}); };
  return name.type == 's'   ? of(float{})
         : name.type == 'd' ? of(double{})
         : name.type == 'c' ? of(tnk_complex8{})
                            : of(tnk_complex16{});
}

// The arguments of all kernels. `rows` has row numbers, row pointers or distances of diagonals.
template <class T, class I> struct GridArguments {
  const I *first = nullptr, *last = nullptr, *m = nullptr, *n = nullptr, *sides = nullptr, *block = nullptr,
          *count = nullptr, *stride = nullptr;
  const T *alpha = nullptr, *values = nullptr;
  const I *rows = nullptr, *row_end = nullptr, *columns = nullptr;
  const T *x = nullptr;
  const I *ldx = nullptr;
  T *y = nullptr;
  const I *ldy = nullptr;
  const I *band_first = nullptr, *band_last = nullptr, *diag = nullptr;

  // Which of them a kernel has, the header of the grid tells.
  void call(void *address, const reference::GridName &name) const {
    const auto kernel = [address](auto... arguments) {
      reinterpret_cast<void (*)(decltype(arguments)...)>(address)(arguments...);
    };
    const void *const unused = nullptr;
    const std::string cell = cell_of(name) + "_" + name.mode;
    if (cell == "csr_mv_par") kernel(first, last, m, alpha, values, columns, rows, row_end, x, y);
    if (cell == "csr_mv_seq") kernel(m, alpha, values, columns, rows, row_end, x, y);
    if (cell == "csr_mm_par")
      kernel(first, last, m, n, alpha, values, columns, rows, row_end, x, ldx, y, ldy);
    if (cell == "csr_mm_seq") kernel(m, sides, alpha, values, columns, rows, row_end, x, ldx, y, ldy);
    if (cell == "csr_gemv_par") kernel(first, last, m, n, values, columns, rows, unused, x, y);
    if (cell == "coo_mv_par") kernel(first, last, m, n, alpha, values, rows, columns, count, x, y);
    if (cell == "coo_mv_seq") kernel(m, n, alpha, values, rows, columns, count, x, y);
    if (cell == "coo_mm_par") kernel(first, last, m, n, alpha, values, rows, columns, count, x, ldx, y, ldy);
    if (cell == "dia_mv_par") kernel(first, last, m, n, alpha, values, stride, rows, count, x, y);
    if (cell == "dia_mm_par")
      kernel(first, last, m, n, sides, alpha, values, stride, rows, count, x, ldx, y, ldy);
    if (cell == "csr_sv_seq") kernel(m, alpha, values, columns, rows, row_end, y);
    if (cell == "csr_sm_par") kernel(first, last, m, n, alpha, values, columns, rows, row_end, y, ldy);
    if (cell == "coo_sv_seq") kernel(m, n, alpha, values, rows, columns, count, x, y);
    if (cell == "coo_sm_par") kernel(first, last, m, n, alpha, values, rows, columns, count, y, ldy);
    if (cell == "dia_sv_seq") kernel(m, values, stride, rows, y, band_first, band_last, diag);
    if (cell == "dia_sm_par")
      kernel(first, last, m, values, stride, rows, y, ldy, band_first, band_last, diag);
    if (cell == "dia_sm_seq") kernel(m, sides, values, stride, rows, y, ldy, band_first, band_last, diag);
    if (cell == "bsr_mv_par") kernel(first, last, m, block, alpha, values, columns, rows, row_end, x, y);
    if (cell == "bsr_gemv_par") kernel(first, last, m, block, unused, values, columns, rows, unused, x, y);
  }
};

} // namespace tnk::test
