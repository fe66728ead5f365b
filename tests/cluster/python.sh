#!/bin/bash
# A Python program on the package, in processes of Open MPI; with 0 by itself.
# usage: python.sh PROCESSES PROGRAM
# Exit 77, with the reason, where what it needs is not installed.
set -u
processes=$1 program=$2
python=/usr/bin/python3
read -r -a needed < <(sed -n 's/^# needs: //p' "$program")
for module in "${needed[@]}"; do
  $python -c "import $module" 2>/dev/null || { echo "$python has no $module"; exit 77; }
done
[ "$processes" -gt 0 ] || exec $python "$program"
command -v mpirun.openmpi >/dev/null || { echo "package openmpi-bin is not installed"; exit 77; }
mpirun.openmpi -np "$processes" $python "$program"
