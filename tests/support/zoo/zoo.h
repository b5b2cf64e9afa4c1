// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Shared by the plug-ins of the zoo. Each is one C file that defines ZOO_URI, includes this
// header, writes a run function, and ends with ZOO_PLUGIN. None of them has a musical use: each
// has one feature, or one fault, for the tests of the host.

#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/urid/urid.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
  void* ports[16];
  double rate;
  const LV2_URID_Map* map;
  LV2_URID midiType;
  const LV2_Feature* const* features;  // valid while instantiating only
  void* extra;                         // freed with the plug-in
  double phase;
  float level;  // the plug-in's current output level
  uint8_t note;
} Zoo;

static inline void* zooFeature(const LV2_Feature* const* features, const char* uri) {
  for (; features != NULL && *features != NULL; ++features) {
    if (strcmp((*features)->URI, uri) == 0) {
      return (*features)->data;
    }
  }
  return NULL;
}

static inline Zoo* zooMake(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = calloc(1, sizeof(Zoo));
  if (zoo == NULL) {
    return NULL;
  }
  zoo->rate = rate;
  zoo->features = features;
  zoo->map = zooFeature(features, LV2_URID__map);
  if (zoo->map != NULL) {
    zoo->midiType = zoo->map->map(zoo->map->handle, LV2_MIDI__MidiEvent);
  }
  return zoo;
}

static inline void zooConnect(LV2_Handle handle, uint32_t port, void* data) {
  ((Zoo*)handle)->ports[port] = data;
}

static inline void zooCleanup(LV2_Handle handle) {
  free(((Zoo*)handle)->extra);
  free(handle);
}

static inline float* zooAudio(Zoo* zoo, uint32_t port) {
  return (float*)zoo->ports[port];
}

static inline void zooFill(Zoo* zoo, uint32_t port, uint32_t frames, float value) {
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, port)[frame] = value;
  }
}

/// What a plug-in outputs of a number that is not sound, so that it is within what a host takes for sound. Exact.
#define ZOO_NUMBER_SCALE 0x1p-24F

/// Runs the statement that follows for each MIDI message on an atom port, as `bytes` and `event`.
#define ZOO_FOREACH_MIDI(zoo, port)                                                                         \
  LV2_ATOM_SEQUENCE_FOREACH((const LV2_Atom_Sequence*)(zoo)->ports[port], event)                            \
  for (const uint8_t* bytes = (event)->body.type == (zoo)->midiType ? (const uint8_t*)((event) + 1) : NULL; \
       bytes != NULL; bytes = NULL)

static inline bool zooIsNoteOn(const uint8_t* bytes) {
  return (bytes[0] & 0xF0) == 0x90 && bytes[2] > 0;
}

static inline bool zooIsNoteOff(const uint8_t* bytes) {
  return (bytes[0] & 0xF0) == 0x80 || ((bytes[0] & 0xF0) == 0x90 && bytes[2] == 0);
}

/// `make` takes (rate, features) and gives a Zoo or null; `activate` and `extension` may be null.
#define ZOO_PLUGIN(make, runFunction, activateFunction, extensionFunction)                                 \
  static LV2_Handle zooInstantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,      \
                                   const LV2_Feature* const* features) {                                   \
    (void)descriptor;                                                                                      \
    (void)bundle;                                                                                          \
    return make(rate, features);                                                                           \
  }                                                                                                        \
  LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {                                 \
    static const LV2_Descriptor descriptor = {ZOO_URI,     zooInstantiate, zooConnect, activateFunction,   \
                                              runFunction, NULL,           zooCleanup, extensionFunction}; \
    return index == 0 ? &descriptor : NULL;                                                                \
  }
