#!/bin/sh
# Runs a Windows program: the emulator of the cross build. The first program has Wine start system processes, which stay
# as long as any program runs and hold the first one's error output open: whoever reads that to its end would wait for all
# the others. So they are started before, without it. tools/windows.sh starts them once and keeps them (BRN_WINE_STAYS).
PATH=$PATH:/usr/lib/wine
wine=$(command -v wine64 || command -v wine) || { echo "Wine is missing" >&2; exit 127; }
[ -n "$BRN_WINE_STAYS" ] || "$wine" cmd /c exit </dev/null >/dev/null 2>&1
# The first thread that ends in a process has glibc load libgcc_s.so.1. If the process ends just then, its exit waits for
# the loader's lock, which that thread took with it, until Wine kills the process: about one run of 1,000. So the
# library is loaded from the start.
LD_PRELOAD=libgcc_s.so.1${LD_PRELOAD:+:$LD_PRELOAD} exec "$wine" "$@"
