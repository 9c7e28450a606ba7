#!/usr/bin/env bash
# Runs the benchmarks of a build folder: the Google Benchmark programs, then
# the scripted ones. Each prints its own ratios against a baseline of the same run.
set -euo pipefail
build=${1:-build/default}
for b in "$build"/bench/*/bench_*; do
  [ -x "$b" ] || continue
  case "$(basename "$b")" in
    bench_startup_bare) continue ;;  # the baseline of bench/startup/run.sh
  esac
  echo "== $(basename "$b")"
  "$b"
done
if [ -x bench/startup/run.sh ]; then
  echo "== startup"
  bench/startup/run.sh "$build"
fi
