// SPDX-License-Identifier: GPL-3.0-or-later

// The editor of the zoo's window, of 300 by 200: a press at x sets "level" to x / 100; one in the lowest quarter asks
// for a file instead, and sets "level" to 0.25 where its host has answered rightly. Its window is as wide as "width"
// says, and blinks black while "heard" is 0. It uses no key. The variable ZOO_EDITOR of the environment makes it
// misbehave, one word each; with "message" it sends one, and sets "level" to 0.125 when the same comes back. It ends
// the process when its host does not keep to the order of calls. Built with ZOO_INSIDE it is the editor of the zoo's
// inside, which requires the plug-in's memory.

#include <X11/Xlib.h>
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#ifdef ZOO_INSIDE
#include <lv2/data-access/data-access.h>
#include <lv2/instance-access/instance-access.h>

#include "support/zoo/inside/inside.h"
#endif

enum { level = 2, widthPort = 3, heard = 4, messages = 5, answers = 6 };

/// An object with one property, whose value is a number of a URI.
typedef struct {
  LV2_Atom atom;
  uint32_t id;
  uint32_t type;
  uint32_t key;
  uint32_t context;
  LV2_Atom value;
  uint32_t word;
  uint32_t padding;
} Message;

typedef struct {
  Display* display;
  Window parent;
  Window window;
  LV2UI_Write_Function write;
  LV2UI_Controller controller;
  const LV2UI_Resize* resize;
  int width;
  Message message;
  LV2_URID eventTransfer;
  const LV2_URID_Map* urids;
  const LV2UI_Request_Value* request;
} Editor;

static bool is(const char* fault) {
  const char* const wanted = getenv("ZOO_EDITOR");
  return wanted != NULL && strcmp(wanted, fault) == 0;
}

static void crash(void) {
  *(volatile int*)0 = 0;
}

static const void* feature(const LV2_Feature* const* features, const char* uri) {
  for (; *features != NULL; ++features) {
    if (strcmp((*features)->URI, uri) == 0) {
      return (*features)->data;
    }
  }
  return NULL;
}

#ifdef ZOO_INSIDE
static bool hasAccess(const LV2_Feature* const* features) {
  const LV2_Handle instance = (LV2_Handle)feature(features, LV2_INSTANCE_ACCESS_URI);
  const LV2_Extension_Data_Feature* const data = feature(features, LV2_DATA_ACCESS_URI);
  const InsideInterface* const interface = data != NULL ? data->data_access(INSIDE_INTERFACE) : NULL;
  return instance != NULL && interface != NULL && interface->isOwnThread(instance);
}
#else
static bool hasAccess(const LV2_Feature* const* features) {
  (void)features;
  return true;
}
#endif

/// Says "word" to the plug-in, with numbers that are not those of another process.
static void sendMessage(Editor* editor, const LV2_URID_Map* urids) {
  for (int number = 0; number < 100; ++number) {
    char uri[] = "urn:vrel:zoo:padding-00";
    uri[sizeof uri - 3] = (char)('0' + number / 10);
    uri[sizeof uri - 2] = (char)('0' + number % 10);
    (void)urids->map(urids->handle, uri);
  }
  editor->eventTransfer = urids->map(urids->handle, LV2_ATOM__eventTransfer);
  Message* const message = &editor->message;
  message->atom.size = sizeof(Message) - sizeof(LV2_Atom);
  message->atom.type = urids->map(urids->handle, LV2_ATOM__Object);
  message->type = urids->map(urids->handle, "urn:vrel:zoo:message");
  message->key = urids->map(urids->handle, "urn:vrel:zoo:key");
  message->value.size = sizeof(uint32_t);
  message->value.type = urids->map(urids->handle, LV2_ATOM__URID);
  message->word = urids->map(urids->handle, "urn:vrel:zoo:word");
  editor->write(editor->controller, messages, sizeof(Message), editor->eventTransfer, message);
}

static LV2UI_Handle instantiate(const LV2UI_Descriptor* descriptor, const char* plugin, const char* bundle,
                                LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                                const LV2_Feature* const* features) {
  (void)descriptor;
  (void)plugin;
  (void)bundle;
  if (is("refuse")) {
    return NULL;
  }
  if (is("crash-opening")) {
    crash();
  }
  if (is("slow-opening")) {
    sleep(60);
  }
  const LV2UI_Port_Map* const map = feature(features, LV2_UI__portMap);
  if (map == NULL || map->port_index(map->handle, "level") != level ||
      map->port_index(map->handle, "none") != LV2UI_INVALID_PORT_INDEX) {
    return NULL;
  }
  if (!hasAccess(features)) {
    return NULL;
  }
  Editor* const editor = calloc(1, sizeof(Editor));
  editor->display = XOpenDisplay(NULL);
  editor->parent = (Window)(uintptr_t)feature(features, LV2_UI__parent);
  editor->resize = feature(features, LV2_UI__resize);
  editor->urids = feature(features, LV2_URID__map);
  editor->request = feature(features, LV2_UI__requestValue);
  editor->write = write;
  editor->controller = controller;
  editor->width = 300;
  editor->window = XCreateSimpleWindow(editor->display, editor->parent, 0, 0, 300, 200, 0, 0, 0xffffff);
  XSelectInput(editor->display, editor->window, ButtonPressMask);
  XMapWindow(editor->display, editor->window);
  XSync(editor->display, False);
  if (is("bad-window")) {
    XMapWindow(editor->display, 1);
    XSync(editor->display, False);
  }
  if (is("message")) {
    sendMessage(editor, feature(features, LV2_URID__map));
  }
  *widget = (LV2UI_Widget)(uintptr_t)editor->window;
  return editor;
}

