#!/usr/bin/env bash
# Makes the Debian package from a built tree, installs it on this machine with
# apt-get, runs the installed program (--version, then the scripted first
# start with its pictures, on the installed files alone) and removes it again.
# Fails when the package holds anything but the program's files, or when the
# program or its removal does not do its part. Needs root, as CI runs it.
#
#   tools/deb-test.sh [BUILD_DIR]     (default build/default, already built)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/default}")
[ "$(id -u)" -eq 0 ] || { echo "deb-test: installs a package: run as root" >&2; exit 2; }
[ -x "$build/src/app/vellix-control" ] || { echo "deb-test: $build is not built" >&2; exit 2; }
export DEBIAN_FRONTEND=noninteractive

# Up to date with the sources and the install rules.
cmake --build "$build" --target vellix-control >/dev/null
rm -f "$build"/vellix-control_*.deb
(cd "$build" && cpack -G DEB)
debs=("$build"/vellix-control_*.deb)
deb=${debs[0]}
[ -f "$deb" ] || { echo "deb-test: cpack made no package" >&2; exit 1; }
echo "deb-test: $(basename "$deb"): $(dpkg-deb -f "$deb" Depends)"

# Only the program and what it reads, its desktop files and its
# documentation: no test, benchmark or fuzz program, no library.
stray=$(dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$' |
  grep -Ev '^\./usr/bin/vellix-control$|^\./usr/share/|^\./etc/xdg/autostart/' || true)
if [ -n "$stray" ]; then
  echo "deb-test: the package holds files that are not the program's:" >&2
  echo "$stray" >&2
  exit 1
fi

work=$(mktemp -d)
# Whatever happens, the machine is left without the package, its conffiles too.
cleanup() {
  rm -rf "$work"
  if dpkg-query -W -f='${Status}' vellix-control 2>/dev/null | grep -Eq "installed|config-files"; then
    apt-get purge -y -qq vellix-control >/dev/null </dev/null || true
  fi
}
trap cleanup EXIT

# Its dependencies are on the machine already (tools/deps.sh); what it only
# recommends (xdg-utils) would change what later tests find there.
apt-get install -y -qq --no-install-recommends "$deb" </dev/null
version=$(/usr/bin/vellix-control --version </dev/null)
expected="vellix-control $(dpkg-deb -f "$deb" Version)"
[ "$version" = "$expected" ] || {
  echo "deb-test: --version said '$version', not '$expected'" >&2
  exit 1
}

# The installed program has no build folder to fall back on: all it reads
# comes from /usr/share/vellix-control.
touch "$work/start"
status=0
QT_QPA_PLATFORM=offscreen timeout 600 /usr/bin/vellix-control --data-dir "$work/data" \
  --screenshot "$work/pictures" </dev/null >"$work/out.txt" 2>&1 || status=$?
if [ "$status" -ne 0 ]; then
  cat "$work/out.txt" >&2
  echo "deb-test: the installed program's screenshot run ended with status $status" >&2
  exit 1
fi
grep -E 'of [0-9]+ pictures written' "$work/out.txt"
# What the program writes goes to the data folder, never among its files.
written=$(find /usr/share/vellix-control -newer "$work/start")
[ -z "$written" ] || { echo "deb-test: the program wrote $written" >&2; exit 1; }

apt-get remove -y -qq vellix-control </dev/null >/dev/null
for gone in /usr/bin/vellix-control /usr/share/vellix-control; do
  [ ! -e "$gone" ] || { echo "deb-test: $gone is left after the removal" >&2; exit 1; }
done
echo "deb-test: installed, ran and removed $(basename "$deb")"
