#!/bin/sh
# On a processor without AVX a program has to end with the host's message: no result, and no crash.
# usage: no_avx.sh GATES PROGRAM [ARGUMENT...]
gates=$1
shift
output=$("$gates/qemu.sh" Nehalem "$@")
status=$?
printf '%s\n' "$output"
[ $status -ne 77 ] || exit 77
if [ $status -eq 0 ] || [ $status -ge 126 ]; then
  echo "ended with status $status: expected a refusal"
  exit 1
fi
printf '%s\n' "$output" | grep -q '^tnk: .*AVX' || { echo "no message names the lack of AVX"; exit 1; }
