// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_node_factory.h"

#include "system/audio/mixer_node.h"
#include "system/audio/render_engine.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio {

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
  return nullptr;
}

}  // namespace vrel::audio
