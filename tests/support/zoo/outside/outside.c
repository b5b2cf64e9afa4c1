// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/zoo/zoo.h"

// Mono through, times "level": three plug-ins that differ in their editors, which open a window by themselves.

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)descriptor;
  (void)bundle;
  return zooMake(rate, features);
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float level = *(const float*)zoo->ports[2];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = level * zooAudio(zoo, 0)[frame];
  }
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static const LV2_Descriptor all[] = {
      {"urn:vrel:zoo:outside", instantiate, zooConnect, NULL, run, NULL, zooCleanup, NULL},
      {"urn:vrel:zoo:outsideold", instantiate, zooConnect, NULL, run, NULL, zooCleanup, NULL},
      {"urn:vrel:zoo:shown", instantiate, zooConnect, NULL, run, NULL, zooCleanup, NULL},
  };
  return index < sizeof all / sizeof *all ? &all[index] : NULL;
}
