#!/bin/bash
# The Python package's tests, from the source tree, on the libraries of this build.
# usage: python.sh SOURCE LIBRARIES package | backend | examples
# package: our own; backend: those that SciPy has for scipy.fft, with transforms sent here; examples: programs with pictures.
# Exit 77, with the reason, where they cannot be run.
set -u
source=$1 libraries=$2 what=$3
python=/usr/bin/python3
[ -x $python ] || python=python3
needed="numpy pytest"
[ "$what" = backend ] && needed="$needed scipy.fft scipy.conftest"
[ "$what" = examples ] && needed="numpy scipy.sparse matplotlib"
for module in $needed; do
  $python -c "import $module" 2>/dev/null || { echo "skipped: $python has no $module"; exit 77; }
done
export PYTHONPATH=$source/python TNK_LIBRARY_PATH=$libraries PYTHONDONTWRITEBYTECODE=1
if [ "$what" = examples ]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  export MPLCONFIGDIR=$work
  run() { # a fact of its output, the program, its data
    fact=$1 name=$2
    shift 2
    words=$($python "$source/examples/python/$name.py" "$@" "$work/$name.png") || exit 1
    echo "$words"
    case $words in *"$fact"*) ;; *) echo "$name: no '$fact'"; exit 1 ;; esac
    [ "$(head -c 8 "$work/$name.png" | tail -c 7 | head -c 3)" = PNG ] || { echo "$name: no picture"; exit 1; }
  }
  data=$source/examples/data
  for name in spectrogram eigenvalues; do
    words=$($python "$source/examples/python/$name.py" 2>&1) && { echo "$name: runs without data"; exit 1; }
    case $words in *"python3 $name.py "*) ;; *) echo "$name: does not say how it is called"; exit 1 ;; esac
  done
  run "11.0 in the middle" spectrogram "$data/sunspots.csv"
  run "largest  3.114812e+12" eigenvalues "$data/bcsstk13.mtx"
  run "put in 2.8253" plate
  exit 0
fi
cd "$source/tests/python" || exit 1
if [ "$what" = backend ]; then
  folder=$($python -c 'import os, scipy; print(os.path.dirname(scipy.__file__))')
  [ -d "$folder/fft/tests" ] || { echo "skipped: SciPy came without its tests"; exit 77; }
  exec $python -m pytest -q -p no:cacheprovider -p sent_here --rootdir "$folder" "$folder/fft/tests"
fi
exec $python -m pytest -q -p no:cacheprovider .
