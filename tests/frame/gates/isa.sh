#!/bin/sh
# Every instruction of a library, held to a processor class. The judge is the assembler: the disassembly goes back into
# it with only that class's instructions enabled, and what it refuses the processor would refuse as well.
# usage: isa.sh FILE CLASS, with a CLASS as the assembler's -march takes it: generic64+avx
set -eu
file=$1
class=$2
[ -r "$file" ] || { echo "no such file: $file"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Distinct instructions, one a line, and beside them the function where each was seen first. Addresses of jumps go.
# - "rep bsf" prints as tzcnt; compilers emit it for any processor since it runs as bsf on the old ones: it counts as bsf.
# - endbr64 and the prefixes notrack and bnd are no-operations to processors that do not know them; data16 and rex.W
#   before a call only fill it up to the length that the linker wants for thread-local variables.
# - Padding (nop, in forms that the assembler does not take back) is left out.
objdump -d --no-show-raw-insn "$file" | awk -F '\t' -v places="$work/places" '
  /^[0-9a-f]+ <.*>:$/ { place = $0; sub(/^[^<]*</, "", place); sub(/>:$/, "", place); next }
  NF < 2 { next }
  {
    text = $2
    sub(/[ ]*#.*$/, "", text)
    sub(/[ ]*<[^>]*>$/, "", text)
    sub(/^(bnd |notrack )+/, "", text)
    if (text ~ /^((data16|rex.W) )+call/) sub(/^.*call/, "call", text)
    if (text ~ /^((data16|cs) )*nop[wl]?( |$)/ || text ~ /^endbr64/ || text ~ /^xchg +%ax,%ax/) next
    sub(/^tzcnt/, "bsf", text)
    if (text ~ /^(j[a-z]+|call[q]?|xbegin|loop[a-z]*)( |,p[nt] )+[0-9a-f]+$/) sub(/[0-9a-f]+$/, ".", text)
    if (text in seen) next
    seen[text] = 1
    print text
    print place > places
  }' >"$work/code.s"
[ -s "$work/code.s" ] || { echo "no code found in $file"; exit 1; }

count=$(wc -l <"$work/code.s")
if as -march="$class" -o "$work/code.o" "$work/code.s" 2>"$work/refused"; then
  echo "$count distinct instructions, all of $class"
  exit 0
fi
awk -F : -v code="$work/code.s" -v places="$work/places" '
  BEGIN { while ((getline text[++n] < code) > 0 && (getline place[n] < places) > 0); }
  $2 ~ /^[0-9]+$/ { print "not of this class: " text[$2] "   (in " place[$2] ":" $4 ")" }' "$work/refused" | head -n 40
exit 1
