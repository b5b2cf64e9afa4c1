// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:patched"
#include "support/zoo/zoo.h"

#include <lv2/atom/forge.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <stdio.h>

// Mono through, times "amount" while "on". Its parameters have no ports: it takes patch:Set, and answers a
// patch:Get with all of them. A file that it is given sets "amount" to 2, which it reports by itself, as it does
// "said": how many messages it has got.

typedef struct {
  char file[1024];
  float amount;
  int32_t steps;
  int32_t on;
  double said;
  char words[64];
  LV2_URID kind;
  float seed;
  LV2_Atom_Forge forge;
  LV2_URID set, put, get, property, value, body, path, fileKey, amountKey, stepsKey, onKey, saidKey, wordsKey, kindKey,
      seedKey;
} Patched;

static LV2_URID urid(const Zoo* zoo, const char* uri) {
  return zoo->map->map(zoo->map->handle, uri);
}

static Zoo* make(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = zooMake(rate, features);
  Patched* self = calloc(1, sizeof(Patched));
  zoo->extra = self;
  self->amount = 1;
  self->steps = 4;
  self->on = 1;
  lv2_atom_forge_init(&self->forge, (LV2_URID_Map*)zoo->map);
  self->set = urid(zoo, LV2_PATCH__Set);
  self->put = urid(zoo, LV2_PATCH__Put);
  self->get = urid(zoo, LV2_PATCH__Get);
  self->property = urid(zoo, LV2_PATCH__property);
  self->value = urid(zoo, LV2_PATCH__value);
  self->body = urid(zoo, LV2_PATCH__body);
  self->path = urid(zoo, LV2_ATOM__Path);
  self->fileKey = urid(zoo, ZOO_URI "#file");
  self->amountKey = urid(zoo, ZOO_URI "#amount");
  self->stepsKey = urid(zoo, ZOO_URI "#steps");
  self->onKey = urid(zoo, ZOO_URI "#on");
  self->saidKey = urid(zoo, ZOO_URI "#said");
  self->wordsKey = urid(zoo, ZOO_URI "#words");
  self->kindKey = urid(zoo, ZOO_URI "#kind");
  self->seedKey = urid(zoo, ZOO_URI "#seed");
  return zoo;
}

static void reportAmount(Patched* self) {
  LV2_Atom_Forge_Frame object;
  lv2_atom_forge_frame_time(&self->forge, 0);
  lv2_atom_forge_object(&self->forge, &object, 0, self->set);
  lv2_atom_forge_key(&self->forge, self->property);
  lv2_atom_forge_urid(&self->forge, self->amountKey);
  lv2_atom_forge_key(&self->forge, self->value);
  lv2_atom_forge_float(&self->forge, self->amount);
  lv2_atom_forge_pop(&self->forge, &object);
}

static void reportAll(Patched* self) {
  LV2_Atom_Forge* forge = &self->forge;
  LV2_Atom_Forge_Frame object;
  LV2_Atom_Forge_Frame body;
  lv2_atom_forge_frame_time(forge, 0);
  lv2_atom_forge_object(forge, &object, 0, self->put);
  lv2_atom_forge_key(forge, self->body);
  lv2_atom_forge_object(forge, &body, 0, 0);
  lv2_atom_forge_key(forge, self->fileKey);
  lv2_atom_forge_path(forge, self->file, (uint32_t)strlen(self->file));
  lv2_atom_forge_key(forge, self->amountKey);
  lv2_atom_forge_float(forge, self->amount);
  lv2_atom_forge_key(forge, self->stepsKey);
  lv2_atom_forge_int(forge, self->steps);
  lv2_atom_forge_key(forge, self->onKey);
  lv2_atom_forge_bool(forge, self->on != 0);
  lv2_atom_forge_key(forge, self->saidKey);
  lv2_atom_forge_double(forge, self->said);
  lv2_atom_forge_key(forge, self->wordsKey);
  lv2_atom_forge_string(forge, self->words, (uint32_t)strlen(self->words));
  lv2_atom_forge_key(forge, self->kindKey);
  lv2_atom_forge_urid(forge, self->kind);
  lv2_atom_forge_key(forge, self->seedKey);
  lv2_atom_forge_float(forge, self->seed);
  lv2_atom_forge_pop(forge, &body);
  lv2_atom_forge_pop(forge, &object);
}

