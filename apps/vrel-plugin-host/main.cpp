// SPDX-License-Identifier: GPL-3.0-or-later

// The guest process of one sandboxed plug-in. Started by the host program, never by hand.

#include <cstdio>
#include <cstdlib>

#include "system/plugins/sandbox/guest/guest_keeper.h"
#include "system/plugins/sandbox/guest/guest_program.h"
#include "system/plugins/sandbox/guest_process.h"

int main(int argc, char** argv) {
  using vrel::sandbox::FileDescriptor;
  using vrel::sandbox::GuestProgram;
  if (argc != 2) {
    std::fputs("vrel-plugin-host runs one plug-in for vrel and is started by it\n", stderr);
    return 2;
  }
  if (!vrel::sandbox::keepGuest(std::atoi(argv[1]))) {
    return EXIT_FAILURE;
  }
  GuestProgram program{FileDescriptor(vrel::sandbox::guestSocketNumber)};
  // Skips the exit handlers: a plug-in's library may have left some that access destroyed objects.
  std::_Exit(program.serve());
}
