#!/bin/bash
# The Python package's tests, from the source tree, on the libraries of this build.
# usage: python.sh SOURCE LIBRARIES package | backend
# package: our own; backend: those that SciPy has for scipy.fft, with transforms sent here.
# Exit 77, with the reason, where they cannot be run.
set -u
source=$1 libraries=$2 what=$3
python=/usr/bin/python3
[ -x $python ] || python=python3
needed="numpy pytest"
[ "$what" = backend ] && needed="$needed scipy.fft"
for module in $needed; do
  $python -c "import $module" 2>/dev/null || { echo "skipped: $python has no $module"; exit 77; }
done
export PYTHONPATH=$source/python TNK_LIBRARY_PATH=$libraries PYTHONDONTWRITEBYTECODE=1
cd "$source/tests/python" || exit 1
if [ "$what" = backend ]; then
  tests=$($python -c 'import os, scipy.fft; print(os.path.join(os.path.dirname(scipy.fft.__file__), "tests"))')
  [ -d "$tests" ] || { echo "skipped: SciPy came without its tests"; exit 77; }
  exec $python -m pytest -q -p no:cacheprovider -p sent_here "$tests"
fi
exec $python -m pytest -q -p no:cacheprovider .
