// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:effectrebel"
#include "support/zoo/zoo.h"

// A stereo effect that halves. A block that begins with a sample of 1/128 to 31/128 is a fault in its run (see
// `Fault`); the variants have it as they are made.

enum Fault { hangForever = 1, writeToNothing = 2, leaveAsIfAllWereWell = 3, abortTheProgram = 4 };

static void misbehave(int fault) {
  static int* volatile nothing = NULL;
  switch (fault) {
    case hangForever:
      for (;;) {
        __asm__ volatile("" ::: "memory");
      }
    case writeToNothing:
      *nothing = 1;
      break;
    case leaveAsIfAllWereWell:
      exit(0);
    case abortTheProgram:
      abort();
    default:
      break;
  }
}

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)bundle;
  const char* name = descriptor->URI + strlen(ZOO_URI);
  misbehave(strcmp(name, "-hang") == 0    ? hangForever
            : strcmp(name, "-exit") == 0  ? leaveAsIfAllWereWell
            : strcmp(name, "-crash") == 0 ? writeToNothing
                                          : 0);
  return zooMake(rate, features);
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  if (frames > 0 && zooAudio(zoo, 0)[0] > 0.0F && zooAudio(zoo, 0)[0] < 0.25F) {
    misbehave((int)(zooAudio(zoo, 0)[0] * 128.0F));
  }
  for (uint32_t frame = 0; frame < frames; ++frame) {
    zooAudio(zoo, 2)[frame] = 0.5F * zooAudio(zoo, 0)[frame];
    zooAudio(zoo, 3)[frame] = 0.5F * zooAudio(zoo, 1)[frame];
  }
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
#define REBEL(name) \
  { ZOO_URI name, instantiate, zooConnect, NULL, run, NULL, zooCleanup, NULL }
  static const LV2_Descriptor descriptors[] = {REBEL(""), REBEL("-hang"), REBEL("-exit"), REBEL("-crash")};
#undef REBEL
  return index < sizeof descriptors / sizeof *descriptors ? &descriptors[index] : NULL;
}
