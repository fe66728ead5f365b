#!/bin/bash
# Runs programs of several processes, written by others, on this build: on the drop-in BLAS and on the Python package. Prints
# a table of suite, processes, what passed and how long it took. Exit code 1 if any failed.
set -u

usage() {
  cat <<'USAGE'
usage: cluster.sh [LIBRARIES] [--processes "1 2 4"] [--only NAMES] [--programs NAMES] [--against FOLDER]

  LIBRARIES     the folder of libtnk_host.so (build/release/lib)
  --processes   numbers of processes, on this machine
  --only        some of scalapack hpcc pfft dask, separated by commas
  --programs    of ScaLAPACK's, by default all: xdlu,xzllt
  --against     also the matrix product and Linpack of hpcc on the libblas.so.3 in FOLDER

One thread a process: each would start as many as there are cores otherwise. What is not installed is left out and named;
scripts/bootstrap.sh --cluster installs all of it.
USAGE
}

root=$(cd "$(dirname "$0")/.." && pwd)
libraries=$root/build/release/lib processes="1 2 4" only=scalapack,hpcc,pfft,dask programs='' against=''
refuse() { echo "cluster: $1; see --help" >&2; exit 2; }
while [ $# -gt 0 ]; do
  case $1 in
    --processes | --only | --programs | --against) [ -n "${2-}" ] || refuse "$1 wants a value" ;;&
    --processes) processes=$2; shift ;;
    --only) only=$2; shift ;;
    --programs) programs=$2; shift ;;
    --against) against=$2; shift ;;
    -h | --help) usage; exit 0 ;;
    -*) refuse "no option $1" ;;
    *) libraries=$1 ;;
  esac
  shift
done
for count in $processes; do
  case $count in 0* | *[!0-9]*) refuse "--processes holds '$count', which is no number of processes" ;; esac
done
for name in ${only//,/ }; do
  case $name in scalapack | hpcc | pfft | dask) ;; *) refuse "--only holds '$name', which is none of scalapack hpcc pfft dask" ;; esac
done
[ -e "$libraries/libtnk_host.so" ] || refuse "no libtnk_host.so in $libraries"
[ -z "$against" ] || [ -e "$against/libblas.so.3" ] || refuse "no libblas.so.3 in $against"
libraries=$(cd "$libraries" && pwd)
suites=$root/tests/cluster
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1 TNK_LIBRARY_PATH=$libraries PYTHONPATH=$root/python PYTHONDONTWRITEBYTECODE=1
# Open MPI refuses root and more processes than cores unless it is told, and would bind two programs to one core. Processes
# that wait give their core to those that have something to do.
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 OMPI_MCA_rmaps_base_oversubscribe=1
export OMPI_MCA_hwloc_base_binding_policy=none OMPI_MCA_mpi_yield_when_idle=1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

row() { # suite, processes, passed, time
  printf '%-30s %9s  %-60s %6s\n' "$@"
}
suite() { # name, processes, command...: its last line is the result
  local name=$1 count=$2 begin=$SECONDS code
  shift 2
  (cd "$work" && "$@") >"$work/log" 2>&1
  code=$?
  case $code in
    0) row "$name" "$count" "$(tail -1 "$work/log")" "$((SECONDS - begin)) s" ;;
    77) row "$name" "$count" "left out: $(tail -1 "$work/log")" "$((SECONDS - begin)) s" ;;
    *)
      failed=1
      sed 's/^/  | /' "$work/log" | tail -20
      row "$name" "$count" "FAILED" "$((SECONDS - begin)) s"
      ;;
  esac
}
wanted() { case ,$only, in *",$1,"*) ;; *) return 1 ;; esac; }

row suite processes passed time
for count in $processes; do
  if wanted scalapack; then suite ScaLAPACK "$count" "$suites/scalapack.sh" "$libraries/tnk-blas" "$count" "$programs"; fi
  if wanted hpcc; then
    suite "HPC Challenge" "$count" "$suites/hpcc.sh" "$libraries/tnk-blas" "$count"
    [ -z "$against" ] || suite "HPC Challenge, the other BLAS" "$count" "$suites/hpcc.sh" "$against" "$count"
  fi
  if wanted pfft; then suite "mpi4py_fft" "$count" "$suites/python.sh" "$count" "$suites/pfft.py"; fi
done
if wanted dask; then suite "dask, distributed" 2 env LD_LIBRARY_PATH="$libraries/tnk-blas" "$suites/python.sh" 0 "$suites/arrays.py"; fi
exit $failed
