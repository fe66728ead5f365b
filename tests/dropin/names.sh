#!/bin/sh
# A drop-in library: its names are those of the lists, both ways, it says who it is and needs nothing but the C library.
# usage: names.sh LIBRARY LIST...
set -eu
library=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sort "$@" >"$work/listed"
nm -D --defined-only "$library" | awk '{ print $3 }' | sort >"$work/exported"
faults=$({
  [ -s "$work/listed" ] || echo "the lists are empty"
  comm -23 "$work/listed" "$work/exported" | sed 's/^/listed but not exported: /'
  comm -13 "$work/listed" "$work/exported" | sed 's/^/exported but not listed: /'
  readelf -dW "$library" | awk -F '[][]' -v own="${library##*/}" '
    /\(NEEDED\)/ && $2 !~ /^(libm\.so\.6|libc\.so\.6|ld-linux-x86-64\.so\.2)$/ { print "needs the library " $2 }
    /\(SONAME\)/ && $2 != own { print "is named " $2 }
    /\(R(UN)?PATH\)/ { print "has a run path" }'
  nm -D --defined-only "$library" | awk '$2 !~ /[TBD]/ { print "neither function nor variable: " $3 }'
})
[ -z "$faults" ] || { echo "$faults"; exit 1; }
wc -l <"$work/exported" | sed 's/$/ names/'
