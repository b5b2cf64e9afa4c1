// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/editor_window.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <utility>

#include "system/plugins/editor/window_list.h"

namespace vrel::editor {
namespace {

// The console's own background, for what the editor leaves free.
constexpr unsigned long background = 0x16181d;

/// Editors make errors at every opening; X11 would end the process for them.
int ignoreError(Display* /*display*/, XErrorEvent* /*error*/) {
  return 0;
}

std::atomic<bool> isInPlugInsProcess{false};
thread_local const std::function<void()>* displayLost = nullptr;  // a pointer, since an exit ends objects before

/// The library knows no way back from a display that is lost, and a toolkit none from its exit.
[[noreturn]] void stopThread() {
  if (const auto* const handler = std::exchange(displayLost, nullptr)) {
    (*handler)();
  }
  for (;;) {
    pause();
  }
}

[[noreturn]] int leaveWithoutDisplay(Display* /*display*/) {
  if (!isInPlugInsProcess) {
    std::_Exit(EXIT_FAILURE);
  }
  stopThread();
}

void stopEditorsThread() {
  if (displayLost != nullptr) {
    stopThread();
  }
}

int pixels(std::uint32_t size) {
  return static_cast<int>(std::clamp<std::uint32_t>(size, 1, 32767));
}

EditorSize sizeOf(int width, int height) {
  return {static_cast<std::uint32_t>(std::max(1, width)), static_cast<std::uint32_t>(std::max(1, height))};
}

}  // namespace

void EditorWindow::prepare() {
  XInitThreads();
  XSetErrorHandler(ignoreError);
  XSetIOErrorHandler(leaveWithoutDisplay);
}

void EditorWindow::outliveDisplay(const std::function<void()>* lost) {
  isInPlugInsProcess = true;
  displayLost = lost;
}

void EditorWindow::outliveExit() {
  (void)std::atexit(stopEditorsThread);
}

bool EditorWindow::hasDisplay() {
  prepare();
  Display* const display = XOpenDisplay(nullptr);
  if (display != nullptr) {
    XCloseDisplay(display);
  }
  return display != nullptr;
}

Result<std::unique_ptr<EditorWindow>> EditorWindow::open(const Settings& settings) {
  prepare();
  Display* const display = XOpenDisplay(nullptr);
  if (display == nullptr) {
    return Error{"found no X display"};
  }
  return std::unique_ptr<EditorWindow>(new EditorWindow(display, settings));
}

EditorWindow::EditorWindow(_XDisplay* display, const Settings& settings)
    : display_(display),
      root_(XDefaultRootWindow(display)),
      mainWindow_(settings.mainWindow),
      id_(XCreateSimpleWindow(display, root_, 0, 0, static_cast<unsigned int>(pixels(settings.content.width)),
                              static_cast<unsigned int>(pixels(settings.content.height)), 0, background, background)),
      deleteAtom_(XInternAtom(display, "WM_DELETE_WINDOW", False)),
      content_(settings.content) {
  XSelectInput(display_, id_, StructureNotifyMask | SubstructureNotifyMask | KeyPressMask | KeyReleaseMask);
  Bool isSupported = False;
  XkbSetDetectableAutoRepeat(display_, True, &isSupported);
  describe(settings);
  center();
}

EditorWindow::~EditorWindow() {
  XDestroyWindow(display_, id_);
  XCloseDisplay(display_);
}

int EditorWindow::descriptor() const {
  return XConnectionNumber(display_);
}

void EditorWindow::describe(const Settings& settings) {
  const auto atom = [this](const char* name) { return XInternAtom(display_, name, False); };
  const auto set = [this](Atom property, Atom type, int format, const void* data, std::size_t count) {
    XChangeProperty(display_, id_, property, type, format, PropModeReplace, static_cast<const unsigned char*>(data),
                    static_cast<int>(count));
  };
  XStoreName(display_, id_, settings.title.c_str());
  set(atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8, settings.title.data(), settings.title.size());
  const Atom dialog = atom("_NET_WM_WINDOW_TYPE_DIALOG");
  set(atom("_NET_WM_WINDOW_TYPE"), XA_ATOM, 32, &dialog, 1);
  const long process = getpid();
  set(atom("_NET_WM_PID"), XA_CARDINAL, 32, &process, 1);
  XClassHint names{};
  std::string application = "vrel-plugin-editor";
  names.res_name = application.data();
  names.res_class = application.data();
  XSetClassHint(display_, id_, &names);
  if (mainWindow_ != 0) {
    XSetTransientForHint(display_, id_, mainWindow_);
  }
  Atom protocol = deleteAtom_;
  XSetWMProtocols(display_, id_, &protocol, 1);
  limitSize();
}

/// A person does not resize it; its content is as large as the console says.
void EditorWindow::limitSize() {
  XSizeHints hints{};
  hints.flags = PMinSize | PMaxSize | PPosition;
  hints.min_width = hints.max_width = pixels(content_.width);
  hints.min_height = hints.max_height = pixels(content_.height);
  XSetWMNormalHints(display_, id_, &hints);
}

void EditorWindow::show() {
  XMapRaised(display_, id_);
  XSync(display_, False);  // from here on it is there for other connections, too
}

void EditorWindow::adopt(Id view) {
  if (view == 0) {
    const auto children = childrenOf(display_, id_);
    view = children.empty() ? 0 : children.back();
  }
  XWindowAttributes attributes{};
  if (view == 0 || XGetWindowAttributes(display_, view, &attributes) == 0) {
    return;
  }
  view_ = view;
  viewSize_ = sizeOf(attributes.width, attributes.height);
  XMapWindow(display_, view_);
  placeView();
}

void EditorWindow::resizeView(const EditorSize& size) {
  if (view_ == 0) {
    viewSize_ = size;
  } else if (viewSize_ != size) {
    XResizeWindow(display_, view_, static_cast<unsigned int>(pixels(size.width)),
                  static_cast<unsigned int>(pixels(size.height)));
    XFlush(display_);
  }
}

void EditorWindow::setContentSize(const EditorSize& size) {
  content_ = size;
  limitSize();
  XResizeWindow(display_, id_, static_cast<unsigned int>(pixels(size.width)),
                static_cast<unsigned int>(pixels(size.height)));
  placeView();
}

/// In the middle of the content, or at its corner where it is the larger of both.
void EditorWindow::placeView() {
  if (view_ != 0 && viewSize_) {
    const auto offset = [](std::uint32_t room, std::uint32_t size) {
      return room > size ? pixels((room - size) / 2) : 0;
    };
    XMoveWindow(display_, view_, offset(content_.width, viewSize_->width), offset(content_.height, viewSize_->height));
  }
  XFlush(display_);
}

void EditorWindow::move(EditorMove move) {
  switch (move) {
    case EditorMove::center:
      center();
      break;
    case EditorMove::raise:
      XRaiseWindow(display_, id_);
      break;
    case EditorMove::keepAbove:
      if (isBelow(display_, id_, mainWindow_)) {
        XRaiseWindow(display_, id_);
      }
      break;
  }
  XFlush(display_);
}

/// Over the console, which may be on any screen.
void EditorWindow::center() {
  XWindowAttributes around{};
  int x = 0;
  int y = 0;
  Id ignored = 0;
  const Id window = mainWindow_ != 0 && XGetWindowAttributes(display_, mainWindow_, &around) != 0 ? mainWindow_ : root_;
  if (XGetWindowAttributes(display_, window, &around) != 0) {
    XTranslateCoordinates(display_, window, root_, 0, 0, &x, &y, &ignored);
    XMoveWindow(display_, id_, x + (around.width - pixels(content_.width)) / 2,
                std::max(0, y + (around.height - pixels(content_.height)) / 2));
  }
}

void EditorWindow::handleEvents() {
  while (XPending(display_) > 0) {
    XEvent event{};
    XNextEvent(display_, &event);
    switch (event.type) {
      case ClientMessage:
        isClosed_ = isClosed_ || static_cast<Atom>(event.xclient.data.l[0]) == deleteAtom_;
        break;
      case MapNotify:
        isMapped_ = isMapped_ || event.xmap.window == id_;
        if (event.xmap.window == id_ && !hasWindowManager()) {
          XSetInputFocus(display_, id_, RevertToPointerRoot, CurrentTime);
        }
        break;
      case UnmapNotify:
        isMapped_ = isMapped_ && event.xunmap.window != id_;
        break;
      case ConfigureNotify:
        if (view_ != 0 && event.xconfigure.window == view_) {
          const EditorSize size = sizeOf(event.xconfigure.width, event.xconfigure.height);
          if (std::exchange(viewSize_, size) != size) {
            placeView();
          }
        }
        break;
      case DestroyNotify:
        view_ = event.xdestroywindow.window == view_ ? 0 : view_;
        break;
      case KeyPress:
      case KeyRelease:
        if (auto key = heldKeys_.keyOf(event)) {
          keys_.push_back(*std::move(key));
        }
        break;
      default:
        break;
    }
  }
}

bool EditorWindow::hasWindowManager() const {
  return !windowsOf(display_, root_, "_NET_SUPPORTING_WM_CHECK").empty();
}

}  // namespace vrel::editor
