#!/usr/bin/env bash
# Instructions from process start to the end of the first paint, of
# vellix-control on a fresh data folder and of the bare Qt Widgets window,
# counted by callgrind (QT_QPA_PLATFORM=offscreen). Unlike the wall clock of
# run.sh the count hardly wanders, so it is what a change is judged by.
# Prints the median of each and their ratio (aim: 1.3 or less).
#
#   bench/startup/callgrind.sh [build-dir] [runs]   (default: build/default, 3)
set -euo pipefail

runs=${2:-3}
# shellcheck source=bench/startup/programs.sh
source "$(dirname "$0")/programs.sh"
command -v valgrind >/dev/null || { echo "callgrind.sh: valgrind is not installed" >&2; exit 1; }

# The instructions one run of the program executed, all threads together.
count() {
  local out="$scratch/callgrind.out"
  valgrind --tool=callgrind --callgrind-out-file="$out" "$@" >/dev/null 2>"$scratch/valgrind.log" || {
    cat "$scratch/valgrind.log" >&2
    echo "callgrind.sh: $1 failed" >&2
    exit 1
  }
  sed -n 's/^summary: \([0-9]*\).*/\1/p' "$out"
}

app_counts=()
bare_counts=()
for ((i = 0; i < runs; i++)); do
  app_counts+=("$(count "$app" --data-dir "$scratch/data-$i" --quit-after-first-paint)")
  bare_counts+=("$(count "$bare")")
done
app_median=$(printf '%s\n' "${app_counts[@]}" | median)
bare_median=$(printf '%s\n' "${bare_counts[@]}" | median)
echo "vellix-control (fresh data folder): ${app_counts[*]} instructions, median $app_median"
echo "bare Qt Widgets window:             ${bare_counts[*]} instructions, median $bare_median"
awk -v a="$app_median" -v b="$bare_median" 'BEGIN { printf "ratio: %.3f (aim: 1.3 or less)\n", a / b }'
