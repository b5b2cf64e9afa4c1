// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/editor_stage.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <set>
#include <utility>

#include "system/plugins/sandbox/processes.h"

namespace vrel::editor {
namespace {

int errorCount = 0;

}  // namespace

Desktop::Desktop() : display_(XOpenDisplay(nullptr)) {
  // A window may go while it is looked at.
  XSetErrorHandler([](Display* /*display*/, XErrorEvent* /*error*/) { return errorCount++; });
}

Desktop::~Desktop() {
  XCloseDisplay(display_);
}

std::vector<Desktop::Window> Desktop::windows() const {
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  std::vector<Window> windows;
  if (XQueryTree(display_, XDefaultRootWindow(display_), &root, &parent, &children, &count) != 0 &&
      children != nullptr) {
    std::copy_if(children, children + count, std::back_inserter(windows), [this](Window each) {
      XWindowAttributes attributes{};
      return XGetWindowAttributes(display_, each, &attributes) != 0 && attributes.map_state == IsViewable;
    });
    XFree(children);
  }
  return windows;
}

Desktop::Window Desktop::find(const std::string& title) const {
  return find(windows(), title);
}

Desktop::Window Desktop::findClient(const std::string& title) const {
  return find(clients(), title);
}

Desktop::Window Desktop::find(const std::vector<Window>& windows, const std::string& title) const {
  for (const Window window : windows) {
    char* name = nullptr;
    if (XFetchName(display_, window, &name) != 0 && name != nullptr) {
      const bool isFound = title == name;
      XFree(name);
      if (isFound) {
        return window;
      }
    }
  }
  return 0;
}

bool Desktop::hasWindowManager() const {
  return !windowsOfRoot("_NET_SUPPORTING_WM_CHECK").empty();
}

std::vector<Desktop::Window> Desktop::clients() const {
  return windowsOfRoot("_NET_CLIENT_LIST_STACKING");
}

std::vector<Desktop::Window> Desktop::windowsOfRoot(const char* property) const {
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  std::vector<Window> windows;
  if (XGetWindowProperty(display_, XDefaultRootWindow(display_), XInternAtom(display_, property, False), 0, 1000, False,
                         XA_WINDOW, &type, &format, &count, &rest, &data) == 0 &&
      data != nullptr) {
    const auto* const first = reinterpret_cast<const Window*>(data);
    windows.assign(first, first + count);
    XFree(data);
  }
  return windows;
}

Desktop::Window Desktop::frameOf(Window window) const {
  Window root = 0;
  Window parent = window;
  while (window != 0 && parent != root) {
    window = parent;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display_, window, &root, &parent, &children, &count) == 0) {
      return 0;
    }
    XFree(children);
  }
  return window;
}

bool Desktop::isAbove(Window one, Window other) const {
  const auto order = windows();
  const auto lower = std::find(order.begin(), order.end(), frameOf(other));
  return one != other && lower != order.end() && std::find(lower, order.end(), frameOf(one)) != order.end();
}

void Desktop::askManager(Window window, const char* message, long data) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(display_, message, False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = data;
  XSendEvent(display_, XDefaultRootWindow(display_), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
  XSync(display_, False);
}

Desktop::Window Desktop::childOf(Window window) const {
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  Window child = 0;
  if (window != 0 && XQueryTree(display_, window, &root, &parent, &children, &count) != 0 && children != nullptr) {
    child = count > 0 ? children[0] : 0;
    XFree(children);
  }
  return child;
}

EditorSize Desktop::sizeOf(Window window) const {
  XWindowAttributes attributes{};
  if (window == 0 || XGetWindowAttributes(display_, window, &attributes) == 0) {
    return {};
  }
  return {static_cast<std::uint32_t>(attributes.width), static_cast<std::uint32_t>(attributes.height)};
}

std::pair<int, int> Desktop::onScreen(Window window, int x, int y) const {
  int rootX = 0;
  int rootY = 0;
  Window child = 0;
  XTranslateCoordinates(display_, window, XDefaultRootWindow(display_), x, y, &rootX, &rootY, &child);
  return {rootX, rootY};
}

std::size_t Desktop::colors(Window window) const {
  constexpr std::size_t mostColors = 16;
  const EditorSize size = sizeOf(window);
  std::set<unsigned long> found;
  XImage* const image =
      window == 0 ? nullptr : XGetImage(display_, window, 0, 0, size.width, size.height, AllPlanes, ZPixmap);
  if (image != nullptr) {
    for (int y = 0; y < image->height && found.size() < mostColors; ++y) {
      for (int x = 0; x < image->width; ++x) {
        found.insert(image->f.get_pixel(image, x, y));
      }
    }
    image->f.destroy_image(image);
  }
  return found.size();
}

Desktop::Window Desktop::transientFor(Window window) const {
  Window owner = 0;
  return XGetTransientForHint(display_, window, &owner) != 0 ? owner : 0;
}

Desktop::Window Desktop::cover() {
  const Window window = XCreateSimpleWindow(display_, XDefaultRootWindow(display_), 0, 0, 1280, 800, 0, 0, 0);
  XStoreName(display_, window, "console");
  XMapWindow(display_, window);
  XSync(display_, False);
  return window;
}

void Desktop::raise(Window window) {
  XRaiseWindow(display_, window);
  XSync(display_, False);
}

void Desktop::askToClose(Window window) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(display_, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(display_, "WM_DELETE_WINDOW", False));
  XSendEvent(display_, window, False, NoEventMask, &event);
  XSync(display_, False);
}

void Desktop::killOwner(Window window) {
  XKillClient(display_, window);
  XSync(display_, False);
}

