#!/bin/sh
# Runs a program on an emulated processor, and says with 77 (skipped) when there is no emulator.
# usage: qemu.sh CPU PROGRAM [ARGUMENT...]
if ! command -v qemu-x86_64 >/dev/null 2>&1; then
  echo "skipped: qemu-x86_64 is not installed (package qemu-user)"
  exit 77
fi
cpu=$1
shift
exec qemu-x86_64 -cpu "$cpu" "$@" 2>&1
