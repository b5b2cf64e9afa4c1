# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=bash
# Shared by ./run and ./test. Sourced, from the root of the tree.

# The system's own Python and compilers come first, whatever version manager the user has.
export PATH="/usr/bin:/bin:$PATH"

# quietly LOG COMMAND...: runs it with the output in a file. On failure shows the end of the file, without passed tests
# and with long lines cut.
quietly() {
  local log="$1"
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1; then
    grep --invert-match --extended-regexp '^ +Start +[0-9]+:|Passed +[0-9.]+ sec$' "$log" |
      tail -n "${VREL_LOG_LINES:-60}" | cut --characters=-400 >&2
    echo "failed: $* (all of it in $log)" >&2
    return 1
  fi
}

# configure PRESET: quietly, with what is in `configure_options`.
configure_options=()
configure() {
  quietly "build/logs/$1-configure.log" cmake --preset "$1" "${configure_options[@]}"
}

# build PRESET [TARGET...]: configures and builds, quietly.
build() {
  local preset="$1" arguments=()
  shift
  if (($# > 0)); then
    arguments=(--target "$@")
  fi
  configure "$preset" || return 1
  quietly "build/logs/$preset-build.log" cmake --build --preset "$preset" --parallel "$(nproc)" "${arguments[@]}"
}
