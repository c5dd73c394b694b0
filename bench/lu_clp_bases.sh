#!/bin/sh
# Writes the optimal basis that CLP's dual simplex finds for every Netlib model
# into OUTDIR/<model>.bas (MPS basis format), for the fill table of lu_bench.
# Usage: bench/lu_clp_bases.sh [NETLIBDIR] [OUTDIR]
NETLIB=${1:-/work/shared/data/netlib}
OUT=${2:-/tmp/lubench}
mkdir -p "$OUT"
for f in "$NETLIB"/*.mps.gz; do
  name=$(basename "$f" .mps.gz)
  [ -s "$OUT/$name.bas" ] && continue
  zcat "$f" > "$OUT/$name.mps"
  timeout 300 clp "$OUT/$name.mps" -dualsimplex -basisOut "$OUT/$name.bas" > "$OUT/$name.log" 2>&1
  rm -f "$OUT/$name.mps"
done
