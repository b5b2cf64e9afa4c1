// SPDX-License-Identifier: GPL-3.0-or-later
// fails: calling function 'process' requires holding role 'audioThreadRole'
#include "foundation/thread_roles.h"

void process() noexcept VREL_AUDIO_THREAD;
void renderBlock();

void renderBlock() {
  {
    const vrel::AudioThreadScope block;
    process();
  }
  process();
}
