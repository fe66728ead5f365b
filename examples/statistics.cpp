// Mean, spread, extremes and norm of a column of numbers: kernels called by their names.
//
//   statistics sunspots.csv        second column of a file of comma-separated values with one header row
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <tnk/blas_level1.h>
#include <tnk/host.h>
#include <vector>

static std::vector<double> second_column(const char *file) {
  std::vector<double> values;
  std::ifstream in(file);
  std::string line;
  std::getline(in, line); // header
  while (std::getline(in, line)) {
    const auto comma = line.find(',');
    if (comma != std::string::npos) values.push_back(std::strtod(line.c_str() + comma + 1, nullptr));
  }
  return values;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: statistics FILE.csv\n");
    return 2;
  }
  const std::vector<double> x = second_column(argv[1]);
  if (x.empty()) {
    std::fprintf(stderr, "statistics: no numbers in %s\n", argv[1]);
    return 1;
  }
  if (tnk_kernel_load() != TNK_OK) return 1;

  const tnk_int n = static_cast<tnk_int>(x.size()), one = 1, zero = 0;
  const double unit = 1;
  const double mean =
      tnk_blas_xddot(&n, x.data(), &one, &unit, &zero) / static_cast<double>(n); // increment 0: 1, 1, 1, ...

  std::vector<double> centred(x);
  for (double &value : centred) value -= mean;
  const double deviation = tnk_blas_dnrm2(&n, centred.data(), &one) / std::sqrt(static_cast<double>(n));
  const tnk_int peak = tnk_blas_idamax(&n, x.data(), &one); // counted from one

  std::printf("values    %lld\n", static_cast<long long>(n));
  std::printf("mean      %.4f\n", mean);
  std::printf("deviation %.4f\n", deviation);
  std::printf("peak      %g at %lld\n", x[static_cast<std::size_t>(peak - 1)], static_cast<long long>(peak));
  std::printf("norm      %.4f\n", tnk_blas_dnrm2(&n, x.data(), &one));
  return 0;
}
