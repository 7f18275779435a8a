#!/usr/bin/env bash
# Renders every screen of the app into PNG files, offscreen, with a fixed
# clock (Wednesday 5 March 2025, 14:07:09 in Berlin) and demo headlines, so
# the pictures are the same on every run and every machine:
#   tools/screens.sh OUTDIR [SCREEN...]
# Without SCREEN names it renders them all; `kalvo-screens` with no arguments
# lists them. KALVO_BUILD_DIR picks the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:?usage: tools/screens.sh OUTDIR [SCREEN...]}
shift
build=${KALVO_BUILD_DIR:-build}
if [ "$build" = build ]; then
  tools/setup.sh
  cmake --preset default >/dev/null
fi
cmake --build "$build" --target kalvo-screens >/dev/null
mkdir -p "$out"
QT_QPA_PLATFORM=offscreen TZ=Europe/Berlin "$build/src/screens/kalvo-screens" "$out" "$@"
