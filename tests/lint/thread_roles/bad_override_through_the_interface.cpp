// SPDX-License-Identifier: GPL-3.0-or-later
// fails: calling function 'process' requires holding role 'audioThreadRole'
#include "foundation/thread_roles.h"

class Processor {
 public:
  virtual ~Processor() = default;
  virtual void process() noexcept VREL_AUDIO_THREAD = 0;
};

void preview(Processor& processor);

void preview(Processor& processor) {
  processor.process();
}
