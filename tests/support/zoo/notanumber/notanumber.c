// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:notanumber"
#include "support/zoo/zoo.h"

#include <math.h>

// While key 1 is down one sample of each block is not a number, while key 2 is down it is infinite; with keys 3 and 4
// it is a number near the largest there are, with key 5 just above a million, with key 6 a million.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  ZOO_FOREACH_MIDI(zoo, 0) {
    zoo->note = zooIsNoteOn(bytes) ? bytes[1] : 0;
  }
  zooFill(zoo, 1, frames, 0.5F);
  zooFill(zoo, 2, frames, 0.5F);
  if (zoo->note != 0 && frames > 0) {
    const float bad[] = {NAN, INFINITY, 3e38F, -3e38F, 1000001.0F, 1e6F};
    zooAudio(zoo, 2)[frames - 1] = bad[(zoo->note - 1) % 6];
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
