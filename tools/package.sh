#!/usr/bin/env bash
# tools/package.sh: installs what is missing, builds, makes the Debian packages in build/release/packages, and has lintian
# check them.
. "$(dirname "$0")/common.sh"

tools/setup.sh dpkg-dev lintian
configure_preset release ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset release
say "Packing build/release"
rm -f build/release/packages/*.deb
(cd build/release && quietly cpack -G DEB)
quietly lintian --allow-root --fail-on error build/release/packages/*.deb
ls build/release/packages/*.deb
