// SPDX-License-Identifier: GPL-3.0-or-later

// Renders a show offline: a setlist and a MIDI file to a sound file, without a device and without a window.

#include <string>
#include <vector>

#include "vrel-render/program.h"

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return vrel::render::runProgram(arguments);
}
