#!/bin/sh
# Every public header compiles by itself under strict flags, in C and in C++, and so do uses of what they offer beyond
# declarations.
# usage: headers.sh INCLUDE_FOLDER
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$1"
for header in tnk/*.h; do echo "#include <$header>"; done >"$work/headers"
[ -s "$work/headers" ]

compile() { # compiler, language, standard; the source comes on standard input
  "$1" -x "$2" "-std=$3" -fsyntax-only -Wall -Wextra -Wshadow -pedantic -Werror -I . - || {
    echo "failed in $3"
    exit 1
  }
}
while read -r include; do
  echo "$include" | compile "$CC" c c99
  echo "$include" | compile "$CXX" c++ c++11
done <"$work/headers"
for header in tnk/*.hpp; do echo "#include <$header>" | compile "$CXX" c++ c++17; done

for language in "$CC c c99" "$CC c c17" "$CXX c++ c++17"; do
  # shellcheck disable=SC2086  # three words
  compile $language <<'END'
#include <tnk/blas_level1.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>
double norm(const tnk_int *n, const double *x);
double norm(const tnk_int *n, const double *x) {
  const tnk_int one = 1;
  return TNK_KERNEL_ENTRY(tnk_blas_dnrm2)(n, x, &one);
}
tnk_int unroll(void);
tnk_int unroll(void) {
  return (*TNK_KERNEL_ENTRY(avx_d_all_gemm_ker))[*TNK_KERNEL_ENTRY(avx_d_opt_gemm_ker)].mr;
}
END
done
echo "every header stands by itself"
