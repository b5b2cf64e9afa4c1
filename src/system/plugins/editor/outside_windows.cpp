// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/outside_windows.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include "system/plugins/editor/window_list.h"

namespace vrel::editor {

OutsideWindows::OutsideWindows(std::uint64_t mainWindow) : display_(XOpenDisplay(nullptr)), mainWindow_(mainWindow) {}

OutsideWindows::~OutsideWindows() {
  if (display_ != nullptr) {
    XCloseDisplay(display_);
  }
}

bool OutsideWindows::isOwn(unsigned long window) const {
  const auto process = cardinalOf(display_, window, "_NET_WM_PID");
  return process && getpgid(static_cast<pid_t>(*process)) == getpgrp();
}

void OutsideWindows::keepAbove(bool isRaised) {
  if (display_ == nullptr) {
    return;
  }
  for (const Window each : clientsOf(display_)) {
    if (!isOwn(each)) {
      continue;
    }
    Window owner = 0;
    if (mainWindow_ != 0 && (XGetTransientForHint(display_, each, &owner) == 0 || owner == 0)) {
      XSetTransientForHint(display_, each, mainWindow_);
    }
    if (isRaised || isBelow(display_, each, mainWindow_)) {
      XRaiseWindow(display_, each);
    }
  }
  XFlush(display_);
}

}  // namespace vrel::editor
