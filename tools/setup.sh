#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Kalvo needs.
# Idempotent and quiet when everything is already there. Runs as root or via sudo.
set -euo pipefail

PACKAGES=(
  # toolchain
  build-essential cmake ninja-build ccache pkg-config git
  # Qt 6 and QCoro
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev qt6-declarative-dev-tools
  qt6-multimedia-dev qt6-httpserver-dev qt6-websockets-dev qt6-svg-dev qcoro-qt6-dev
  qt6-qpa-plugins libqt6svg6
  qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtquick
  qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-templates
  qml6-module-qtquick-window qml6-module-qtmultimedia qml6-module-qtquick-shapes
  qml6-module-qttest
  # storage and dates
  libsqlite3-dev libicu-dev
  # audio backend of Qt Multimedia
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good
  # fonts: a fixed-width face and colour emoji
  fonts-dejavu-core fonts-noto-color-emoji fontconfig
  # offline speech of the AI backend: German voice, MP3 encoder
  libespeak-ng-dev libmp3lame-dev espeak-ng-data
  # the simulator's compressed answers
  zlib1g-dev
  # UI checks and screenshots; the whole-process benchmark
  xvfb xauth x11-apps imagemagick xdotool python3
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
echo "setup: installing ${#missing[@]} packages: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
