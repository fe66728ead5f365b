#!/bin/bash
# Both libraries in processes of their own, from their place, through a link and by a relative path; and their last words.
# usage: process.sh LIBRARIES PROCESS GATES
set -u
libraries=$1 process=$2 gates=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset TNK_KERNEL_PATH LD_LIBRARY_PATH
failed=0
fail() {
  echo "$1"
  failed=1
}

words() { # library, mode, what it has to say; ends with a failure
  if "$process" "$1" "$2" >"$work/words" 2>&1; then fail "$1: $2 ended well"; fi
  grep -qF -e "$3" "$work/words" || fail "$1: $2 does not say '$3' but: $(cat "$work/words")"
}

for name in libblas libblas64; do
  library=$libraries/$name.so.3
  for mode in again threads elsewhere; do
    "$process" "$library" $mode || failed=1
  done
  # As the system's folder has it, and under another name.
  ln -s "$library" "$work/$name.so.3"
  mkdir "$work/$name"
  ln -s "../$name.so.3" "$work/$name/other.so"
  (cd "$work" && "$process" "$name/other.so" elsewhere && "$process" "./$name.so.3" again) || failed=1

  words "$library" report ' ** On entry to DGEMM parameter number  3 had an illegal value'
  words "$library" without_memory 'tnk_blas_dsyrk: no memory'
  words "$library" report_by_rows 'Parameter 4 to routine cblas_dgemv was incorrect'
  mkdir "$work/alone"
  cp "$library" "$work/alone"
  words "$work/alone/$name.so.3" again 'libtnk_host.so: the host cannot be loaded'
  rm -r "$work/alone"
  if command -v qemu-x86_64 >/dev/null; then
    printf '#!/bin/sh\nexec %s Nehalem %s "$@"\n' "$gates/qemu.sh" "$process" >"$work/old"
    chmod +x "$work/old"
    (process=$work/old; words "$library" threads 'AVX'; exit $failed) || failed=1
  fi
done
exit $failed
