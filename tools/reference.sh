#!/usr/bin/env bash
# tools/reference.sh: installs what is missing, and makes the reference of the public headers: build/release/docs/html/index.html.
# Fails where something public is not described.
. "$(dirname "$0")/common.sh"

tools/setup.sh doxygen
configure_preset release
say "Reading the public headers"
quietly cmake --build --preset release --target api_reference
say "$root/build/release/docs/html/index.html"
