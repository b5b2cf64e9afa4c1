// SPDX-License-Identifier: GPL-3.0-or-later
#define _GNU_SOURCE  // NOLINT(readability-identifier-naming): the C library asks for this name
#define ZOO_URI "urn:vrel:zoo:shy"
#include "support/zoo/zoo.h"

#include <errno.h>

// Passes its input through, but instantiates only in a guest process.

static Zoo* make(double rate, const LV2_Feature* const* features) {
  return strcmp(program_invocation_short_name, "vrel-plugin-host") == 0 ? zooMake(rate, features) : NULL;
}

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  memcpy(zoo->ports[1], zoo->ports[0], frames * sizeof(float));
}

ZOO_PLUGIN(make, run, NULL, NULL)
