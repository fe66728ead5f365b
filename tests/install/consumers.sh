#!/bin/sh
# Installs the build to a fresh prefix, builds the installed examples against it through pkg-config and find_package,
# runs them; then moves the prefix and does all of it again, so that nothing can point at the old place.
# usage: consumers.sh CMAKE BUILD EXAMPLES_SCRIPT LIBDIR
set -eu
cmake=$1 build=$2 run_examples=$3 libdir=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset TNK_KERNEL_PATH LD_LIBRARY_PATH

# Runs a step quietly; its words come out when it fails.
quietly() {
  "$@" >"$work/log" 2>&1 || { echo "failed: $*"; cat "$work/log"; exit 1; }
}

use() { # a prefix
  prefix=$1
  sources=$prefix/share/tnk/examples
  rm -rf "$work/consumer"
  mkdir "$work/consumer"

  # pkg-config and the compilers alone, as strict as a careful user's flags.
  PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
  export PKG_CONFIG_PATH
  cflags=$(pkg-config --cflags tnk)
  libs=$(pkg-config --libs tnk)
  strict='-O2 -Wall -Wextra -Wpedantic -Werror'
  rpath=-Wl,-rpath,$prefix/$libdir
  # shellcheck disable=SC2086  # flags are lists
  quietly "$CC" -std=c11 $strict "$sources/axpy.c" $cflags $libs "$rpath" -o "$work/consumer/axpy"
  # shellcheck disable=SC2086
  quietly "$CXX" -std=c++17 $strict "$sources/statistics.cpp" $cflags $libs "$rpath" -o "$work/consumer/statistics"
  set -- axpy statistics
  if [ -n "$FC" ]; then
    # shellcheck disable=SC2086
    quietly "$FC" -O2 -Wall -Werror "$sources/product.f90" $libs "$rpath" -o "$work/consumer/product"
    set -- "$@" product
  fi
  # One library to link with, whichever linker it is, also for code that has to stand at a fixed address.
  for linker in bfd gold lld; do
    command -v "ld.$linker" >/dev/null || continue
    quietly "$CC" "-fuse-ld=$linker" -fno-pie -no-pie "$sources/axpy.c" "-I$prefix/include" "-L$prefix/$libdir" -ltnk \
      "$rpath" -o "$work/consumer/$linker-axpy"
    set -- "$@" "$linker-axpy"
  done
  for program; do
    set -- "$@" "$work/consumer/$program"
    shift
  done
  if [ -n "$PYTHON" ]; then set -- "$@" "$sources/norm.py"; fi
  "$run_examples" "$prefix/$libdir/libtnk.so" "$prefix/share/tnk/data" "$@"

  # The CMake package.
  quietly "$cmake" -S "$sources" -B "$work/consumer/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release
  quietly "$cmake" --build "$work/consumer/build"
  "$run_examples" "$prefix/$libdir/libtnk.so" "$prefix/share/tnk/data" "$work/consumer/build"/example_*

  # The installed program finds both libraries by itself.
  if [ -e "$prefix/bin/tnk" ]; then quietly "$prefix/bin/tnk" info; fi
  # The kernel library that runs is the installed one.
  if TNK_KERNEL_PATH=$work/nowhere.so "$work/consumer/axpy" >"$work/log" 2>&1; then
    echo "a kernel library that is not there was accepted"
    exit 1
  fi
}

quietly "$cmake" --install "$build" --prefix "$work/first"
if grep -rIl -e "$build" -e "$work" "$work/first"; then
  echo "the files above name a place of this machine"
  exit 1
fi
use "$work/first"
mkdir "$work/other"
mv "$work/first" "$work/other/second"
use "$work/other/second"
echo "installed, used, moved and used again"
