#!/bin/sh
# Makes the BLAS of this machine that of tnk, by the alternatives of Debian and its relatives, or takes that back.
set -eu

usage() {
  cat <<'USAGE'
usage: use-blas.sh [show | on | off] [--folder FOLDER] [--root ROOT]

  show    which libblas.so.3 and libblas64.so.3 programs get now, and which others are registered (the default)
  on      registers those of FOLDER as alternatives and chooses them, for all programs of this machine
  off     takes them off the list, so that the best of the others is chosen

  --folder FOLDER
          where the two libraries are: beside this script, or where the build or `make install` has put them
  --root ROOT
          works on the system below this folder, such as an image that is being made

Only root can change alternatives. A single program is better served by LD_LIBRARY_PATH=FOLDER.
USAGE
}

fail() {
  echo "use-blas: $1" >&2
  exit "${2:-1}"
}

here=$(cd "$(dirname "$0")" && pwd)
folder=
for place in "$here" "$here/../build/release/lib/tnk-blas" "$here/../build/plain/lib/tnk-blas" /usr/local/lib/tnk-blas; do
  if [ -e "$place/libblas.so.3" ]; then
    folder=$place
    break
  fi
done

action=show root=
while [ $# -gt 0 ]; do
  case $1 in
    show | on | off) action=$1 ;;
    --folder | --root)
      [ $# -gt 1 ] || fail "$1 needs a folder" 2
      case $1 in
        --folder) folder=$2 ;;
        --root) root=$2 ;;
      esac
      shift
      ;;
    -h | --help)
      usage
      exit 0
      ;;
    *)
      usage >&2
      fail "unknown word '$1'" 2
      ;;
  esac
  shift
done

PATH=$PATH:/sbin:/usr/sbin
command -v update-alternatives >/dev/null || fail 'there is no update-alternatives here; use LD_LIBRARY_PATH'
alternatives() {
  if [ -n "$root" ]; then update-alternatives --root "$root" "$@"; else update-alternatives "$@"; fi
}

triplet=x86_64-linux-gnu
show() {
  for library in libblas libblas64; do
    name=$library.so.3-$triplet
    if chosen=$(alternatives --query "$name" 2>/dev/null); then
      printf '%s\n' "$chosen" | awk -v name="$library.so.3" '
        /^Value:/ { printf "%s is %s\n", name, $2; chosen = $2 }
        /^Alternative:/ && $2 != chosen { printf "  another: %s\n", $2 }'
    else
      echo "$library.so.3 has no alternatives here"
    fi
  done
}

if [ "$action" = show ]; then
  show
  exit 0
fi
[ -n "$folder" ] || fail 'no libblas.so.3 of tnk is built or installed; name its place by --folder'
# As the system sees it, without the links on the way.
folder=$(cd "$folder" && pwd -P)
for library in libblas libblas64; do
  [ -e "$folder/$library.so.3" ] || fail "there is no $library.so.3 in $folder"
done
case $folder in
  "$root"/*) folder=${folder#"$root"} ;;
  *) fail "$folder is not below $root" ;;
esac
if [ "$(id -u)" -ne 0 ]; then
  show
  fail "nothing is changed: that takes root"
fi

# Above the libraries that Debian packages, which have 10 to 100.
priority=110
for library in libblas libblas64; do
  name=$library.so.3-$triplet
  if [ "$action" = on ]; then
    alternatives --install "/usr/lib/$triplet/$library.so.3" "$name" "$folder/$library.so.3" $priority
    alternatives --set "$name" "$folder/$library.so.3"
  else
    alternatives --remove "$name" "$folder/$library.so.3"
  fi
done
[ -n "$root" ] || ldconfig
show
