#!/usr/bin/env bash
# tools/fresh.sh [packages | readme] ...: checks in a bare Debian 12 what a user of one would do; both without arguments.
#
#   packages   installs build/package/packages/*.deb (tools/package.sh makes them), builds the host of tests/package and the packed
#              examples against them, with CMake and with pkg-config, runs the host, and removes them again
#   readme     runs the commands that README.md gives for a fresh Debian 12, as they stand there
#
# Each in a chroot of its own, below $TMPDIR or /tmp, that is gone afterwards: 3 GB while it works. The bare Debian is made by
# debootstrap once and kept in the user's cache directory. With BRN_FRESH_CCACHE=DIRECTORY the compilers of `readme` use that
# cache of ccache's. Needs root; without it says so, and fails only where CI is set.
. "$(dirname "$0")/common.sh"

skip() {
  say "Not checked in a bare Debian: $*" >&2
  exit $((${CI:+1} + 0))
}

[ $# -gt 0 ] || set -- packages readme
[ "$(id -u)" -eq 0 ] || skip "making one needs root"
chroot / true 2>/dev/null || skip "chroot is not allowed here"
tools/setup.sh --none debootstrap

cache=${XDG_CACHE_HOME:-$HOME/.cache}/brn_mesh_kernel
release=bookworm
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
work=$(mktemp -d "${TMPDIR:-/tmp}/brn_fresh.XXXXXX")

# Nothing below a mount point may be removed with the rest.
clean_up() {
  local place
  for place in "$work"/*/proc "$work"/*/root/.cache/ccache; do
    if mountpoint -q "$place"; then umount --lazy "$place"; fi
  done
  rm -rf --one-file-system "$work"
}
trap clean_up EXIT

# The machine's own archives of this release, as lines of a sources.list.
archives() {
  apt-get indextargets --format '$(REPO_URI)|$(RELEASE)|$(COMPONENT)' 'Created-By: Packages' |
    awk -F'|' -v release="$release" -v keyring="$keyring" '
      $3 == "main" && index($2, release) == 1 && !seen[$0]++ {
        print "deb [signed-by=" keyring "] " $1 " " $2 " main"
      }'
}

make_base() {
  local mirror
  mirror=$(archives | awk -v release="$release" '$4 == release { print $3; exit }')
  [ -n "$mirror" ] || { say "no archive of Debian $release among the machine's package sources" >&2; return 1; }
  say "Making a bare Debian, kept in $cache"
  mkdir -p "$cache"
  quietly debootstrap --variant=minbase --keyring="$keyring" "$release" "$work/base" "$mirror"
  rm -f "$work"/base/var/cache/apt/archives/*.deb
  tar -C "$work/base" -cf "$work/base.tar" .
  mv "$work/base.tar" "$cache/fresh-$release.tar"
  rm -rf --one-file-system "$work/base"
}

# make_root NAME: a bare Debian in $work/NAME, with the machine's way to its archives, and the tree in /root/tree.
make_root() {
  local root=$work/$1
  [ -e "$cache/fresh-$release.tar" ] || make_base
  mkdir "$root"
  tar -C "$root" -xf "$cache/fresh-$release.tar"
  archives >"$root/etc/apt/sources.list"
  apt-config dump | grep '^Acquire::' >"$root/etc/apt/apt.conf.d/90machine" || true
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  if [ -e /etc/ssl/certs/ca-certificates.crt ]; then
    mkdir -p "$root/etc/ssl/certs"
    cp /etc/ssl/certs/ca-certificates.crt "$root/etc/ssl/certs/"
  fi
  mkdir "$root/root/tree"
  git ls-files -z | tar --null --files-from=- -cf - | tar -C "$root/root/tree" -xf -
}

# in_root NAME COMMAND...: in the tree there, with nothing of this environment.
in_root() {
  local root=$work/$1
  shift
  env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    "$(command -v chroot)" "$root" sh -ec 'cd /root/tree; "$@"' sh "$@"
}

check_packages() {
  compgen -G 'build/package/packages/*.deb' >/dev/null || { say "no packages: run tools/package.sh first" >&2; return 1; }
  make_root packages
  mkdir "$work/packages/root/debs"
  cp build/package/packages/*.deb "$work/packages/root/debs/"
  say "Installing the Debian packages in a bare Debian, and building a host there"
  quietly in_root packages sh -ec '
    export DEBIAN_FRONTEND=noninteractive
    apt-get update
    apt-get install -y --no-install-recommends /root/debs/*.deb g++ make cmake pkg-config
    cmake -S tests/package/host -B /root/host -DQUICK_START_SOURCE=/root/tree/examples/quick_start/main.cpp
    cmake --build /root/host
    c++ -std=c++17 -fPIC examples/quick_start/main.cpp -o /root/host/pkg_config_host \
      $(pkg-config --cflags --libs brn_mesh_kernel)
    cmake -S /usr/share/doc/brn_mesh_kernel/examples -B /root/examples
    cmake --build /root/examples
    test -x /root/examples/progress_window
    c++ -std=c++17 -fPIC examples/progress_window/main.cpp -o /root/host/widgets_host $(pkg-config --cflags --libs brn_mesh_widgets)
    test -s /usr/share/doc/brn_mesh_kernel/guides/tasks.md
    grep -q TaskQueue /usr/share/doc/brn_mesh_kernel/reference/annotated.html
    zcat /usr/share/man/man1/brn_waypoints.1.gz | grep -q trace
    for library in /usr/lib/*/libbrn_mesh_*.so.?; do
      readelf --sections "$(readelf --notes "$library" |
        sed -n "s,.*Build ID: \(..\),/usr/lib/debug/.build-id/\1/,p").debug" | grep -q debug_info
    done
    for host in package_host pkg_config_host; do
      mkdir /root/$host
      cd /root/$host
      ../host/$host
      grep -q "Bunny has 34834 vertices" host.log
      grep -q "<Waypoint name=\"Load\"" host.xml
    done
    dpkg --purge $(dpkg-query -W -f "\${Package} \${source:Package}\n" | sed -n "s/ brn-mesh-kernel$//p")
    ! find /usr /etc /var/lib/dpkg/info -iname "*brn*mesh*" | grep .
  '
}

# The commands of the block of README.md behind its comment for this script.
readme_commands() {
  awk '/^<!-- tools\/fresh.sh -->$/ { marked = 1; next }
       marked && /^```sh$/ { inside = 1; next }
       inside && /^```$/ { exit }
       inside' README.md
}

check_readme() {
  local command
  make_root readme
  if [ -n "${BRN_FRESH_CCACHE-}" ]; then
    mkdir -p "$work/readme/root/.cache/ccache"
    mount --bind "$BRN_FRESH_CCACHE" "$work/readme/root/.cache/ccache"
  fi
  readme_commands >"$work/commands"
  [ -s "$work/commands" ] || { say "README.md has no commands for a fresh Debian" >&2; return 1; }
  while IFS= read -r command <&3; do
    say "In a bare Debian: ${command%% *}"
    quietly in_root readme bash -ec "$command"
  done 3<"$work/commands"
  say "The commands for Windows are left out: .ci/run does the same on this machine"
}

for check; do
  case $check in
    packages | readme) "check_$check" ;;
    *) say "usage: tools/fresh.sh [packages | readme] ..." >&2; exit 1 ;;
  esac
done
