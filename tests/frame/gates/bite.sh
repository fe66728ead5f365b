#!/bin/sh
# Shows that the gates bite: each must refuse the faulty library, and for the right reasons.
# usage: bite.sh GATES FAULTY_LIBRARY GOOD_LIBRARY HOST OBJECTS ALLOWED LIST...
gates=$1 faulty=$2 good=$3 host=$4 objects=$5 allowed=$6
shift 6
status=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect() { # what the output must contain; then the gate and its arguments
  pattern=$1
  shift
  if output=$("$@" 2>&1); then
    echo "accepted what it should refuse: $*"
    status=1
  elif ! printf '%s\n' "$output" | grep -qE "$pattern"; then
    printf 'refused, but does not say "%s": %s\n%s\n' "$pattern" "$*" "$output"
    status=1
  fi
}

expect 'listed but not exported: tnk_blas_xdaxpy$' "$gates/exports.sh" "$faulty" "$@"
expect 'exported but not listed: faulty_fused$' "$gates/exports.sh" "$faulty" "$@"
expect 'exported but not listed: dll_cpu_version$' "$gates/exports.sh" "$good" "$allowed"
cat >"$work/faulty.txt" <<'end'
faulty_unfiled
# frame/dll.cpp data
dll_cpu_version
# blas/level1/axpy.cpp
tnk_blas_xddot
avx_d_all_gemm_ker
faulty_fused
# blas/level1/faulty.cpp
end
for fault in 'faulty_unfiled: under no heading' \
  'dll_cpu_version: listed under frame/dll.cpp data, defined in frame/dll.cpp' \
  'tnk_blas_xddot: listed under blas/level1/axpy.cpp, defined in blas/level1/dot.cpp' \
  'avx_d_all_gemm_ker: listed under blas/level1/axpy.cpp, defined in .* data' \
  'faulty_fused: listed under blas/level1/axpy.cpp, defined in no file' \
  'no source file of the library: blas/level1/faulty.cpp'; do
  expect "^$fault$" "$gates/headings.sh" "$objects" "$work/faulty.txt"
done
expect 'imported but not allowed: rand$' "$gates/imports.sh" "$faulty" "$allowed"
expect 'run path is' "$gates/imports.sh" "$faulty" "$allowed"
expect 'needs the library libstdc\+\+' "$gates/imports.sh" "$faulty" "$allowed"
expect '1 static constructors' "$gates/start.sh" "$faulty"
expect 'reads the environment .*: getenv$' "$gates/environment.sh" "$faulty"
expect 'does not import secure_getenv$' "$gates/environment.sh" "$good"
for name in integer_add fused broadcast leading_zeros andn half_precision; do
  expect "in faulty_$name" "$gates/isa.sh" "$faulty" generic64+avx
done
for fault in 'listed but no entry: tnk_blas_xdaxpy' 'an entry but not listed: faulty_fused' \
  'a name of the host, not found by link editors: i_malloc' 'neither an entry nor a name of the host: faulty_started' \
  'needs the library libstdc\+\+.so.6' 'does not need libtnk_host.so' 'is no filter for libtnk_host.so' \
  'run path is' 'no marks for control-flow enforcement'; do
  expect "^$fault" "$gates/front.sh" "$faulty" "$host" "$@"
done
# A file that is not there passes nothing.
expect 'no such file' "$gates/exports.sh" /nowhere.so "$@"
expect 'no such file' "$gates/environment.sh" /nowhere.so
expect 'no such file' "$gates/imports.sh" /nowhere.so "$allowed"
expect 'no such file' "$gates/headings.sh" /nowhere.txt "$@"
expect 'no such file' "$gates/front.sh" /nowhere.so "$host" "$@"
expect 'no shared library' "$gates/start.sh" /nowhere.so
expect 'no such file' "$gates/isa.sh" /nowhere.so generic64
# The kernel library itself is too much for a processor without AVX.
expect 'not of this class: v' "$gates/isa.sh" "$good" generic64
[ $status -ne 0 ] || echo "every gate bites"
exit $status
