#!/usr/bin/env bash
# Starts the app in a private Xvfb display, waits, and saves what a user
# would see as a PNG:  tools/screenshot.sh out.png [seconds] [app arguments]
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:?usage: tools/screenshot.sh OUT.png [SECONDS] [APP ARGS...]}
wait=${2:-4}
shift $(( $# >= 2 ? 2 : 1 ))
out=$(realpath -m "$out")
xvfb-run -a -s "-screen 0 1400x900x24" bash -c '
  build/src/kalvo "${@:3}" & app=$!
  sleep "$2"
  import -window root "$1"
  kill $app; wait $app 2>/dev/null || true
' _ "$out" "$wait" "$@"
echo "$out"
