#!/usr/bin/env bash
# tools/bench.sh [BENCHMARK ARGS]: installs what is missing, builds, and runs the benchmarks, ours beside their
# peers in one run. Numbers count only on a machine that does nothing else.
. "$(dirname "$0")/common.sh"

tools/setup.sh
configure_preset release
build_preset release
for benchmark in build/release/bin/*_benchmark; do
  say "$(basename "$benchmark")"
  "$benchmark" "$@"
done
