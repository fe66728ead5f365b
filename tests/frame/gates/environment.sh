#!/bin/sh
# The environment is asked by secure_getenv alone, which answers nothing in a program that runs with another user's
# rights: there it belongs to whoever started the program.
# usage: environment.sh LIBRARY
set -eu
[ -r "$1" ] || { echo "no such file: $1"; exit 1; }
faults=$(nm -D --undefined-only "$1" | awk '
  { sub(/@.*/, "", $NF) }
  $NF == "getenv" || $NF == "environ" || $NF == "__environ" || $NF == "_environ" {
    print "reads the environment of whoever started the program: " $NF
  }
  $NF == "secure_getenv" { secure = 1 }
  END { if (!secure) print "does not import secure_getenv" }')
[ -z "$faults" ] || { echo "$faults"; exit 1; }
echo "the environment is read by secure_getenv"
