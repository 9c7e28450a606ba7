#!/usr/bin/env bash
# Plays the program's scripted first start (--screenshot: start, Quick setup,
# Run Now, the first processing pass, a backup of the stores, Exit) under
# valgrind's memcheck, on Qt's offscreen platform and a fresh data folder.
# Fails on a definite leak, an invalid read, write or free, or a decision on
# uninitialised memory that the suppressions (tools/memcheck.supp: system
# libraries' own noise) do not cover. Memory still reachable at the end
# (Qt's and fontconfig's caches) is not counted.
#
#   tools/memcheck.sh [BUILD_DIR]     (default build/default; the log goes to
#                                      MEMCHECK_LOG or a temporary file, the
#                                      program's output beside it, LOG.out)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/default}
exe=$build/src/app/vellix-control
[ -x "$exe" ] || { echo "memcheck: $exe is not built" >&2; exit 2; }

work=$(mktemp -d)
log=${MEMCHECK_LOG:-$(mktemp --suffix=.memcheck.log)}
trap 'rm -rf "$work"' EXIT

start=$(date +%s)
set +e
# Valgrind runs the program many times slower: the script's watchdog,
# two minutes in a plain run, is given twenty, and its waits ten times theirs.
QT_QPA_PLATFORM=offscreen VELLIX_SCREENSHOT_WATCHDOG_MS=1200000 valgrind --tool=memcheck --leak-check=full --show-leak-kinds=definite \
  --errors-for-leak-kinds=definite --track-origins=yes --num-callers=40 \
  --suppressions=tools/memcheck.supp --error-exitcode=42 --log-file="$log" \
  "$exe" --data-dir "$work/data" --screenshot "$work/pictures" >"$work/out.txt" 2>&1
status=$?
set -e
seconds=$(($(date +%s) - start))

out=$log.out
cp "$work/out.txt" "$out"
# Valgrind's status hides the program's: the run's own last line tells
# whether the script reached Exit.
finished=$(grep -E '^screenshot: [0-9]+ of [0-9]+ pictures' "$out" || true)
echo "${finished:-memcheck: the scripted run did not reach Exit}"
summary=$(grep -E 'ERROR SUMMARY|definitely lost|indirectly lost|still reachable' "$log" |
  sed 's/^==[0-9]*== *//')
echo "$summary"
echo "memcheck: ${seconds}s, program status $status, log $log, its output $out"
if [ "$status" -eq 42 ]; then
  echo "memcheck: errors in the run (see the log above):" >&2
  grep -E '^==[0-9]+== (Invalid|Mismatched|Conditional|Use of|Syscall param|[0-9,]+ bytes in)' \
    "$log" >&2 || true
  exit 1
fi
# A picture missed under valgrind's pace (status 1) is no memory fault;
# a run that never reached Exit checked less than it should.
if [ -z "$finished" ] || [ "$status" -gt 1 ]; then
  echo "memcheck: the scripted run did not finish (status $status):" >&2
  cat "$out" >&2
  exit 1
fi
# Nor did a run whose script moved on before the pass or a backup ended.
if grep -E '^screenshot: (gave up waiting|the pass was still going)' "$out" >&2; then
  echo "memcheck: the run moved on before what it waited for had ended" >&2
  exit 1
fi
echo "memcheck: clean"
