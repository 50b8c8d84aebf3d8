#!/usr/bin/env bash
# Benchmarks feedwalk against the networkx peer on synthetic feeders and the largest sample feeder.
#
# Environment: RUNS (rounds, each running both programs once on every case; default 5), SIZES
# (synthetic device counts, default "10000 100000 1000000"), SEED (default 1), SAMPLES (folder
# of sample GDF files), SKIP_BUILD=1 (use the existing build/release). Inputs are cached in
# bench/out/ and remade when their generator changes. Exit status 1 when outputs disagree or
# a program fails.
set -euo pipefail
cd "$(dirname "$0")/.."

RUNS="${RUNS:-5}"
SIZES="${SIZES:-10000 100000 1000000}"
SEED="${SEED:-1}"
SAMPLES="${SAMPLES:-/work/shared/data/feeders}"
OUT=bench/out
FEEDWALK=build/release/bin/feedwalk
RESULTS="$OUT/results.tsv"

mkdir -p "$OUT"
: >"$RESULTS"

if [ "${SKIP_BUILD:-0}" != 1 ]; then
  if ! { cmake --preset release >/dev/null && cmake --build --preset release -j2; }; then
    echo "run.sh: the release build failed; going on with whatever is built." >&2
  fi
fi

have_feedwalk=1
if [ ! -x "$FEEDWALK" ]; then
  have_feedwalk=0
  echo "run.sh: feedwalk is not built yet ($FEEDWALK is missing): running the peer only."
fi
have_peer=1
if ! python3 -c 'import networkx' 2>/dev/null; then
  have_peer=0
  echo "run.sh: networkx is not installed: running feedwalk only."
fi

# One breaker per about 6000 devices, as in the IEEE 8500-node feeder.
breakers_for() {
  local k=$((($1 + 3000) / 6000))
  echo $((k < 1 ? 1 : k))
}

# is_stale <target> <sources...>: true when the target is missing or older than a source.
is_stale() {
  local target="$1"
  shift
  [ -s "$target" ] || return 0
  for src in "$@"; do
    [ "$src" -nt "$target" ] && return 0
  done
  return 1
}

# add_case <name> <gdf> <edges>: adds a case to the benchmark and records its size.
cases=()
add_case() {
  cases+=("$1|$2|$3")
  python3 bench/measure.py case --results "$RESULTS" --case "$1" --gdf "$2" --edges "$3"
}

for n in $SIZES; do
  k=$(breakers_for "$n")
  name="synth_${n}_k${k}_s${SEED}"
  if is_stale "$OUT/$name.edges" bench/gen_feeder.py bench/edgefile.py; then
    echo "run.sh: generating $name"
    python3 bench/gen_feeder.py --devices "$n" --breakers "$k" --seed "$SEED" \
      --out "$OUT/$name.gdf" --edges "$OUT/$name.edges"
  fi
  add_case "$name" "$OUT/$name.gdf" "$OUT/$name.edges"
done

largest=$(ls -S "$SAMPLES"/*.gdf 2>/dev/null | head -n 1 || true)
if [ -n "$largest" ]; then
  name=$(basename "$largest" .gdf)
  if is_stale "$OUT/$name.edges" "$largest" bench/gdf_to_edges.py bench/edgefile.py; then
    echo "run.sh: converting $largest"
    python3 bench/gdf_to_edges.py "$largest" "$OUT/$name.edges"
  fi
  add_case "$name" "$largest" "$OUT/$name.edges"
fi

failed=0
# Rounds, each running both programs once on every case: a slow or a fast phase of the
# machine then weighs on every case and program alike, and each ratio compares runs taken
# moments apart.
for round in $(seq "$RUNS"); do
  echo "run.sh: round $round of $RUNS"
  for c in "${cases[@]}"; do
    IFS='|' read -r name gdf edges <<<"$c"
    measure=(python3 bench/measure.py run --results "$RESULTS" --case "$name")
    if [ "$have_feedwalk" = 1 ]; then
      "${measure[@]}" --program feedwalk -- "$FEEDWALK" "$gdf" "$OUT/$name.feedwalk.out"
    fi
    if [ "$have_peer" = 1 ]; then
      "${measure[@]}" --program peer -- python3 bench/peer_networkx.py "$edges" "$OUT/$name.peer.out"
    fi
  done
done

if [ "$have_feedwalk" = 1 ] && [ "$have_peer" = 1 ]; then
  for c in "${cases[@]}"; do
    IFS='|' read -r name gdf edges <<<"$c"
    status=0
    report=$(python3 bench/compare_edges.py "$OUT/$name.feedwalk.out" "$OUT/$name.peer.out") || status=$?
    case "$status" in
      0) verdict="identical" ;;
      1) verdict="REORDERED" ;;
      *) verdict="DIFFER" ;;
    esac
    [ "$status" = 0 ] || failed=1
    echo "$name: $report"
    python3 bench/measure.py agree --results "$RESULTS" --case "$name" --verdict "$verdict"
  done
fi

echo
cpu=$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //')
echo "$(date -u +%F), $(nproc) cores, $cpu, load average at the end $(cut -d' ' -f1-3 /proc/loadavg)"
python3 bench/measure.py table --results "$RESULTS" | tee "$OUT/results.md"
if awk -F'\t' '$1 == "run" && $NF != "0" { bad = 1 } END { exit !bad }' "$RESULTS"; then
  echo "run.sh: a program failed on some case (see the wall column)." >&2
  failed=1
fi
exit "$failed"
