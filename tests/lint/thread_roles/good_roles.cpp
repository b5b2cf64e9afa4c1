// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/thread_roles.h"

namespace {

class Processor {
 public:
  virtual ~Processor() = default;
  virtual void prepare() VREL_NOT_AUDIO_THREAD = 0;
  virtual void process() noexcept VREL_AUDIO_THREAD = 0;
};

class Gain : public Processor {
 public:
  void prepare() VREL_NOT_AUDIO_THREAD override { factor_ = 0.5f; }
  void process() noexcept VREL_AUDIO_THREAD override { scale(); }

 private:
  void scale() noexcept VREL_AUDIO_THREAD { value_ *= factor_; }

  float factor_ = 1.0f;
  float value_ = 1.0f;
};

void setUp(Processor& processor) VREL_NOT_AUDIO_THREAD {
  processor.prepare();
}

void renderBlock(Processor& processor) {
  const vrel::AudioThreadScope block;
  processor.process();
}

}  // namespace

int main() {
  Gain gain;
  setUp(gain);
  renderBlock(gain);
  setUp(gain);
}
