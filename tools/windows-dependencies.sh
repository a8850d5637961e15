#!/usr/bin/env bash
# Builds what the Windows build needs, once per set of versions, and prints its install prefix.
#
#   tools/windows-dependencies.sh [--print]
#
# QtCore, log4cplus (wide characters, no thread pool), GoogleTest and OpenMesh, from the distribution's own source
# packages, into a cache outside the tree ($BRN_WINDOWS_CACHE, or brn_mesh_kernel/ in the user's cache directory). The
# headers of Boost, oneTBB, fmt and CLI11 are the machine's own. Does nothing where that is done already. About 6 minutes on two
# cores, 3 GB while it builds, 200 MB afterwards.
#
# Standard output is the prefix alone, for BRN_WINDOWS_PREFIX; --print prints it without building.
set -euo pipefail

tools=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$tools")

say() { printf '== %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

packages=(qt6-base-dev liblog4cplus-dev libopenmesh-dev libgtest-dev libboost-dev libtbb-dev libfmt-dev libcli11-dev g++-mingw-w64-x86-64-posix)
key=$({ dpkg-query -W "${packages[@]}"; cat "$tools/windows-dependencies.sh"; } | sha256sum | cut -c 1-12)
cache=${BRN_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/brn_mesh_kernel}
prefix=$cache/windows-$key

if [ "${1-}" = --print ]; then
  echo "$prefix"
  exit 0
fi
mkdir -p "$cache"
exec 9>"$cache/windows.lock"
flock -n 9 || { say "Waiting for another build of the dependencies"; flock 9; }
if [ -e "$prefix/.complete" ]; then
  echo "$prefix"
  exit 0
fi

work=$cache/windows.work
log=$work/log
rm -rf "$work" "$prefix"
mkdir -p "$work" "$prefix"

# logged COMMAND ...: what it says goes to the log, and its end to the terminal if it fails.
logged() {
  "$@" >>"$log" 2>&1 || { tail -n 40 "$log" >&2; die "failed: $*"; }
}

# build_package NAME SOURCES [CMAKE ARGUMENTS]
build_package() {
  local name=$1 sources=$2
  shift 2
  say "Building $name for Windows"
  logged cmake -S "$sources" -B "$work/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DBRN_WINDOWS_PREFIX="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix" "$@"
  logged cmake --build "$work/$name"
  logged cmake --install "$work/$name"
}

# Folders of headers that are the same on every platform; all of /usr/include would hide the compiler's own.
link_headers() {
  mkdir -p "$prefix/include"
  ln -s /usr/include/{boost,tbb,oneapi,fmt,CLI} "$prefix/include/"
  write_header_package TBB TBB::tbb 2021
  write_header_package fmt fmt::fmt-header-only 9.1
  write_header_package CLI11 CLI11::CLI11 2
}

# write_header_package NAME TARGET VERSION: a CMake package of headers.
write_header_package() {
  local directory=$prefix/lib/cmake/$1
  mkdir -p "$directory"
  cat >"$directory/$1Config.cmake" <<CMAKE
set($1_VERSION $3)
if(NOT TARGET $2)
  add_library($2 INTERFACE IMPORTED)
  set_target_properties($2 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "\${CMAKE_CURRENT_LIST_DIR}/../../../include")
endif()
CMAKE
}

fetch() { "$tools/source-package.sh" "$1" "$work/packages"; }

qt_off=()
for feature in gui network sql xml testlib dbus concurrent icu zstd glib system_{zlib,pcre2,doubleconversion}; do
  qt_off+=("-DFEATURE_$feature=OFF")
done
link_headers
build_package qtcore "$(fetch qt6-base-dev)" "${qt_off[@]}" -DQT_QMAKE_TARGET_MKSPEC=win32-g++ \
  -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF
build_package log4cplus "$(fetch liblog4cplus-dev)" -DUNICODE=ON -DLOG4CPLUS_ENABLE_THREAD_POOL=OFF \
  -DLOG4CPLUS_BUILD_TESTING=OFF -DLOG4CPLUS_BUILD_LOGGINGSERVER=OFF -DWITH_UNIT_TESTS=OFF
build_package googletest "$(fetch libgtest-dev)"
build_package openmesh "$(fetch libopenmesh-dev)" -DBUILD_APPS=OFF -DOPENMESH_DOCS=OFF -DOPENMESH_BUILD_SHARED=OFF

touch "$prefix/.complete"
rm -rf "$work"
echo "$prefix"
