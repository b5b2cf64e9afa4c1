// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:refuses"
#include "support/zoo/zoo.h"

static Zoo* make(double rate, const LV2_Feature* const* features) {
  (void)rate;
  (void)features;
  return NULL;
}

static void run(LV2_Handle handle, uint32_t frames) {
  zooFill(handle, 0, frames, 0);
}

ZOO_PLUGIN(make, run, NULL, NULL)
