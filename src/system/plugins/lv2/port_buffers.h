// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/atom.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "system/plugins/midi_record.h"
#include "system/plugins/lv2/plugin_description.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

/// The memory that a plug-in's ports stand on, all of it made once.
///
/// Audio and CV ports have a buffer of the largest block each (CV is silent), controls a number, atom
/// ports as many bytes as the plug-in asks for. An optional port that the host has no use for is left
/// unconnected. Not thread-safe: it belongs to whoever holds the unit's gate.
class PortBuffers {
 public:
  /// What every atom port gets at least: a full MidiRing fits, 24 bytes an event behind the head.
  static constexpr std::uint32_t sequenceBytes = sizeof(LV2_Atom_Sequence) + 24 * MidiRing::capacity;

  /// A plug-in that asks for more than this in one atom port gets this, bytes.
  static constexpr std::uint32_t maximumAtomBytes = 16U << 20U;

  PortBuffers(const PluginDescription& description, double sampleRate, UridMap& urids);
  PortBuffers(const PortBuffers&) = delete;
  PortBuffers& operator=(const PortBuffers&) = delete;

  /// What port `index` is connected to; null where it is to stay unconnected.
  [[nodiscard]] void* location(std::uint32_t index) { return locations_[index]; }

  /// Empties the event inputs and gives the atom outputs their whole room back.
  void beginBlock() noexcept;

  /// Adds one event at the first frame, behind those already there. False when there is no room. With
  /// no port that takes MIDI the event is done with.
  [[nodiscard]] bool appendMidi(const MidiRecord& record) noexcept;

  /// Buffers of maximumBlockFrames, in port order.
  [[nodiscard]] std::span<float* const> audioInputs() const { return audioInputs_; }
  [[nodiscard]] std::span<float* const> audioOutputs() const { return audioOutputs_; }

  /// The number on a control port. Setting brings it inside the port's bounds; what is not a number
  /// changes nothing.
  [[nodiscard]] float control(std::uint32_t index) const { return controls_[index]; }
  void setControl(std::uint32_t index, float value);

 private:
  struct AtomPort {
    std::vector<std::uint64_t> storage;  // of words, so that atoms stand on eight bytes
    bool isInput = false;

    [[nodiscard]] LV2_Atom_Sequence* sequence() { return reinterpret_cast<LV2_Atom_Sequence*>(storage.data()); }
    [[nodiscard]] std::uint32_t bytes() const {
      return static_cast<std::uint32_t>(storage.size() * sizeof(std::uint64_t));
    }
  };

  struct Bounds {
    float minimum;
    float maximum;
  };

  void makeAudio(const PluginDescription& description);
  void makeControl(const PortDescription& port, std::uint32_t index, double sampleRate);
  void makeAtom(const PortDescription& port, std::uint32_t index);

  std::vector<void*> locations_;
  std::vector<float> samples_;
  std::vector<float*> audioInputs_;
  std::vector<float*> audioOutputs_;
  std::vector<float> controls_;
  std::vector<Bounds> bounds_;
  std::vector<std::unique_ptr<AtomPort>> atoms_;
  AtomPort* midiInput_ = nullptr;
  bool midiIsDesignated_ = false;
  LV2_URID sequenceType_;
  LV2_URID chunkType_;
  LV2_URID midiType_;
};

}  // namespace vrel::lv2
