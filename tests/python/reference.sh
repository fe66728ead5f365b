#!/bin/bash
# The reference of headers and package can be made, without a warning.
# usage: reference.sh SOURCE LIBRARIES
# Exit 77, with the reason, where what makes it is not installed.
set -u
source=$1 libraries=$2
for program in doxygen sphinx-build; do
  command -v $program >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
/usr/bin/python3 -c "import numpydoc, scipy" 2>/dev/null || { echo "skipped: python3-numpydoc is not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$source/scripts/docs.sh" "$libraries" "$work/docs" || exit 1
holds() { grep -q "$1" "$work/docs/$2" || { echo "no '$1' in $2"; exit 1; }; }
holds "an error of second order in the steps" headers/poisson_8h.html # what the file says of itself
holds "u (Dirichlet)" headers/poisson_8h.html                         # behind a value
holds "threads that may compute by one object" headers/structtnk_1_1FftSetup.html
holds "tnk_trig_dforward()" headers/trig_8h.html                       # which a macro spells
holds "tnk.LibraryError" python/index.html
[ "$(grep -c "y := x, by tnk_blas" "$work/docs/headers/blas__lp64_8h.html")" -eq 4 ] || { echo "not all of a group are told of"; exit 1; }
! grep -q _SupportsArray "$work/docs/python/index.html" || { echo "hints are spelled out"; exit 1; }
