// Routines of the family by their names, and calls of any of them: what an argument is stands in one letter.
#pragma once

#include "support/guarded.h"
#include <algorithm>
#include <complex>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <tnk/xblas.h>
#include <utility>
#include <vector>

namespace tnk::test {

constexpr char value_prefix[] = "tnk_xblas_BLAS_", address_prefix[] = "tnk_xblas_blas_";
using Number = std::complex<double>;

// Argument lists by letter, the precision left out:
//   o order, t T trans, u uplo, d diag, s side, q conj; m n k, l kl, v ku; A alpha, B beta;
//   a b x h(tail) y w arrays, L M ld of a and b, i j e increments of x, y and w, C the ld of y where it is a matrix
inline const std::map<std::string, std::string> &lists() {
  static const std::map<std::string, std::string> all = {
      {"dot", "qnAxiBbjy"},           {"sum", "nxiy"},
      {"axpby", "nAxiByj"},           {"waxpby", "nAxiBbjye"},
      {"gemv", "otmnAaLxiByj"},       {"gemv2", "otmnAaLxhiByj"},
      {"gbmv", "otmnlvAaLxiByj"},     {"gbmv2", "otmnlvAaLxhiByj"},
      {"ge_sum_mv", "omnAaLxiBbMyj"}, {"symv", "ounAaLxiByj"},
      {"hemv", "ounAaLxiByj"},        {"symv2", "ounAaLxhiByj"},
      {"hemv2", "ounAaLxhiByj"},      {"sbmv", "ounkAaLxiByj"},
      {"hbmv", "ounkAaLxiByj"},       {"spmv", "ounAaxiByj"},
      {"hpmv", "ounAaxiByj"},         {"trmv", "outdnAaLyj"},
      {"trsv", "outdnAaLyj"},         {"tbsv", "outdnkAaLyj"},
      {"tpmv", "outdnAayj"},          {"gemm", "otTmnkAaLxMByC"},
      {"symm", "osumnAaLxMByC"},      {"hemm", "osumnAaLxMByC"}};
  return all;
}

struct Routine {
  std::string name, op; // "zdot_c_z_x", "dot"
  char result, a, x;    // letters of the types: of the first operand, and of the second one
  bool has_prec;

  const std::string &list() const { return lists().at(op); }
  bool has(char letter) const { return list().find(letter) != std::string::npos; }
  bool solves() const { return op == "trsv" || op == "tbsv"; }
  int position(char letter) const { return static_cast<int>(list().find(letter)) + 1; }
};

inline bool is_pair(char letter) {
  return letter == 'c' || letter == 'z';
}
inline bool is_short(char letter) {
  return letter == 's' || letter == 'c';
}

inline Routine decoded(const std::string &name) {
  static const std::regex grammar("(.)(.+?)(_[sdcz])?(_[sdcz])?(_x)?");
  std::smatch parts;
  std::regex_match(name, parts, grammar);
  Routine r{name, parts[2], name[0], name[0], name[0], parts[5].matched};
  if (parts[3].matched) r.a = *(parts[3].first + 1);
  if (parts[4].matched) r.x = *(parts[4].first + 1);
  return r;
}

// All that compute, from the list of what the library exports.
inline const std::vector<Routine> &routines() {
  static const std::vector<Routine> all = [] {
    std::vector<Routine> found;
    std::ifstream list(TNK_TEST_XBLAS_EXPORTS);
    const std::string prefix = "tnk_xblas_BLAS_";
    for (std::string line; std::getline(list, line);)
      if (line.rfind(prefix, 0) == 0 && line != prefix + "error" && line != prefix + "fpinfo_x")
        found.push_back(decoded(line.substr(prefix.size())));
    return found;
  }();
  return all;
}

// Elements of the type of a letter, NaN until they are set, before a page that must not be touched.
class Array {
public:
  Array(char letter, tnk_int count)
      : letter_(letter), bytes_(static_cast<std::size_t>(count) * size(), page_end) {}
  void *data() { return bytes_.data(); }
  std::vector<unsigned char> bytes() const { return {bytes_.data(), bytes_.data() + bytes_.size()}; }
  void restore(const std::vector<unsigned char> &bytes) {
    std::copy(bytes.begin(), bytes.end(), bytes_.data());
  }

