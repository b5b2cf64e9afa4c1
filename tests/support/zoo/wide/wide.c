// SPDX-License-Identifier: GPL-3.0-or-later
#define ZOO_URI "urn:vrel:zoo:wide"
#include "support/zoo/zoo.h"

static void run(LV2_Handle handle, uint32_t frames) {
  Zoo* zoo = handle;
  for (uint32_t port = 0; port < 8; ++port) {
    zooFill(zoo, port, frames, (float)(port + 1) / 16.0F);
  }
}

ZOO_PLUGIN(zooMake, run, NULL, NULL)
