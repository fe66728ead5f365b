#!/bin/sh
# Runs examples and holds what they print to figures worked out elsewhere.
# usage: examples.sh LIBTNK DATA PROGRAM...
set -u
library=$1 data=$2
shift 2
status=0
same() { # what, expected, found
  [ "$2" = "$3" ] || { printf '%s: expected\n%s\nbut found\n%s\n' "$1" "$2" "$3"; status=1; }
}

for program; do
  case $program in
  *axpy)
    same "$program" 'y = 8 6 4 2
dot = 40
norm = 10.9545' "$("$program" 2>&1)"
    ;;
  *statistics)
    same "$program" 'values    3177
mean      51.9648
deviation 44.1183
peak      253.8 at 2506
norm      3842.2354' "$("$program" "$data/sunspots.csv" 2>&1)"
    ;;
  *cycle)
    same "$program" 'mean      51.9648
cycle     11.03 years
amplitude 29.4624' "$("$program" "$data/sunspots.csv" 2>&1)"
    ;;
  *cholesky)
    same "$program" 'order 500, solved to 13 digits' "$("$program" 2>&1)"
    same "$program with a wrong order" 'usage: cholesky [ORDER]' "$("$program" twelve 2>&1)"
    ;;
  *refine)
    same "$program" 'in pairs every digit is right' "$("$program" 2>&1 | tail -1)"
    same "$program with a wrong order" 'usage: refine [ORDER], 11 at most' "$("$program" twelve 2>&1)"
    ;;
  *torsion)
    same "$program" 'torsion constant 0.1406' "$("$program" 2>&1)"
    ;;
  *cattle)
    same "$program" '776027140648...719455081800, 206545 digits' "$("$program" 2>&1)"
    ;;
  *product)
    same "$program" '    66.0    78.0    90.0
    78.0    93.0   108.0
    90.0   108.0   126.0
norm = 283.8609' "$("$program" 2>&1)"
    ;;
  *norm.py)
    same "$program" 'dot 201.0
norm 14.1774
largest -10.0' "$("$PYTHON" "$program" "$library" 2>&1)"
    ;;
  *)
    echo "nothing known of $program"
    status=1
    ;;
  esac
done
exit $status
