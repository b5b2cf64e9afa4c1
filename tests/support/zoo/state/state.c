// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:state"
#include "support/zoo/zoo.h"

#include <lv2/state/state.h>
#include <stdio.h>
#include <unistd.h>

// Keeps two things beside its control: the number of the last key below 100, and a file of its own
// that holds the number of the last key from 100. Left gives the first, right what the file says, both
// in 1/128. After a restore the file is read in the next run, as sample players do it. A restored
// value of 13 is refused, 14 never comes to an end, and 15 ends the process. At a value of 98 its state is larger than
// 256 MiB.

typedef struct {
  _Atomic int32_t value;  // a host may save while it runs
  _Atomic int32_t content;
  char path[4096];  // empty when there is no file
  bool mustLoad;
  const LV2_State_Make_Path* makePath;
} Kept;

static Zoo* make(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = zooMake(rate, features);
  Kept* kept = calloc(1, sizeof(Kept));
  kept->makePath = zooFeature(features, LV2_STATE__makePath);
  zoo->extra = kept;
  return zoo;
}

static void writeFile(Kept* kept, uint8_t content) {
  char* path = kept->makePath->path(kept->makePath->handle, "samples/key.bin");
  FILE* file = path != NULL ? fopen(path, "wb") : NULL;
  if (file != NULL) {
    fputc(content, file);
    fclose(file);
    snprintf(kept->path, sizeof kept->path, "%s", path);
    kept->content = content;
  }
  free(path);
}

static void loadFile(Kept* kept) {
  FILE* file = fopen(kept->path, "rb");
  kept->content = file != NULL ? fgetc(file) : -1;
  if (file != NULL) {
    fclose(file);
  }
  kept->mustLoad = false;
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Kept* kept = zoo->extra;
  if (kept->mustLoad && frames == 0) {  // file access in a real block would be an error
    loadFile(kept);
  }
  ZOO_FOREACH_MIDI(zoo, 0) {
    if (zooIsNoteOn(bytes) && bytes[1] >= 100) {
      writeFile(kept, bytes[1]);
    } else if (zooIsNoteOn(bytes)) {
      kept->value = bytes[1];
    }
  }
  const float level = *(const float*)zoo->ports[3];
  zooFill(zoo, 1, frames, level * (float)kept->value / 128.0F);
  zooFill(zoo, 2, frames, level * (float)kept->content / 128.0F);
}

static LV2_URID urid(const Zoo* zoo, const char* uri) {
  return zoo->map->map(zoo->map->handle, uri);
}

static LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t flags,
                             const LV2_Feature* const* features) {
  (void)flags;
  const Zoo* zoo = handle;
  const Kept* kept = zoo->extra;
  const LV2_State_Map_Path* mapPath = zooFeature(features, LV2_STATE__mapPath);
  const LV2_State_Free_Path* freePath = zooFeature(features, LV2_STATE__freePath);
  const LV2_URID self = urid(zoo, ZOO_URI);
  store(state, urid(zoo, ZOO_URI "#self"), &self, sizeof self, urid(zoo, LV2_ATOM__URID),
        LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
  if (kept->path[0] != '\0') {
    char* abstract = mapPath->abstract_path(mapPath->handle, kept->path);
    store(state, urid(zoo, ZOO_URI "#file"), abstract, strlen(abstract) + 1, urid(zoo, LV2_ATOM__Path),
          LV2_STATE_IS_POD);
    freePath->free_path(freePath->handle, abstract);
  }
  const int32_t value = kept->value;
  if (value == 98) {
    const size_t size = (size_t)257 << 20U;
    void* zeros = calloc(size, 1);
    store(state, urid(zoo, ZOO_URI "#huge"), zeros, size, urid(zoo, LV2_ATOM__Chunk), LV2_STATE_IS_POD);
    free(zeros);
  }
  return store(state, urid(zoo, ZOO_URI "#value"), &value, sizeof value, urid(zoo, LV2_ATOM__Int),
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

static LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                                uint32_t flags, const LV2_Feature* const* features) {
  (void)flags;
  const Zoo* zoo = handle;
  Kept* kept = zoo->extra;
  const LV2_State_Map_Path* mapPath = zooFeature(features, LV2_STATE__mapPath);
  size_t size = 0;
  uint32_t type = 0;
  uint32_t valueFlags = 0;
  const int32_t* value = retrieve(state, urid(zoo, ZOO_URI "#value"), &size, &type, &valueFlags);
  if (value == NULL || size != sizeof *value || type != urid(zoo, LV2_ATOM__Int)) {
    return LV2_STATE_ERR_NO_PROPERTY;
  }
  kept->value = *value;  // set before the result, so that a test detects a host that keeps it
  if (*value == 13) {
    return LV2_STATE_ERR_UNKNOWN;
  }
  while (*value == 14) {
    pause();
  }
  if (*value == 15) {
    abort();
  }
  const LV2_URID* self = retrieve(state, urid(zoo, ZOO_URI "#self"), &size, &type, &valueFlags);
  if (self == NULL || *self != urid(zoo, ZOO_URI)) {
    return LV2_STATE_ERR_BAD_TYPE;
  }
  const char* abstract = retrieve(state, urid(zoo, ZOO_URI "#file"), &size, &type, &valueFlags);
  kept->path[0] = '\0';
  kept->content = 0;
  if (abstract != NULL) {
    char* path = mapPath->absolute_path(mapPath->handle, abstract);
    snprintf(kept->path, sizeof kept->path, "%s", path);
    free(path);
    kept->mustLoad = true;
  }
  return LV2_STATE_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_State_Interface interface = {save, restore};
  return strcmp(uri, LV2_STATE__interface) == 0 ? &interface : NULL;
}

ZOO_PLUGIN(make, run, NULL, extension)
