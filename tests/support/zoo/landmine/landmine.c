// SPDX-License-Identifier: GPL-3.0-or-later
#include <lv2/core/lv2.h>
#include <signal.h>
#include <stdlib.h>

// Ends the process that loads it, before any call; its bundle is a dynamic manifest, which asks the scan to load the
// library.

__attribute__((constructor)) static void stepOn(void) {
  raise(SIGKILL);
}

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  (void)index;
  return NULL;
}
