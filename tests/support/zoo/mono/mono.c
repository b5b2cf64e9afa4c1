// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:mono"
#include "support/zoo/zoo.h"

// A constant on one output while a key is down.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  ZOO_FOREACH_MIDI(zoo, 0) {
    zoo->level = zooIsNoteOn(bytes) ? 0.5F : 0.0F;
  }
  zooFill(zoo, 1, frames, zoo->level);
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
