#!/usr/bin/env bash
# tools/test.sh [CTEST ARGS]: installs what is missing, builds, and runs every test.
. "$(dirname "$0")/common.sh"

tools/setup.sh
tools/crash-readers.sh || say "minidump_stackwalk is not to be had: the other readers check the dumps"
configure_preset release ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset release
say "Testing build/release"
ctest --preset release -j "$(nproc)" --progress "$@"
