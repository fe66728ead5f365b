#!/bin/bash
# Runs the test programs that Debian packages for BLAS, CBLAS and LAPACK on the drop-in, and counts what failed.
# usage: programs.sh LIBRARIES blas|lapack ""|64 THREADS
# Exit 77, with the reason, where the programs are not installed.
set -u
libraries=$1 kind=$2 width=$3 threads=$4
export OMP_NUM_THREADS=$threads OPENBLAS_NUM_THREADS=$threads

folder=$(echo /usr/lib/*-linux-gnu/"$kind$width")
case $kind in
  blas) example=xblat1d ;;
  lapack) example=xlintstd ;;
esac
if [ ! -x "$folder/$example" ]; then
  echo "skipped: package lib$kind$width-test is not installed"
  exit 77
fi
# The LAPACK of the same package, and not one that another BLAS brings along.
export LD_LIBRARY_PATH=$libraries:${folder%/*}/lapack$width

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
runs=0 passed=0 failed=0

judge() { # name, program's exit code, file, what a line has that says passed, what one has that says otherwise
  local good bad
  runs=$((runs + 1))
  good=$(grep -cE -e "$4" "$3")
  bad=$(grep -cE -e "$5" "$3")
  passed=$((passed + good))
  if [ "$2" -ne 0 ] || [ "$good" -eq 0 ] || [ "$bad" -ne 0 ]; then
    failed=$((failed + 1))
    echo "FAILED: $1 (exit $2, $good lines passed, $bad not)"
    grep -E -m 8 -e "$5" "$3"
  fi
}

blas_run() { # program, input
  if [ -n "$2" ]; then "$folder/$1" <"$folder/$2" >screen 2>&1; else "$folder/$1" >screen 2>&1; fi
  local code=$?
  cat ./*.out ./*.SNAP >>screen 2>/dev/null
  judge "$1" $code screen 'PASS' 'FAIL|FATAL|NOT DETECTED|INSTEAD OF|SUSPECT|[Ee]rror (code|while)'
  rm -f ./*.out ./*.SNAP
}

lapack_run() { # program, input
  # Some inputs are long and say nothing in between.
  "$folder/$1" <"$folder/$2" >screen 2>&1
  judge "$1 < $2" $? screen 'passed the|[Aa]ll tests.* passed|End of (tests|CHK)|end of (tests|balancing)|passed the tests' \
    'failed|FAIL|illegal|exits? with|returned INFO|rror:'
}

if [ "$kind" = blas ]; then
  for t in s d c z; do
    blas_run xblat1$t ''
    blas_run x${t}cblat1 ''
    for level in 2 3; do
      blas_run xblat$level$t ${t}blat$level.in
      blas_run x${t}cblat$level ${t}in$level
    done
  done
else
  for t in s d c z; do
    lapack_run xlintst$t ${t}test.in
    lapack_run xlintstrf$t ${t}test_rfp.in
    for input in nep sep se2 svd ${t}ec ${t}ed ${t}gg ${t}gd ${t}sb ${t}sg ${t}bb glm gqr gsv csd lse ${t}bal ${t}bak \
      ${t}gbal ${t}gbak; do
      lapack_run xeigtst$t "$input.in"
    done
  done
  lapack_run xlintstds dstest.in
  lapack_run xlintstzc zctest.in
fi
echo "$kind$width, $threads threads: $runs runs, $passed lines passed, $failed runs failed"
[ $failed -eq 0 ]
