#!/usr/bin/env bash
# tools/fuzz.sh SECONDS [CTEST ARGS]: installs what is missing, builds the fuzzers, and runs each for so long. What leads
# somewhere new is kept in build/fuzz/found for the next run, and what leads to a fault beside it.
. "$(dirname "$0")/common.sh"

case ${1-} in
  '' | *[!0-9]*) say "tools/fuzz.sh SECONDS [CTEST ARGS]" >&2; exit 2 ;;
esac
seconds=$1
shift
tools/setup.sh --build ccache clang libclang-rt-14-dev
configure_preset fuzz "-DBRN_FUZZ_SECONDS=$seconds"
build_preset fuzz
test_preset fuzz "$@"
