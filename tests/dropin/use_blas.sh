#!/bin/sh
# scripts/use-blas.sh on a system below a folder of its own: on, off, and nothing at all without root.
# usage: use_blas.sh SCRIPT LIBRARIES
set -eu
script=$1 libraries=$2
if [ "$(id -u)" -ne 0 ] || ! command -v update-alternatives >/dev/null || ! command -v setpriv >/dev/null; then
  echo 'skipped: it takes root, update-alternatives and setpriv (package util-linux)'
  exit 77
fi
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
chmod 755 "$root"
links=$root/usr/lib/x86_64-linux-gnu
mkdir -p "$links" "$root/etc/alternatives" "$root/var/lib/dpkg/alternatives" "$root/var/log" "$root/opt/tnk-blas" \
  "$root/opt/other"
cp "$libraries"/libblas.so.3 "$libraries"/libblas64.so.3 "$root/opt/tnk-blas"
: >"$root/opt/other/libblas.so.3"
cp "$script" "$root/opt/tnk-blas"
script=$root/opt/tnk-blas/${script##*/}
update-alternatives --root "$root" --quiet --install /usr/lib/x86_64-linux-gnu/libblas.so.3 \
  libblas.so.3-x86_64-linux-gnu /opt/other/libblas.so.3 100

expect() { # what the script says of libblas.so.3
  "$script" show --root "$root" | grep -qx "libblas.so.3 is $1" || { "$script" show --root "$root"; exit 1; }
  [ "$(readlink "$root/etc/alternatives/libblas.so.3-x86_64-linux-gnu")" = "$1" ]
}
expect /opt/other/libblas.so.3
if setpriv --reuid 65534 --clear-groups "$script" on --root "$root" >/dev/null 2>&1; then exit 1; fi
expect /opt/other/libblas.so.3
"$script" on --root "$root" >/dev/null 2>&1
expect /opt/tnk-blas/libblas.so.3
[ -L "$links/libblas64.so.3" ]
"$script" off --root "$root" >/dev/null 2>&1
expect /opt/other/libblas.so.3
[ ! -e "$links/libblas64.so.3" ]
if "$script" on --root "$root" --folder "$root/opt/other" >/dev/null 2>&1; then exit 1; fi
echo 'registered, chosen and taken off again'
