#!/bin/bash
# Runs programs that others have written on the drop-in BLAS and prints a table of what came of it. Exit code 1 if any failed.
set -u

usage() {
  cat <<'USAGE'
usage: clients.sh [LIBRARIES] [--threads N] [--only NAMES]

  LIBRARIES    the folder of libblas.so.3 and libblas64.so.3 (build/release/lib/tnk-blas)
  --threads N  for all of them (2)
  --only NAMES some of blas blas64 lapack lapack64 numpy scipy R octave, separated by commas

The test programs of BLAS, CBLAS and LAPACK in both integer widths, the tests of numpy.linalg and scipy.linalg, and a script
each for R and Octave. What is not installed is left out and named; scripts/bootstrap.sh --clients installs all of it.
USAGE
}

root=$(cd "$(dirname "$0")/.." && pwd)
libraries=$root/build/release/lib/tnk-blas threads=2 only=blas,blas64,lapack,lapack64,numpy,scipy,R,octave
refuse() { echo "clients: $1; see --help" >&2; exit 2; }
while [ $# -gt 0 ]; do
  case $1 in
    --threads | --only) [ -n "${2-}" ] || refuse "$1 wants a value" ;;&
    --threads) threads=$2; shift ;;
    --only) only=$2; shift ;;
    -h | --help) usage; exit 0 ;;
    -*) refuse "no option $1" ;;
    *) libraries=$1 ;;
  esac
  shift
done
case $threads in 0* | *[!0-9]*) refuse "--threads is '$threads', which is no number of threads" ;; esac
for name in ${only//,/ }; do
  case $name in
    blas | blas64 | lapack | lapack64 | numpy | scipy | R | octave) ;;
    *) refuse "--only holds '$name', which is none of blas blas64 lapack lapack64 numpy scipy R octave" ;;
  esac
done
[ -e "$libraries/libblas.so.3" ] || refuse "no libblas.so.3 in $libraries"
libraries=$(cd "$libraries" && pwd)
clients=$root/tests/dropin/clients
export OMP_NUM_THREADS=$threads

log=$(mktemp)
trap 'rm -f "$log"' EXIT
failed=0

version() { # package of Debian
  dpkg-query -W -f '${Version}' "$1" 2>/dev/null || echo -
}
client() { # name, version, command...
  case ,$only, in *",$1,"*) ;; *) return ;; esac
  local name=$1 version=$2 begin=$SECONDS code result
  shift 2
  "$@" >"$log" 2>&1
  code=$?
  result=$(tail -1 "$log")
  case $code in
    0 | 77) ;;
    *)
      failed=1
      sed 's/^/  | /' "$log"
      result="FAILED: $result"
      ;;
  esac
  printf '%-10s %-22s %4d s  %s\n' "$name" "$version" $((SECONDS - begin)) "$result"
}
echo "on $libraries, $threads threads"
for width in '' 64; do
  client "blas$width" "$(version "libblas$width-test")" "$clients/programs.sh" "$libraries" blas "$width" "$threads"
  client "lapack$width" "$(version "liblapack$width-test")" "$clients/programs.sh" "$libraries" lapack "$width" "$threads"
done
client numpy "$(version python3-numpy)" "$clients/pytest.sh" "$libraries" numpy.linalg
client scipy "$(version python3-scipy)" "$clients/pytest.sh" "$libraries" scipy.linalg
client R "$(version r-base-core)" "$clients/interpreter.sh" "$libraries" R
client octave "$(version octave)" "$clients/interpreter.sh" "$libraries" octave
exit $failed
