#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build on its seed corpus for
# FUZZ_SECONDS each (default 30), or FUZZ_RUNS executions each when set, one
# after the other, and fails on the first crash, leak or sanitizer report.
# New inputs go to build/fuzz/corpus/<target>, never into the seeds; a
# crashing input is kept in build/fuzz/artifacts/.
# FUZZ_JOBS=N runs N processes of each target side by side on its one corpus
# folder, as libFuzzer's -jobs mode does, each with 1/N of FUZZ_RUNS (or all
# of FUZZ_SECONDS); each logs to build/fuzz/<target>-<i>.log.
# Usage: tools/fuzz.sh [BUILD] [TARGET...] (all targets when none is named).
set -euo pipefail
build=${1:-build/fuzz}
shift || true
seconds=${FUZZ_SECONDS:-30}
jobs=${FUZZ_JOBS:-1}
[[ $jobs =~ ^[1-9][0-9]*$ ]] || { echo "fuzz: FUZZ_JOBS must be a positive number" >&2; exit 2; }
budget=(-max_total_time="$seconds") label="${seconds}s"
[ -z "${FUZZ_RUNS:-}" ] || {
  budget=(-runs="$(((FUZZ_RUNS + jobs - 1) / jobs))")
  label="$FUZZ_RUNS runs"
}
[ "$jobs" -eq 1 ] || label="$label in $jobs processes"
seeds=tests/fuzz/corpus
# Targets that go through files rewrite one file per input, and ext4 flushes
# a file truncated and rewritten when it is closed: on disk they wait for it
# at every input, so their scratch folder goes in memory where there is one.
[ -n "${TMPDIR:-}" ] || [ ! -w /dev/shm ] || export TMPDIR=/dev/shm
# The limits some targets meet by design (bytes of one input).
declare -A max_len=([config_xml]=65536 [engine_file]=16384 [mail_profile]=65536)
mkdir -p "$build/artifacts"
names=("$@")
[ ${#names[@]} -gt 0 ] || names=($(cd "$build/tests/fuzz" && ls -- *_fuzz | sed 's/_fuzz$//'))
for target in "${names[@]}"; do
  bin="$build/tests/fuzz/${target}_fuzz"
  corpus="$build/corpus/$target"
  mkdir -p "$corpus"
  echo "== $target: $label"
  declare -A log_of=()
  logs=()
  for ((i = 1; i <= jobs; i++)); do
    log="$build/$target.log"
    [ "$jobs" -eq 1 ] || log="$build/$target-$i.log"
    logs+=("$log")
    "$bin" "${budget[@]}" -max_len="${max_len[$target]:-4096}" \
      -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix="$build/artifacts/$target-" "$corpus" "$seeds/$target" 2>"$log" &
    log_of[$!]=$log
  done
  # The first process to fail fails the target; the others are stopped then.
  for ((i = 0; i < jobs; i++)); do
    status=0
    wait -n -p ended "${!log_of[@]}" || status=$?
    log=${log_of[$ended]}
    unset "log_of[$ended]"
    [ "$status" -ne 0 ] || continue
    kill "${!log_of[@]}" 2>/dev/null || true
    tail -n 60 "$log" >&2
    echo "fuzz: $target failed; the input is in $build/artifacts/" >&2
    exit 1
  done
  for log in "${logs[@]}"; do
    grep -E "^stat::(number_of_executed_units|average_exec_per_sec)" "$log" || true
  done
  [ "$jobs" -eq 1 ] || awk '/^stat::number_of_executed_units/ { n += $2 } END { print "executions, all processes: " n }' "${logs[@]}"
  echo "corpus: $(find "$corpus" -type f | wc -l) files"
done
