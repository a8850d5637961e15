#!/usr/bin/env bash
# tools/clang-tidy.sh OPTIONS... SOURCE -- COMPILER ARGS...: clang-tidy for CMake. What it has found nothing in is remembered in the
# user's cache directory, by the preprocessed source with its comments, the settings and the arguments, and not read again.
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/brn_mesh_kernel/clang-tidy
for ((i = 1; i <= $#; ++i)); do
  [ "${!i}" != -- ] || break
done
settings=("$root"/.clang-tidy)
case ${*:i - 1:1} in "$root"/tests/*) settings+=("$root"/tests/.clang-tidy) ;; esac
key=$({
  clang-tidy --version
  cat "${settings[@]}"
  printf '%s\n' "$@"
  "${@:i + 1}" -E -CC -P -o - 2>/dev/null || echo "not preprocessed: $$ $RANDOM"
} | sed "s|$root|.|g" | sha256sum | cut -d' ' -f1)

if [ -e "$cache/$key" ]; then
  touch "$cache/$key"
  exit 0
fi
findings=$(clang-tidy "$@")
status=$?
printf '%s' "$findings"
if [ "$status" -eq 0 ] && [ -z "$findings" ]; then
  mkdir -p "$cache"
  touch "$cache/$key"
  find "$cache" -type f -mtime +60 -delete # what nobody has asked for since
fi
exit "$status"
