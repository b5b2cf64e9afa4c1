// SPDX-License-Identifier: GPL-3.0-or-later

// The editors of the zoo's outside: a window of 300 by 200 that the editor opens by itself, titled as its host says. A
// press at x sets "level" to x / 100, the window is as wide as "width" says, and what closes windows closes it. The
// variable ZOO_EDITOR of the environment makes it misbehave, one word each. It ends the process when its host does not
// keep to the order of calls.

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define EXTERNAL_HOST "http://kxstudio.sf.net/ns/lv2ext/external-ui#Host"
#define EXTERNAL_OLD "http://lv2plug.in/ns/extensions/ui#external"

enum { level = 2, widthPort = 3 };

typedef struct External {
  void (*run)(struct External* external);
  void (*show)(struct External* external);
  void (*hide)(struct External* external);
} External;

typedef struct {
  void (*closed)(LV2UI_Controller controller);
  const char* title;
} Host;

typedef struct {
  External external;  // first, since it is what the host has of this
  Display* display;
  Window window;
  Atom deleteAtom;
  LV2UI_Write_Function write;
  LV2UI_Controller controller;
  const Host* host;  // of an external one
  bool isShown;
  bool isClosed;
} Editor;

static bool is(const char* fault) {
  const char* const wanted = getenv("ZOO_EDITOR");
  return wanted != NULL && strcmp(wanted, fault) == 0;
}

static const void* feature(const LV2_Feature* const* features, const char* uri) {
  for (; *features != NULL; ++features) {
    if (strcmp((*features)->URI, uri) == 0) {
      return (*features)->data;
    }
  }
  return NULL;
}

static const char* titleOption(const LV2_Feature* const* features) {
  const LV2_URID_Map* const urids = feature(features, LV2_URID__map);
  const LV2_Options_Option* option = feature(features, LV2_OPTIONS__options);
  const LV2_URID key = urids->map(urids->handle, LV2_UI__windowTitle);
  for (; option != NULL && option->key != 0; ++option) {
    if (option->key == key) {
      return option->value;
    }
  }
  return NULL;
}

static void showWindow(Editor* editor) {
  if (editor->isClosed) {
    abort();
  }
  editor->isShown = true;
  XMapWindow(editor->display, editor->window);
  XSync(editor->display, False);
}

static void hideWindow(Editor* editor) {
  if (!editor->isShown || editor->isClosed) {
    abort();
  }
  editor->isShown = false;
  XUnmapWindow(editor->display, editor->window);
  XSync(editor->display, False);
}

static void turn(Editor* editor) {
  if (!editor->isShown || editor->isClosed) {
    abort();
  }
  if (is("crash-idle")) {
    *(volatile int*)0 = 0;
  }
  if (is("slow-idle")) {
    sleep(60);
  }
  while (XPending(editor->display) > 0) {
    XEvent event;
    XNextEvent(editor->display, &event);
    if (event.type == ButtonPress) {
      const float value = (float)event.xbutton.x / 100.0F;
      editor->write(editor->controller, level, sizeof value, 0, &value);
    } else if (event.type == ClientMessage && (Atom)event.xclient.data.l[0] == editor->deleteAtom) {
      XUnmapWindow(editor->display, editor->window);
      XSync(editor->display, False);
      editor->isClosed = true;
      if (editor->host != NULL) {
        editor->host->closed(editor->controller);
      }
      return;
    }
  }
}

static void runExternal(External* external) {
  turn((Editor*)external);
}
static void showExternal(External* external) {
  showWindow((Editor*)external);
}
static void hideExternal(External* external) {
  hideWindow((Editor*)external);
}

static LV2UI_Handle instantiate(const LV2UI_Descriptor* descriptor, const char* plugin, const char* bundle,
                                LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                                const LV2_Feature* const* features) {
  (void)plugin;
  (void)bundle;
  const bool isExternal = strstr(descriptor->URI, "shown") == NULL;
  const bool isOld = strstr(descriptor->URI, "old") != NULL;
  const Host* const host = feature(features, isOld ? EXTERNAL_OLD : EXTERNAL_HOST);
  if (is("refuse") || (isExternal && host == NULL) || feature(features, LV2_UI__parent) != NULL) {
    return NULL;
  }
  Editor* const editor = calloc(1, sizeof(Editor));
  editor->external = (External){runExternal, showExternal, hideExternal};
  editor->host = isExternal ? host : NULL;
  editor->write = write;
  editor->controller = controller;
  editor->display = XOpenDisplay(NULL);
  editor->window =
      XCreateSimpleWindow(editor->display, XDefaultRootWindow(editor->display), 0, 0, 300, 200, 0, 0, 0xffffff);
  XSelectInput(editor->display, editor->window, ButtonPressMask);
  editor->deleteAtom = XInternAtom(editor->display, "WM_DELETE_WINDOW", False);
  XSetWMProtocols(editor->display, editor->window, &editor->deleteAtom, 1);
  const char* const title = isExternal ? host->title : titleOption(features);
  XStoreName(editor->display, editor->window, title != NULL ? title : "untitled");
  const long process = getpid();
  XChangeProperty(editor->display, editor->window, XInternAtom(editor->display, "_NET_WM_PID", False), XA_CARDINAL, 32,
                  PropModeReplace, (const unsigned char*)&process, 1);
  XSync(editor->display, False);
  *widget = isExternal ? (LV2UI_Widget)&editor->external : NULL;
  return editor;
}

static void cleanup(LV2UI_Handle handle) {
  Editor* const editor = handle;
  if (editor->isShown && !editor->isClosed) {
    abort();  // it was not hidden first
  }
  XDestroyWindow(editor->display, editor->window);
  XCloseDisplay(editor->display);
  free(editor);
}

static void portEvent(LV2UI_Handle handle, uint32_t port, uint32_t size, uint32_t format, const void* value) {
  Editor* const editor = handle;
  if (format == 0 && size == sizeof(float) && port == widthPort && *(const float*)value > 0) {
    XResizeWindow(editor->display, editor->window, (unsigned)*(const float*)value, 200);
    XSync(editor->display, False);
  }
}

static int idle(LV2UI_Handle handle) {
  Editor* const editor = handle;
  turn(editor);
  return editor->isClosed ? 1 : 0;
}

static int show(LV2UI_Handle handle) {
  if (is("show-nothing")) {
    return 1;
  }
  showWindow(handle);
  return 0;
}

static int hide(LV2UI_Handle handle) {
  hideWindow(handle);
  return 0;
}

static const void* extensionData(const char* uri) {
  static const LV2UI_Idle_Interface idleInterface = {idle};
  static const LV2UI_Show_Interface showInterface = {show, hide};
  if (strcmp(uri, LV2_UI__idleInterface) == 0) {
    return &idleInterface;
  }
  return strcmp(uri, LV2_UI__showInterface) == 0 ? &showInterface : NULL;
}

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
  static const LV2UI_Descriptor all[] = {
      {"urn:vrel:zoo:outside-own", instantiate, cleanup, portEvent, NULL},
      {"urn:vrel:zoo:outsideold-own", instantiate, cleanup, portEvent, NULL},
      {"urn:vrel:zoo:shown-own", instantiate, cleanup, portEvent, extensionData},
  };
  return index < sizeof all / sizeof *all ? &all[index] : NULL;
}
