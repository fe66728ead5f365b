#!/bin/sh
# Runs the two examples and holds what they print to figures worked out elsewhere.
# usage: examples.sh AXPY STATISTICS DATA
set -u
status=0
same() { # what, expected, found
  [ "$2" = "$3" ] || { printf '%s: expected\n%s\nbut found\n%s\n' "$1" "$2" "$3"; status=1; }
}

same axpy 'y = 8 6 4 2
dot = 40' "$("$1" 2>&1)"
same statistics 'values    3177
mean      51.9648
deviation 44.1183
peak      253.8 at 2506
norm      3842.2354' "$("$2" "$3/sunspots.csv" 2>&1)"
exit $status
