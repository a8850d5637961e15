#!/usr/bin/env bash
# tools/source-package.sh PACKAGE DIRECTORY: fetches the sources that an installed package is built from, in the newest
# version that the machine's archives have, unpacks them below DIRECTORY and prints the folder they are in.
#
# The machine's package sources stay as they are: this goes through lists of its own, below DIRECTORY.
set -euo pipefail

package=$1
directory=$2

say() { printf 'source-package: %s\n' "$*" >&2; }
die() { [ ! -e "$directory/log" ] || tail -n 20 "$directory/log" >&2; say "$*"; exit 1; }

source=$(dpkg-query -W -f '${source:Package}' "$package" 2>/dev/null) || die "$package is not installed"
mkdir -p "$directory/apt/lists/partial" "$directory/apt/cache/archives/partial" "$directory/apt/empty" "$directory/source"
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
# The archives that the machine uses already, as sources of source packages.
apt-get indextargets --format '$(REPO_URI)|$(RELEASE)|$(COMPONENT)' 'Created-By: Packages' |
  awk -F'|' -v release="$release" '
    $3 == "main" && index($2, release) == 1 && !seen[$0]++ {
      print "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] " $1 " " $2 " main"
    }' >"$directory/apt/sources.list"
[ -s "$directory/apt/sources.list" ] || die "no archive of Debian $release among the machine's package sources"
cat >"$directory/apt/apt.conf" <<CONF
Dir::Etc::SourceList "$directory/apt/sources.list";
Dir::Etc::SourceParts "$directory/apt/empty";
Dir::State::Lists "$directory/apt/lists";
Dir::Cache "$directory/apt/cache";
APT::Sandbox::User "$(id -un)";
CONF
export APT_CONFIG=$directory/apt/apt.conf

say "fetching the source of $source"
if [ ! -e "$directory/apt/updated" ]; then
  apt-get -qq update >"$directory/log" 2>&1 || die "the package lists cannot be fetched"
  touch "$directory/apt/updated"
fi
(cd "$directory/source" && apt-get -qq source "$source") >>"$directory/log" 2>&1 ||
  die "the source package cannot be fetched"
find "$directory/source" -mindepth 1 -maxdepth 1 -type d -name "$source-*"
