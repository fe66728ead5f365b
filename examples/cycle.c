/* The strongest cycle in a series of monthly values: a real transform behind a descriptor.

     cycle sunspots.csv        second column of a file of comma-separated values with one header row */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tnk/dfti.h>

enum { most = 10000 };

static int second_column(const char *file, double *values) {
  char line[200];
  int n = 0;
  FILE *const in = fopen(file, "r");
  if (!in) return 0;
  if (fgets(line, sizeof line, in)) { /* header */
    while (n < most && fgets(line, sizeof line, in)) {
      const char *const comma = strchr(line, ',');
      if (comma) values[n++] = atof(comma + 1);
    }
  }
  fclose(in);
  return n;
}

/* What a failed call has to say; its status. */
static tnk_int checked(tnk_int status) {
  const char *const text = status ? DftiErrorMessage(status) : "";
  if (status) fprintf(stderr, "cycle: %s\n", text ? text : "no kernel library");
  return status;
}

/* The transform of n numbers, n / 2 + 1 frequencies of it. */
static tnk_int transform(int n, double *values, tnk_complex16 *spectrum) {
  DftiHandle plan = NULL;
  tnk_int status = checked(DftiCreateDescriptor(&plan, DftiDouble, DftiReal, 1, (tnk_int)n));
  if (status) return status;

  /* Half a spectrum as complex numbers, in another array, its values independent of the length of the series. */
  DftiSetValue(plan, DftiParamPlacement, DftiNotInPlace);
  DftiSetValue(plan, DftiParamConjugateEvenStorage, DftiComplexComplex);
  DftiSetValue(plan, DftiParamForwardScale, 2.0 / n);

  status = checked(DftiCommitDescriptor(plan));
  if (!status) status = checked(DftiComputeForward(plan, values, spectrum));
  DftiFreeDescriptor(&plan);
  return status;
}

int main(int argc, char **argv) {
  static double values[most];
  static tnk_complex16 spectrum[most / 2 + 1];
  double strongest = 0;
  int n, k, frequency = 1;
  if (argc != 2) {
    fprintf(stderr, "usage: cycle FILE.csv\n");
    return 2;
  }
  n = second_column(argv[1], values);
  if (n < 2) {
    fprintf(stderr, "cycle: no series of numbers in %s\n", argv[1]);
    return 1;
  }
  if (transform(n, values, spectrum)) return 1;
  for (k = 1; k <= n / 2; ++k) { /* frequency 0 is twice the mean */
    const double amplitude = hypot(spectrum[k].re, spectrum[k].im);
    if (amplitude > strongest) strongest = amplitude, frequency = k;
  }
  printf("mean      %.4f\n", spectrum[0].re / 2);
  printf("cycle     %.2f years\n", n / 12.0 / frequency);
  printf("amplitude %.4f\n", strongest);
  return 0;
}
