// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:generator"
#include "support/zoo/zoo.h"

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  zooFill(zoo, 0, frames, 0.25F);
  zooFill(zoo, 1, frames, -0.25F);
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
