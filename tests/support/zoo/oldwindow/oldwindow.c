// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:oldwindow"
#include <dlfcn.h>
#include <lv2/ui/ui.h>

#include "support/zoo/zoo.h"

// Mono through, times "level". Its editor is a button of Gtk 2, which it finds where the host has loaded it; a press
// sets "level" to 0.25.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float level = *(const float*)zoo->ports[2];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = level * zooAudio(zoo, 0)[frame];
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)

typedef struct {
  LV2UI_Write_Function write;
  LV2UI_Controller controller;
  void* button;
} Editor;

typedef void (*Callback)(void);

/// A function of Gtk by its name, in the form in which functions are compared.
static Callback function(const char* name) {
  Callback found = NULL;
  void* const address = dlsym(dlopen(NULL, RTLD_LAZY), name);
  memcpy(&found, &address, sizeof found);
  return found;
}

static int pressed(void* button, void* event, Editor* editor) {
  (void)button;
  (void)event;
  const float value = 0.25F;
  editor->write(editor->controller, 2, sizeof value, 0, &value);
  return 0;
}

static LV2UI_Handle instantiate(const LV2UI_Descriptor* descriptor, const char* plugin, const char* bundle,
                                LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                                const LV2_Feature* const* features) {
  (void)descriptor;
  (void)plugin;
  (void)bundle;
  (void)features;
  void* (*const makeButton)(const char*) = (void* (*)(const char*))function("gtk_button_new_with_label");
  void (*const setSize)(void*, int, int) = (void (*)(void*, int, int))function("gtk_widget_set_size_request");
  unsigned long (*const connect)(void*, const char*, Callback, void*, void*, int) =
      (unsigned long (*)(void*, const char*, Callback, void*, void*, int))function("g_signal_connect_data");
  if (makeButton == NULL || setSize == NULL || connect == NULL) {
    return NULL;
  }
  Editor* const editor = calloc(1, sizeof(Editor));
  editor->write = write;
  editor->controller = controller;
  editor->button = makeButton("Level");
  setSize(editor->button, 320, 240);
  connect(editor->button, "button-press-event", (Callback)pressed, editor, NULL, 0);
  *widget = editor->button;
  return editor;
}

static void cleanup(LV2UI_Handle handle) {
  free(handle);
}

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
  static const LV2UI_Descriptor own = {"urn:vrel:zoo:oldwindow-gtk", instantiate, cleanup, NULL, NULL};
  return index == 0 ? &own : NULL;
}
