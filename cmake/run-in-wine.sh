#!/bin/sh
# Runs a Windows program: the emulator of the cross build. The first program has Wine start system processes, which stay
# as long as any program runs and hold the first one's output open: a test that reads its output to the end would wait
# for all the others. So they are started before, without it.
PATH=$PATH:/usr/lib/wine
wine=$(command -v wine64 || command -v wine) || { echo "Wine is missing" >&2; exit 127; }
"$wine" cmd /c exit </dev/null >/dev/null 2>&1
exec "$wine" "$@"