/// Whether its host takes a request for the file, and none for what is not there or of another type.
static bool requestFile(const Editor* editor) {
  const LV2UI_Request_Value* const host = editor->request;
  const LV2_URID_Map* const urids = editor->urids;
  if (host == NULL) {
    return false;
  }
  const LV2_URID none = urids->map(urids->handle, "urn:vrel:zoo:window#none");
  const LV2_URID file = urids->map(urids->handle, "urn:vrel:zoo:window#file");
  const LV2_URID number = urids->map(urids->handle, LV2_ATOM__Float);
  return host->request(host->handle, none, 0, NULL) == LV2UI_REQUEST_VALUE_ERR_UNKNOWN &&
         host->request(host->handle, file, number, NULL) == LV2UI_REQUEST_VALUE_ERR_UNSUPPORTED &&
         host->request(host->handle, file, 0, NULL) == LV2UI_REQUEST_VALUE_SUCCESS;
}

static void cleanup(LV2UI_Handle handle) {
  Editor* const editor = handle;
  XWindowAttributes attributes;
  if (is("crash-closing")) {
    crash();
  }
  if (is("slow-closing")) {
    sleep(60);
  }
  if (XGetWindowAttributes(editor->display, editor->parent, &attributes) == 0) {
    abort();  // its parent went first
  }
  XDestroyWindow(editor->display, editor->window);
  XCloseDisplay(editor->display);
  free(editor);
}

static void setWidth(Editor* editor, int width) {
  editor->width = width;
  XResizeWindow(editor->display, editor->window, (unsigned)width, 200);
  XSync(editor->display, False);
  editor->resize->ui_resize(editor->resize->handle, width, 200);
}

static void portEvent(LV2UI_Handle handle, uint32_t port, uint32_t size, uint32_t format, const void* value) {
  Editor* const editor = handle;
  if (port == answers && format == editor->eventTransfer && size == sizeof(Message)) {
    const float isSame = memcmp(value, &editor->message, sizeof(Message)) == 0 ? 0.125F : 3.0F;
    editor->write(editor->controller, level, sizeof isSame, 0, &isSame);
    return;
  }
  if (format != 0 || size != sizeof(float)) {
    abort();
  }
  const float number = *(const float*)value;
  if (port == widthPort && number > 0) {
    setWidth(editor, (int)number);
  } else if (port == heard) {
    XSetWindowBackground(editor->display, editor->window, number == 0.0F ? 0 : 0xffffff);
    XClearWindow(editor->display, editor->window);
    XSync(editor->display, False);
  }
}

static int idle(LV2UI_Handle handle) {
  Editor* const editor = handle;
  if (is("crash-idle")) {
    crash();
  }
  if (is("slow-idle")) {
    sleep(60);
  }
  if (is("grow")) {
    setWidth(editor, editor->width + 1);
  }
  if (is("end")) {
    return 1;
  }
  const float wild = 99;
  if (is("write-anything")) {
    editor->write(editor->controller, heard, sizeof wild, 0, &wild);
    editor->write(editor->controller, 9999, sizeof wild, 0, &wild);
    editor->write(editor->controller, level, 2, 0, &wild);
    editor->write(editor->controller, level, sizeof wild, 12345, &wild);
  }
  while (XPending(editor->display) > 0) {
    XEvent event;
    XNextEvent(editor->display, &event);
    if (event.type == ButtonPress) {
      const float value = event.xbutton.y < 150 ? (float)event.xbutton.x / 100.0F : requestFile(editor) ? 0.25F : 3.0F;
      editor->write(editor->controller, level, sizeof value, 0, &value);
    }
  }
  return 0;
}

static const void* extensionData(const char* uri) {
  static const LV2UI_Idle_Interface interface = {idle};
  return strcmp(uri, LV2_UI__idleInterface) == 0 ? &interface : NULL;
}

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
  static const LV2UI_Descriptor other = {"urn:vrel:zoo:window-gtk", NULL, NULL, NULL, NULL};
#ifdef ZOO_INSIDE
  static const LV2UI_Descriptor own = {"urn:vrel:zoo:inside-own", instantiate, cleanup, portEvent, extensionData};
#else
  static const LV2UI_Descriptor own = {"urn:vrel:zoo:window-own", instantiate, cleanup, portEvent, extensionData};
#endif
  return index == 0 ? &other : index == 1 ? &own : NULL;
}
