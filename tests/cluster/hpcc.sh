#!/bin/bash
# The HPC Challenge on a BLAS, with a small input: matrix product and Linpack in Gflop/s, and that all its checks hold.
# usage: hpcc.sh LIBRARIES PROCESSES
# Exit 77, with the reason, where it is not installed.
set -u
libraries=$1 processes=$2
command -v hpcc >/dev/null || { echo "package hpcc is not installed"; exit 77; }
export LD_LIBRARY_PATH=$libraries
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
rows=1
[ "$processes" -lt 4 ] || rows=2
# Its lines are read by number; what stands behind a value is for people.
cat >hpccinf.txt <<EOF
a small run

HPL.out   file
6         to standard output
1         orders
2400
1         blocks
120
0         rows of processes first
1         grids
$rows
$((processes / rows))
16.0      threshold
1         panel factorizations
2
1         stops of their recursion
4
1         parts
2
1         recursive factorizations
1
1         broadcasts
1
1         depths
1
2         exchange of rows
64
0         L1
0         U
1         equilibration
8         alignment
-
0         more orders of transpositions
0
0         more blocks
0
EOF
mpirun.openmpi -np "$processes" hpcc >words 2>&1 </dev/null || { tail -5 words; exit 1; }
value() { sed -n "s/^$1=//p" hpccoutf.txt | tail -1; }
failures=$(grep -cE 'FAILED' hpccoutf.txt)
residual=$(grep -cE '\|\|Ax-b\|\|.*PASSED' hpccoutf.txt)
grep -E 'FAILED' hpccoutf.txt | head -5
awk -v dgemm="$(value StarDGEMM_Gflops)" -v linpack="$(value HPL_Tflops)" -v failures="$failures" \
  'BEGIN {printf "dgemm %.2f, Linpack %.2f Gflop/s, %d checks failed\n", dgemm, linpack * 1000, failures}'
[ "$(value Success)" = 1 ] && [ "$failures" -eq 0 ] && [ "$residual" -gt 0 ]
