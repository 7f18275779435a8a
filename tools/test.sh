#!/usr/bin/env bash
# Installs, builds and runs the whole test suite (offscreen, no network).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh
ctest --preset default -j "$(nproc)"
