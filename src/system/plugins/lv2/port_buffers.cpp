// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/port_buffers.h"

#include <lv2/atom/util.h>
#include <lv2/midi/midi.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

#include "system/audio/node_processor.h"

namespace vrel::lv2 {
namespace {

/// The indices of the audio ports of one direction and use, in the order of the stream's channels.
std::vector<std::size_t> audioPorts(const PluginDescription& description, bool isInput, AudioUse use) {
  std::vector<std::size_t> indices;
  for (std::size_t index = 0; index < description.ports.size(); ++index) {
    const PortDescription& port = description.ports[index];
    if (port.kind == PortKind::audio && port.isInput == isInput && port.use == use) {
      indices.push_back(index);
    }
  }
  std::stable_sort(indices.begin(), indices.end(), [&description](std::size_t one, std::size_t other) {
    return description.ports[one].channelRank < description.ports[other].channelRank;
  });
  return indices;
}

/// What the host says; none while the time is not known.
std::optional<double> valueOf(HostControl control, const MusicalTime& time, bool isFreeWheeling) {
  switch (control) {
    case HostControl::freeWheeling:
      return isFreeWheeling ? 1 : 0;
    case HostControl::enabled:
      return 1;
    default:
      break;
  }
  if (time.isKnown == 0) {
    return std::nullopt;
  }
  switch (control) {
    case HostControl::speed:
      return time.isMoving != 0 ? 1 : 0;
    case HostControl::frame:
      return time.samplePosition;
    case HostControl::bar:
      return time.barStartBeat / time.beatsPerBar;
    case HostControl::barBeat:
      return time.beat - time.barStartBeat;
    case HostControl::beat:
      return time.beat;
    case HostControl::beatUnit:
      return static_cast<double>(time.beatUnit);
    case HostControl::beatsPerBar:
      return time.beatsPerBar;
    case HostControl::beatsPerMinute:
      return time.tempoBpm;
    default:
      return std::nullopt;
  }
}

}  // namespace

PortBuffers::PortBuffers(const PluginDescription& description, double sampleRate, UridMap& urids, bool isGuarded)
    : isGuarded_(isGuarded),
      locations_(description.ports.size()),
      controls_(description.ports.size()),
      bounds_(description.ports.size()),
      timeForge_(urids),
      sequenceType_(urids.map(LV2_ATOM__Sequence)),
      chunkType_(urids.map(LV2_ATOM__Chunk)),
      midiType_(urids.map(LV2_MIDI__MidiEvent)) {
  makeAudio(description);
  makeCv(description);
  for (std::uint32_t index = 0; index < description.ports.size(); ++index) {
    const PortDescription& port = description.ports[index];
    if (port.kind == PortKind::control) {
      makeControl(port, index, sampleRate);
    } else if (port.kind == PortKind::atom) {
      makeAtom(port, index);
    }
  }
  beginBlock();
}

void* PortBuffers::takeMemory(std::size_t bytes) {
  if (isGuarded_) {
    return guarded_.emplace_back(bytes).data();
  }
  const std::size_t wordCount = (bytes + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t);
  return plain_.emplace_back(std::make_unique<Words>(wordCount))->data();
}

void PortBuffers::makeAudio(const PluginDescription& description) {
  // What finds no room among the channels of a stream is spare, and left unconnected where it may be.
  const auto make = [&](bool isInput, AudioUse use, std::vector<float*>* list, std::vector<float*>* spare) {
    for (const std::size_t index : audioPorts(description, isInput, use)) {
      const bool isSpare = list == nullptr || list->size() >= audio::maximumStreamChannels;
      if (isSpare && description.ports[index].isOptional) {
        continue;
      }
      auto* const samples = static_cast<float*>(takeMemory(audio::maximumBlockFrames * sizeof(float)));
      locations_[index] = samples;
      if (std::vector<float*>* const kept = isSpare ? spare : list) {
        kept->push_back(samples);
      }
    }
  };
  make(true, AudioUse::main, &mainInputs_, &spareInputs_);
  make(true, AudioUse::spare, mainInputs_.empty() ? &mainInputs_ : nullptr, &spareInputs_);
  make(true, AudioUse::sideChain, &sideChainInputs_, &spareInputs_);
  for (const AudioUse use : {AudioUse::main, AudioUse::sideChain, AudioUse::spare}) {
    make(false, use, use == AudioUse::main || audioOutputs_.empty() ? &audioOutputs_ : nullptr, nullptr);
  }
}

void PortBuffers::makeCv(const PluginDescription& description) {
  for (std::size_t index = 0; index < description.ports.size(); ++index) {
    const PortDescription& port = description.ports[index];
    if (port.kind == PortKind::cv && !port.isOptional) {
      locations_[index] = takeMemory(audio::maximumBlockFrames * sizeof(float));
    }
  }
}

void PortBuffers::makeControl(const PortDescription& port, std::uint32_t index, double sampleRate) {
  const auto scale = port.scalesWithRate ? static_cast<float>(sampleRate) : 1.0F;
  constexpr float unbounded = std::numeric_limits<float>::max();
  float minimum = std::isfinite(port.minimum) ? port.minimum * scale : -unbounded;
  float maximum = std::isfinite(port.maximum) ? port.maximum * scale : unbounded;
  if (minimum > maximum) {  // data that contradicts itself bounds nothing
    minimum = -unbounded;
    maximum = unbounded;
  }
  bounds_[index] = {minimum, maximum};
  const float fallback = minimum > -unbounded ? minimum : 0.0F;
  setControl(index, std::isfinite(port.defaultValue) ? port.defaultValue : fallback);
  if (port.hostControl != HostControl::none) {
    hostControls_.push_back({index, port.hostControl});
  }
  locations_[index] = &controls_[index];
  controlPorts_.push_back(index);
}

void PortBuffers::makeAtom(const PortDescription& port, std::uint32_t index) {
  auto atom = std::make_unique<AtomPort>();
  const std::uint32_t bytes = std::clamp(port.minimumBytes, sequenceBytes, maximumAtomBytes);
  atom->wordCount = (bytes + static_cast<std::uint32_t>(sizeof(std::uint64_t)) - 1) / sizeof(std::uint64_t);
  atom->words = static_cast<std::uint64_t*>(takeMemory(atom->bytes()));
  atom->index = index;
  atom->isInput = port.isInput;
  if (port.takesMidi && (midiInput_ == nullptr || (port.isDesignated && !midiIsDesignated_))) {
    midiInput_ = atom.get();
    midiIsDesignated_ = port.isDesignated;
  }
  if (port.takesTime && timeInput_ == nullptr) {
    timeInput_ = atom.get();
  }
  locations_[index] = atom->words;
  atoms_.push_back(std::move(atom));
}

void PortBuffers::beginBlock() noexcept {
  for (const auto& atom : atoms_) {
    LV2_Atom_Sequence& sequence = *atom->sequence();
    if (atom->isInput) {
      sequence.atom = {sizeof(LV2_Atom_Sequence_Body), sequenceType_};
      sequence.body = {0, 0};
      atom->lastFrame = 0;
    } else {
      sequence.atom = {atom->bytes() - static_cast<std::uint32_t>(sizeof(LV2_Atom)), chunkType_};
    }
  }
}

bool PortBuffers::appendMidi(const MidiRecord& record) noexcept {
  const std::uint32_t size = midiMessageBytes(record.bytes[0]);
  return midiInput_ == nullptr || size == 0 ||
         append(*midiInput_, record.frame, {size, midiType_}, record.bytes.data());
}

bool PortBuffers::appendAtom(std::uint32_t index, std::span<const std::uint8_t> atom) noexcept {
  LV2_Atom head{};
  const auto found = std::find_if(atoms_.begin(), atoms_.end(),
                                  [index](const auto& port) { return port->isInput && port->index == index; });
  if (found == atoms_.end() || atom.size() < sizeof head) {
    return false;
  }
  std::memcpy(&head, atom.data(), sizeof head);
  return head.size == atom.size() - sizeof head && append(**found, 0, head, atom.data() + sizeof head);
}

bool PortBuffers::append(AtomPort& port, std::uint32_t frame, const LV2_Atom& head, const std::uint8_t* body) noexcept {
  LV2_Atom_Sequence& sequence = *port.sequence();
  const std::uint32_t used = static_cast<std::uint32_t>(sizeof(LV2_Atom)) + lv2_atom_pad_size(sequence.atom.size);
  const std::uint32_t needed = static_cast<std::uint32_t>(sizeof(LV2_Atom_Event)) + lv2_atom_pad_size(head.size);
  if (head.size > port.bytes() || needed > port.bytes() - used) {
    return false;
  }
  port.lastFrame = std::max(port.lastFrame, frame);
  auto* place = reinterpret_cast<std::byte*>(&sequence) + used;
  LV2_Atom_Event event{};
  event.time.frames = port.lastFrame;
  event.body = head;
  std::memcpy(place, &event, sizeof event);
  std::memcpy(place + sizeof event, body, head.size);
  sequence.atom.size += needed;
  return true;
}

void PortBuffers::appendTime(const MusicalTime& time) noexcept {
  if (timeInput_ != nullptr) {
    LV2_Atom_Sequence& sequence = *timeInput_->sequence();
    const std::uint32_t used = static_cast<std::uint32_t>(sizeof(LV2_Atom)) + lv2_atom_pad_size(sequence.atom.size);
    auto* const place = reinterpret_cast<std::uint8_t*>(&sequence) + used;
    sequence.atom.size += timeForge_.write(time, {place, timeInput_->bytes() - used});
  }
}

void PortBuffers::feedHostControls(const MusicalTime& time, bool isFreeWheeling) noexcept {
  for (const FedControl& fed : hostControls_) {
    if (const auto value = valueOf(fed.control, time, isFreeWheeling)) {
      setControl(fed.index, static_cast<float>(*value));
    }
  }
}

float PortBuffers::bounded(std::uint32_t index, float value) const noexcept {
  return std::clamp(value, bounds_[index].minimum, bounds_[index].maximum);
}

float PortBuffers::control(std::uint32_t index) const {
  if (table_ != nullptr && control_table::isWanted(*table_, index)) {
    return bounded(index, control_table::valueOf(*table_, index));
  }
  return std::atomic_ref(controls_[index]).load(std::memory_order_relaxed);
}

void PortBuffers::setControl(std::uint32_t index, float value) noexcept {
  if (std::isfinite(value)) {
    std::atomic_ref(controls_[index]).store(bounded(index, value), std::memory_order_relaxed);
  }
}

void PortBuffers::takeControlChanges() noexcept {
  if (table_ != nullptr) {
    control_table::takeChanges(*table_, [this](std::uint32_t index, float value) noexcept {
      if (index < controls_.size() && locations_[index] == &controls_[index]) {
        setControl(index, value);
        control_table::show(*table_, index, controls_[index]);
      }
    });
  }
}

void PortBuffers::forgetControlChanges() noexcept {
  if (table_ != nullptr) {
    control_table::forgetChanges(*table_);
  }
}

void PortBuffers::showControls() noexcept {
  if (table_ != nullptr) {
    for (const std::uint32_t index : controlPorts_) {
      control_table::show(*table_, index, controls_[index]);
    }
  }
}

}  // namespace vrel::lv2
