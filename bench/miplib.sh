#!/bin/bash
# Runs our integer optimizer and CBC on the MIPLIB 3 models in one session,
# one thread each and one time limit, and prints per model the status,
# objective, best bound, nodes and time of both, the time ratio, and at the
# bottom the count solved and the shifted geometric mean of times (1 s).
#   bench/miplib.sh [BUILD_DIR] [MODEL...]
# VELTO_DATA overrides the data folder; SEC (default 60) is the time limit;
# VELTO_ARGS adds options to our driver (e.g. "--param VLT_PARAM_COVERS=-1").
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build}
shift || true
data=${VELTO_DATA:-$root/../shared/data}
sec=${SEC:-60}
ref=$data/miplib3/REFERENCE.tsv
[ -f "$ref" ] || { echo "no $ref (set VELTO_DATA)"; exit 1; }
command -v cbc >/dev/null || { echo "cbc not found (apt-get install -y coinor-cbc)"; exit 1; }
velto=$build/tools/velto/velto
[ -x "$velto" ] || { echo "no $velto (build the project first)"; exit 1; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
models=("$@")
[ ${#models[@]} -eq 0 ] && mapfile -t models < <(grep -v '^#' "$ref" | cut -f1)

# ok VALUE OPT: 1 when VALUE is within 1e-4 (relative, at least 1e-6) of OPT.
ok() { awk -v v="$1" -v o="$2" 'BEGIN { d = v - o; if (d < 0) d = -d; a = o < 0 ? -o : o;
       print (o != "-" && v != "-" && d <= 1e-4 * (a > 1 ? a : 1)) ? 1 : 0 }'; }

printf "%-10s %12s | %-4s %14s %14s %9s %8s | %-4s %14s %9s %8s | %6s\n" \
  model optimum st objective bound nodes time cbcst cbc-objective nodes time ratio
for name in "${models[@]}"; do
  opt=$(awk -F'\t' -v n="$name" '$1 == n { print $6 }' "$ref")
  gunzip -c "$data/miplib3/$name.mps.gz" > "$tmp/$name.mps"
  t0=$(date +%s.%N)
  timeout $((sec + 30)) "$velto" --quiet --threads 1 --time-limit "$sec" ${VELTO_ARGS:-} "$tmp/$name.mps" > "$tmp/v.out" 2>&1
  t1=$(date +%s.%N)
  t=$(echo "$t1 - $t0" | bc -l)
  st=$(sed -n 's/^Status: //p' "$tmp/v.out")
  obj=$(sed -n 's/^Objective: //p' "$tmp/v.out"); obj=${obj:--}
  bnd=$(sed -n 's/^Best bound: //p' "$tmp/v.out"); bnd=${bnd:--}
  nodes=$(sed -n 's/^Nodes: //p' "$tmp/v.out"); nodes=${nodes:--}
  case "$st" in
    "integer optimal solution"|"integer optimal, tolerance") vs=opt ;;
    time*) vs=time ;;
    *infeasible*) vs=inf ;;
    "") vs=fail ;;
    *) vs=othr ;;
  esac
  [ "$vs" = opt ] && [ "$(ok "$obj" "$opt")" = 0 ] && vs=WRNG
  c0=$(date +%s.%N)
  timeout $((sec + 30)) cbc "$tmp/$name.mps" -threads 1 -sec "$sec" -solve -quit > "$tmp/c.out" 2>&1
  c1=$(date +%s.%N)
  ct=$(echo "$c1 - $c0" | bc -l)
  cobj=$(sed -n 's/^Objective value: *//p' "$tmp/c.out" | head -1); cobj=${cobj:--}
  cnodes=$(sed -n 's/^Enumerated nodes: *//p' "$tmp/c.out" | head -1); cnodes=${cnodes:--}
  if grep -q '^Result - Optimal solution found' "$tmp/c.out"; then cs=opt
  elif grep -q '^Result - Stopped on time' "$tmp/c.out"; then cs=time
  elif grep -q 'infeasible' "$tmp/c.out"; then cs=inf
  else cs=othr; fi
  rm -f "$tmp/$name.mps"
  ratio=$(echo "$t / $ct" | bc -l)
  printf "%-10s %12s | %-4s %14s %14s %9s %8.2f | %-4s %14s %9s %8.2f | %6.2f\n" \
    "$name" "$opt" "$vs" "$obj" "$bnd" "$nodes" "$t" "$cs" "$cobj" "$cnodes" "$ct" "$ratio"
  echo "$vs $t $cs $ct" >> "$tmp/times"
done
awk -v sec="$sec" '{ if ($1 == "opt") sv++; if ($3 == "opt") sc++;
       a += log($2 + 1); b += log($4 + 1); n++ }
     END { ga = exp(a / n) - 1; gb = exp(b / n) - 1;
           printf "solved within %d s: velto %d, cbc %d of %d\n", sec, sv, sc, n;
           printf "shifted geometric mean of times (1 s): velto %.2f s, cbc %.2f s, ratio %.2f\n", ga, gb, ga / gb }' "$tmp/times"
