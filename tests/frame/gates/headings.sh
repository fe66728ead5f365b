#!/bin/sh
# The headings of the lists of exported names, compared with the object files: each name is defined in the source file
# that its heading says, as a function, or as data where the heading says so.
# usage: headings.sh OBJECTS LIST..., where OBJECTS names the object files, each as .../tnk_avx.dir/SOURCE.o
set -eu
objects=$1
[ -r "$objects" ] || { echo "no such file: $objects"; exit 1; }
shift

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tr '\n' '\0' <"$objects" | xargs -0 nm -gA --defined-only >"$work/symbols"

faults=$(awk -v symbols="$work/symbols" '
  BEGIN {
    while ((getline line < symbols) > 0) {
      path = line
      sub(/\.o:.*/, "", path)
      sub(/.*tnk_avx\.dir\/(\.\/)?/, "", path)
      count = split(line, part, " ")
      known[path] = 1
      found[part[count]] = found[part[count]] " " path (part[count - 1] ~ /[TtWi]/ ? "" : " data")
    }
  }
  FNR == 1 { heading = "" }
  /^#/ {
    heading = substr($0, 2)
    if (heading !~ /^ [^ ]+( data)?$/) print "not a heading: " $0
    else if (!($2 in known)) print "no source file of the library: " $2
    next
  }
  heading == "" { print $0 ": under no heading"; next }
  found[$0] != heading { print $0 ": listed under" heading ", defined in" (found[$0] == "" ? " no file" : found[$0]) }
' "$@")
[ -z "$faults" ] || { echo "$faults" | head -n 40; exit 1; }
echo "all names stand under the files that define them"
