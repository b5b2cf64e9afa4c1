// SPDX-License-Identifier: GPL-3.0-or-later
// fails: cannot call function 'allocate' while role 'audioThreadRole' is held
#include "foundation/thread_roles.h"

void allocate() VREL_NOT_AUDIO_THREAD;
void process() noexcept VREL_AUDIO_THREAD;

void process() noexcept {
  allocate();
}
