#!/usr/bin/env bash
# tools/windows.sh [test [CTEST ARGUMENTS] | package]: installs what is missing and builds for 64-bit Windows.
# `test` then runs every test under Wine; `package` makes build/windows/brn_mesh_kernel-VERSION-win64.zip.
. "$(dirname "$0")/common.sh"

job=${1-build}
case $job in
  build | test | package) ;;
  *) say "usage: tools/windows.sh [test [CTEST ARGUMENTS] | package]" >&2; exit 1 ;;
esac
[ $# -eq 0 ] || shift

tools/setup.sh g++-mingw-w64-x86-64-posix wine64 qt6-base-dev-tools dpkg-dev unzip
tools/windows-dependencies.sh >/dev/null
configure_preset windows ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset windows
case $job in
  test)
    export WINEPREFIX=$root/build/windows/wine WINEDEBUG=-all WINEDLLOVERRIDES=winedbg.exe,mscoree,mshtml=
    say "Making build/windows/wine, the Windows that the tests see"
    wine=$(PATH=$PATH:/usr/lib/wine command -v wine64)
    quietly "$wine" wineboot --update
    # Wine's system processes end a second after the last program, and the next program's would hold that one's output
    # open. So a program that waits for this script keeps them.
    { tail --pid=$$ -f /dev/null | "$wine" cmd; } >/dev/null 2>&1 &
    export BRN_WINE_STAYS=1
    test_preset windows "$@"
    ;;
  package)
    say "Packing build/windows"
    (cd build/windows && quietly cpack -G ZIP)
    ls build/windows/*.zip
    ;;
esac
