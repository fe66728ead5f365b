#!/bin/sh
# Configures tnk as users do, by itself and inside another project, where nothing but a compiler is installed. Building
# takes minutes, so what would be done is read and not done.
# usage: configure.sh CMAKE SOURCES
set -eu
cmake=$1 sources=$2
# The folder itself may be named tests or bench, and hold what a pattern takes for something else.
pattern=$(printf '%s' "$sources" | sed 's/[][().*+?{}|^$\\]/\\&/g')

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "$1"
  cat "$work/log"
  exit 1
}

configure() { # sources, build
  from=$1 to=$2
  set -- -G Ninja
  for package in GTest CLI11 PNG; do set -- "$@" "-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON"; done
  "$cmake" -S "$from" -B "$to" "$@" >"$work/log" 2>&1 || fail "cannot be configured: $from"
}
commands() { # build, target
  ninja -C "$1" -t commands "$2" >"$work/commands" 2>"$work/log" || fail "cannot be built: $2"
}
has() { # pattern, what its absence means
  grep -qE -e "$1" "$work/commands" || fail "$2"
}
lacks() { # pattern, what its presence means
  ! grep -E -e "$1" "$work/commands" >"$work/log" || fail "$2"
}

: >"$work/log"
configure "$sources" "$work/plain"
grep -q 'the program tnk is left out' "$work/log" || fail "says nothing of the program that is left out"
commands "$work/plain" all
has ' -O3 .* -c [^ ]*/kernel/' "kernels are compiled without optimisation"
lacks " -Werror| -c $pattern/(tests|bench)/" "tests, benchmarks or warnings as errors where nobody asked for them"

mkdir "$work/user"
cat >"$work/user/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.22)
project(user LANGUAGES C CXX)
add_subdirectory("$sources" tnk EXCLUDE_FROM_ALL)
add_executable(all_symbols "$sources/examples/axpy.c")
target_link_libraries(all_symbols PRIVATE tnk::tnk)
add_executable(host_alone "$sources/examples/axpy.c")
target_link_libraries(host_alone PRIVATE tnk::host)
EOF
configure "$work/user" "$work/inside"
for program in all_symbols host_alone; do
  commands "$work/inside" $program
  has ' -o tnk/lib/libtnk_host\.so ' "the host is not built for a program that links with it"
  has ' -o tnk/lib/libtnk_avx\.so ' "the kernel library, which the host opens at run time, is not built beside it"
  lacks ' -O3 | -Werror' "a build type or warnings as errors forced on another project"
done
echo "configured by itself and inside another project"
