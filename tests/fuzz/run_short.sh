#!/bin/sh
# Builds the reader fuzz targets (model and side files) with clang and runs each for a short time
# (default 30 s) on a copy of its seed corpus.  Exits non-zero if a target
# crashes, hangs or reports a sanitizer error; skips (exit 0) without clang.
# Usage: tests/fuzz/run_short.sh [seconds per target] [build folder]
set -u
root=$(cd "$(dirname "$0")/../.." && pwd)
secs=${1:-30}
build=${2:-$root/build-fuzz}

if ! command -v clang++ > /dev/null 2>&1 || ! command -v clang > /dev/null 2>&1; then
  echo "run_short.sh: clang not found, fuzz targets skipped"
  exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DVELTO_FUZZ=ON \
  > "$work/cmake.log" 2>&1 || { cat "$work/cmake.log"; echo "configure failed"; exit 1; }
cmake --build "$build" --target fuzz_mps fuzz_mpsrim fuzz_lp fuzz_sav fuzz_par fuzz_bas fuzz_vec -j2 > "$work/build.log" 2>&1 ||
  { tail -40 "$work/build.log"; echo "build failed"; exit 1; }
fail=0
for t in mps mpsrim lp sav par bas vec; do
  mkdir -p "$work/$t"
  seeds=$t
  [ "$t" = mpsrim ] && seeds=mps
  cp "$root/tests/fuzz/corpus_$seeds"/* "$work/$t/"
  echo "fuzz_$t: ${secs} s"
  if ! (cd "$work" && "$build/tests/fuzz/fuzz_$t" -max_total_time="$secs" -timeout=10 \
        -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1 "$work/$t" > "$work/$t.log" 2>&1); then
    echo "fuzz_$t FAILED:"
    tail -60 "$work/$t.log"
    ls "$work"/crash-* "$work"/timeout-* "$work"/oom-* 2> /dev/null
    fail=1
  else
    grep -E 'stat::number_of_executed_units|Done' "$work/$t.log" | sed "s/^/  /"
  fi
done
exit $fail
