// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_processor.h"

#include <algorithm>
#include <span>
#include <utility>

#include "foundation/mutex.h"
#include "system/audio/finite_guard.h"
#include "system/plugins/lv2/plugin_state.h"

namespace vrel::lv2 {
namespace {

/// Gives the channels of `source` to `inputs`: one input gets both mixed, two get one channel each or the same one, and
/// without a source all are silent.
void spread(const audio::Stream& source, std::span<float* const> inputs, std::uint32_t frameCount) noexcept {
  const bool isMixedDown = inputs.size() == 1 && source.channelCount > 1;
  for (std::size_t index = 0; index < inputs.size(); ++index) {
    float* const input = inputs[index];
    if (source.channelCount == 0) {
      std::fill_n(input, frameCount, 0.0F);
    } else if (isMixedDown) {
      for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
        input[frame] = 0.5F * (source.channels[0][frame] + source.channels[1][frame]);
      }
    } else {
      std::copy_n(source.channels[index < source.channelCount ? index : 0], frameCount, input);
    }
  }
}

/// What has been changed since the state was captured.
void keepSettings(const HostedPlugin& from, HostedPlugin& to) {
  const auto& ports = from.description().ports;
  for (std::uint32_t index = 0; index < ports.size(); ++index) {
    if (ports[index].isSetting()) {
      to.ports().setControl(index, from.ports().control(index));
    }
  }
}

}  // namespace

Lv2Processor::Lv2Processor(std::shared_ptr<Lv2World> world, HostSettings settings, HostedPluginPointer plugin)
    : world_(std::move(world)),
      settings_(std::move(settings)),
      counters_(settings_.counters),
      pluginThread_(settings_.pluginThread),
      description_(plugin->sharedDescription()),
      outputChannelCount_(static_cast<std::uint32_t>(plugin->ports().audioOutputs().size())),
      plugin_(std::move(plugin)) {
  plugin_->ports().useTable(*controls_);
  plugin_->ports().showControls();
}

void Lv2Processor::forgetAtoms() {
  if (ownAtoms_ != nullptr) {
    ownAtoms_->forget();
  }
}

AtomExchange& Lv2Processor::atoms() {
  if (ownAtoms_ == nullptr) {
    ownAtoms_ = std::make_unique<AtomExchange>();
    atoms_.store(ownAtoms_.get(), std::memory_order_release);
  }
  return *ownAtoms_;
}

void Lv2Processor::shareControls(ControlTable& shared) {
  plugin_->ports().useTable(shared);
  plugin_->ports().forgetControlChanges();  // those of the plug-in that had the memory before
  plugin_->ports().showControls();
  controls_ = &shared;
  ownControls_.reset();
}

void Lv2Processor::prepare(double sampleRate) {
  gain_.prepare(sampleRate);
  {
    const MutexLock lock(control_);
    if (std::exchange(graphRate_, sampleRate) == sampleRate || isRecreating_) {
      return;  // as it was; or on its way, and the way ends only at the graph's rate
    }
    isRecreating_ = plugin_->sampleRate() != sampleRate;
  }
  if (!isRecreating_) {
    return;
  }
  if (settings_.workerMode == WorkerMode::withinBlock) {
    world_->thread().runAndWait([this] { recreate(); });
  } else {
    world_->thread().post([weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        self->recreate();
      }
    });
  }
}

void Lv2Processor::recreate() {
  HostSettings settings = settings_;
  for (;;) {
    double sampleRate = 0;
    StateSnapshot state;
    std::uint64_t stateChanges = 0;
    {
      const MutexLock lock(control_);
      sampleRate = graphRate_;
      if (plugin_->sampleRate() == sampleRate) {
        isRecreating_ = false;
        return;
      }
      state = captureState(*plugin_);
      stateChanges = stateChanges_;
      settings.pluginThread = pluginThread_;
    }
    Result<HostedPluginPointer> next = HostedPlugin::make(world_, description_, settings, sampleRate);
    if (!next) {
      const MutexLock lock(control_);
      plugin_->log().write("stays at its old sample rate: " + next.error().description);
      isRecreating_ = false;
      return;
    }
    if (adopt(next.value(), sampleRate, state, stateChanges)) {
      return;
    }
  }
}

bool Lv2Processor::adopt(HostedPluginPointer& next, double sampleRate, const StateSnapshot& state,
                         std::uint64_t stateChanges) {
  Outcome failure = restoreState(*next, state);
  const MutexLock lock(control_);
  if (graphRate_ != sampleRate) {
    return false;
  }
  if (stateChanges_ != stateChanges) {
    failure = restoreState(*next, captureState(*plugin_));
  }
  if (failure) {
    next->log().write("lost its state at the new sample rate: " + failure->description);
  }
  {
    const ControlHold hold(gate_);
    if (hold) {
      keepSettings(*plugin_, *next);
      next->ports().useTable(*controls_);
      plugin_.swap(next);
      transportChange_.forget();
    }
  }
  isRecreating_ = false;
  return true;
}

