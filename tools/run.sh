#!/usr/bin/env bash
# Installs, builds and starts Kalvo. Arguments go to the app, e.g.
#   tools/run.sh --endpoints my-endpoints.json
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh >/dev/null
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "run: no display; starting under Xvfb" >&2
  exec xvfb-run -a -s "-screen 0 1400x900x24" build/src/kalvo "$@"
fi
exec build/src/kalvo "$@"
