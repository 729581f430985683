#!/bin/sh
# Runs a Windows program: wine.sh PROGRAM ARGUMENTS...
# Wine's registry and drives are private to the build tree that the program lies in (or to $VORN_WINEPREFIX), and
# are made on first use. No display is needed.
set -eu

# The build tree: the nearest folder above the program that CMake made.
prefix_of()
{
    program=$(readlink -f -- "$1") || exit 1
    folder=$(dirname "$program")
    while [ "$folder" != / ] && [ ! -f "$folder/CMakeCache.txt" ]; do
        folder=$(dirname "$folder")
    done
    [ "$folder" != / ] || folder=$PWD
    printf '%s/wineprefix' "$folder"
}

export WINEPREFIX="${VORN_WINEPREFIX:-$(prefix_of "$1")}"
export WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES='mscoree=;mshtml='
export LC_ALL=C.UTF-8  # elsewhere Wine has no names for files that are not ASCII
unset DISPLAY WAYLAND_DISPLAY

# On a machine that is busy each step takes minutes at most; one that takes longer is stuck.
step()
{
    timeout --kill-after=10 300 "$@" >>"$WINEPREFIX/start.log" 2>&1 9>&- && return
    printf 'wine.sh: "%s" failed; %s tells more.\n' "$*" "$WINEPREFIX/start.log" >&2
    exit 1
}

# Wine's own processes are started here and stay for two minutes after the last program: started by the program,
# they would keep its standard output open.
mkdir -p "$WINEPREFIX"
(
    flock 9
    if [ ! -f "$WINEPREFIX/.made" ]; then
        step wine wineboot -i
        step wineserver -w  # the services that ran meanwhile knew nothing of what was being made
        touch "$WINEPREFIX/.made"
    fi
    if wineserver -p120 >/dev/null 2>&1 9>&-; then
        step wine wineboot
    fi
) 9>"$WINEPREFIX/.lock" </dev/null
# One start in a thousand ends with 1 and without a word because the system, which places the parts of a program at
# random, put one where Wine needs its own: they are not to be placed at random where that can be asked for.
if setarch -R true 2>/dev/null; then
    exec setarch -R wine "$@"
fi
exec wine "$@"
