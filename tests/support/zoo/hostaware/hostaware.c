// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:hostaware"
#include "support/zoo/zoo.h"

// Outputs its control inputs, which the host is to feed but for the first, one in each sample of the left.

enum { firstControl = 2, controlCount = 11 };

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  zooFill(zoo, 0, frames, 0.0F);
  zooFill(zoo, 1, frames, 0.0F);
  for (uint32_t control = 0; control < controlCount && control < frames; ++control) {
    zooAudio(zoo, 0)[control] = *(const float*)zoo->ports[firstControl + control];
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
