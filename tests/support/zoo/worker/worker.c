// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:worker"
#include "support/zoo/zoo.h"

#include <lv2/worker/worker.h>

// Asks for work by its keys. Key 1 schedules a message far too long; any other key schedules its own
// number, which the worker doubles and sends back. Left: the sum of all answers, in 1/1024. Right: the
// status of the last scheduling, plus 10 for each end of a run that came without its run.

typedef struct {
  const LV2_Worker_Schedule* schedule;
  int status;
  bool hasRun;
  uint8_t tooLong[1 << 20];
} Work;

static Zoo* make(double rate, const LV2_Feature* const* features) {
  Zoo* zoo = zooMake(rate, features);
  Work* work = calloc(1, sizeof(Work));
  work->schedule = zooFeature(features, LV2_WORKER__schedule);
  zoo->extra = work;
  return zoo;
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Work* work = zoo->extra;
  ZOO_FOREACH_MIDI(zoo, 0) {
    if (zooIsNoteOn(bytes)) {
      const bool isLong = bytes[1] == 1;
      work->status = (int)work->schedule->schedule_work(work->schedule->handle, isLong ? sizeof work->tooLong : 1,
                                                        isLong ? work->tooLong : &bytes[1]);
    }
  }
  work->hasRun = true;
  zooFill(zoo, 1, frames, zoo->level);
  zooFill(zoo, 2, frames, (float)work->status);
}

static LV2_Worker_Status doWork(LV2_Handle handle, LV2_Worker_Respond_Function respond,
                                LV2_Worker_Respond_Handle respondHandle, uint32_t size, const void* data) {
  (void)handle;
  void* slow = malloc(100000);  // not allowed in a block
  free(slow);
  const int32_t answer = 2 * *(const uint8_t*)data;
  return size == 1 ? respond(respondHandle, sizeof answer, &answer) : LV2_WORKER_ERR_UNKNOWN;
}

static LV2_Worker_Status takeAnswer(LV2_Handle handle, uint32_t size, const void* data) {
  int32_t answer = 0;
  if (size == sizeof answer) {
    memcpy(&answer, data, sizeof answer);
  }
  ((Zoo*)handle)->level += (float)answer / 1024.0F;
  return LV2_WORKER_SUCCESS;
}

static LV2_Worker_Status endRun(LV2_Handle handle) {
  Work* work = ((Zoo*)handle)->extra;
  work->status += work->hasRun ? 0 : 10;
  work->hasRun = false;
  return LV2_WORKER_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_Worker_Interface interface = {doWork, takeAnswer, endRun};
  return strcmp(uri, LV2_WORKER__interface) == 0 ? &interface : NULL;
}

ZOO_PLUGIN(make, run, NULL, extension)
