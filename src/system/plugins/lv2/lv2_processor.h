// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"
#include "system/audio/smoothed_gain.h"
#include "system/plugins/control_table.h"
#include "system/plugins/instrument_events.h"
#include "system/plugins/lv2/atom_exchange.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/state_snapshot.h"
#include "system/plugins/lv2/time_position.h"
#include "system/plugins/lv2/unit_gate.h"
#include "system/plugins/musical_time.h"

namespace vrel::lv2 {

/// The audio half of a plug-in unit.
///
/// Threads: `takeEvent` and `process` belong to the block; `sendEvent` and all else to the main thread. The plug-in
/// itself belongs to whoever holds the gate: a block that finds it
/// taken by the control half stays silent and is counted, and its events wait for the next one.
///
/// Another rate: a new copy of the plug-in is made with the state of the old one, on the world thread, which then puts
/// it in the place of the old one. Until then the blocks are silent and the events wait. Offline it is there at once.
class Lv2Processor final : public audio::NodeProcessor, public std::enable_shared_from_this<Lv2Processor> {
 public:
  Lv2Processor(std::shared_ptr<Lv2World> world, HostSettings settings, HostedPluginPointer plugin);

  /// For another rate the plug-in is recreated; see above. When that fails the old one stays and the plug-in's log says
  /// so.
  void prepare(double sampleRate) override VREL_NOT_AUDIO_THREAD;
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t inputChannelCount) const override;
  void takeEvent(std::uint32_t frame, MidiMessage message) noexcept override VREL_AUDIO_THREAD;
  void process(const audio::ProcessBlock& block) noexcept override VREL_AUDIO_THREAD;

  /// Hands one message to the next block; false when it is not a message or there is no room. Wait-free.
  bool sendEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);
  [[nodiscard]] std::uint64_t droppedEvents() const { return events_.dropped(); }

  /// Factor on the output, which the blocks follow smoothly. Not a number means silence.
  void setGain(float linearGain) { gain_.set(linearGain); }
  [[nodiscard]] float gain() const { return gain_.get(); }

  /// Atoms for and from an editor; made with the first call. One thread.
  [[nodiscard]] AtomExchange& atoms();
  /// Those that wait for a block are not delivered. While no block has the plug-in.
  void forgetAtoms();

  /// Where the plug-in's time comes from.
  [[nodiscard]] HostTimeBlocks& time() { return time_; }

  /// The controls of the plug-in, by port.
  [[nodiscard]] ControlTable& controls() { return *controls_; }
  /// Puts them into memory that is shared with another process. Before the first block.
  void shareControls(ControlTable& shared) VREL_NOT_AUDIO_THREAD;

  /// Forgets pending events and clears what sounds.
  void reset() VREL_NOT_AUDIO_THREAD;

  /// Runs `action` with the plug-in while no block has it. Fails when a block does not end.
  [[nodiscard]] Outcome withPlugin(const std::function<Outcome(HostedPlugin&)>& action) VREL_NOT_AUDIO_THREAD;

  /// Runs `action` with the plug-in beside the blocks: to save its state, or to write to its log.
  void besideBlocks(const std::function<void(HostedPlugin&)>& action) VREL_NOT_AUDIO_THREAD;

  [[nodiscard]] const PluginDescription& description() const { return *description_; }
  [[nodiscard]] const std::shared_ptr<Lv2World>& world() const { return world_; }

  /// Where the copies for other rates are made and end from now on; see HostSettings.
  void setPluginThread(SerialThread& thread) VREL_NOT_AUDIO_THREAD;

  /// Whether a copy for another rate is on its way.
  [[nodiscard]] bool isRecreating() const { return isRecreating_; }

  /// See Lv2World; at the graph's rate.
  void requestParameters(std::function<void(std::shared_ptr<const AUParameterTree>)> handler) VREL_NOT_AUDIO_THREAD;

 private:
  void passTime(std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;
  void render(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void takeEvents(std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;
  void fillInputs(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void writeOutputs(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;

  // Of a new copy for another rate. World thread.
  void recreate();
  [[nodiscard]] bool adopt(HostedPluginPointer& next, double sampleRate, const StateSnapshot& state,
                           std::uint64_t stateChanges);

  const std::shared_ptr<Lv2World> world_;
  const HostSettings settings_;
  const std::shared_ptr<PluginCounters> counters_;

  // Between the main thread and the world thread. Taken before the gate; never held while a plug-in is made.
  Mutex control_;
  double graphRate_ VREL_GUARDED_BY(control_) = 0;
  std::uint64_t stateChanges_ VREL_GUARDED_BY(control_) = 0;
  SerialThread* pluginThread_ VREL_GUARDED_BY(control_);

  // Between the main thread and the block.
  std::atomic<bool> isRecreating_{false};  // set on the main thread, cleared on the world's
  UnitGate gate_;
  InstrumentEvents events_{counters_->droppedEvents};
  audio::SmoothedGain gain_;
  HostTimeBlocks time_;

  std::unique_ptr<AtomExchange> ownAtoms_;
  std::atomic<AtomExchange*> atoms_{nullptr};  // what the block knows of them

  std::unique_ptr<ControlTable> ownControls_ = std::make_unique<ControlTable>();
  ControlTable* controls_ = ownControls_.get();

  const std::shared_ptr<const PluginDescription> description_;
  const std::uint32_t outputChannelCount_;

  // With the gate; the pointer itself changes with both the mutex and the gate.
  TransportChangeDetector transportChange_;
  HostedPluginPointer plugin_;
};

}  // namespace vrel::lv2
