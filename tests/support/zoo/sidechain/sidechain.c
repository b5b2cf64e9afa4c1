// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:sidechain"
#include "support/zoo/zoo.h"

// Effects with a side chain: each output is its input, plus ten times the side chain's channel, plus a hundred times
// what comes in at a port of no known use. Which port is which: see the data, and the tables below.

enum { none = -1 };

typedef struct {
  LV2_Descriptor descriptor;
  int in[2];
  int sideChain[2];
  int spare;
  int out[2];
} Kind;

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)bundle;
  Zoo* zoo = zooMake(rate, features);
  const Kind** kind = malloc(sizeof *kind);
  *kind = (const Kind*)descriptor;
  zoo->extra = kind;
  return zoo;
}

static float sampleOf(Zoo* zoo, int port, uint32_t frame) {
  return port == none || zoo->ports[port] == NULL ? 0.0F : zooAudio(zoo, (uint32_t)port)[frame];
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const Kind* kind = *(const Kind**)zoo->extra;
  for (int channel = 0; channel < 2 && kind->out[channel] != none; ++channel) {
    for (uint32_t frame = 0; frame < frames; ++frame) {
      zooAudio(zoo, (uint32_t)kind->out[channel])[frame] = sampleOf(zoo, kind->in[channel], frame) +
                                                           10 * sampleOf(zoo, kind->sideChain[channel], frame) +
                                                           100 * sampleOf(zoo, kind->spare, frame);
    }
  }
}

#define DESCRIPTOR(name) \
  { ZOO_URI "-" name, instantiate, zooConnect, NULL, run, NULL, zooCleanup, NULL }
static const Kind kinds[] = {
    {DESCRIPTOR("mono"), {0, none}, {1, none}, none, {2, none}},
    {DESCRIPTOR("optional"), {0, none}, {1, none}, none, {2, none}},
    {DESCRIPTOR("first"), {1, 2}, {0, 0}, none, {3, 4}},
    {DESCRIPTOR("groups"), {1, 0}, {4, 3}, 2, {6, 5}},
};

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  return index < sizeof kinds / sizeof *kinds ? &kinds[index].descriptor : NULL;
}