  void set(tnk_int i, Number x) {
    put(i, 0, x.real());
    if (is_pair(letter_)) put(i, 1, x.imag());
  }
  Number get(tnk_int i) const { return {part(i, 0), is_pair(letter_) ? part(i, 1) : 0}; }

private:
  std::size_t size() const { return (is_short(letter_) ? 4u : 8u) * (is_pair(letter_) ? 2u : 1u); }
  void put(tnk_int i, std::size_t part, double x) {
    unsigned char *const to = bytes_.data() + static_cast<std::size_t>(i) * size();
    const float rounded = static_cast<float>(x);
    is_short(letter_) ? std::memcpy(to + 4 * part, &rounded, 4) : std::memcpy(to + 8 * part, &x, 8);
  }
  double part(tnk_int i, std::size_t part) const {
    const unsigned char *const from = bytes_.data() + static_cast<std::size_t>(i) * size();
    float small;
    double x;
    std::memcpy(&small, from + 4 * part, 4);
    if (is_short(letter_)) return static_cast<double>(small);
    std::memcpy(&x, from + 8 * part, 8);
    return x;
  }
  char letter_;
  Guarded<unsigned char> bytes_;
};

// Arguments by letter; those of enumerations, integers and addresses all as 64 bits.
struct Arguments {
  std::map<char, tnk_int> of;
  Number alpha, beta;
  std::map<char, std::shared_ptr<Array>> arrays;

  tnk_int &operator[](char letter) { return of[letter]; }
};

template <class P, std::size_t... I, class... F>
void call_with(void *entry, const P (&p)[16], std::index_sequence<I...>, F... factors) {
  reinterpret_cast<void (*)(decltype(I, P())..., F...)>(entry)(p[I]..., factors...);
}

// A call as C makes it: what is no factor goes in the order of the list, real factors travel apart. Or one as Fortran makes
// it: all by address, enumerations of 32 bits, no order.
inline void call(const std::string &prefix, const Routine &r, Arguments arguments, int32_t prec,
                 bool by_address = false) {
  void *const entry = dlsym(RTLD_DEFAULT, (prefix + r.name).c_str());
  ASSERT_NE(entry, nullptr) << prefix + r.name;
  Array alpha(r.result, 1), beta(r.result, 1);
  alpha.set(0, arguments.alpha), beta.set(0, arguments.beta);
  const auto number = [](const void *address) { return reinterpret_cast<tnk_int>(address); };
  tnk_int passed[16] = {}, integers[16];
  int count = 0;
  for (const char letter : r.list()) {
    const bool factor = letter == 'A' || letter == 'B';
    if (by_address ? letter == 'o' : factor && !is_pair(r.result)) continue;
    tnk_int value = factor                           ? number((letter == 'A' ? alpha : beta).data())
                    : arguments.arrays.count(letter) ? number(arguments.arrays[letter]->data())
                                                     : arguments[letter];
    if (by_address && !factor && !arguments.arrays.count(letter)) {
      if (std::string("tTudsq").find(letter) != std::string::npos) // what stands behind must not be read
        value = (value & 0xFFFFFFFF) | tnk_int{0x5A5A5A5A} << 32;
      integers[count] = value, value = number(&integers[count]);
    }
    passed[count++] = value;
  }
  if (r.has_prec) passed[count++] = by_address ? number(&prec) : prec;
  const auto run = [&](auto... factors) {
    call_with(entry, passed, std::make_index_sequence<16>(), factors...);
  };
  if (by_address)
    run();
  else if (is_short(r.result))
    run(static_cast<float>(arguments.alpha.real()), static_cast<float>(arguments.beta.real()));
  else
    run(arguments.alpha.real(), arguments.beta.real());
}

} // namespace tnk::test
