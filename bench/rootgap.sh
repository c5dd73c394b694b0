#!/bin/bash
# Root gap closed by the cut loop on MIPLIB 3 models, ours next to CBC's in
# the same session: (root bound after cuts - LP bound) / (optimum - LP
# bound), in percent.  Our LP bound is the root with the cut loop off
# (VLT_PARAM_CUTPASS -1), our root bound the best bound after one node;
# CBC's are its continuous objective and the objective after its root cuts.
#   bench/rootgap.sh [BUILD_DIR] [MODEL...]
# VELTO_DATA overrides the data folder; VELTO_ARGS adds options to our
# driver (e.g. "--param VLT_PARAM_FRACCUTS=2"); NOCBC=1 skips CBC.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
shift || true
data=${VELTO_DATA:-$root/../shared/data}
ref=$data/miplib3/REFERENCE.tsv
[ -f "$ref" ] || { echo "no $ref (set VELTO_DATA)"; exit 1; }
velto=$build/tools/velto/velto
[ -x "$velto" ] || { echo "no $velto (build the project first)"; exit 1; }
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
models=("$@")
[ ${#models[@]} -eq 0 ] && models=(egout fixnet6 bell5 gesa2 p0201 misc07)

closed() { awk -v a="$1" -v b="$2" -v o="$3" 'BEGIN {
  if (a == "-" || b == "-" || o == "-" || o == a) { print "-"; exit }
  printf "%.1f", 100 * (b - a) / (o - a) }'; }
bound() {
  timeout 300 "$velto" --quiet --threads 1 --param VLT_PARAM_NODELIM=1 "$@" > "$tmp/v.out" 2>&1
  b=$(sed -n 's/^Best bound: //p' "$tmp/v.out"); echo "${b:--}"
}

printf "%-10s %14s | %14s %14s %7s | %14s %14s %7s\n" model optimum lp root closed% \
  cbc-lp cbc-root closed%
for name in "${models[@]}"; do
  opt=$(awk -F'\t' -v n="$name" '$1 == n { print $6 }' "$ref")
  gunzip -c "$data/miplib3/$name.mps.gz" > "$tmp/$name.mps"
  lpb=$(bound --param VLT_PARAM_CUTPASS=-1 "$tmp/$name.mps")
  # shellcheck disable=SC2086
  rootb=$(bound ${VELTO_ARGS:-} "$tmp/$name.mps")
  clp=- croot=-
  if [ -z "${NOCBC:-}" ] && command -v cbc >/dev/null; then
    timeout 300 cbc "$tmp/$name.mps" -threads 1 -maxN 1 -solve -quit > "$tmp/c.out" 2>&1
    clp=$(sed -n 's/^Continuous objective value is \([^ ]*\).*/\1/p' "$tmp/c.out" | head -1)
    croot=$(sed -n 's/^Cuts at root node changed objective from [^ ]* to \([^ ]*\).*/\1/p' \
      "$tmp/c.out" | head -1)
    clp=${clp:--} croot=${croot:--}
  fi
  printf "%-10s %14s | %14s %14s %7s | %14s %14s %7s\n" "$name" "$opt" "$lpb" "$rootb" \
    "$(closed "$lpb" "$rootb" "$opt")" "$clp" "$croot" "$(closed "$clp" "$croot" "$opt")"
done
