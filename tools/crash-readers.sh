#!/usr/bin/env bash
# tools/crash-readers.sh: installs minidump_stackwalk, a third reader of crash dumps, into a cache outside the tree. Tests that
# it is there for are skipped without it, and no other script asks for it. Needs npm, which `tools/setup.sh --none npm` installs
# with some hundred packages. The package's scripts are not run: its programs come built.
set -euo pipefail

cache="${XDG_CACHE_HOME:-$HOME/.cache}/brn_mesh_kernel/crash-readers"
program="$cache/node_modules/minidump/bin/linux-x64/minidump_stackwalk"
[ -x "$program" ] && exit 0
mkdir -p "$cache"
npm install --ignore-scripts --no-audit --no-fund --silent --prefix "$cache" minidump@0.26
[ -x "$program" ]
