// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/window_guard.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <utility>

#include "system/plugins/editor/window_keys.h"

namespace vrel::editor {
namespace {

// For an editor that ends in order.
constexpr int endingMilliseconds = 500;

}  // namespace

WindowGuard::WindowGuard(unsigned long window, int socket, KeyPressed keyPressed)
    : window_(window),
      socket_(socket),
      keyPressed_(std::move(keyPressed)),
      wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

WindowGuard::~WindowGuard() {
  isEnding_ = true;
  wake();
  thread_.join();
}

void WindowGuard::takePanicKeys(bool areTaken) {
  areKeysTaken_ = areTaken;
  wake();
}

void WindowGuard::wake() const {
  eventfd_write(wakeDescriptor_.get(), 1);
}

void WindowGuard::run() {
  Display* const display = XOpenDisplay(nullptr);
  if (display == nullptr) {
    return;
  }
  Bool isSupported = False;
  XkbSetDetectableAutoRepeat(display, True, &isSupported);
  HeldKeys held;
  bool areTaken = false;
  bool isLeft = false;
  while (!isEnding_) {
    if (const bool wanted = areKeysTaken_; std::exchange(areTaken, wanted) != wanted) {
      vrel::editor::takePanicKeys(display, window_, areTaken);
    }
    while (XPending(display) > 0) {
      XEvent event{};
      XNextEvent(display, &event);
      if (event.type == KeyPress || event.type == KeyRelease) {
        if (const auto key = held.keyOf(event)) {
          keyPressed_(*key);
        }
      }
    }
    std::array<pollfd, 3> ready{{{wakeDescriptor_.get(), POLLIN, 0},
                                 {XConnectionNumber(display), POLLIN, 0},
                                 {isLeft ? -1 : socket_, POLLRDHUP, 0}}};
    (void)poll(ready.data(), ready.size(), -1);
    eventfd_t rings = 0;
    eventfd_read(wakeDescriptor_.get(), &rings);
    if (ready[2].revents != 0) {
      isLeft = true;
      (void)poll(ready.data(), 1, endingMilliseconds);
      if (!isEnding_) {
        XWithdrawWindow(display, window_, XDefaultScreen(display));
        XFlush(display);
      }
    }
  }
  XCloseDisplay(display);
}

}  // namespace vrel::editor
