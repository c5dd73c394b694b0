#!/bin/sh
# Sends SIGINT to the driver one second into a solve that takes much longer.
velto=$1
data=${VELTO_DATA:-$2}
model=$data/netlib/dfl001.mps.gz
if [ ! -f "$model" ]; then
  echo "skipped: $model not found"
  exit 77
fi
# --foreground: timeout otherwise signals the child and then its whole group,
# and the second SIGINT is the user insisting, which kills the driver (130).
out=$(timeout --foreground --preserve-status -s INT 1 "$velto" --quiet --method dual --presolve off "$model")
rc=$?
echo "$out"
if [ $rc -ne 1 ]; then echo "exit code $rc, expected 1"; exit 1; fi
echo "$out" | grep -q '^Status: user aborted$' || { echo "no aborted status"; exit 1; }
echo "$out" | grep -q '^Objective: ' || { echo "no objective"; exit 1; }
echo "$out" | grep -q '^Iterations: [1-9]' || { echo "no iterations"; exit 1; }
exit 0
