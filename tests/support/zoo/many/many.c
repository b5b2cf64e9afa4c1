// SPDX-License-Identifier: GPL-3.0-or-later
// Mono through, times the first of its 1,005 controls; the others do nothing. Its data is written by CMake.
#include <lv2/core/lv2.h>
#include <stdint.h>
#include <stdlib.h>

enum { audioIn, audioOut, firstControl, portCount = firstControl + 1005 };

typedef struct {
  void* ports[portCount];
} Many;

static LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundle,
                              const LV2_Feature* const* features) {
  (void)descriptor;
  (void)rate;
  (void)bundle;
  (void)features;
  return calloc(1, sizeof(Many));
}

static void connect(LV2_Handle handle, uint32_t port, void* data) {
  ((Many*)handle)->ports[port] = data;
}

static void run(LV2_Handle handle, uint32_t frames) {
  const Many* many = handle;
  for (uint32_t frame = 0; frame < frames; ++frame) {
    ((float*)many->ports[audioOut])[frame] =
        *(const float*)many->ports[firstControl] * ((const float*)many->ports[audioIn])[frame];
  }
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static const LV2_Descriptor descriptor = {"urn:vrel:zoo:many", instantiate, connect, NULL, run, NULL, free, NULL};
  return index == 0 ? &descriptor : NULL;
}
