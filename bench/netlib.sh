#!/bin/bash
# Runs our primal (or dual) simplex and CLP's simplex of the same kind on every Netlib
# model and prints one table with the shifted geometric means of the times.
#   bench/netlib.sh [primal|dual] [BUILD_DIR]
# VELTO_DATA overrides the data folder; TIMEOUT (seconds, default 600) caps
# each run.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
method=${1:-primal}
build=${2:-$root/build}
data=${VELTO_DATA:-$root/../shared/data}
timeout=${TIMEOUT:-600}
. "$here/prelude.sh"
printf "%-10s %6s %6s | %3s %18s %8s %8s %8s | %3s %18s %8s %8s | %6s\n" \
  model rows cols st objective iters solve time clpst clp-objective clp-it clp-time ratio
grep -v '^#' "$ref" | while IFS=$'\t' read -r name rows cols nz opt; do
  f=$data/netlib/$name.mps.gz
  # Both solvers are timed from process start to exit (reading included),
  # on the same uncompressed file; our driver also reports its solve time
  # alone (column "solve").
  gunzip -c "$f" > "$tmp/$name.mps"
  t0=$(date +%s.%N)
  read -r st obj it ts < <(timeout "$timeout" "$driver" "$tmp/$name.mps" "$method" 2>/dev/null || echo "T 0 0 $timeout")
  t1=$(date +%s.%N)
  [ -z "${ts:-}" ] && { st=T; obj=0; it=0; ts=$timeout; }
  t=$(echo "$t1 - $t0" | bc -l)
  start=$(date +%s.%N)
  timeout "$timeout" clp "$tmp/$name.mps" -presolve off -"$method"simplex > "$tmp/clp.out" 2>&1
  end=$(date +%s.%N)
  ct=$(echo "$end - $start" | bc -l)
  rm -f "$tmp/$name.mps"
  cst=$(grep -q '^Optimal' "$tmp/clp.out" && echo 1 || echo "?")
  line=$(grep -E '^[A-Za-z ]*objective .* iterations time' "$tmp/clp.out" | tail -1)
  cobj=$(echo "$line" | sed -n 's/.*objective \([^ ]*\) - .*/\1/p')
  cit=$(echo "$line" | sed -n 's/.* - \([0-9]*\) iterations.*/\1/p')
  ratio=$(echo "$t / $ct" | bc -l)
  printf "%-10s %6s %6s | %3s %18.10g %8s %8.3f %8.3f | %3s %18s %8s %8.3f | %6.2f\n" \
    "$name" "$rows" "$cols" "$st" "$obj" "$it" "$ts" "$t" "$cst" "${cobj:--}" "${cit:--}" "$ct" "$ratio"
  echo "$t $ct" >> "$tmp/times"
done
awk '{ a += log($1 + 0.01); b += log($2 + 0.01); n++ }
     END { ga = exp(a / n) - 0.01; gb = exp(b / n) - 0.01;
           printf "shifted geometric mean (0.01 s): velto %.4f s, clp %.4f s, ratio %.2f over %d models\n", ga, gb, ga / gb, n }' "$tmp/times"
