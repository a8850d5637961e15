# Shared by the scripts beside it; sourced, not run.
# shellcheck shell=bash
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '== %s\n' "$*"; }

# Runs a command that says much; shows what it said only if it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  if [ "$status" -ne 0 ]; then
    cat "$log" >&2
    say "failed: $*" >&2
  fi
  rm -f "$log"
  return "$status"
}

# configure_preset PRESET [CMAKE ARGUMENTS]
configure_preset() {
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
  fi
  say "Configuring build/$1"
  quietly cmake --preset "$@"
}

# build_preset PRESET [BUILD ARGUMENTS]
build_preset() {
  say "Building build/$1"
  quietly cmake --build --preset "$@"
}

# test_preset PRESET [CTEST ARGUMENTS]: on a terminal with all it has to say, elsewhere only what is worth reading.
test_preset() {
  local preset=$1
  shift
  say "Testing build/$preset"
  sync # a build leaves much to be written, and some tests bound how long a file may take
  if [ -t 1 ]; then
    ctest --preset "$preset" -j "$(nproc)" --progress "$@"
  else
    ctest --preset "$preset" -j "$(nproc)" "$@" | grep -vE '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test .* (Passed|\*\*\*Skipped) '
  fi
}
