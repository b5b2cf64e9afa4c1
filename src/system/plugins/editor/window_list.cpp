// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/window_list.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>

namespace vrel::editor {
namespace {

/// X11 gives numbers of 32 bits as `unsigned long`.
std::vector<unsigned long> numbersOf(Display* display, Window window, const char* property, Atom wanted) {
  constexpr long mostNumbers = 4096;
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  std::vector<unsigned long> numbers;
  if (XGetWindowProperty(display, window, XInternAtom(display, property, False), 0, mostNumbers, False, wanted, &type,
                         &format, &count, &rest, &data) == 0 &&
      data != nullptr) {
    if (type == wanted && format == 32) {
      const auto* const first = reinterpret_cast<const unsigned long*>(data);
      numbers.assign(first, first + count);
    }
    XFree(data);
  }
  return numbers;
}

/// The window of the screen that it lies within; 0 when it has gone.
Window frameOf(Display* display, Window window) {
  for (;;) {
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (window == 0 || XQueryTree(display, window, &root, &parent, &children, &count) == 0) {
      return 0;
    }
    if (children != nullptr) {
      XFree(children);
    }
    if (parent == root || parent == 0) {
      return window;
    }
    window = parent;
  }
}

}  // namespace

std::vector<unsigned long> windowsOf(_XDisplay* display, unsigned long window, const char* property) {
  return numbersOf(display, window, property, XA_WINDOW);
}

std::optional<unsigned long> cardinalOf(_XDisplay* display, unsigned long window, const char* property) {
  const auto numbers = numbersOf(display, window, property, XA_CARDINAL);
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

std::vector<unsigned long> childrenOf(_XDisplay* display, unsigned long window) {
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  std::vector<unsigned long> windows;
  if (XQueryTree(display, window, &root, &parent, &children, &count) != 0 && children != nullptr) {
    windows.assign(children, children + count);
    XFree(children);
  }
  return windows;
}

std::vector<unsigned long> clientsOf(_XDisplay* display) {
  const Window root = XDefaultRootWindow(display);
  auto clients = windowsOf(display, root, "_NET_CLIENT_LIST");
  return clients.empty() ? childrenOf(display, root) : clients;
}

bool isBelow(_XDisplay* display, unsigned long window, unsigned long other) {
  // Not what window managers say of the order, since they do not agree on its direction.
  const auto order = childrenOf(display, XDefaultRootWindow(display));
  const auto lower = std::find(order.begin(), order.end(), frameOf(display, window));
  return window != other && lower != order.end() &&
         std::find(lower, order.end(), frameOf(display, other)) != order.end();
}

}  // namespace vrel::editor
