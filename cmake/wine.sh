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

# Wine's own processes are started here and stay for a minute after the last program: started by the program, they
# would keep its standard output open.
mkdir -p "$WINEPREFIX"
(
    flock 9
    if [ ! -f "$WINEPREFIX/.made" ]; then
        wine wineboot -i >"$WINEPREFIX/made.log" 2>&1 9>&-
        wineserver -w  # the services that ran meanwhile knew nothing of what was being made
        touch "$WINEPREFIX/.made"
    fi
    if wineserver -p60 >/dev/null 2>&1 9>&-; then
        wine wineboot >/dev/null 2>&1 9>&-
    fi
) 9>"$WINEPREFIX/.lock" </dev/null
exec wine "$@"
