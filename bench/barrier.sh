#!/bin/bash
# Our barrier (no crossover) against CLP's barrier (no crossover) and our
# dual simplex on the Netlib models with more than 1,000 rows: status,
# objective, iterations and time per model, and the shifted geometric means
# of the times (all three timed from process start to exit, on the same
# uncompressed file, presolve off).
#   bench/barrier.sh [BUILD_DIR]
# VELTO_DATA overrides the data folder; TIMEOUT (seconds, default 600) caps
# each run; MINROWS (default 1000) the model size.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
data=${VELTO_DATA:-$root/../shared/data}
timeout=${TIMEOUT:-600}
minrows=${MINROWS:-1000}
. "$here/prelude.sh"
clock() { date +%s.%N; }
printf "%-10s %6s | %3s %16s %4s %8s | %3s %16s %4s %8s | %3s %8s %8s | %6s %6s\n" \
  model rows st objective its time clp clp-objective its clp-time dst dual-its dual-time b/clp b/dual
grep -v '^#' "$ref" | while IFS=$'\t' read -r name rows cols nz opt; do
  [ "$rows" -gt "$minrows" ] || continue
  [ "$name" = forplan ] && continue
  gunzip -c "$data/netlib/$name.mps.gz" > "$tmp/$name.mps"
  t0=$(clock)
  read -r st obj it ts < <(timeout "$timeout" "$driver" "$tmp/$name.mps" barrier 2>/dev/null || echo "T 0 0 0")
  t1=$(clock)
  timeout "$timeout" clp "$tmp/$name.mps" -presolve off -crossover off -barrier > "$tmp/clp.out" 2>&1
  t2=$(clock)
  read -r dst dobj dit dts < <(timeout "$timeout" "$driver" "$tmp/$name.mps" dual 2>/dev/null || echo "T 0 0 0")
  t3=$(clock)
  rm -f "$tmp/$name.mps"
  bt=$(echo "$t1 - $t0" | bc -l); ct=$(echo "$t2 - $t1" | bc -l); dt=$(echo "$t3 - $t2" | bc -l)
  cst=$(grep -q '^Optimal' "$tmp/clp.out" && echo 1 || echo "?")
  cobj=$(grep -oE 'objective [-+0-9.e]+' "$tmp/clp.out" | tail -1 | cut -d' ' -f2)
  # CLP's barrier log lines begin with the iteration number.
  cit=$(grep -oE '^[0-9]+ Primal' "$tmp/clp.out" | tail -1 | cut -d' ' -f1)
  printf "%-10s %6s | %3s %16.10g %4s %8.2f | %3s %16s %4s %8.2f | %3s %8s %8.2f | %6.2f %6.2f\n" \
    "$name" "$rows" "$st" "$obj" "$it" "$bt" "$cst" "${cobj:--}" "${cit:--}" "$ct" "$dst" "$dit" "$dt" \
    "$(echo "$bt / $ct" | bc -l)" "$(echo "$bt / $dt" | bc -l)"
  echo "$bt $ct $dt" >> "$tmp/times"
done
awk '{ a += log($1 + 0.01); b += log($2 + 0.01); c += log($3 + 0.01); n++ }
     END { ga = exp(a / n) - 0.01; gb = exp(b / n) - 0.01; gc = exp(c / n) - 0.01;
           printf "shifted geometric mean (0.01 s) over %d models: barrier %.3f s, clp barrier %.3f s, dual %.3f s; barrier/clp %.2f, barrier/dual %.2f\n", n, ga, gb, gc, ga / gb, ga / gc }' "$tmp/times"
