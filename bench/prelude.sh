# Shared opening of the Netlib benchmark scripts: checks that the reference
# table, clp and our solve driver are there, and makes a scratch folder that
# goes away at exit.  Expects $data and $build; sets $ref, $driver and $tmp.
ref=$data/netlib/REFERENCE.tsv
[ -f "$ref" ] || { echo "no $ref (set VELTO_DATA)"; exit 1; }
command -v clp >/dev/null || { echo "clp not found (apt-get install -y coinor-clp)"; exit 1; }
driver=$build/bench/lpsolve
[ -x "$driver" ] || { echo "no $driver (build the project first)"; exit 1; }
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
