// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:rebel-kind"
#include "support/zoo/zoo.h"

#include <lv2/state/state.h>
#include <lv2/worker/worker.h>
#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

// Plays a constant: the velocity of the last key from 32 up, in 1/128; its state is that velocity. A key
// below 32 is a fault in the run that gets it (see `misbehave`). The variants hang, in an endless loop,
// where their name says; the slow one takes VREL_ZOO_SECONDS, or 0.3 s, to instantiate.

enum Fault {
  hangForever = 1,
  writeToNothing = 2,
  leaveTheProgram = 3,
  writeBehindTheBuffer = 4,
  writeBeforeTheBuffer = 5,
  notANumber = 6,
  infinite = 7,
  denormal = 8,
  sleepTwoBlocks = 9,
  sleepLong = 10,
  askForTooMuchWork = 11,
  workHard = 12,  // from now on, in every run
  startDaemon = 13,
  allocateWithoutEnd = 14,  // the level is then how many GiB there were
  printMuch = 15,
};

static void hang(void) {
  for (;;) {
    __asm__ volatile("" ::: "memory");
  }
}

static void sleepSeconds(double seconds) {
  struct timespec rest = {(time_t)seconds, (long)((seconds - floor(seconds)) * 1e9)};
  while (nanosleep(&rest, &rest) != 0) {
  }
}

typedef struct {
  const LV2_Worker_Schedule* schedule;
  const LV2_Descriptor* descriptor;
  uint32_t fault;  // of this run
  bool isHardWorking;
  double sum;  // so that the work is not optimised away
  _Atomic uint32_t level;
} Rebel;

static bool is(const LV2_Descriptor* descriptor, const char* name) {
  return strcmp(descriptor->URI + strlen("urn:vrel:zoo:rebel-"), name) == 0;
}

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)bundle;
  if (is(descriptor, "hang-instantiate")) {
    hang();
  }
  if (is(descriptor, "slow-instantiate")) {
    const char* seconds = getenv("VREL_ZOO_SECONDS");
    sleepSeconds(seconds != NULL ? atof(seconds) : 0.3);
  }
  Zoo* zoo = zooMake(rate, features);
  Rebel* rebel = calloc(1, sizeof(Rebel));
  rebel->schedule = zooFeature(features, LV2_WORKER__schedule);
  rebel->descriptor = descriptor;
  zoo->extra = rebel;
  return zoo;
}

static void cleanup(LV2_Handle handle) {
  if (is(((Rebel*)((Zoo*)handle)->extra)->descriptor, "hang-cleanup")) {
    hang();
  }
  zooCleanup(handle);
}

/// A process that has left the session, the group and its parent.
static void startADaemon(void) {
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    if (fork() != 0) {
      _exit(0);
    }
    for (;;) {
      pause();
    }
  }
  waitpid(child, NULL, 0);
}

/// Takes what it can get without touching it; returns how many GiB that was. All addresses are some 131,072.
static uint32_t allocateAll(void) {
  uint32_t count = 0;
  for (void* volatile block = NULL; (block = malloc((size_t)1 << 30)) != NULL;) {
    ++count;
  }
  return count;
}

static void misbehave(Zoo* zoo, uint32_t frames) {
  const Rebel* rebel = zoo->extra;
  static char load[8 << 20];
  static int* volatile nothing = NULL;
  float* const left = zooAudio(zoo, 1);
  switch (rebel->fault) {
    case hangForever:
      hang();
      break;
    case writeToNothing:
      *nothing = 1;
      break;
    case leaveTheProgram:
      _exit(3);
    case writeBehindTheBuffer:
      *(volatile float*)(left + 1024) = 1.0F;
      break;
    case writeBeforeTheBuffer:
      *(volatile float*)(left - 1) = 1.0F;
      break;
    case notANumber:
      left[frames / 2] = NAN;
      break;
    case infinite:
      left[frames / 2] = -INFINITY;
      break;
    case denormal:
      zooFill(zoo, 1, frames, 1e-40F);
      break;
    case sleepTwoBlocks:
      sleepSeconds(2.0 * frames / zoo->rate);
      break;
    case sleepLong:
      sleepSeconds(0.5);
      break;
    case startDaemon:
      startADaemon();
      break;
    case printMuch:
      for (int line = 0; line < 20000; ++line) {
        fprintf(stderr, "the rebel prints, and prints, and prints, and prints\n");
      }
      break;
    case askForTooMuchWork:
      rebel->schedule->schedule_work(rebel->schedule->handle, sizeof load, load);
      break;
    default:
      break;
  }
}

