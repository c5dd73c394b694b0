#!/bin/bash
# Cost of adding and deleting one cut row and re-solving, on models of
# growing size: the edit time should stay flat while the model grows.
#   bench/cut_bench.sh [BUILD_DIR]   (a Release build)
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
for m in 1000 10000 40000; do "$build/bench/cut_bench" $m 30; done
