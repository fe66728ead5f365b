#!/bin/sh
# Passes when an emulated processor stops the program at an instruction that it does not have (SIGILL).
# usage: refused.sh GATES CPU PROGRAM
gates=$1
shift
output=$("$gates/qemu.sh" "$@")
status=$?
printf '%s\n' "$output"
[ $status -ne 77 ] || exit 77
if [ $status -ne 132 ]; then # 128 + SIGILL
  echo "ended with status $status: expected an illegal instruction"
  exit 1
fi
