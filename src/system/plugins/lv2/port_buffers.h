// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/atom.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "system/plugins/control_table.h"
#include "system/plugins/lv2/guarded_memory.h"
#include "system/plugins/lv2/plugin_description.h"
#include "system/plugins/lv2/time_position.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/midi_record.h"

namespace vrel::lv2 {

/// The memory behind a plug-in's ports, all of it made once.
///
/// Audio and CV ports have a buffer of the largest block each (CV is silent), controls a number, atom
/// ports as many bytes as the plug-in asks for. An optional port that the host has no use for is left
/// unconnected. Not thread-safe: it belongs to whoever holds the unit's gate.
///
/// The stream goes through the ports of the plug-in's main groups, or through all ports where there is no main
/// group, the left channel to the port that is designated left. Where the groups
/// claim none, it goes through the others.
class PortBuffers {
 public:
  /// What every atom port gets at least: the time and a full MidiRing fit, 24 bytes an event behind the head.
  static constexpr std::uint32_t sequenceBytes =
      sizeof(LV2_Atom_Sequence) + TimePositionForge::largestEvent + 24 * MidiRing::capacity;

  /// A plug-in that asks for more than this in one atom port gets this, bytes.
  static constexpr std::uint32_t maximumAtomBytes = 16U << 20U;

  /// With `isGuarded` every audio and atom port has a guarded piece of memory of its own.
  PortBuffers(const PluginDescription& description, double sampleRate, UridMap& urids, bool isGuarded = false);
  PortBuffers(const PortBuffers&) = delete;
  PortBuffers& operator=(const PortBuffers&) = delete;

  /// What port `index` is connected to; null where it is to stay unconnected.
  [[nodiscard]] void* location(std::uint32_t index) { return locations_[index]; }

  /// Empties the event inputs and gives the atom outputs their whole room back.
  void beginBlock() noexcept;

  /// Adds one event behind those already there, at its frame. False when there is no room. With
  /// no port that takes MIDI the event is done with.
  [[nodiscard]] bool appendMidi(const MidiRecord& record) noexcept;

  /// Adds an atom, head and body, as appendMidi, to the events of an atom input; false also for any other port.
  [[nodiscard]] bool appendAtom(std::uint32_t index, std::span<const std::uint8_t> atom) noexcept;

  /// Calls `take(index, atom)` for each event, head and body, that the plug-in has left in its atom outputs.
  template <typename Take>
  void forEachOutputAtom(Take take) const noexcept;
  [[nodiscard]] bool hasAtomPorts() const { return !atoms_.empty(); }

  /// Whether a port takes the time; and adds it, at the first frame. To be done before all other events.
  [[nodiscard]] bool takesTime() const { return timeInput_ != nullptr; }
  void appendTime(const MusicalTime& time) noexcept;

  /// Sets the control inputs that are the host's to say. What the time says only when it is known.
  void feedHostControls(const MusicalTime& time, bool isFreeWheeling) noexcept;
  [[nodiscard]] bool hasHostControls() const { return !hostControls_.empty(); }

  /// Buffers of maximumBlockFrames, of at most two channels each, left before right.
  [[nodiscard]] std::span<float* const> mainInputs() const { return mainInputs_; }
  [[nodiscard]] std::span<float* const> sideChainInputs() const { return sideChainInputs_; }
  [[nodiscard]] std::span<float* const> audioOutputs() const { return audioOutputs_; }

  /// Those of all other inputs, which are to be silent.
  [[nodiscard]] std::span<float* const> spareInputs() const { return spareInputs_; }

  /// The number on a control port, or the one that waits in the table to be set; any thread. Setting brings it inside
  /// the port's bounds; what is not a number changes nothing.
  [[nodiscard]] float control(std::uint32_t index) const;
  void setControl(std::uint32_t index, float value) noexcept;

  /// The controls are shown in this table from now on, and set from it. Borrowed.
  void useTable(ControlTable& table) { table_ = &table; }
  /// Both for who holds the gate; nothing without a table.
  void takeControlChanges() noexcept;
  void forgetControlChanges() noexcept;
  void showControls() noexcept;

 private:
  struct AtomPort {
    std::uint64_t* words = nullptr;  // so that atoms are aligned to eight bytes
    std::uint32_t wordCount = 0;
    std::uint32_t index = 0;
    bool isInput = false;
    std::uint32_t lastFrame = 0;  // of the events in this block; none goes back

    [[nodiscard]] LV2_Atom_Sequence* sequence() const { return reinterpret_cast<LV2_Atom_Sequence*>(words); }
    [[nodiscard]] std::uint32_t bytes() const { return wordCount * static_cast<std::uint32_t>(sizeof(std::uint64_t)); }
  };

  using Words = std::vector<std::uint64_t>;

  struct Bounds {
    float minimum;
    float maximum;
  };

  struct FedControl {
    std::uint32_t index;
    HostControl control;
  };

  [[nodiscard]] static bool append(AtomPort& port, std::uint32_t frame, const LV2_Atom& head,
                                   const std::uint8_t* body) noexcept;
  /// Memory for a port, all zero.
  [[nodiscard]] void* takeMemory(std::size_t bytes);
  void makeAudio(const PluginDescription& description);
  void makeCv(const PluginDescription& description);
  [[nodiscard]] float bounded(std::uint32_t index, float value) const noexcept;
  void makeControl(const PortDescription& port, std::uint32_t index, double sampleRate);
  void makeAtom(const PortDescription& port, std::uint32_t index);

  const bool isGuarded_;
  std::vector<GuardedMemory> guarded_;
  std::vector<std::unique_ptr<Words>> plain_;
  std::vector<void*> locations_;
  std::vector<float*> mainInputs_;
  std::vector<float*> sideChainInputs_;
  std::vector<float*> spareInputs_;
  std::vector<float*> audioOutputs_;
  mutable std::vector<float> controls_;  // accessed atomically; the plug-in reads them within its block
  std::vector<std::uint32_t> controlPorts_;
  ControlTable* table_ = nullptr;
  std::vector<Bounds> bounds_;
  std::vector<FedControl> hostControls_;
  std::vector<std::unique_ptr<AtomPort>> atoms_;
  AtomPort* midiInput_ = nullptr;
  bool midiIsDesignated_ = false;
  AtomPort* timeInput_ = nullptr;
  TimePositionForge timeForge_;
  LV2_URID sequenceType_;
  LV2_URID chunkType_;
  LV2_URID midiType_;
};

template <typename Take>
void PortBuffers::forEachOutputAtom(Take take) const noexcept {
  for (const auto& port : atoms_) {
    const LV2_Atom_Sequence& sequence = *port->sequence();
    if (port->isInput || sequence.atom.type != sequenceType_ || sequence.atom.size > port->bytes() - sizeof(LV2_Atom)) {
      continue;
    }
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(port->words);
    const std::size_t end = sizeof(LV2_Atom) + sequence.atom.size;
    std::size_t place = sizeof(LV2_Atom_Sequence);
    while (place + sizeof(LV2_Atom_Event) <= end) {
      const auto& event = *reinterpret_cast<const LV2_Atom_Event*>(bytes + place);
      if (event.body.size > end - place - sizeof event) {
        break;  // a damaged sequence
      }
      take(port->index, std::span(bytes + place + offsetof(LV2_Atom_Event, body), sizeof(LV2_Atom) + event.body.size));
      place += sizeof event + ((event.body.size + 7U) & ~std::size_t{7});
    }
  }
}

}  // namespace vrel::lv2
