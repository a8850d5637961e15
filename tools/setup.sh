#!/usr/bin/env bash
# tools/setup.sh [--none | --build | --test | --check] [PACKAGE...]: installs the Debian 12 packages of a tier, PACKAGEs too,
# and nothing else. Does nothing where they are installed. Needs root or sudo only where one is missing.
#
#   --none    PACKAGEs alone
#   --build   what the libraries, their programs and the sample host are built from
#   --test    that, and what the tests are built from and read crash dumps with; the tier if none is named
#   --check   that, and what .ci/run checks besides: the format, the scripts, the other compiler, the pictures of the benchmarks
. "$(dirname "$0")/common.sh"

build=(
  g++ cmake ninja-build
  # the libraries
  qt6-base-dev liblog4cplus-dev libtbb-dev libboost-dev libfmt-dev
  # the sample host
  libopenmesh-dev libcli11-dev glmark2-data
)
test=(
  ccache pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev relacy-dev
  # an example with coroutines
  qcoro-qt6-dev
  # a display for the tests of the widgets
  xvfb xauth
  # a session bus for those of the task bar
  dbus-daemon
  # has system calls fail
  strace
  # readers of crash dumps
  lldb-14 llvm-14
  # the comparison with the records in abi/
  castxml python3
)
check=(clang clang-tidy clang-format shellcheck python3-matplotlib)

case ${1-} in
  --none) packages=() ;;
  --build) packages=("${build[@]}") ;;
  --check) packages=("${build[@]}" "${test[@]}" "${check[@]}") ;;
  --test | [!-]* | '') packages=("${build[@]}" "${test[@]}") ;;
  *) say "usage: tools/setup.sh [--none | --build | --test | --check] [PACKAGE...]" >&2; exit 2 ;;
esac
case ${1-} in --*) shift ;; esac
packages+=("$@")

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
  say "These packages are missing, and installing them needs root or sudo:" >&2
  say "${missing[*]}" >&2
  exit 1
fi

options=(-o APT::Status-Fd=3 -o Dpkg::Use-Pty=0)
# dpkg has every file written to the disk before it goes on, for the sake of a machine that loses its power meanwhile. That is
# most of the time, and a chroot or container, where no system runs, is made anew instead.
[ -d /run/systemd/system ] || options+=(-o Dpkg::Options::=--force-unsafe-io)

# What apt writes to its status descriptor says in a line how far it is; `watched` shows that. sudo hands on no such descriptor,
# and apt keeps it from dpkg's scripts, so that it cannot be the standard output.
apt() {
  watched as_root env DEBIAN_FRONTEND=noninteractive sh -c 'exec apt-get "$@" 3>&1' apt-get "${options[@]}" "$@"
}

say "Installing ${missing[*]}"
as_root true # asks for the password, if there is one, before anything else writes to the terminal
apt update
apt install -y --no-install-recommends "${missing[@]}"
