#!/bin/sh
# Builds the codecs' libraries for Windows, static, from Debian's own source packages: mingw-libs.sh FOLDER
# Sources come from where this machine's packages come from, checked by apt, which keeps what it downloads in FOLDER
# and needs no root for it. What is there stays until the packages of this machine, or this file, have changed.
set -eu
here=$(dirname "$(readlink -f "$0")")
mkdir -p "$1"
folder=$(readlink -f "$1")

wanted=$(
    dpkg-query -W libpng-dev libjpeg-dev libtiff-dev libqpdf-dev libz-mingw-w64-dev g++-mingw-w64-x86-64-posix
    cksum <"$0"
    cksum <"$here/mingw.cmake"
)
[ "$wanted" != "$(cat "$folder/stamp" 2>/dev/null)" ] || exit 0
rm -rf "$folder"
mkdir -p "$folder/apt/lists/partial" "$folder/apt/sources" "$folder/sources"

# The machine's own entries, for sources.
eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d status Dir::State::status/f)"
for file in "$list" "$parts"/*.list; do
    [ ! -f "$file" ] || sed -n -E 's/^[[:space:]]*deb(-src)?[[:space:]]/deb-src /p' "$file" >>"$folder/apt/sources/machine.list"
done
for file in "$parts"/*.sources; do
    [ ! -f "$file" ] || sed -E 's/^Types:.*/Types: deb-src/' "$file" >"$folder/apt/sources/${file##*/}"
done

cat >"$folder/apt.conf" <<END
Dir::State "$folder/apt";
Dir::State::status "$status";
Dir::Cache "$folder/apt";
Dir::Etc::sourcelist "/dev/null";
Dir::Etc::sourceparts "$folder/apt/sources";
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
END
apt-get --config-file "$folder/apt.conf" update

# fetch PACKAGE: its newest source into sources/PACKAGE. A list can name a version before, or after, it is there.
fetch()
{
    for version in $(apt-cache --config-file "$folder/apt.conf" showsrc --only-source "$1" | sed -n 's/^Version: //p' |
        sort --version-sort --reverse --unique); do
        rm -rf "$folder/sources/download"
        mkdir "$folder/sources/download"
        if (cd "$folder/sources/download" && apt-get --config-file "$folder/apt.conf" source --only-source "$1=$version"); then
            mv "$folder/sources/download"/*/ "$folder/sources/$1"
            return
        fi
    done
    printf 'mingw-libs.sh: no source of %s can be fetched.\n' "$1" >&2
    return 1
}

# build PACKAGE TARGET OPTIONS...
build()
{
    fetch "$1"
    package=$1 target=$2
    shift 2
    # What pkg-config knows is not for Windows.
    PKG_CONFIG_LIBDIR=$folder/none cmake -S "$folder/sources/$package" -B "$folder/build/$package" -G Ninja \
        -DCMAKE_TOOLCHAIN_FILE="$here/mingw.cmake" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$folder" \
        -DBUILD_SHARED_LIBS=OFF "$@"
    cmake --build "$folder/build/$package" --target "$target"
}

build libjpeg-turbo install -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF
build libpng1.6 install -DPNG_SHARED=OFF -DPNG_TESTS=OFF
build tiff install -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF -Dcxx=OFF
build qpdf libqpdf -DCMAKE_BUILD_TYPE=MinSizeRel -DREQUIRE_CRYPTO_NATIVE=ON -DUSE_IMPLICIT_CRYPTO=OFF \
    -DCMAKE_CXX_FLAGS='-include cstdint' -DZLIB_LIB_PATH=/usr/x86_64-w64-mingw32/lib/libz.a
for component in dev Unspecified; do  # the second is what CMake finds it by
    cmake --install "$folder/build/qpdf" --component $component
done

rm -rf "$folder/build" "$folder/sources"
printf '%s\n' "$wanted" >"$folder/stamp"
