#!/usr/bin/env bash
# Builds a QtCore that ThreadSanitizer understands, once per Qt version, and prints its install prefix.
#
#   tools/qtcore-tsan.sh [--print]
#
# ThreadSanitizer does not see the locks inside an ordinary QtCore and reports races that are none. This
# builds the distribution's own source package with -fsanitize=thread into a cache outside the tree
# ($BRN_QTCORE_TSAN_CACHE, or brn_mesh_kernel/ in the user's cache directory), and does nothing where that is
# done already. The machine's package sources stay as they are: the source package comes through lists of
# this script's own. About 8 minutes and 2 GB while it builds, 60 MB afterwards.
#
# Standard output is the prefix alone, for CMAKE_PREFIX_PATH; --print prints it without building.
set -euo pipefail

say() { printf 'qtcore-tsan: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs the packages whose command is not there: command=package ...
need_commands() {
    local missing=() pair
    for pair in "$@"; do
        command -v "${pair%%=*}" > /dev/null || missing+=("${pair#*=}")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    say "installing ${missing[*]}"
    as_root apt-get -qq update >&2
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install --no-install-recommends -y "${missing[@]}" >&2
}

source_version() { dpkg-query -W -f '${source:Version}' qt6-base-dev 2> /dev/null || true; }

version=$(source_version)
if [ -z "$version" ]; then
    say "installing qt6-base-dev"
    as_root apt-get -qq update >&2
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install --no-install-recommends -y qt6-base-dev >&2
    version=$(source_version)
fi
cache=${BRN_QTCORE_TSAN_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/brn_mesh_kernel}
prefix=$cache/qtcore-tsan-${version//[^A-Za-z0-9.]/-}

if [ "${1-}" = --print ]; then
    echo "$prefix"
    exit 0
fi
if [ -e "$prefix/.complete" ]; then
    say "already built for Qt $version"
    echo "$prefix"
    exit 0
fi

need_commands g++=g++ cmake=cmake ninja=ninja-build dpkg-source=dpkg-dev perl=perl flock=util-linux
mkdir -p "$cache"
exec 9> "$cache/qtcore-tsan.lock"
flock -n 9 || { say "waiting for another build of it"; flock 9; }
[ ! -e "$prefix/.complete" ] || { echo "$prefix"; exit 0; }

work=$cache/qtcore-tsan.work
rm -rf "$work" "$prefix"
mkdir -p "$work"

source_dir=$("$(dirname "$0")/source-package.sh" qt6-base-dev "$work/packages")

say "configuring"
off=()
for feature in gui network sql xml testlib dbus concurrent icu zstd glib system_{zlib,pcre2,doubleconversion}; do
    off+=("-DFEATURE_$feature=OFF")
done
cmake -S "$source_dir" -B "$work/build" -G Ninja -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O2 -g1 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O2 -g1 -DNDEBUG" \
    -DFEATURE_sanitizer=ON -DFEATURE_sanitize_thread=ON "${off[@]}" \
    -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF >> "$work/log" 2>&1 ||
    { tail -n 40 "$work/log" >&2; die "configuring failed, see $work/log"; }

say "building (about 8 minutes on two cores)"
nice -n 5 cmake --build "$work/build" >> "$work/log" 2>&1 ||
    { tail -n 40 "$work/log" >&2; die "the build failed, see $work/log"; }

say "installing into $prefix"
cmake --install "$work/build" >> "$work/log" 2>&1 ||
    { tail -n 20 "$work/log" >&2; die "installing failed, see $work/log"; }
touch "$prefix/.complete"
rm -rf "$work"
say "done"
echo "$prefix"
