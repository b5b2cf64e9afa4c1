// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the zoo's inside offers to its editor.

#include <lv2/core/lv2.h>
#include <stdbool.h>

#define INSIDE_INTERFACE "urn:vrel:zoo:inside#interface"

typedef struct {
  bool (*isOwnThread)(LV2_Handle instance);  // whether the plug-in was made on the calling thread
} InsideInterface;
