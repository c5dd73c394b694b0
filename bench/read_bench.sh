#!/bin/sh
# Reader speed: generates an MPS file of about 1,000,000 nonzeros (plain and
# gzip-compressed) and times our reader against `clp FILE -quit` on each.
# Usage: bench/read_bench.sh [build folder, default build] [nonzeros]
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
nz=${2:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

lib="$build/libvelto.so"
[ -f "$lib" ] || { echo "library not found: $lib (build first)"; exit 1; }

c++ -O2 -std=c++20 -o "$work/gen_mps" "$root/bench/gen_mps.cpp"
cat > "$work/readtime.c" <<'CEOF'
#include <stdio.h>
#include <time.h>
#include "velto.h"
int main(int argc, char **argv) {
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  VLTLPptr lp = VLTcreateprob(env, &status, "bench");
  struct timespec a, b;
  clock_gettime(CLOCK_MONOTONIC, &a);
  status = VLTreadcopyprob(env, lp, argv[1], NULL);
  clock_gettime(CLOCK_MONOTONIC, &b);
  printf("%.3f %d %d %d %d\n", (b.tv_sec - a.tv_sec) + 1e-9 * (b.tv_nsec - a.tv_nsec), status,
         VLTgetnumrows(env, lp), VLTgetnumcols(env, lp), VLTgetnumnz(env, lp));
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return status != 0;
}
CEOF
cc -O2 -I"$root/include" -o "$work/readtime" "$work/readtime.c" -L"$build" -lvelto -Wl,-rpath,"$build"

"$work/gen_mps" "$work/bench.mps" "$nz"
gzip -c "$work/bench.mps" > "$work/bench.mps.gz"

# Best of three runs: wall-clock seconds and processor seconds (user + system;
# the fairer figure on a shared machine).  Prints "wall cpu".
best() {
  bw=; bc=
  for _ in 1 2 3; do
    /usr/bin/time -f "TIME %e %U %S" -o "$work/time" "$@" > /dev/null 2>&1 || true
    out=$(grep '^TIME' "$work/time")
    w=$(echo "$out" | awk '{print $2}')
    c=$(echo "$out" | awk '{printf "%.2f", $3 + $4}')
    if [ -z "$bw" ] || [ "$(echo "$w < $bw" | bc -l)" = 1 ]; then bw=$w; fi
    if [ -z "$bc" ] || [ "$(echo "$c < $bc" | bc -l)" = 1 ]; then bc=$c; fi
  done
  echo "$bw $bc"
}

sizes=$("$work/readtime" "$work/bench.mps" | cut -d' ' -f3-5)
echo "model: rows cols nonzeros = $sizes"
printf '%-14s %9s %9s %9s %9s %10s\n' file velto_wall clp_wall velto_cpu clp_cpu cpu_ratio
for f in bench.mps bench.mps.gz; do
  set -- $(best "$work/readtime" "$work/$f")
  vw=$1; vc=$2
  if command -v clp > /dev/null; then
    set -- $(best clp "$work/$f" -quit)
    cw=$1; cc=$2
    r=$(echo "$vc / $cc" | bc -l | awk '{printf "%.2f", $1}')
  else
    cw=-; cc=-; r=-
  fi
  printf '%-14s %9s %9s %9s %9s %10s\n' "$f" "$vw" "$cw" "$vc" "$cc" "$r"
done
