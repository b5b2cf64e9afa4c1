// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

#include "platform/audio_unit.h"
#include "system/plugins/lv2/host_settings.h"
#include "system/plugins/lv2/lv2_world.h"

namespace vrel::lv2 {

/// Makes nodes from installed plug-ins.
///
/// Both options are served in this process: nothing here gives a plug-in a process of its own, so one
/// that crashes takes the program with it, whichever option was asked for.
///
/// Threads: any. The work, and the handler, run on the world thread, in the order of the calls. A
/// handler is always called, once, also when the world closes meanwhile.
class Lv2UnitFactory final : public AudioUnitFactory {
 public:
  Lv2UnitFactory(std::shared_ptr<Lv2World> world, HostSettings settings);

  /// The rate at which later units are made, frames per second. A unit follows its graph in any case;
  /// made at the graph's rate it need not be made twice.
  void setSampleRate(double framesPerSecond) { sampleRate_ = framesPerSecond; }

  /// A node for any component; a music device comes as an AVAudioUnitMIDIInstrument by both ways.
  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override;
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override;

 private:
  std::shared_ptr<Lv2World> world_;
  HostSettings settings_;
  std::atomic<double> sampleRate_;
};

}  // namespace vrel::lv2
