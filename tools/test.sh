#!/usr/bin/env bash
# tools/test.sh [CTEST ARGS]: installs what is missing, builds, and runs every test.
. "$(dirname "$0")/common.sh"

tools/setup.sh
tools/crash-readers.sh || say "minidump_stackwalk is not to be had: the other readers check the dumps"
if [ ! -e /proc/self/maps ]; then
  say "Mounting /proc, which a bare chroot lacks and crash dumps are read from"
  if [ "$(id -u)" -eq 0 ]; then mount -t proc proc /proc; else sudo mount -t proc proc /proc; fi
fi
configure_preset release ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset release
test_preset release "$@"
