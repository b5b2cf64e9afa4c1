// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "foundation/result.h"
#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"
#include "system/audio/smoothed_gain.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/time_position.h"
#include "system/plugins/lv2/unit_gate.h"
#include "system/plugins/midi_record.h"
#include "system/plugins/musical_time.h"

namespace vrel::lv2 {

/// The audio half of a plug-in unit.
///
/// Threads: `process` belongs to the block; `sendEvent` and all else to the main thread. The plug-in
/// itself, and taking events out of the ring, belong to whoever holds the gate: a block that finds it
/// taken by the control half stays silent and is counted, and its events wait for the next one.
class Lv2Processor final : public audio::NodeProcessor {
 public:
  Lv2Processor(std::shared_ptr<Lv2World> world, HostSettings settings, HostedPluginPointer plugin);

  /// For another rate the plug-in is recreated, with its state, on the world thread, and this waits for
  /// it. When that fails the old one stays and the plug-in's log says so.
  void prepare(double sampleRate) override VREL_NOT_AUDIO_THREAD;
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t inputChannelCount) const override;
  void process(const audio::ProcessBlock& block) noexcept override VREL_AUDIO_THREAD;

  /// Hands one message to the next block; false when it is not a message or there is no room. Wait-free.
  bool sendEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);

  /// Factor on the output, which the blocks follow smoothly. Not a number means silence.
  void setGain(float linearGain) { gain_.set(linearGain); }
  [[nodiscard]] float gain() const { return gain_.get(); }

  /// Where the plug-in's time comes from.
  [[nodiscard]] HostTimeBlocks& time() { return time_; }

  /// Forgets pending events and clears what sounds.
  void reset() VREL_NOT_AUDIO_THREAD;

  /// Runs `action` with the plug-in while no block has it. Fails when a block does not end.
  [[nodiscard]] Outcome withPlugin(const std::function<Outcome(HostedPlugin&)>& action) VREL_NOT_AUDIO_THREAD;

  /// The plug-in as it is, for what may happen beside a block: reading its description, saving.
  [[nodiscard]] HostedPlugin& plugin() { return *plugin_; }

 private:
  void passTime(std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;
  void takeEvents() noexcept VREL_AUDIO_THREAD;
  void fillInputs(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void writeOutputs(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] Result<HostedPluginPointer> recreated(double sampleRate);

  const std::shared_ptr<Lv2World> world_;
  const HostSettings settings_;
  const std::shared_ptr<PluginCounters> counters_;

  // Between the main thread and the block.
  UnitGate gate_;
  MidiRing events_;
  audio::SmoothedGain gain_;
  HostTimeBlocks time_;

  // With the gate.
  TransportChangeDetector transportChange_;
  HostedPluginPointer plugin_;
};

}  // namespace vrel::lv2
