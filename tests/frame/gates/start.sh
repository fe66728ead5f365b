#!/bin/sh
# A library that runs nothing of its own when it is loaded. The compiler's start files put one entry into .init_array
# (it registers nothing here); a static constructor would be a second one.
# usage: start.sh LIBRARY
set -eu
readelf -dW "$1" | grep -q "Dynamic section" || { echo "no shared library: $1"; exit 1; }
faults=$(readelf -dW "$1" | awk '
  /\(INIT_ARRAYSZ\)/ && $3 > 8 { print "start-up code: " $3 / 8 - 1 " static constructors" }
  /\(FINI_ARRAYSZ\)/ && $3 > 8 { print "shut-down code: " $3 / 8 - 1 " static destructors" }
  /\(PREINIT_ARRAY\)/ { print "start-up code in .preinit_array" }'
  readelf -SW "$1" | awk '/ \.[cd]tors/ { print "start-up or shut-down code in .ctors or .dtors" }')
[ -z "$faults" ] || { echo "$faults"; exit 1; }
echo "no start-up code"
