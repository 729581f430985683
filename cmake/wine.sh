#!/bin/sh
# Runs a Windows program: wine.sh PROGRAM ARGUMENTS...
# Wine's registry and drives are private to the build tree that the program lies in (or to $VORN_WINEPREFIX), and
# are made on first use. No display is needed.
set -eu

# The build tree: the nearest folder above the program that CMake made.
prefix_of()
{
    folder=$(dirname "$(readlink -f "$1")")
    while [ "$folder" != / ] && [ ! -f "$folder/CMakeCache.txt" ]; do
        folder=$(dirname "$folder")
    done
    [ "$folder" != / ] || folder=$PWD
    printf '%s/wineprefix' "$folder"
}

export WINEPREFIX="${VORN_WINEPREFIX:-$(prefix_of "$1")}"
export WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES='mscoree=;mshtml='
unset DISPLAY WAYLAND_DISPLAY

if [ ! -f "$WINEPREFIX/.made" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [ -f "$WINEPREFIX/.made" ] || wine wineboot -i </dev/null >"$WINEPREFIX/made.log" 2>&1
        touch "$WINEPREFIX/.made"
    ) 9>"$WINEPREFIX/.lock"
fi
# Wine stays for a minute after its last program, so that the next need not wait for it to start.
wineserver -p60 2>/dev/null || true
exec wine "$@"
