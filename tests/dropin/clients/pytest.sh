#!/bin/bash
# A package's own tests, by pytest, on the drop-in.
# usage: pytest.sh LIBRARIES PACKAGE [PYTEST-ARGUMENT...]
# Exit 77, with the reason, where they cannot be run.
set -u
libraries=$(cd "$1" && pwd) package=$2
shift 2
python=/usr/bin/python3 # a Python of another make comes with packages that hold a BLAS of their own
[ -x $python ] || { echo "skipped: there is no $python"; exit 77; }
for module in "${package%%.*}" pytest hypothesis; do
  $python -c "import $module" 2>/dev/null || { echo "skipped: package python3-$module is not installed"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
lapack=$(echo /usr/lib/*-linux-gnu/lapack)
export LD_LIBRARY_PATH=$libraries:$lapack
# What runs must be what was meant to run.
$python -c "import $package; import sys; sys.exit('$libraries' not in open('/proc/self/maps').read())" ||
  { echo "skipped: $package has a BLAS of its own and does not load libblas.so.3"; exit 77; }
$python -c "import ${package%%.*} as package; print(package.__name__, package.__version__)"
$python -m pytest -q -p no:cacheprovider --pyargs "$package" "$@" >words 2>&1
code=$?
[ $code -eq 0 ] || grep -E '^(FAILED|ERROR|E  )' words | head -40
tail -1 words
exit $code
