// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:echo"
#include "support/zoo/zoo.h"

// Writes every message it gets into its audio, one per frame and in order: the bytes as one number
// of 24 bits, scaled, on the left, the length on the right, and 100 more for each frame at which it came. What finds no
// frame in its block waits for the next. Length 0 means no message. It also fills its atom output to the last byte, and
// answers with length 99 when it is not given the room that it asked for.

typedef struct {
  uint32_t count;
  float bytes[8192];
  float length[8192];
} Waiting;

static Zoo* make(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = zooMake(rate, features);
  zoo->extra = calloc(1, sizeof(Waiting));
  return zoo;
}

static void takeEvents(Zoo* zoo, Waiting* waiting) {
  ZOO_FOREACH_MIDI(zoo, 0) {
    uint32_t value = 0;
    for (uint32_t index = 0; index < 3; ++index) {
      value = (value << 8) | (index < event->body.size ? bytes[index] : 0U);
    }
    waiting->bytes[waiting->count] = (float)value * ZOO_NUMBER_SCALE;
    waiting->length[waiting->count] = (float)event->body.size + 100.0F * (float)event->time.frames;
    ++waiting->count;
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Waiting* waiting = zoo->extra;
  takeEvents(zoo, waiting);
  const uint32_t now = waiting->count < frames ? waiting->count : frames;
  zooFill(zoo, 1, frames, 0);
  zooFill(zoo, 2, frames, 0);
  memcpy(zooAudio(zoo, 1), waiting->bytes, now * sizeof(float));
  memcpy(zooAudio(zoo, 2), waiting->length, now * sizeof(float));
  waiting->count -= now;
  memmove(waiting->bytes, waiting->bytes + now, waiting->count * sizeof(float));
  memmove(waiting->length, waiting->length + now, waiting->count * sizeof(float));

  LV2_Atom* notify = zoo->ports[3];
  const bool isRoomy = notify->size + sizeof(LV2_Atom) >= 200000;
  if (!isRoomy && frames > 0) {
    zooAudio(zoo, 2)[0] = 99.0F;
  }
  memset(notify + 1, 0x55, notify->size);
  notify->size = 8;
}

ZOO_PLUGIN(make, run, NULL, NULL)
