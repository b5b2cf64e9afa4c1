// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:inside"
#include <pthread.h>

#include "support/zoo/inside/inside.h"
#include "support/zoo/zoo.h"

// Mono through, times "level", which it shows on its output "heard". Its editor requires its memory: a function of it,
// and the instance to call it with. As with a toolkit of one thread, its editor must run where it was made.

typedef struct {
  pthread_t thread;
  const void* self;
} Inside;

static void* make(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = zooMake(rate, features);
  Inside* const inside = calloc(1, sizeof(Inside));
  if (zoo == NULL || inside == NULL) {
    return NULL;
  }
  inside->thread = pthread_self();
  inside->self = zoo;
  zoo->extra = inside;
  return zoo;
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  const float level = *(const float*)zoo->ports[2];
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = level * zooAudio(zoo, 0)[frame];
  }
  *(float*)zoo->ports[4] = level;
}

static bool isOwnThread(LV2_Handle handle) {
  const Inside* const inside = ((Zoo*)handle)->extra;
  return inside->self == handle && pthread_equal(inside->thread, pthread_self()) != 0;
}

static const void* extension(const char* uri) {
  static const InsideInterface interface = {isOwnThread};
  return strcmp(uri, INSIDE_INTERFACE) == 0 ? &interface : NULL;
}

ZOO_PLUGIN(make, run, NULL, extension)
