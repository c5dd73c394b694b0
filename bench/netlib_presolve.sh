#!/bin/bash
# Presolve on the Netlib models: our dual simplex with presolve on and off,
# against CLP's dual simplex with its presolve on; one table with the shifted
# geometric means of the times.  Times are CPU seconds of the solve (ours
# from bench/lpsolve, CLP's from its own report), which a busy machine disturbs less than wall
# time.
#   bench/netlib_presolve.sh [BUILD_DIR]
# VELTO_DATA overrides the data folder; TIMEOUT (seconds, default 300) caps
# each run.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
data=${VELTO_DATA:-$root/../shared/data}
timeout=${TIMEOUT:-300}
ref=$data/netlib/REFERENCE.tsv
[ -f "$ref" ] || { echo "no $ref (set VELTO_DATA)"; exit 1; }
command -v clp >/dev/null || { echo "clp not found (apt-get install -y coinor-clp)"; exit 1; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
driver=$build/bench/lpsolve
[ -x "$driver" ] || { echo "no $driver (build the project first)"; exit 1; }

printf "%-10s | %3s %16s %7s %8s | %3s %7s %8s | %16s %8s | %6s %6s\n" \
  model st objective iters time st iters time clp-objective clp-time on/off on/clp
grep -v '^#' "$ref" | while IFS=$'\t' read -r name rows cols nz opt; do
  # forplan is left out as in the instance tests (our runs do not finish).
  [ "$name" = forplan ] && continue
  f=$data/netlib/$name.mps.gz
  read -r st obj it t < <(timeout "$timeout" "$driver" "$f" dual presolve 2>/dev/null || echo "T 0 0 $timeout")
  [ -z "${t:-}" ] && { st=T; obj=0; it=0; t=$timeout; }
  read -r st0 obj0 it0 t0 < <(timeout "$timeout" "$driver" "$f" dual 2>/dev/null || echo "T 0 0 $timeout")
  [ -z "${t0:-}" ] && { st0=T; it0=0; t0=$timeout; }
  gunzip -c "$f" > "$tmp/$name.mps"
  timeout "$timeout" clp "$tmp/$name.mps" -dualsimplex > "$tmp/clp.out" 2>&1
  ct=$(sed -n 's/.* iterations time \([0-9.]*\).*/\1/p' "$tmp/clp.out" | tail -1)
  [ -z "$ct" ] && ct=$timeout
  rm -f "$tmp/$name.mps"
  cobj=$(sed -n 's/^Optimal - objective value \([^ ]*\).*/\1/p' "$tmp/clp.out" | head -1)
  printf "%-10s | %3s %16.10g %7s %8.3f | %3s %7s %8.3f | %16s %8.3f | %6.2f %6.2f\n" \
    "$name" "$st" "$obj" "$it" "$t" "$st0" "$it0" "$t0" "${cobj:--}" "$ct" \
    "$(echo "($t + 0.01) / ($t0 + 0.01)" | bc -l)" "$(echo "($t + 0.01) / ($ct + 0.01)" | bc -l)"
  echo "$t $t0 $ct" >> "$tmp/times"
done
awk '{ a += log($1 + 0.01); b += log($2 + 0.01); c += log($3 + 0.01); n++ }
     END { ga = exp(a / n) - 0.01; gb = exp(b / n) - 0.01; gc = exp(c / n) - 0.01;
           printf "shifted geometric mean (0.01 s) over %d models: presolve on %.4f s, off %.4f s, clp %.4f s; on/off %.2f, on/clp %.2f\n", n, ga, gb, gc, ga / gb, ga / gc }' "$tmp/times"
