#!/usr/bin/env bash
# tools/setup.sh [PACKAGES]: installs the Debian 12 packages that building and testing need, PACKAGES too, and nothing else.
# Does nothing where they are installed. Needs root or sudo only where one is missing.
set -euo pipefail

packages=(
  # build
  g++ cmake ninja-build ccache pkg-config
  # the libraries
  qt6-base-dev liblog4cplus-dev libtbb-dev libboost-dev
  # the sample host
  libopenmesh-dev libcli11-dev glmark2-data
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev relacy-dev
  # a display for the tests of the widgets
  xvfb xauth
  # has system calls fail
  strace
  # readers of crash dumps
  lldb-14 llvm-14
  # static checks
  clang clang-tidy clang-format abigail-tools
  "$@"
)

say() { printf '== %s\n' "$*"; }

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
# From wherever it comes: it fetches one more reader of crash dumps.
command -v npm >/dev/null || missing+=(npm)
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=(env)
elif command -v sudo >/dev/null; then
  as_root=(sudo)
else
  say "These packages are missing, and installing them needs root or sudo:" >&2
  say "${missing[*]}" >&2
  exit 1
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
run_logged() {
  "${as_root[@]}" "$@" >"$log" 2>&1 || { cat "$log" >&2; say "failed: $*" >&2; exit 1; }
}

say "Installing ${missing[*]}"
run_logged apt-get update
run_logged env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
