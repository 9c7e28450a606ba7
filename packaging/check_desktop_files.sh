#!/bin/sh
# check_desktop_files.sh SOURCE_DIR BINARY_DIR PROGRAM
# The desktop entries and the metainfo pass their validators, the man page names
# every option of --help, and the install rules put each file where the
# desktops look, for the package's /usr prefix and for another.
set -eu
src=$1 bin=$2 program=$3
cmake=${CMAKE:-cmake}
fail() { echo "FAIL: $*" >&2; exit 1; }

desktop-file-validate "$src/com.vellix.control.desktop" "$src/vellix-control-autostart.desktop"
appstreamcli validate --no-net "$bin/com.vellix.control.metainfo.xml"

man=$bin/vellix-control.1
[ -s "$man" ] || fail "no man page at $man"
# The page as text: font changes dropped, escaped hyphens made plain.
text=$(sed -e 's/\\f[BIRP]//g' -e 's/\\-/-/g' "$man")
options=$("$program" --help | grep -E '^  -' | grep -oE -- '(^| )--?[a-z][a-z-]*')
[ -n "$options" ] || fail "no options found in --help"
for option in $options; do
  printf '%s\n' "$text" | grep -qwF -- "$option" || fail "the man page does not name $option"
done

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
DESTDIR=$stage/pkg "$cmake" -DCMAKE_INSTALL_PREFIX=/usr -P "$bin/cmake_install.cmake" >/dev/null
"$cmake" -DCMAKE_INSTALL_PREFIX="$stage/local" -P "$bin/cmake_install.cmake" >/dev/null
for file in pkg/etc/xdg/autostart/vellix-control.desktop \
  pkg/usr/share/applications/com.vellix.control.desktop \
  pkg/usr/share/metainfo/com.vellix.control.metainfo.xml \
  pkg/usr/share/icons/hicolor/scalable/apps/vellix-control.svg \
  pkg/usr/share/icons/hicolor/16x16/apps/vellix-control.png \
  pkg/usr/share/icons/hicolor/256x256/apps/vellix-control.png \
  pkg/usr/share/man/man1/vellix-control.1.gz \
  local/etc/xdg/autostart/vellix-control.desktop; do
  [ -s "$stage/$file" ] || fail "not installed: $file"
done
[ ! -e "$stage/pkg/usr/etc" ] || fail "the package puts files below /usr/etc"
echo "desktop files valid, man page complete, install layout right"
