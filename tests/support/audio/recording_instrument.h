// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/audio_unit.h"
#include "system/audio/graph_node.h"
#include "system/plugins/instrument_events.h"

namespace vrel::audio::test {

/// An event as a block has taken it.
struct TakenEvent {
  std::uint64_t frame;  // counted from the first block
  MidiMessage message;

  bool operator==(const TakenEvent&) const = default;
};

/// An instrument that plays silence and records what it gets, in memory that it has from the beginning.
class RecordingProcessor final : public NodeProcessor {
 public:
  static constexpr std::size_t mostEvents = 1U << 17U;

  RecordingProcessor() { taken_.reserve(mostEvents); }

  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t) const override { return 2; }
  void takeEvent(std::uint32_t frame, MidiMessage message) noexcept VREL_AUDIO_THREAD override {
    events_.route({{message.status, message.data1, message.data2}, static_cast<std::uint16_t>(frame)});
  }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    while (const MidiRecord* const record = events_.front()) {
      const auto [status, data1, data2] = record->bytes;
      if (taken_.size() < mostEvents) {
        taken_.push_back({frame_ + record->frame, {status, data1, data2}});
      }
      events_.pop();
    }
    events_.endBlock();
    frame_ += block.frameCount;
  }

  void send(MidiMessage message) { (void)events_.send({{message.status, message.data1, message.data2}}); }

  /// For when no block is under way.
  [[nodiscard]] std::vector<TakenEvent>& taken() { return taken_; }

 private:
  std::atomic<std::uint64_t> dropped_{0};
  InstrumentEvents events_{dropped_};
  std::vector<TakenEvent> taken_;
  std::uint64_t frame_ = 0;
};

class RecordingInstrument final : public GraphNodeOf<AVAudioUnitMIDIInstrument> {
 public:
  [[nodiscard]] AUAudioUnit& auAudioUnit() override { return core_; }
  void reset() override {}
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    processor_->send({status, data1, data2});
  }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) override { processor_->send({status, data1, 0}); }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

  [[nodiscard]] std::vector<TakenEvent>& taken() { return processor_->taken(); }

 private:
  class Core final : public AUAudioUnit {
   public:
    [[nodiscard]] std::optional<PropertyListDictionary> fullStateForDocument() override { return std::nullopt; }
    [[nodiscard]] std::optional<PropertyListDictionary> fullState() override { return std::nullopt; }
    void setFullStateForDocument(const PropertyListDictionary& /*state*/) override {}
  };

  Core core_;
  float volume_ = 1.0F;
  std::shared_ptr<RecordingProcessor> processor_ = std::make_shared<RecordingProcessor>();
};

}  // namespace vrel::audio::test
