// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:window"
#include "support/zoo/zoo.h"

// Mono through, times "level", which it shows on its output "heard". It sends back every message of its editor, which
// is its own.

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float level = *(const float*)zoo->ports[2];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = level * zooAudio(zoo, 0)[frame];
  }
  *(float*)zoo->ports[4] = level;
  const LV2_Atom_Sequence* const in = zoo->ports[5];
  LV2_Atom_Sequence* const out = zoo->ports[6];
  if (in->atom.size <= out->atom.size) {
    memcpy(out, in, sizeof(LV2_Atom) + in->atom.size);
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
