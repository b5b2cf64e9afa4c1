// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:panel"
#include "support/zoo/zoo.h"

// Mono through, times "level". It has a control of each kind, and shows "cutoff" on its output "heard". Its data gives
// one control bounds that contradict themselves.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float level = *(const float*)zoo->ports[2];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = level * zooAudio(zoo, 0)[frame];
  }
  *(float*)zoo->ports[12] = *(const float*)zoo->ports[3];
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
