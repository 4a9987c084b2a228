#!/bin/bash
# Runs one Windows program headless under Wine, and answers its exit code. CTest puts this before every test program
# of a Windows build (CMAKE_CROSSCOMPILING_EMULATOR).
#
# WINEPREFIX names the Wine environment; it is made on first use. scripts/test-windows gives each run of the suite a
# fresh one and removes it afterwards.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wine}
export WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor an HTML engine is offered for download, and no menu entries are written.
export WINEDLLOVERRIDES="mscoree=d;mshtml=d;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY

# Debian's wine64 package puts neither program into PATH.
find_program() {
  command -v "$1" || { [ -x "/usr/lib/wine/$1" ] && echo "/usr/lib/wine/$1"; }
}
wine=$(find_program wine64) || { echo "run-wine.sh: wine64 is not installed" >&2; exit 127; }
WINESERVER=$(find_program wineserver64 || find_program wineserver)
export WINESERVER

# Several tests may start at once: one makes the environment, the others wait.
make_prefix() {
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    [ -e "$WINEPREFIX/.ready" ] && exit 0
    "$wine" wineboot --init >/dev/null 2>&1 9>&-
    # No sound driver: the machine has no card, and looking for one takes time.
    "$wine" reg add 'HKCU\Software\Wine\Drivers' /v Audio /d '' /f >/dev/null 2>&1 9>&-
    touch "$WINEPREFIX/.ready"
  ) 9>"$WINEPREFIX/.lock"
}
[ -e "$WINEPREFIX/.ready" ] || make_prefix
exec "$wine" "$@"
