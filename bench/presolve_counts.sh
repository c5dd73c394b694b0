#!/bin/bash
# Rows and columns that presolve removes from each Netlib model: ours (for
# the dual simplex) against CLP's presolve, side by side, with the totals.
#   bench/presolve_counts.sh [BUILD_DIR]
# VELTO_DATA overrides the data folder.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
data=${VELTO_DATA:-$root/../shared/data}
. "$here/prelude.sh"

printf "%-10s %6s %6s | %6s %6s | %6s %6s\n" model rows cols ours-r ours-c clp-r clp-c
grep -v '^#' "$ref" | while IFS=$'\t' read -r name rest; do
  f=$data/netlib/$name.mps.gz
  read -r st m n nz rm rn rnz < <("$driver" "$f" counts 2>/dev/null || echo "x 0 0 0 0 0 0")
  gunzip -c "$f" > "$tmp/$name.mps"
  line=$(timeout 300 clp "$tmp/$name.mps" -presolve on -maxit 0 -dualsimplex 2>&1 | grep '^Presolve [0-9]' | head -1)
  rm -f "$tmp/$name.mps"
  # "Presolve R (-dr) rows, C (-dc) columns ..."; no line when CLP reduced nothing.
  cr=$(echo "$line" | sed -n 's/^Presolve [0-9]* (\(-*[0-9]*\)) rows, [0-9]* (\(-*[0-9]*\)) columns.*/\1/p')
  cc=$(echo "$line" | sed -n 's/^Presolve [0-9]* (\(-*[0-9]*\)) rows, [0-9]* (\(-*[0-9]*\)) columns.*/\2/p')
  cr=${cr#-}; cc=${cc#-}
  printf "%-10s %6d %6d | %6d %6d | %6s %6s\n" "$name" "$m" "$n" $((m - rm)) $((n - rn)) "${cr:-0}" "${cc:-0}"
  echo "$((m - rm)) $((n - rn)) ${cr:-0} ${cc:-0}" >> "$tmp/sum"
done
awk '{ a += $1; b += $2; c += $3; d += $4 } END { printf "total removed: ours %d rows %d columns, clp %d rows %d columns\n", a, b, c, d }' "$tmp/sum"
