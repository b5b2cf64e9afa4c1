// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:defaultstate"
#include "support/zoo/zoo.h"

#include <lv2/state/state.h>

// Starts with the state in its data: outputs the value there, in 1/128.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  zooFill(zoo, 0, frames, zoo->level);
}

static LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t flags,
                             const LV2_Feature* const* features) {
  (void)handle;
  (void)store;
  (void)state;
  (void)flags;
  (void)features;
  return LV2_STATE_SUCCESS;
}

static LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                                uint32_t flags, const LV2_Feature* const* features) {
  (void)flags;
  (void)features;
  Zoo* zoo = handle;
  size_t size = 0;
  uint32_t type = 0;
  uint32_t valueFlags = 0;
  const int32_t* value =
      retrieve(state, zoo->map->map(zoo->map->handle, "urn:vrel:zoo:value"), &size, &type, &valueFlags);
  if (value == NULL || size != sizeof *value) {
    return LV2_STATE_ERR_NO_PROPERTY;
  }
  zoo->level = (float)*value / 128.0F;
  return LV2_STATE_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_State_Interface interface = {save, restore};
  return strcmp(uri, LV2_STATE__interface) == 0 ? &interface : NULL;
}

ZOO_PLUGIN(zooMake, run, NULL, extension)
