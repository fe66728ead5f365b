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
"$source/scripts/docs.sh" "$libraries" "$work/docs" && grep -q tnk_poisson_plan_make "$work/docs/headers/poisson_8h.html" &&
  grep -q "tnk.LibraryError" "$work/docs/python/index.html" && ! grep -q _SupportsArray "$work/docs/python/index.html"
