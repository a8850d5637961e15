#!/usr/bin/env bash
# tools/soak.sh SECONDS [SEED]: what hosts do with tasks, by chance, for as long as one likes, under ThreadSanitizer.
seconds=${1:?how many seconds is it to run?}
. "$(dirname "$0")/common.sh"

tools/setup.sh
say "Making a QtCore for ThreadSanitizer, unless it is in the cache"
quietly tools/qtcore-tsan.sh
configure_preset tsan
build_preset tsan --target soak_program
say "Soaking for $seconds seconds"
TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:history_size=7:suppressions=$PWD/tests/support/tsan.supp} build/tsan/bin/soak_program "$seconds" "${@:2}"
