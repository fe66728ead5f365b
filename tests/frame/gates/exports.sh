#!/bin/sh
# The exported names of a library, compared both ways with the lists that they are made from.
# usage: exports.sh LIBRARY LIST...
set -eu
library=$1
[ -r "$library" ] || { echo "no such file: $library"; exit 1; }
shift

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
grep -hv '^#' "$@" | sort -u >"$work/listed"
nm -D --defined-only "$library" | awk '{ sub(/@.*/, "", $3); print $3 }' | sort -u >"$work/exported"
[ -s "$work/listed" ] || { echo "the lists are empty"; exit 1; }

comm -23 "$work/listed" "$work/exported" | sed 's/^/listed but not exported: /' >"$work/faults"
comm -13 "$work/listed" "$work/exported" | sed 's/^/exported but not listed: /' >>"$work/faults"
cat "$work/faults"
[ ! -s "$work/faults" ] || exit 1
echo "$(wc -l <"$work/exported") names, as listed"
