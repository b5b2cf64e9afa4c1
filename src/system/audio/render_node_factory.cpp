// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_node_factory.h"

#include <utility>

#include "system/audio/mixer_node.h"
#include "system/audio/player_feeder.h"
#include "system/audio/player_node.h"
#include "system/audio/render_engine.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio {

RenderNodeFactory::RenderNodeFactory(std::shared_ptr<OutputDevice> device, std::shared_ptr<RenderCounters> counters,
                                     std::shared_ptr<AudioConverterFactory> converters)
    : device_(std::move(device)),
      counters_(std::move(counters)),
      converters_(std::move(converters)),
      feeder_(std::make_shared<PlayerFeeder>()) {}

std::unique_ptr<AVAudioEngine> RenderNodeFactory::makeEngine() {
  return std::make_unique<RenderEngine>(device_, counters_);
}

std::shared_ptr<AVAudioMixerNode> RenderNodeFactory::makeMixerNode() {
  return std::make_shared<MixerNode>();
}

std::shared_ptr<AVAudioUnitReverb> RenderNodeFactory::makeReverbNode() {
  return std::make_shared<ReverbNode>();
}

std::shared_ptr<AVAudioPlayerNode> RenderNodeFactory::makePlayerNode() {
  if (device_->isRealTime() && feeder_->startThread()) {
    RenderCounters::add(counters_->refusedNodes);  // it will only play what is read when it starts
  }
  return std::make_shared<PlayerNode>(feeder_, converters_, counters_);
}

}  // namespace vrel::audio
