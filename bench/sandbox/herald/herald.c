// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <lv2/core/lv2.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

// A silent instrument that reports the time of its first block: nanoseconds of the monotonic clock, in the file that
// VREL_HERALD_FILE names.

typedef struct {
  float* outputs[2];
  bool isPlayed;
} Herald;

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)descriptor;
  (void)rate;
  (void)bundle;
  (void)features;
  return calloc(1, sizeof(Herald));
}

static void connect(LV2_Handle handle, uint32_t port, void* data) {
  if (port > 0) {
    ((Herald*)handle)->outputs[port - 1] = data;
  }
}

static void report(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const char* path = getenv("VREL_HERALD_FILE");
  const int file = path != NULL ? open(path, O_WRONLY | O_CREAT | O_APPEND, 0600) : -1;
  if (file >= 0) {
    dprintf(file, "%lld\n", (long long)now.tv_sec * 1000000000LL + now.tv_nsec);
    close(file);
  }
}

static void run(LV2_Handle handle, uint32_t frames) {
  Herald* herald = handle;
  if (!herald->isPlayed) {
    herald->isPlayed = true;
    report();
  }
  for (uint32_t frame = 0; frame < frames; ++frame) {
    herald->outputs[0][frame] = 0;
    herald->outputs[1][frame] = 0;
  }
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static const LV2_Descriptor descriptor = {"urn:vrel:bench:herald", instantiate, connect, NULL, run, NULL, free, NULL};
  return index == 0 ? &descriptor : NULL;
}
