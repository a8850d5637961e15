#!/usr/bin/env bash
# tools/test.sh [CTEST ARGS]: installs what is missing, builds, and runs every test.
. "$(dirname "$0")/common.sh"

tools/setup.sh
if [ ! -e /proc/self/maps ]; then
  say "Mounting /proc until the end: a bare chroot lacks it, and crash dumps are read from it"
  as_root mount -t proc proc /proc
  trap 'as_root umount --lazy /proc' EXIT
fi
configure_preset release ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset release
test_preset release "$@"
