// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:needy"
#include "support/zoo/zoo.h"

// Requires a feature that no host has; instantiated without it, it ends the program.

static Zoo* make(double rate, const LV2_Feature* const* features) {
  if (zooFeature(features, "urn:vrel:zoo:impossible") == NULL) {
    abort();
  }
  return zooMake(rate, features);
}

static void run(LV2_Handle handle, uint32_t frames) {
  zooFill(handle, 0, frames, 0);
}

ZOO_PLUGIN(make, run, NULL, NULL)
