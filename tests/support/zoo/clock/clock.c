// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:clock"
#include "support/zoo/zoo.h"

#include <lv2/time/time.h>

// Outputs the last position it received, one field in each sample of the left: frame, speed, bar, beat in the bar,
// beat, beat unit, beats per bar, beats per minute; -1 for a field that was not there; all scaled. The right says
// how many positions there have been.

enum { fieldCount = 8 };

typedef struct {
  LV2_URID position;
  LV2_URID keys[fieldCount];
  LV2_URID types[fieldCount];
  float values[fieldCount];
  float count;
} Clock;

static Zoo* make(double rate, const LV2_Feature* const* features) {
  static const char* const keys[fieldCount] = {LV2_TIME__frame,       LV2_TIME__speed,         LV2_TIME__bar,
                                               LV2_TIME__barBeat,     LV2_TIME__beat,          LV2_TIME__beatUnit,
                                               LV2_TIME__beatsPerBar, LV2_TIME__beatsPerMinute};
  static const char* const types[fieldCount] = {LV2_ATOM__Long,   LV2_ATOM__Float, LV2_ATOM__Long,  LV2_ATOM__Float,
                                                LV2_ATOM__Double, LV2_ATOM__Int,   LV2_ATOM__Float, LV2_ATOM__Float};
  Zoo* zoo = zooMake(rate, features);
  Clock* clock = calloc(1, sizeof(Clock));
  clock->position = zoo->map->map(zoo->map->handle, LV2_TIME__Position);
  for (int field = 0; field < fieldCount; ++field) {
    clock->keys[field] = zoo->map->map(zoo->map->handle, keys[field]);
    clock->types[field] = zoo->map->map(zoo->map->handle, types[field]);
  }
  zoo->extra = clock;
  return zoo;
}

static float valueOf(const LV2_Atom* atom, size_t size, bool isWhole) {
  const void* body = atom + 1;
  if (isWhole) {
    return size == 8 ? (float)*(const int64_t*)body : (float)*(const int32_t*)body;
  }
  return size == 8 ? (float)*(const double*)body : *(const float*)body;
}

static void takePosition(Clock* clock, const LV2_Atom_Object* object) {
  static const bool isWhole[fieldCount] = {true, false, true, false, false, true, false, false};
  for (int field = 0; field < fieldCount; ++field) {
    const LV2_Atom* value = NULL;
    lv2_atom_object_get(object, clock->keys[field], &value, 0);
    const bool isSound = value != NULL && value->type == clock->types[field];
    clock->values[field] = isSound ? valueOf(value, value->size, isWhole[field]) : -1.0F;
  }
  clock->count += 1.0F;
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Clock* clock = zoo->extra;
  LV2_ATOM_SEQUENCE_FOREACH((const LV2_Atom_Sequence*)zoo->ports[0], event) {
    const LV2_Atom_Object* object = (const LV2_Atom_Object*)&event->body;
    if (event->body.size >= sizeof(LV2_Atom_Object_Body) && object->body.otype == clock->position) {
      takePosition(clock, object);
    }
  }
  zooFill(zoo, 1, frames, 0.0F);
  zooFill(zoo, 2, frames, clock->count);
  for (uint32_t field = 0; field < fieldCount && field < frames; ++field) {
    zooAudio(zoo, 1)[field] = clock->values[field] * ZOO_NUMBER_SCALE;
  }
}

ZOO_PLUGIN(make, run, NULL, NULL)
