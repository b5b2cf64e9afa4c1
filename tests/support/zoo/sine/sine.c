// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:sine"
#include "support/zoo/zoo.h"

#include <math.h>

// One voice at a time: the last key sounds from its frame on, its velocity is its level, and it fades within a few
// milliseconds after its release. Controller 123 releases all notes.

static const double tau = 6.283185307179586;

static void takeEvent(Zoo* zoo, const uint8_t* bytes) {
  if (zooIsNoteOn(bytes)) {
    zoo->note = bytes[1];
    zoo->level = (float)bytes[2] / 127.0F;
  } else if ((zooIsNoteOff(bytes) && bytes[1] == zoo->note) || ((bytes[0] & 0xF0) == 0xB0 && bytes[1] == 123)) {
    zoo->note = 255;
  }
}

static void play(Zoo* zoo, uint32_t from, uint32_t to) {
  const float level = *(const float*)zoo->ports[3];
  const double step = tau * 440.0 * pow(2.0, (zoo->note - 69) / 12.0) / zoo->rate;
  for (uint32_t frame = from; frame < to; ++frame) {
    const float sample = level * zoo->level * (float)sin(zoo->phase);
    zooAudio(zoo, 1)[frame] = sample;
    zooAudio(zoo, 2)[frame] = 0.5F * sample;
    if (zoo->note == 255) {
      zoo->level *= 0.99F;
    } else {
      zoo->phase = fmod(zoo->phase + step, tau);
    }
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  uint32_t done = 0;
  ZOO_FOREACH_MIDI(zoo, 0) {
    const uint32_t at = (uint32_t)event->time.frames;
    play(zoo, done, at);
    done = at;
    takeEvent(zoo, bytes);
  }
  play(zoo, done, frames);
}

static void activate(LV2_Handle handle) {
  Zoo* zoo = handle;
  zoo->note = 255;
  zoo->level = 0;
  zoo->phase = 0.25 * tau;
}

ZOO_PLUGIN(zooMake, run, activate, NULL)
