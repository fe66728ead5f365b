#!/bin/sh
# Installs what building and testing need and this machine lacks. Silent and quick when nothing is missing.
set -eu

usage() {
  cat <<'EOF'
usage: scripts/bootstrap.sh [--build [--program]] [--peers] [--clients] [--cluster] [--docs] [--dev] [--list]

Installs by apt-get (Debian 12 or later and its relatives) the packages that building and testing need and that
are missing; says nothing when there are none. Uses sudo when not run as root.

  --build  only what the libraries and the program tnk need; the program is left out where its part is not to be had
  --program
           insist on the program
  --peers  also the libraries that the benchmarks compare with
  --clients
           also the programs that the drop-in BLAS is tried with, and what the Python package and its examples want
  --cluster
           also the programs of several processes that scripts/cluster.sh runs
  --docs   also what make docs wants
  --dev    also what contributors use: the formatter, the checkers of scripts and type hints, the debugger
  --list   name the missing packages, one a line, and install nothing
  --help   this text
EOF
}

# package, how to see that it is there, and what to look for: one of some commands, a header, or a library by its file
# name.
libraries='
g++                  command g++ c++ clang++
make                 command make
cmake                command cmake
'
program='
libcli11-dev         header  CLI/CLI.hpp
libpng-dev           header  png.h
'
tests='
ninja-build          command ninja
pkg-config           command pkg-config
binutils             command objdump
qemu-user            command qemu-x86_64
libgtest-dev         header  gtest/gtest.h
python3-numpy        library python3/dist-packages/numpy
python3-scipy        library python3/dist-packages/scipy
python3-pytest       library python3/dist-packages/pytest
'
peers='
libopenblas0-pthread library libopenblas.so.0
libblis4-serial      library libblis.so.4
liblapack3           library lapack/liblapack.so.3
libfftw3-double3     library libfftw3.so.3
libfftw3-single3     library libfftw3f.so.3
libgmp10             library libgmp.so.10
libeigen3-dev        header  eigen3/Eigen/Core
'
clients='
libblas-test         library blas/xblat1d
libblas64-test       library blas64/xblat1d
liblapack-test       library lapack/xlintstd
liblapack64-test     library lapack64/xlintstd
liblapack3           library lapack/liblapack.so.3
liblapack64-3        library lapack64/liblapack64.so.3
python3-hypothesis   library python3/dist-packages/hypothesis
python3-matplotlib   library python3/dist-packages/matplotlib
r-base-core          command R
octave               command octave-cli
'
cluster='
openmpi-bin          command mpirun.openmpi
scalapack-mpi-test   library scalapack/openmpi-tests
hpcc                 command hpcc
liblapack3           library lapack/liblapack.so.3
python3-numpy        library python3/dist-packages/numpy
python3-scipy        library python3/dist-packages/scipy
python3-mpi4py       library python3/dist-packages/mpi4py
python3-mpi4py-fft   library python3/dist-packages/mpi4py_fft
python3-dask         library python3/dist-packages/dask
python3-distributed  library python3/dist-packages/distributed
'
docs='
doxygen              command doxygen
python3-sphinx       command sphinx-build
python3-numpydoc     library python3/dist-packages/numpydoc
python3-numpy        library python3/dist-packages/numpy
python3-scipy        library python3/dist-packages/scipy
'
dev='
clang-format         command clang-format
shellcheck           command shellcheck
mypy                 command mypy
gdb                  command gdb
'

more=$program$tests
insist=yes
list_only=no
for option in "$@"; do
  case $option in
    --build)
      more=$program
      insist=no
      ;;
    --program) insist=yes ;;
    --peers) more="$more$peers" ;;
    --clients) more="$more$clients" ;;
    --cluster) more="$more$cluster" ;;
    --docs) more="$more$docs" ;;
    --dev) more="$more$dev" ;;
    --list) list_only=yes ;;
    -h | --help)
      usage
      exit 0
      ;;
    *)
      echo "bootstrap: unknown option '$option'" >&2
      usage >&2
      exit 2
      ;;
  esac
done

# Looks at files only and starts no process, since every make target comes through here.
is_there() { # kind, what
  case $1 in
    command)
      for name in $2; do
        ! command -v "$name" >/dev/null 2>&1 || return 0
      done
      return 1
      ;;
    header) places='/usr/include /usr/local/include' ;;
    library) places='/usr/lib /usr/lib64 /usr/local/lib /usr/lib/*-linux-gnu' ;;
  esac
  for place in $places; do
    [ ! -e "$place/$2" ] || return 0
  done
  return 1
}

missing=
look_for() { # some of the lists above
  while read -r package kind what; do
    [ -z "$package" ] || is_there "$kind" "$what" || missing="$missing $package"
  done <<EOF
$1
EOF
}
look_for "$libraries"
[ -z "$missing" ] || insist=yes
look_for "$more"
[ -n "$missing" ] || exit 0

if [ $list_only = yes ]; then
  # shellcheck disable=SC2086  # a list of package names
  printf '%s\n' $missing
  exit 0
fi

fail() { # why and what to do, the packages or the command that installs them
  printf 'bootstrap: %s\n  %s\n' "$1" "$2" >&2
  [ $insist = no ] || exit 1
  echo 'bootstrap: going on; without these the program tnk is left out' >&2
  exit 0
}
by_hand="apt-get install --no-install-recommends$missing"
command -v apt-get >/dev/null 2>&1 ||
  fail 'there is no apt-get here; install by your own package manager (the names are those of Debian):' "${missing# }"
as_root=
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null 2>&1 || fail 'installing needs root, and there is no sudo; let root do:' "$by_hand"
  as_root=sudo
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
  # Waits for another installation, such as a new machine's first upgrade, to finish.
  # shellcheck disable=SC2086  # as_root is empty or one word
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 "$@" >>"$log" 2>&1
}
echo "bootstrap: installing$missing"
# Asked here, where its question and its refusal are seen.
[ -z "$as_root" ] || sudo true || fail 'installing needs root, and sudo refuses; let root do:' "$by_hand"
# A failed update is no reason to stop: the lists may be good enough, and the install tells.
apt update || true
# shellcheck disable=SC2086  # a list of package names
if ! apt install -y --no-install-recommends $missing; then
  [ $insist = no ] || cat "$log" >&2
  fail 'apt-get failed; what it was to do:' "$by_hand"
fi
# A build that was configured before looks again at what there is.
touch -c "$(dirname "$0")/../CMakeLists.txt"
