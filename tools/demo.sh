#!/usr/bin/env bash
# tools/demo.sh [ARGS]: installs what is missing, builds, and runs the sample host on a real mesh. Nothing is installed or built
# for the tests.
# ARGS are those of mesh_smoother; without any it smooths the Stanford bunny.
. "$(dirname "$0")/common.sh"

started_in=$OLDPWD
tools/setup.sh --build
configure_preset demo
build_preset demo --target mesh_smoother

smoother=$root/build/demo/bin/mesh_smoother
if [ $# -gt 0 ]; then
  cd "$started_in"
else
  mkdir -p build/demo/run
  cd build/demo/run
  set -- /usr/share/glmark2/models/bunny.obj
fi
say "mesh_smoother $*"
# The debugger's copy of each log record goes to standard error. The console has the records already.
status=0
{ "$smoother" "$@" 2>&1 >&3 | { grep --line-buffered -v '^\[KVS_LOG\]' >&2 || true; }; } 3>&1 || status=$?
exit "$status"
