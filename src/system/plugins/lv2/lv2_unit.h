// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/audio_unit.h"
#include "system/audio/graph_node.h"
#include "system/plugins/lv2/lv2_instance.h"
#include "system/plugins/observable_instrument.h"

namespace vrel::lv2 {

/// An effect or a generator as a node of the graph. Main thread.
class Lv2Unit final : public audio::GraphNodeOf<AVAudioUnit> {
 public:
  explicit Lv2Unit(std::shared_ptr<Lv2Processor> processor) : instance_(std::move(processor)) {}

  [[nodiscard]] AUAudioUnit& auAudioUnit() override { return instance_; }
  void reset() override { instance_.reset(); }
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return instance_.processor(); }

 private:
  Lv2Instance instance_;
};

/// An instrument as a node of the graph. Main thread; `sendMIDIEvent` is wait-free.
class Lv2Instrument final : public audio::GraphNodeOf<AVAudioUnitMIDIInstrument>, public ObservableInstrument {
 public:
  explicit Lv2Instrument(std::shared_ptr<Lv2Processor> processor) : instance_(std::move(processor)) {}

  [[nodiscard]] AUAudioUnit& auAudioUnit() override { return instance_; }
  void reset() override { instance_.reset(); }
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return instance_.processor(); }

  void setVolume(float linearGain) override { instance_.processor()->setGain(linearGain); }
  [[nodiscard]] float volume() const override { return instance_.processor()->gain(); }

  /// An event that is not a MIDI message (no status byte), or for which there is no room before the next
  /// block, goes nowhere and is not observed; the latter is counted.
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    if (instance_.processor()->sendEvent(status, data1, data2) && observer_) {
      observer_(status, data1, data2);
    }
  }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) override { sendMIDIEvent(status, data1, 0); }

  void setEventObserver(EventObserver observer) override { observer_ = std::move(observer); }
  [[nodiscard]] std::uint64_t droppedEvents() const override { return instance_.processor()->droppedEvents(); }

 private:
  Lv2Instance instance_;
  EventObserver observer_;
};

}  // namespace vrel::lv2
