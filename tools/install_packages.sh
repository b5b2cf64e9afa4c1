#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages that building, testing and the demo need, if missing. Asks nothing; uses
# neither network nor root when everything is installed.
set -euo pipefail

packages=(
  # building
  build-essential cmake ninja-build pkg-config git python3
  nlohmann-json3-dev liblilv-dev lv2-dev libplist-dev libsndfile1-dev libvorbis-dev
  librtaudio-dev librtmidi-dev libjack-jackd2-dev libasound2-dev
  qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-wayland libgl-dev
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-templates qml6-module-qtquick-window
  ffmpeg libavformat-dev libavcodec-dev libavutil-dev libswresample-dev libswscale-dev libsoxr-dev
  # testing
  libgtest-dev libgmock-dev libbenchmark-dev
  clang clang-format clang-tidy libclang-rt-dev
  jackd2 pulseaudio jalv
  xvfb xdotool fonts-dejavu-core
  # instruments and effects for the demo and the tests
  mda-lv2 setbfree
)

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "This machine has no apt. The program needs what these Debian packages hold:" >&2
  printf '  %s\n' "${packages[@]}" >&2
  echo "Install them by your system's own means, then use CMake's presets (see CONTRIBUTING.md)." >&2
  exit 1
fi

missing=()
for package in "${packages[@]}"; do
  # shellcheck disable=SC2016  # the braces are dpkg-query's
  if [[ "$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]]; then
    missing+=("$package")
  fi
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing, and installing them needs root or sudo: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

log="$(mktemp)"
trap 'rm -f "$log"' EXIT
apt() {
  if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@" >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    echo "apt-get $1 failed; wanted: ${missing[*]}" >&2
    exit 1
  fi
}
echo "installing ${missing[*]}"
apt update
apt install --yes --no-install-recommends "${missing[@]}"
