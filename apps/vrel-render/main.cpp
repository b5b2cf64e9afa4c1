// SPDX-License-Identifier: GPL-3.0-or-later

// Renders a show offline: a setlist and a MIDI file to a sound file, without a device and without a window.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vrel-render/program.h"

namespace {

std::atomic<bool> isOver{false};

// Without the sandbox a plug-in may end the program in the midst of a render, and say that all is well.
void failUnlessOver() {
  if (!isOver) {
    std::fputs("vrel-render: a plug-in has ended the program\n", stderr);
    std::_Exit(EXIT_FAILURE);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::atexit(failUnlessOver);
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  const int exitCode = vrel::render::runProgram(arguments);
  isOver = true;
  return exitCode;
}
