#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Takes the pictures of the guide again, from the real window on an X server without a screen: builds what takes them in
# the folder given (build/dev), and writes docs/guide/pictures. It needs the plug-ins of the demo.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/dev}
cmake --build "$build" --target guide_pictures
mkdir -p docs/guide/pictures
VREL_GUIDE_PICTURES=$PWD/docs/guide/pictures "$build/tests/apps/vrel/guide_pictures" --gtest_brief=1
