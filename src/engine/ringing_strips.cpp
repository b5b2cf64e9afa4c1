// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/ringing_strips.h"

#include <algorithm>
#include <utility>

#include "engine/strips.h"
#include "foundation/mutex.h"
#include "midi/strip_rules.h"
#include "platform/audio_node.h"
#include "platform/clock.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr double lookSeconds = 0.1;
constexpr double fadeStepSeconds = 0.01;  // levels follow in ramps of their own
constexpr double shortestWait = 0.001;    // what a timer rounds off must not be waited for again

// The meter's tap goes on as before; nobody else takes what it has caught.
float takePeak(AudioChannel& channel) {
  const MutexLock lock(channel.meterLock);
  const float left = std::exchange(channel.rawMeterPeakL, 0.0F);
  return std::max(left, std::exchange(channel.rawMeterPeakR, 0.0F));
}

}  // namespace

RingingStrips::RingingStrips(Collaborators collaborators)
    : strips_(collaborators.strips),
      mainQueue_(collaborators.mainQueue),
      clock_(collaborators.clock),
      takeDown_(std::move(collaborators.takeDown)) {}

bool RingingStrips::canRing(const AudioChannel& channel) {
  return hasPlayedInstrument(channel) && channel.meterNode.get() != nullptr &&
         channel.meterLevel.load(std::memory_order_relaxed) > 0;
}

void RingingStrips::begin(double seconds) {
  ++turn_;
  const double now = clock_.CACurrentMediaTime();
  endsAt_ = now + seconds;
  fadeSeconds_ = std::min(longestFade, seconds / 2);
  heardAt_.clear();
  for (const auto& channel : strips_.ringing) {
    heardAt_[channel->id] = now;
  }
  lookAgain(seconds);
}

void RingingStrips::end() {
  ++turn_;
  takeOut(Channels(strips_.ringing));
}

void RingingStrips::end(const std::shared_ptr<AudioChannel>& channel) {
  takeOut(Channels{channel});
}

void RingingStrips::takeOut(const Channels& gone) {
  if (gone.empty()) {
    return;
  }
  std::erase_if(strips_.ringing,
                [&gone](const auto& each) { return std::find(gone.begin(), gone.end(), each) != gone.end(); });
  takeDown_(gone);
}

void RingingStrips::lookAgain(double secondsLeft) {
  if (strips_.ringing.empty()) {
    return;
  }
  const double untilFade = secondsLeft - fadeSeconds_;
  const double seconds =
      untilFade > shortestWait ? std::min(lookSeconds, untilFade) : std::min(fadeStepSeconds, secondsLeft);
  mainQueue_.asyncAfter(seconds, [this, life = life_.watch(), turn = turn_] {
    if (life.isAlive() && turn == turn_) {
      look();
    }
  });
}

void RingingStrips::look() {
  const double secondsLeft = endsAt_ - clock_.CACurrentMediaTime();
  if (secondsLeft < shortestWait) {
    end();
    return;
  }
  endSilent();
  fade(secondsLeft);
  lookAgain(secondsLeft);
}

void RingingStrips::endSilent() {
  const double now = clock_.CACurrentMediaTime();
  Channels silent;
  for (const auto& channel : strips_.ringing) {
    double& heardAt = heardAt_[channel->id];
    if (takePeak(*channel) > silentLevel) {
      heardAt = now;
    } else if (now - heardAt >= silentSeconds) {
      silent.push_back(channel);
    }
  }
  takeOut(silent);
}

void RingingStrips::fade(double secondsLeft) {
  if (secondsLeft >= fadeSeconds_) {
    return;
  }
  for (const auto& channel : strips_.ringing) {
    const float level = channel->meterLevel.load(std::memory_order_relaxed);
    channel->meterNode.get()->setOutputVolume(level * static_cast<float>(secondsLeft / fadeSeconds_));
  }
}

}  // namespace vrel
