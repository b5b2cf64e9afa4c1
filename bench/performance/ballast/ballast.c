// SPDX-License-Identifier: GPL-3.0-or-later
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// Instruments with negligible DSP and large state: each outputs a constant level and keeps 64 KiB of state.

#define BALLAST_URI "urn:vrel:bench:ballast"

enum { stateBytes = 64 << 10, mostPlugins = 64 };

typedef struct {
  float* outputs[2];
  const LV2_URID_Map* map;
  uint8_t state[stateBytes];
} Ballast;

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)descriptor;
  (void)rate;
  (void)bundle;
  Ballast* ballast = calloc(1, sizeof(Ballast));
  for (; *features != NULL; ++features) {
    if (strcmp((*features)->URI, LV2_URID__map) == 0) {
      ballast->map = (*features)->data;
    }
  }
  for (uint32_t at = 0; at < stateBytes; ++at) {
    ballast->state[at] = (uint8_t)(at * 2654435761U >> 24U);  // incompressible
  }
  return ballast;
}

static void connect(LV2_Handle handle, uint32_t port, void* data) {
  if (port > 0) {
    ((Ballast*)handle)->outputs[port - 1] = data;
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  const Ballast* ballast = handle;
  for (uint32_t frame = 0; frame < frames; ++frame) {
    ballast->outputs[0][frame] = 0.01F;
    ballast->outputs[1][frame] = 0.01F;
  }
}

static LV2_URID urid(const Ballast* ballast, const char* uri) {
  return ballast->map->map(ballast->map->handle, uri);
}

static LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t flags,
                             const LV2_Feature* const* features) {
  (void)flags;
  (void)features;
  const Ballast* ballast = handle;
  return store(state, urid(ballast, BALLAST_URI "#state"), ballast->state, stateBytes, urid(ballast, LV2_ATOM__Chunk),
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

static LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                                uint32_t flags, const LV2_Feature* const* features) {
  (void)flags;
  (void)features;
  Ballast* ballast = handle;
  size_t size = 0;
  uint32_t type = 0;
  uint32_t valueFlags = 0;
  const void* value = retrieve(state, urid(ballast, BALLAST_URI "#state"), &size, &type, &valueFlags);
  if (value == NULL || size != stateBytes) {
    return LV2_STATE_ERR_NO_PROPERTY;
  }
  memcpy(ballast->state, value, stateBytes);
  return LV2_STATE_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_State_Interface interface = {save, restore};
  return strcmp(uri, LV2_STATE__interface) == 0 ? &interface : NULL;
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static LV2_Descriptor descriptors[mostPlugins];
  static char uris[mostPlugins][64];
  if (index >= mostPlugins) {
    return NULL;
  }
  snprintf(uris[index], sizeof uris[index], "%s-%u", BALLAST_URI, index);
  descriptors[index] = (LV2_Descriptor){uris[index], instantiate, connect, NULL, run, NULL, free, extension};
  return &descriptors[index];
}
