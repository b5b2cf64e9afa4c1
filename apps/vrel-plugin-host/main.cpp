// SPDX-License-Identifier: GPL-3.0-or-later

// The process of one plug-in: its sound half, or its editor; or one that reads the data of many. Started by the host
// program, never by hand.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "system/plugins/editor/editor_program.h"
#include "system/plugins/lv2/bundle_scan.h"
#include "system/plugins/sandbox/guest/guest_keeper.h"
#include "system/plugins/sandbox/guest/guest_program.h"
#include "system/plugins/sandbox/guest_process.h"

int main(int argc, char** argv) {
  using vrel::FileDescriptor;
  using vrel::sandbox::GuestProgram;
  const bool isEditor = argc == 3 && std::string_view(argv[2]) == vrel::sandbox::editorRoleName;
  if (argc == 2 && std::string_view(argv[1]) == vrel::lv2::scanRoleName) {
    return vrel::lv2::serveScan();
  }
  if (argc != 2 && !isEditor) {
    std::fputs("vrel-plugin-host runs one plug-in for vrel and is started by it\n", stderr);
    return 2;
  }
  if (!vrel::sandbox::keepGuest(std::atoi(argv[1]))) {
    return EXIT_FAILURE;
  }
  if (isEditor) {
    vrel::editor::EditorProgram program{FileDescriptor(vrel::sandbox::guestSocketNumber)};
    std::_Exit(program.serve());
  }
  GuestProgram program{FileDescriptor(vrel::sandbox::guestSocketNumber)};
  // Skips the exit handlers: a plug-in's library may have left some that access destroyed objects.
  std::_Exit(program.serve());
}