void Desktop::press(Window window, int x, int y) {
  XEvent event{};
  event.xbutton.type = ButtonPress;
  event.xbutton.window = window;
  event.xbutton.root = XDefaultRootWindow(display_);
  event.xbutton.x = x;
  event.xbutton.y = y;
  event.xbutton.button = Button1;
  event.xbutton.same_screen = True;
  XSendEvent(display_, window, True, ButtonPressMask, &event);
  XSync(display_, False);
}

void Desktop::click(Window window, int x, int y) {
  const auto [rootX, rootY] = onScreen(window, x, y);
  const std::string command = "xdotool mousemove " + std::to_string(rootX) + " " + std::to_string(rootY) + " click 1";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

void Desktop::pressKey(Window window, unsigned long symbol) {
  for (const int type : {KeyPress, KeyRelease}) {
    XEvent event{};
    event.xkey.type = type;
    event.xkey.window = window;
    event.xkey.root = XDefaultRootWindow(display_);
    event.xkey.same_screen = True;
    event.xkey.keycode = XKeysymToKeycode(display_, symbol);
    XSendEvent(display_, window, True, type == KeyPress ? KeyPressMask : KeyReleaseMask, &event);
  }
  XSync(display_, False);
}

void Desktop::type(Window window, const std::string& key) {
  XSetInputFocus(display_, window, RevertToPointerRoot, CurrentTime);
  XSync(display_, False);
  EXPECT_EQ(std::system(("xdotool key " + key).c_str()), 0);
}

bool Desktop::isFree(Window window, unsigned long symbol) const {
  XSync(display_, False);
  errorCount = 0;
  const int code = XKeysymToKeycode(display_, symbol);
  XGrabKey(display_, code, 0, window, False, GrabModeAsync, GrabModeAsync);
  XSync(display_, False);
  const bool isTaken = errorCount > 0;
  XUngrabKey(display_, code, 0, window);
  XSync(display_, False);
  return !isTaken;
}

void Desktop::removeKey(unsigned long symbol) {
  while (const int code = XKeysymToKeycode(display_, symbol)) {
    KeySym none = NoSymbol;
    XChangeKeyboardMapping(display_, code, 1, &none, 1);
    XSync(display_, False);
    XEvent event{};
    while (XCheckTypedEvent(display_, MappingNotify, &event) != 0) {
      XRefreshKeyboardMapping(&event.xmapping);
    }
  }
}

EditorStage::EditorStage(lv2::Bundles bundles)
    : SandboxStage(std::nullopt, VREL_PLUGIN_HOST_PROGRAM, false, bundles),
      unit_(bundles == lv2::Bundles::zoo ? make("urn:vrel:zoo:window").unit : nullptr) {
  misbehave("");
  editors_->setHandlers(
      {.edited = [this] { ++edits; }, .keyPressed = [this](const KeyEvent& key) { keys.push_back(key); }});
}

EditorStage::~EditorStage() {
  EXPECT_TRUE(comes([this] { return editors_->editorCount() == 0; })) << "an editor is left behind";
  EXPECT_EQ(desktop.find("Editor"), 0U) << "a window is left behind";
  misbehave("");
}

void EditorStage::misbehave(const std::string& how) {
  ::setenv("ZOO_EDITOR", how.c_str(), 1);
}

std::shared_ptr<NSViewController> EditorStage::request(AVAudioUnit& unit) {
  std::promise<std::shared_ptr<NSViewController>> answer;
  unit.auAudioUnit().requestViewController([&answer](auto view) { answer.set_value(std::move(view)); });
  return answer.get_future().get();
}

std::shared_ptr<OpenEditor> EditorStage::show(AVAudioUnit& unit, const std::string& title) {
  return show(request(unit), title);
}

std::shared_ptr<OpenEditor> EditorStage::show(std::shared_ptr<NSViewController> view, const std::string& title) {
  auto editor = std::make_shared<OpenEditor>();
  editor->view = std::move(view);
  if (editor->view == nullptr) {
    ADD_FAILURE() << "no editor";
    return editor;
  }
  editor->panel = editor->view->ownPanel();
  const auto count = [weak = std::weak_ptr(editor)](int OpenEditor::*number) {
    return [weak, number] {
      if (const auto counted = weak.lock()) {
        ++((*counted).*number);
      }
    };
  };
  const auto note = [weak = std::weak_ptr(editor)](auto list) {
    return [weak, list](const auto& value) {
      if (const auto noted = weak.lock()) {
        ((*noted).*list).push_back(value);
      }
    };
  };
  editor->view->setEvents({count(&OpenEditor::arrivals), count(&OpenEditor::resizes), count(&OpenEditor::failures),
                           note(&OpenEditor::turned), note(&OpenEditor::requestedFiles)});
  editor->panel->setTitle(title);
  editor->panel->setContentSize({760, 520});
  editor->panel->makeKeyAndOrderFront();
  return editor;
}

std::shared_ptr<OpenEditor> EditorStage::open(AVAudioUnit& unit, const std::string& title) {
  auto editor = show(unit, title);
  EXPECT_TRUE(comes([&] { return editor->arrivals == 1; })) << testing::PrintToString(lines());
  return editor;
}

bool EditorStage::comes(const std::function<bool()>& condition) {
  return sandbox::happens([&] {
    mainLoop_.runPending();
    return condition();
  });
}

int EditorStage::editorProcess() const {
  for (const pid_t guest : sandbox::guestsOf(getpid())) {
    std::ifstream file("/proc/" + std::to_string(guest) + "/cmdline");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    if (line.find('\0' + std::string(sandbox::editorRoleName) + '\0') != std::string::npos) {
      return guest;
    }
  }
  return 0;
}

}  // namespace vrel::editor
