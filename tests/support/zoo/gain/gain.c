// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:gain"
#include "support/zoo/zoo.h"

// Stereo through, times "gain". The sum of its other controls and of its CV input comes back on
// "peak". Its data has a default above its bounds, and a control with no default at all.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float gain = *(const float*)zoo->ports[4];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 2)[frame] = gain * zooAudio(zoo, 0)[frame] + zooAudio(zoo, 8)[frame];
    zooAudio(zoo, 3)[frame] = gain * zooAudio(zoo, 1)[frame];
  }
  *(float*)zoo->ports[7] = *(const float*)zoo->ports[5] + *(const float*)zoo->ports[6];
  if (zoo->ports[9] != NULL) {
    zooFill(zoo, 2, frames, -1);  // the host has connected a port of an unknown type
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