void Lv2Processor::setPluginThread(SerialThread& thread) {
  const MutexLock lock(control_);
  pluginThread_ = &thread;
}

std::uint32_t Lv2Processor::outputChannelCount(std::uint32_t /*inputChannelCount*/) const {
  return std::min(outputChannelCount_, audio::maximumStreamChannels);
}

void Lv2Processor::process(const audio::ProcessBlock& block) noexcept {
  render(block);
  events_.endBlock();
}

void Lv2Processor::render(const audio::ProcessBlock& block) noexcept {
  if (isRecreating_ || !gate_.tryEnterBlock()) {
    counters_->skippedBlocks.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  plugin_->ports().beginBlock();
  plugin_->ports().takeControlChanges();
  passTime(block.frameCount);
  takeEvents(block.frameCount);
  AtomExchange* const atoms = atoms_.load(std::memory_order_acquire);
  if (atoms != nullptr) {
    atoms->deliver(plugin_->ports());
  }
  fillInputs(block);
  plugin_->run(block.frameCount);
  plugin_->ports().showControls();
  if (atoms != nullptr) {
    atoms->collect(plugin_->ports());
  }
  writeOutputs(block);
  gate_.leave();
}

void Lv2Processor::passTime(std::uint32_t frameCount) noexcept {
  PortBuffers& ports = plugin_->ports();
  if (!ports.takesTime() && !ports.hasHostControls()) {
    return;
  }
  const MusicalTime time = time_.read();
  // Where its slow work is done within the block, nobody waits for the block.
  ports.feedHostControls(time, settings_.workerMode == WorkerMode::withinBlock);
  if (ports.takesTime() && time.isKnown != 0 && transportChange_.hasChanged(time, frameCount, plugin_->sampleRate())) {
    ports.appendTime(time);
  }
}

void Lv2Processor::takeEvents(std::uint32_t frameCount) noexcept {
  while (const MidiRecord* const next = events_.front()) {
    MidiRecord record = *next;
    record.frame = static_cast<std::uint16_t>(std::min<std::uint32_t>(record.frame, frameCount - 1));
    if (!plugin_->ports().appendMidi(record)) {
      return;
    }
    events_.pop();
  }
}

void Lv2Processor::fillInputs(const audio::ProcessBlock& block) noexcept {
  const PortBuffers& ports = plugin_->ports();
  const audio::Stream source = block.inputs.empty() ? audio::Stream{} : block.inputs.front();
  spread(source, ports.mainInputs(), block.frameCount);
  // Nothing else leads into the strip. With its own signal as the key a compressor compresses and a gate opens, as
  // without a side chain; with silence neither would.
  spread(source, ports.sideChainInputs(), block.frameCount);
  spread({}, ports.spareInputs(), block.frameCount);
}

void Lv2Processor::writeOutputs(const audio::ProcessBlock& block) noexcept {
  const std::span<float* const> outputs = plugin_->ports().audioOutputs();
  for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
    const float* const output = outputs[std::min<std::size_t>(channel, outputs.size() - 1)];
    std::copy_n(output, block.frameCount, block.output.channels[channel]);
  }
  gain_.apply(block.output, block.frameCount);
  if (audio::silenceIfTooLarge(block.output, block.frameCount)) {
    counters_->silencedBlocks.fetch_add(1, std::memory_order_relaxed);
  }
}

bool Lv2Processor::sendEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  if (midiMessageBytes(status) == 0) {
    return false;
  }
  return events_.send({{status, data1, data2}});
}

void Lv2Processor::takeEvent(std::uint32_t frame, MidiMessage message) noexcept {
  if (midiMessageBytes(message.status) != 0) {
    events_.route({{message.status, message.data1, message.data2}, static_cast<std::uint16_t>(frame)});
  }
}

void Lv2Processor::reset() {
  events_.forget();
  const Outcome failure = withPlugin([this](HostedPlugin& plugin) -> Outcome {
    const MutexLock lock(plugin.worker().workMutex());
    plugin.reactivate();
    transportChange_.forget();
    return std::nullopt;
  });
  if (failure) {
    besideBlocks([&failure](HostedPlugin& plugin) { plugin.log().write(failure->description); });
  }
}

Outcome Lv2Processor::withPlugin(const std::function<Outcome(HostedPlugin&)>& action) {
  const MutexLock lock(control_);
  ++stateChanges_;
  const ControlHold hold(gate_);
  if (!hold) {
    return Error{"is stuck in run()"};
  }
  return action(*plugin_);
}

void Lv2Processor::requestParameters(std::function<void(std::shared_ptr<const AUParameterTree>)> handler) {
  double sampleRate = 0;
  {
    const MutexLock lock(control_);
    sampleRate = plugin_->sampleRate();
  }
  world_->requestParameters(description_->codes, sampleRate, std::move(handler));
}

void Lv2Processor::besideBlocks(const std::function<void(HostedPlugin&)>& action) {
  const MutexLock lock(control_);
  action(*plugin_);
}

}  // namespace vrel::lv2
