#!/bin/sh
# The front library: its entries are the functions of the lists, both ways; what else link editors find in it are the
# host's names, all of them, with no code behind; it needs the host and libc, and is fit for control-flow enforcement.
# usage: front.sh LIBRARY HOST LIST...
set -eu
library=$1 host=$2
for file in "$library" "$host"; do
  [ -r "$file" ] || { echo "no such file: $file"; exit 1; }
done
shift 2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Headings begin with #; the names below one that ends in "data" are no functions.
awk 'FNR == 1 { data = 0 } /^#/ { data = / data$/; next } !data' "$@" | sort -u >"$work/functions"
[ -s "$work/functions" ] || { echo "the lists are empty"; exit 1; }
nm -D --defined-only "$library" | awk -v work="$work" '
  { sub(/@.*/, "", $3); print $3 > (work ($2 ~ /[TtiW]/ ? "/entries" : "/others")) }'
touch "$work/entries" "$work/others"
sort -o "$work/entries" "$work/entries"
sort -o "$work/others" "$work/others"
nm -D --defined-only "$host" | awk '{ sub(/@.*/, "", $3); print $3 }' | sort >"$work/host"

faults=$({
  comm -23 "$work/functions" "$work/entries" | sed 's/^/listed but no entry: /'
  comm -13 "$work/functions" "$work/entries" | sed 's/^/an entry but not listed: /'
  comm -23 "$work/host" "$work/others" | sed 's/^/a name of the host, not found by link editors: /'
  comm -13 "$work/host" "$work/others" | sed 's/^/neither an entry nor a name of the host: /'
  readelf -dW "$library" | awk -F '[][]' -v host="${host##*/}" '
    /\(NEEDED\)/ { if ($2 == host) needed = 1; else if ($2 != "libc.so.6") print "needs the library " $2 }
    /\(FILTER\)/ && $2 == host { filter = 1 }
    /\(RUNPATH\)/ { runpath = $2 }
    END {
      if (!needed) print "does not need " host
      if (!filter) print "is no filter for " host
      if (runpath != "$ORIGIN") print "run path is \"" runpath "\", not \"$ORIGIN\""
    }'
  readelf -nW "$library" | grep -q 'x86 feature: .*IBT, SHSTK' || echo "no marks for control-flow enforcement"
})
[ -z "$faults" ] || { echo "$faults"; exit 1; }
echo "$(wc -l <"$work/entries") entries, as listed"
