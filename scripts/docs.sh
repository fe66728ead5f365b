#!/bin/bash
# A reference of the headers by Doxygen and of the Python package by Sphinx, warnings being errors.
# usage: docs.sh LIBRARIES FOLDER
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
[ $# -eq 2 ] || { echo "usage: docs.sh LIBRARIES FOLDER" >&2; exit 2; }
mkdir -p "$2"
libraries=$(cd "$1" && pwd) out=$(cd "$2" && pwd)
for program in doxygen sphinx-build; do
  command -v $program >/dev/null || { echo "docs: $program is not installed; see scripts/bootstrap.sh --docs" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Comments of the headers are plain ones, so every comment before a declaration counts. Macros spell declarations.
{
  cat "$root/docs/reference/Doxyfile"
  printf 'INPUT = %s\nSTRIP_FROM_PATH = %s\nOUTPUT_DIRECTORY = %s\n' "$root/include/tnk" "$root/include" "$out"
  # Those of the public routines; the others' declarations stand in tables too long for Doxygen.
  printf 'EXPAND_AS_DEFINED = %s\n' "$(cd "$root/include/tnk" && sed -n 's/^#define \(TNK_[A-Z0-9_]*\)(.*/\1/p' \
    blas.h blas_level1.h blas_level2.h conv.h trig.h sparse.h trans.h | tr '\n' ' ')"
  printf 'INPUT_FILTER = "awk -f %s"\n' "$root/docs/reference/comments.awk"
} >"$work/Doxyfile"
doxygen "$work/Doxyfile" >"$work/words" 2>&1 || { cat "$work/words"; exit 1; }

export PYTHONPATH=$root/python TNK_LIBRARY_PATH=$libraries PYTHONDONTWRITEBYTECODE=1
sphinx-build -q -W --keep-going -b html -d "$work/trees" "$root/docs/reference" "$out/python"
echo "$out/headers/index.html"
echo "$out/python/index.html"