static void workHardFor(Rebel* rebel, uint32_t frames) {
  for (uint32_t step = 0; step < 100 * frames; ++step) {
    rebel->sum += sin(rebel->sum + (double)step);
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  Rebel* rebel = zoo->extra;
  rebel->fault = 0;
  ZOO_FOREACH_MIDI(zoo, 0) {
    if (zooIsNoteOn(bytes) && bytes[1] < 32) {
      rebel->fault = bytes[1];
      rebel->isHardWorking = rebel->isHardWorking || bytes[1] == workHard;
      rebel->level = bytes[1] == allocateWithoutEnd ? allocateAll() : rebel->level;
    } else if (zooIsNoteOn(bytes)) {
      rebel->level = bytes[2];
    }
  }
  zooFill(zoo, 1, frames, (float)rebel->level / 128.0F);
  zooFill(zoo, 2, frames, (float)rebel->level / 128.0F);
  misbehave(zoo, frames);
  if (rebel->isHardWorking) {
    workHardFor(rebel, frames);
  }
}

static LV2_URID urid(const Zoo* zoo, const char* uri) {
  return zoo->map->map(zoo->map->handle, uri);
}

static LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t flags,
                             const LV2_Feature* const* features) {
  (void)flags;
  (void)features;
  const Zoo* zoo = handle;
  const Rebel* rebel = zoo->extra;
  if (is(rebel->descriptor, "hang-save")) {
    hang();
  }
  const uint32_t level = rebel->level;
  return store(state, urid(zoo, ZOO_URI "#level"), &level, sizeof level, urid(zoo, LV2_ATOM__Int),
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

static LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                                uint32_t flags, const LV2_Feature* const* features) {
  (void)flags;
  (void)features;
  const Zoo* zoo = handle;
  Rebel* rebel = zoo->extra;
  if (is(rebel->descriptor, "hang-restore")) {
    hang();
  }
  size_t size = 0;
  uint32_t type = 0;
  uint32_t valueFlags = 0;
  const uint32_t* level = retrieve(state, urid(zoo, ZOO_URI "#level"), &size, &type, &valueFlags);
  if (level == NULL || size != sizeof *level) {
    return LV2_STATE_ERR_NO_PROPERTY;
  }
  rebel->level = *level;
  return LV2_STATE_SUCCESS;
}

static LV2_Worker_Status work(LV2_Handle handle, LV2_Worker_Respond_Function respond,
                              LV2_Worker_Respond_Handle respondHandle, uint32_t size, const void* data) {
  (void)handle;
  (void)respond;
  (void)respondHandle;
  (void)size;
  (void)data;
  return LV2_WORKER_SUCCESS;
}

static LV2_Worker_Status workResponse(LV2_Handle handle, uint32_t size, const void* data) {
  (void)handle;
  (void)size;
  (void)data;
  return LV2_WORKER_SUCCESS;
}

static const void* extension(const char* uri) {
  static const LV2_State_Interface state = {save, restore};
  static const LV2_Worker_Interface worker = {work, workResponse, NULL};
  if (strcmp(uri, LV2_STATE__interface) == 0) {
    return &state;
  }
  return strcmp(uri, LV2_WORKER__interface) == 0 ? &worker : NULL;
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
#define REBEL(name) \
  { "urn:vrel:zoo:rebel-" name, instantiate, zooConnect, NULL, run, NULL, cleanup, extension }
  static const LV2_Descriptor descriptors[] = {
      REBEL("kind"),         REBEL("hang-instantiate"), REBEL("hang-save"),
      REBEL("hang-restore"), REBEL("hang-cleanup"),     REBEL("slow-instantiate"),
  };
#undef REBEL
  return index < sizeof descriptors / sizeof *descriptors ? &descriptors[index] : NULL;
}
