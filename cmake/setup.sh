# Sets up and builds what ./check and ./vornscan need; both source this file.
# Everything it says goes to standard error: standard output belongs to the caller.

video_packages='libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-x libx11-dev'
tool_packages="cmake g++ ninja-build libcli11-dev libjpeg-dev libpng-dev libqpdf-dev libsane-dev libtiff-dev nlohmann-json3-dev pkg-config $video_packages"
check_packages="$tool_packages libbenchmark-dev libgtest-dev sane-utils xvfb poppler-utils qpdf"
windows_packages="$tool_packages dpkg-dev g++-mingw-w64-x86-64-posix googletest imagemagick libz-mingw-w64-dev nasm poppler-utils qpdf wine wine64"

root=$(dirname "$(readlink -f "$0")")

# use_preset NAME: what the functions below configure and build.
use_preset()
{
    preset=$1
    build=$root/build/$preset
}

use_preset release

say()
{
    printf 'vornwia: %s\n' "$1" >&2
}

# fail MESSAGE LOG: says what went wrong, shows the end of the log, and ends the script.
fail()
{
    tail -n 40 "$2" >&2
    say "$1 The full log is $2."
    exit 1
}

# Prints those of the packages given that are not installed.
missing_packages()
{
    for package; do
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=
        [ "$status" = installed ] || printf '%s ' "$package"
    done
}

# Installs those of the packages that are `missing`.
install_packages()
{
    missing=
    if ! command -v dpkg-query >/dev/null; then
        say "this is not a Debian system: make sure that it has what these packages bring: $*"
        return
    fi
    missing=$(missing_packages "$@" | sed "s, $,,")
    [ -n "$missing" ] || return 0

    as_root=
    if [ "$(id -u)" != 0 ]; then
        if ! command -v sudo >/dev/null; then
            say "these packages are missing, and installing them takes root or sudo: $missing"
            exit 1
        fi
        as_root=sudo
    fi
    say "installing $missing..."
    log=$root/build/packages.log
    {
        $as_root apt-get update && $as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get install --yes --no-install-recommends $missing
    } </dev/null >"$log" 2>&1 || fail "installing $missing failed." "$log"
}

# configure TESTS: makes the build tree unless it is there; TESTS is ON when it must hold the tests. What a tree was
# made without stays out of it: packages that were missing until now take a new one.
configure()
{
    cache=$build/CMakeCache.txt
    if [ -z "$missing" ] && [ -f "$build/build.ninja" ] && grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache" &&
        { [ "$1" = OFF ] || grep -qx 'VORN_BUILD_TESTS:BOOL=ON' "$cache"; }; then
        return
    fi
    say 'configuring...'
    log=$root/build/configure.log
    (cd "$root" && cmake --preset "$preset" --fresh -DVORN_BUILD_TESTS="$1" -DVORN_BUILD_BENCH="$1") \
        </dev/null >"$log" 2>&1 || fail 'configuring failed.' "$log"
}

# Builds the codecs' libraries for Windows, unless they are there.
build_mingw_libs()
{
    log=$root/build/mingw-libs.log
    [ -f "$root/build/mingw-libs/stamp" ] || say 'building the image codecs for Windows, which takes some minutes...'
    "$root/cmake/mingw-libs.sh" "$root/build/mingw-libs" </dev/null >"$log" 2>&1 ||
        fail 'building the image codecs for Windows failed.' "$log"
}

# Waits a second without keeping the caller's pipes or the lock open when the job around it is stopped.
wait_a_second()
{
    sleep 1 </dev/null >/dev/null 2>&1 9>&-
}

# Says that a build goes on that takes more than a moment; on a terminal also how far it is. Runs until stopped.
show_progress()
{
    wait_a_second
    [ -t 2 ] || say 'building...'
    while [ -t 2 ] && kill -0 $$ 2>/dev/null; do
        step=$(tail -n 1 "$1" | sed -n 's/^\(\[[0-9/]*\]\).*/\1/p')
        printf '\r\033[Kvornwia: building %s ' "$step" >&2
        wait_a_second
    done
}

# build_target TARGET
build_target()
{
    log=$root/build/build.log
    : >"$log"
    show_progress "$log" &
    progress=$!
    result=0
    cmake --build "$build" --target "$1" </dev/null >"$log" 2>&1 || result=$?
    kill "$progress" 2>/dev/null || true
    [ ! -t 2 ] || printf '\r\033[K' >&2
    [ "$result" = 0 ] || fail 'the build failed.' "$log"
}

# set_up TESTS TARGET PACKAGES...: one at a time, also when several are started at once.
set_up()
{
    tests=$1
    target=$2
    shift 2
    mkdir -p "$root/build"
    (
        flock 9
        install_packages "$@"
        [ "$preset" != mingw ] || build_mingw_libs
        configure "$tests"
        build_target "$target"
    ) 9>"$root/build/.lock"
}
