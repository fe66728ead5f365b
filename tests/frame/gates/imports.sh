#!/bin/sh
# What a kernel library asks of others: every imported name is in the allowed list, the libraries that it needs are the
# host, libc and libm, and it looks for them beside itself only.
# usage: imports.sh LIBRARY ALLOWED
set -eu
library=$1
[ -r "$library" ] || { echo "no such file: $library"; exit 1; }
allowed=$2

faults=$({
  nm -D --undefined-only "$library" | awk -v allowed="$allowed" '
    BEGIN { while ((getline line < allowed) > 0) if (line !~ /^(#|$)/) known[line] = 1 }
    { sub(/@.*/, "", $NF) }
    !($NF in known) { print "imported but not allowed: " $NF }'
  readelf -dW "$library" | awk -F '[][]' '
    /\(NEEDED\)/ && $2 !~ /^(libtnk_host\.so|libc\.so\.6|libm\.so\.6)$/ { print "needs the library " $2 }
    /\(RUNPATH\)/ { runpath = $2 }
    /\(RPATH\)/ { print "has the old form of run path: " $2 }
    /\(TEXTREL\)/ { print "needs its code rewritten at load (TEXTREL)" }
    END { if (runpath != "$ORIGIN") print "run path is \"" runpath "\", not \"$ORIGIN\"" }'
})
[ -z "$faults" ] || { echo "$faults"; exit 1; }
echo "imports, needed libraries and run path are as they should be"
