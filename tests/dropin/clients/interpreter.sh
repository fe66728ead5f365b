#!/bin/bash
# The script for R or Octave on the drop-in.
# usage: interpreter.sh LIBRARIES R|octave
# Exit 77, with the reason, where it is not installed.
set -u
export EXPECTED_BLAS=$1
here=$(dirname "$0")
case $2 in
  R)
    command -v R >/dev/null || { echo 'skipped: package r-base-core is not installed'; exit 77; }
    # R has folders of its own in front of those that LD_LIBRARY_PATH names.
    LD_PRELOAD=$1/libblas.so.3 exec R --vanilla --slave -f "$here/check.R"
    ;;
  octave)
    command -v octave-cli >/dev/null || { echo 'skipped: package octave is not installed'; exit 77; }
    # Its last words are about how it ends, and come without a display.
    LD_LIBRARY_PATH=$1 octave-cli --no-gui -qf "$here/check.m" 2>&1 | grep -v 'while preparing to exit'
    exit "${PIPESTATUS[0]}"
    ;;
esac
