#!/usr/bin/env bash
# tools/package.sh: installs what is missing, builds what is packed and nothing else, makes the Debian packages in
# build/package/packages, and has lintian check them.
. "$(dirname "$0")/common.sh"

tools/setup.sh --build doxygen dpkg-dev lintian
configure_preset package ${CI:+-DBRN_WARNINGS_AS_ERRORS=ON}
build_preset package
build_preset package --target api_reference
say "Packing build/package"
rm -f build/package/packages/*.deb
(cd build/package && quietly cpack -G DEB)
quietly lintian --allow-root --fail-on error build/package/packages/*.deb
ls build/package/packages/*.deb
