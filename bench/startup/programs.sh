# Sourced by run.sh and callgrind.sh: the two programs they compare, found in
# the build folder given as $1 (default build/default), a private scratch
# folder removed at exit, the offscreen platform, and a median of numbers.
build=${1:-build/default}
app="$build/src/app/vellix-control"
bare="$build/bench/startup/bench_startup_bare"
for program in "$app" "$bare"; do
  if [[ ! -x $program ]]; then
    echo "${0##*/}: $program is not built; build the default preset first" >&2
    exit 1
  fi
done

export QT_QPA_PLATFORM=offscreen
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
