// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:midieffect"
#include "support/zoo/zoo.h"

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  memcpy(zoo->ports[3], zoo->ports[1], frames * sizeof(float));
  memcpy(zoo->ports[4], zoo->ports[2], frames * sizeof(float));
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
