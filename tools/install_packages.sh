#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages that are missing, and never removes one: a machine that makes music keeps the sound
# system it has. Asks nothing, and touches neither network nor system when everything is there.
#
#   install_packages.sh            what building and running need; fails where it cannot have that
#   install_packages.sh --testing  that, and what only the tests need; does without what it cannot have, and says so
#   install_packages.sh --all      those, and the checkers of the Debian package
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git python3
  nlohmann-json3-dev liblilv-dev lv2-dev libplist-dev libsndfile1-dev libvorbis-dev
  librtaudio-dev libjack-jackd2-dev libasound2-dev libx11-dev
  qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-wayland libgl-dev
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-templates qml6-module-qtquick-window
  libavformat-dev libavcodec-dev libavutil-dev libswresample-dev libswscale-dev libsoxr-dev
  # whether somebody answers for a display
  xdotool
  # instruments and effects of the demo
  mda-lv2 setbfree
)
testing_packages=(
  libgtest-dev libgmock-dev libbenchmark-dev
  clang clang-format clang-tidy libclang-rt-dev lld ccache qt6-declarative-dev-tools
  ffmpeg xvfb x11-xserver-utils dbus-daemon libxcb1-dev weston jwm fonts-dejavu-core
  # plug-ins that sets are made of
  zam-plugins zynaddsubfx-lv2
  # sound servers, which may not get along with the one that is there
  jackd2 pulseaudio jalv
)
package_checkers=(appstream desktop-file-utils groff-base lintian)

wants_testing=no
if [[ "${1:-}" == --testing || "${1:-}" == --all ]]; then
  wants_testing=yes
fi
if [[ "${1:-}" == --all ]]; then
  testing_packages+=("${package_checkers[@]}")
fi

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "This machine has no apt. The program needs what these Debian packages hold:" >&2
  printf '  %s\n' "${packages[@]}" >&2
  echo "and its tests:" >&2
  printf '  %s\n' "${testing_packages[@]}" >&2
  echo "Install them by your system's own means, then use CMake's presets (see CONTRIBUTING.md)." >&2
  exit 1
fi

# missing_of PACKAGE...: those that are not installed, in `missing`.
missing_of() {
  missing=()
  local package
  for package in "$@"; do
    # shellcheck disable=SC2016  # the braces are dpkg-query's
    if [[ "$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]]; then
      missing+=("$package")
    fi
  done
}

log="$(mktemp)"
trap 'rm -f "$log"' EXIT
as_root=()
apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@" >"$log" 2>&1
}

# install PACKAGE...: only what can be added.
install() {
  apt install --yes --no-remove --no-install-recommends "$@"
}

is_updated=no
# prepare: once, before the first installation.
prepare() {
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      echo "These packages are missing, and installing them needs root or sudo: ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  if [[ "$is_updated" == no ]] && ! apt update; then
    tail -n 30 "$log" >&2
    echo "apt-get update failed; wanted: ${missing[*]}" >&2
    return 1
  fi
  is_updated=yes
}

missing_of "${packages[@]}"
if ((${#missing[@]} > 0)); then
  prepare
  echo "installing ${missing[*]}"
  if ! install "${missing[@]}"; then
    tail -n 30 "$log" >&2
    echo "apt-get could not install this without removing something: ${missing[*]}" >&2
    exit 1
  fi
fi

if [[ "$wants_testing" == yes ]]; then
  missing_of "${testing_packages[@]}"
  # Where the machine was found unable before, it is not asked again until its packages change.
  refused="build/packages-refused"
  state="$(stat --format=%Y /var/lib/dpkg/status) ${missing[*]}"
  if ((${#missing[@]} > 0)) && [[ ! -e "$refused" || "$(<"$refused")" != "$state" ]]; then
    if prepare; then
      echo "installing ${missing[*]}"
      if ! install "${missing[@]}"; then
        for package in "${missing[@]}"; do
          install "$package" || echo "cannot be installed without removing something: $package"
        done
      fi
    fi
    missing_of "${testing_packages[@]}"
    mkdir -p build
    echo "$(stat --format=%Y /var/lib/dpkg/status) ${missing[*]}" >"$refused"
  fi
fi
