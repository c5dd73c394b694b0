#!/bin/bash
# Order and factor the normal matrix of the largest Netlib models, ours
# against CHOLMOD (libsuitesparse-dev) in the same run; single-threaded on
# both sides.
#   bench/chol.sh [BUILD_DIR] [MODEL...]
# VELTO_BARORDER=1|2|3 fixes our ordering method (default automatic);
# VELTO_BARDISPLAY=1 shows our ordering and factor log.
# Needs a Release build with the oracles installed (the chol_bench target).
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
shift || true
models=${*:-dfl001 pilot87 fit2p maros-r7 greenbea}
prog=$build/bench/chol_bench
[ -x "$prog" ] || { echo "no $prog (apt-get install libsuitesparse-dev libmetis-dev, then build chol_bench)"; exit 1; }
export OPENBLAS_NUM_THREADS=1 OMP_NUM_THREADS=1
exec "$prog" $models
