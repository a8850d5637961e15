#!/usr/bin/env bash
# tools/bench.sh [BENCHMARK ARGS]: installs what is missing, builds, and runs the benchmarks, ours beside their
# peers in one run. Without arguments the tables of docs/performance.md and its pictures are written anew.
# Numbers count only on a machine that does nothing else.
. "$(dirname "$0")/common.sh"

tools/setup.sh python3-matplotlib libspdlog-dev qtbase5-dev libkf5threadweaver-dev libkf5coreaddons-dev
# KDE's libraries use Qt 5, and a process can load only one Qt: the benchmarks against them are also built with Qt 5.
with_qt6=(logging profiler task loops progress smoothing logging_peers task_peers progress_peers crash)
with_qt5=(task_peers progress_peers)

configure_preset release
build_preset release --target "${with_qt6[@]/%/_benchmark}"
configure_preset release-qt5
build_preset release-qt5 --target "${with_qt5[@]/%/_benchmark}"

results=build/bench
rm -rf "$results"
mkdir -p "$results"
sync # what the builds have left to be written would be measured too

# run PRESET NAME [BENCHMARK ARGS]
run() {
  local preset=$1 name=$2
  shift 2
  say "$name, build/$preset"
  "build/$preset/bin/${name}_benchmark" --benchmark_out="$results/$preset-$name.json" "$@"
}

for name in "${with_qt6[@]}"; do run release "$name" "$@"; done
for name in "${with_qt5[@]}"; do run release-qt5 "$name" "$@"; done

[ $# -eq 0 ] || exit 0
say "Writing docs/performance.md and docs/images"
/usr/bin/python3 benchmarks/report.py docs/performance.md docs/images "$results"/*.json
