#!/usr/bin/env bash
# Start-up time of vellix-control on a fresh data folder against a bare Qt
# Widgets program that shows one window: the median time from process start
# to the first window painted, both measured alternately in one run under the
# offscreen platform. Prints both medians and their ratio (aim: 1.3 or less).
#
#   bench/startup/run.sh [build-dir] [runs]     (default: build/default, 31)
set -euo pipefail

runs=${2:-31}
# shellcheck source=bench/startup/programs.sh
source "$(dirname "$0")/programs.sh"

now_us() { echo "${EPOCHREALTIME/./}"; }

# Microseconds from the launch to the first paint the program reports.
measure() {
  local start out painted
  start=$(now_us)
  out=$("$@" 2>/dev/null) || { echo "run.sh: $1 failed" >&2; exit 1; }
  painted=$(sed -n 's/^first-paint-ns \([0-9]*\)$/\1/p' <<<"$out")
  if [[ -z $painted ]]; then
    echo "run.sh: $1 reported no first paint" >&2
    exit 1
  fi
  echo $(((painted / 1000) - start))
}

app_times=()
bare_times=()
for ((i = 0; i < runs; i++)); do
  data="$scratch/data-$i"
  # Each takes the first place in turn, so neither gains from a warm cache alone.
  if ((i % 2 == 0)); then
    app_times+=("$(measure "$app" --data-dir "$data" --quit-after-first-paint)")
    bare_times+=("$(measure "$bare")")
  else
    bare_times+=("$(measure "$bare")")
    app_times+=("$(measure "$app" --data-dir "$data" --quit-after-first-paint)")
  fi
done

app_median=$(printf '%s\n' "${app_times[@]}" | median)
bare_median=$(printf '%s\n' "${bare_times[@]}" | median)
echo "runs: $runs each, alternating, QT_QPA_PLATFORM=offscreen"
echo "vellix-control (fresh data folder): median $((app_median / 1000)) ms to first paint"
echo "bare Qt Widgets window:             median $((bare_median / 1000)) ms to first paint"
awk -v a="$app_median" -v b="$bare_median" 'BEGIN { printf "ratio: %.2f (aim: 1.3 or less)\n", a / b }'
