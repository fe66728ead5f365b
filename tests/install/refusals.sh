#!/bin/bash
# Scripts refuse wrong words, with exit code 2 and the word, before they do anything: a suite whose name is misspelt is not
# passed over.
# usage: refusals.sh SOURCE
set -u
cd "$1/scripts" || exit 1
failed=0
refused() { # what is to be said, the script, its arguments
  local expected=$1 script=$2 words code
  shift 2
  words=$("./$script" "$@" 2>&1)
  code=$?
  case $code:$words in 2:*"$expected"*) return ;; esac
  echo "$script $*: exit code $code, '$words', expected 2 and '$expected'"
  failed=1
}
for script in cluster.sh clients.sh; do
  refused "--only holds 'sacalpack'" $script --only sacalpack
  refused "--only wants a value" $script --only
  refused "no option --onyl" $script --onyl
  refused "in /nowhere" $script /nowhere
done
refused "--processes holds '1x'" cluster.sh --processes "2 1x"
refused "--against wants a value" cluster.sh --against
refused "--threads is '0'" clients.sh --threads 0
refused "unknown option '--pears'" bootstrap.sh --pears
refused "unknown word 'onn'" use-blas.sh onn
refused "usage: docs.sh" docs.sh
exit $failed
