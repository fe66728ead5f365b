#!/bin/sh
# Installs the build to a fresh prefix, builds the installed examples against it through pkg-config and find_package,
# runs them; then moves the prefix and does all of it again, so that nothing can point at the old place. At last takes
# the installation away.
# usage: consumers.sh CMAKE SOURCES BUILD LIBDIR
set -eu
cmake=$1 sources=$2 build=$3 libdir=$4
run_examples=$sources/tests/install/examples.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset TNK_KERNEL_PATH LD_LIBRARY_PATH

# Runs a step quietly; its words come out when it fails.
quietly() {
  "$@" >"$work/log" 2>&1 || { echo "failed: $*"; cat "$work/log"; exit 1; }
}

use() { # a prefix
  prefix=$1
  examples=$prefix/share/tnk/examples
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
  quietly "$CC" -std=c11 $strict "$examples/axpy.c" $cflags $libs "$rpath" -o "$work/consumer/axpy"
  # shellcheck disable=SC2086
  quietly "$CXX" -std=c++17 $strict "$examples/statistics.cpp" $cflags $libs "$rpath" -o "$work/consumer/statistics"
  # shellcheck disable=SC2086
  quietly "$CC" -std=c11 $strict "$examples/cycle.c" $cflags $libs -lm "$rpath" -o "$work/consumer/cycle"
  set -- axpy statistics cycle
  if [ -n "$FC" ]; then
    # shellcheck disable=SC2086
    quietly "$FC" -O2 -Wall -Werror "$examples/product.f90" $libs "$rpath" -o "$work/consumer/product"
    set -- "$@" product
  fi
  # One library to link with, whichever linker it is, also for code that has to stand at a fixed address.
  for linker in bfd gold lld; do
    command -v "ld.$linker" >/dev/null || continue
    quietly "$CC" "-fuse-ld=$linker" -fno-pie -no-pie "$examples/axpy.c" "-I$prefix/include" "-L$prefix/$libdir" -ltnk \
      "$rpath" -o "$work/consumer/$linker-axpy"
    set -- "$@" "$linker-axpy"
  done
  for program; do
    set -- "$@" "$work/consumer/$program"
    shift
  done
  if [ -n "$PYTHON" ]; then set -- "$@" "$examples/norm.py"; fi
  "$run_examples" "$prefix/$libdir/libtnk.so" "$prefix/share/tnk/data" "$@"

  # The CMake package.
  quietly "$cmake" -S "$examples" -B "$work/consumer/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release
  quietly "$cmake" --build "$work/consumer/build"
  "$run_examples" "$prefix/$libdir/libtnk.so" "$prefix/share/tnk/data" "$work/consumer/build"/example_*

  # The drop-in: by pkg-config and by CMake's own search, in both widths; it finds the host from where it is installed.
  blas=$prefix/$libdir/tnk-blas
  for width in '' 64; do
    # shellcheck disable=SC2046,SC2086  # flags are lists
    quietly "$CC" $strict "-DINTEGER=$([ -n "$width" ] && echo long || echo int)" "$sources/tests/install/dot.c" \
      $(PKG_CONFIG_PATH=$blas pkg-config --libs "libblas$width") -o "$work/consumer/dot$width"
    quietly "$work/consumer/dot$width"
  done
  quietly "$cmake" -S "$sources/tests/install/find_blas" -B "$work/consumer/find" -DCMAKE_LIBRARY_PATH="$blas" \
    -DBLA_VENDOR=Generic -DEXPECTED="$blas/libblas.so"

  # The installed program finds both libraries by itself.
  if [ -e "$prefix/bin/tnk" ]; then quietly "$prefix/bin/tnk" info; fi
  # The Python package finds them from its own place.
  if /usr/bin/python3 -c "import numpy" 2>/dev/null; then
    (cd / && unset TNK_LIBRARY_PATH && export PYTHONDONTWRITEBYTECODE=1 &&
      PYTHONPATH=$(echo "$prefix"/lib/python*/*-packages) quietly /usr/bin/python3 -c \
        "import tnk, tnk._library; assert tnk._library.host._name.startswith('$prefix'), tnk._library.host; tnk.fft.fft([1])")
  fi
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

# Two installations into one prefix are one, and a file of somebody else's stays.
prefix=$work/other/second
quietly "$cmake" --install "$build" --prefix "$prefix"
touch "$prefix/include/tnk/mine.h"
quietly "$cmake" -DPREFIX="$prefix" -P "$sources/cmake/uninstall.cmake"
left=$(cd "$prefix" && find . ! -type d -o -name tnk | sort | tr '\n' ' ')
[ "$left" = "./include/tnk ./include/tnk/mine.h " ] || { echo "left behind: $left"; exit 1; }
echo "installed, used, moved, used again and taken away"
