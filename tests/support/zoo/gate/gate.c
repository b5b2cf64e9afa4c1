// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:gate"
#include "support/zoo/zoo.h"

#include <time.h>
#include <unistd.h>

// Instantiation takes as long as the test wants: it waits for the file that VREL_ZOO_GATE names, at most 45 seconds.

static Zoo* make(double rate, const LV2_Feature* const* features) {
  const char* const gate = getenv("VREL_ZOO_GATE");
  const struct timespec moment = {0, 5000000};
  for (int turn = 0; turn < 9000 && gate != NULL && access(gate, F_OK) != 0; ++turn) {
    nanosleep(&moment, NULL);
  }
  return zooMake(rate, features);
}

static void run(LV2_Handle handle, uint32_t frames) {
  zooFill(handle, 0, frames, 0);
}

ZOO_PLUGIN(make, run, NULL, NULL)
