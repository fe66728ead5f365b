#!/bin/bash
# ScaLAPACK's test programs on a BLAS, over Open MPI.
# usage: scalapack.sh LIBRARIES PROCESSES [PROGRAM,...]
# Exit 77, with the reason, where they are not installed.
set -u
libraries=$1 processes=$2 only=${3-}
command -v mpirun.openmpi >/dev/null || { echo "package openmpi-bin is not installed"; exit 77; }
folder=$(echo /usr/lib/*-linux-gnu/scalapack/openmpi-tests)
[ -d "$folder" ] || { echo "package scalapack-mpi-test is not installed"; exit 77; }
lapack=$(echo /usr/lib/*-linux-gnu/lapack) # the published one: others have a BLAS of their own
[ -e "$lapack/liblapack.so.3" ] || { echo "package liblapack3 is not installed"; exit 77; }
export LD_LIBRARY_PATH=$libraries:$lapack
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$folder"/*.dat "$work" && cd "$work" || exit 1

passed=0 failed=0 ended=0 count=0 larger=0 left_out=
for program in "$folder"/x*; do
  name=${program##*/}
  case $name in *btest) continue ;; esac # of the layer below, which has no BLAS
  case ,$only, in ,, | *",$name,"*) ;; *) continue ;; esac
  # Among four its processes take different turns in the refinement and wait for one another forever, at most runs, on the
  # published BLAS and on OpenBLAS as well.
  if [ "$name" = xsllt ] && [ "$processes" -ge 4 ] && [ -z "$only" ]; then
    left_out=', without xsllt'
    continue
  fi
  count=$((count + 1))
  timeout 900 mpirun.openmpi -np "$processes" "$program" >words 2>&1 </dev/null
  code=$?
  good=$(awk '/tests? +completed and passed|tests? passed/ {n += $1} END {print n + 0}' words)
  bad=$(awk '/tests? +completed and failed|tests? failed/ {n += $1} END {print n + 0}' words)
  passed=$((passed + good)) failed=$((failed + bad))
  # Inputs of eigenvalue programs name grids of four processes.
  if grep -q 'Illegal grid' words && [ "$bad" -eq 0 ]; then
    larger=$((larger + 1))
    continue
  fi
  if [ $code -ne 0 ] || [ "$bad" -ne 0 ]; then
    echo "$name: exit code $code, $bad failed"
    tail -5 words
    ended=1
  fi
done
[ $count -gt 0 ] || { echo "no program of that name"; exit 1; }
echo "$count programs, $passed checks passed, $failed failed$left_out$([ $larger -eq 0 ] || echo ", $larger want 4 processes")"
[ "$passed" -gt 0 ] && [ $failed -eq 0 ] && [ $ended -eq 0 ]