static void take(Patched* self, const LV2_Atom_Object* object) {
  const LV2_Atom_URID* property = NULL;
  const LV2_Atom* value = NULL;
  self->said += 1;
  if (object->body.otype == self->get) {
    reportAll(self);
    return;
  }
  lv2_atom_object_get(object, self->property, (const LV2_Atom**)&property, self->value, &value, 0);
  if (object->body.otype != self->set || property == NULL || value == NULL) {
    return;
  }
  if (property->body == self->fileKey && value->type == self->path) {
    snprintf(self->file, sizeof self->file, "%s", (const char*)(value + 1));
    self->amount = 2;
    reportAmount(self);
  } else if (property->body == self->amountKey && value->type == self->forge.Float) {
    self->amount = *(const float*)(value + 1);
  } else if (property->body == self->stepsKey && value->type == self->forge.Int) {
    self->steps = *(const int32_t*)(value + 1);
  } else if (property->body == self->onKey && value->type == self->forge.Bool) {
    self->on = *(const int32_t*)(value + 1);
  } else if (property->body == self->wordsKey && value->type == self->forge.String) {
    snprintf(self->words, sizeof self->words, "%s", (const char*)(value + 1));
  } else if (property->body == self->kindKey && value->type == self->forge.URID) {
    self->kind = *(const LV2_URID*)(value + 1);
  } else if (property->body == self->seedKey && value->type == self->forge.Float) {
    self->seed = *(const float*)(value + 1);
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Patched* self = zoo->extra;
  LV2_Atom_Sequence* const out = zoo->ports[4];
  lv2_atom_forge_set_buffer(&self->forge, zoo->ports[4], out->atom.size);
  LV2_Atom_Forge_Frame sequence;
  lv2_atom_forge_sequence_head(&self->forge, &sequence, 0);
  LV2_ATOM_SEQUENCE_FOREACH((const LV2_Atom_Sequence*)zoo->ports[3], event) {
    if (lv2_atom_forge_is_object_type(&self->forge, event->body.type)) {
      take(self, (const LV2_Atom_Object*)&event->body);
    }
  }
  lv2_atom_forge_pop(&self->forge, &sequence);
  const float factor = self->on != 0 ? self->amount * *(const float*)zoo->ports[5] : 0.0F;
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 1)[frame] = factor * zooAudio(zoo, 0)[frame];
  }
}

static LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t flags,
                             const LV2_Feature* const* features) {
  (void)flags;
  const Zoo* zoo = handle;
  const Patched* self = zoo->extra;
  const LV2_State_Map_Path* mapPath = zooFeature(features, LV2_STATE__mapPath);
  const LV2_State_Free_Path* freePath = zooFeature(features, LV2_STATE__freePath);
  if (self->file[0] != '\0') {
    char* abstract = mapPath->abstract_path(mapPath->handle, self->file);
    store(state, self->fileKey, abstract, strlen(abstract) + 1, self->path, LV2_STATE_IS_POD);
    freePath->free_path(freePath->handle, abstract);
  }
  store(state, self->wordsKey, self->words, strlen(self->words) + 1, self->forge.String,
        LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
  return store(state, self->amountKey, &self->amount, sizeof self->amount, self->forge.Float,
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

static LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                                uint32_t flags, const LV2_Feature* const* features) {
  (void)flags;
  Zoo* zoo = handle;
  Patched* self = zoo->extra;
  const LV2_State_Map_Path* mapPath = zooFeature(features, LV2_STATE__mapPath);
  size_t size = 0;
  uint32_t type = 0;
  uint32_t valueFlags = 0;
  const float* amount = retrieve(state, self->amountKey, &size, &type, &valueFlags);
  self->amount = amount != NULL ? *amount : 1;
  const char* words = retrieve(state, self->wordsKey, &size, &type, &valueFlags);
  snprintf(self->words, sizeof self->words, "%s", words != NULL ? words : "");
  const char* abstract = retrieve(state, self->fileKey, &size, &type, &valueFlags);
  self->file[0] = '\0';
  if (abstract != NULL) {
    char* path = mapPath->absolute_path(mapPath->handle, abstract);
    snprintf(self->file, sizeof self->file, "%s", path);
    free(path);
  }
  return LV2_STATE_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_State_Interface interface = {save, restore};
  return strcmp(uri, LV2_STATE__interface) == 0 ? &interface : NULL;
}

ZOO_PLUGIN(make, run, NULL, extension)
