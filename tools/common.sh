# Shared by the scripts beside it; sourced, not run.
# shellcheck shell=bash
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '== %s\n' "$*"; }

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

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

# Whether a line on the terminal may be drawn again and again.
can_redraw() { [ -t 1 ] && [ "${TERM:-dumb}" != dumb ]; }

# last_step LOG: how far a build or apt says that it is.
last_step() {
  sed -nE 's/^(dl|pm)status:[^:]*:([0-9]+)[^:]*:(.*)$/\2 % \3/p; s/^(\[[0-9]+\/[0-9]+\] .*)$/\1/p' "$1" | tail -n 1 | cut -c 1-90
}

# show_steps LOG: until it is killed or the script has ended. On a terminal one line that changes every second, elsewhere a line
# every five seconds.
show_steps() {
  SECONDS=0
  while kill -0 $$ 2>/dev/null; do
    sleep 1 >/dev/null 2>&1
    if can_redraw; then
      printf '\r\033[K   %3d s  %s' "$SECONDS" "$(last_step "$1")"
    elif [ $((SECONDS % 5)) -eq 0 ]; then
      printf '   %3d s  %s\n' "$SECONDS" "$(last_step "$1")"
    fi
  done
}

# Like quietly, and meanwhile shows which step the command has come to.
watched() {
  local log status=0 shower
  log=$(mktemp)
  show_steps "$log" &
  shower=$!
  "$@" >"$log" 2>&1 || status=$?
  kill "$shower" 2>/dev/null || true
  wait "$shower" 2>/dev/null || true
  if can_redraw; then printf '\r\033[K'; fi
  if [ "$status" -ne 0 ]; then
    grep -vE '^(dl|pm)status:' "$log" | tail -n 100 >&2 || true
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
  watched cmake --build --preset "$@"
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
