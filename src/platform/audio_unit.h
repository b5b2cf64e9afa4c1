// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "foundation/result.h"
#include "platform/audio_component.h"
#include "platform/audio_node.h"
#include "platform/audio_parameters.h"
#include "platform/host_callbacks.h"
#include "platform/plugin_editor.h"
#include "platform/property_list.h"

namespace vrel {

/// The plug-in inside a node. Main thread.
class AUAudioUnit {
 public:
  using ViewControllerHandler = std::function<void(std::shared_ptr<NSViewController>)>;

  using ParameterTreeHandler = std::function<void(std::shared_ptr<const AUParameterTree>)>;

  virtual ~AUAudioUnit() = default;

  /// Announces that `fullStateForDocument` is about to be read, so that several units can prepare theirs at once.
  virtual void requestFullStateForDocument() {}

  /// The state for a document, and the state of a preset; none where the plug-in has no such state.
  [[nodiscard]] virtual std::optional<PropertyListDictionary> fullStateForDocument() = 0;
  [[nodiscard]] virtual std::optional<PropertyListDictionary> fullState() = 0;

  /// Restores a state. One that the plug-in cannot read leaves it unchanged.
  virtual void setFullStateForDocument(const PropertyListDictionary& state) = 0;

  /// Where the plug-in gets musical time and transport from now on. Set before it is connected.
  virtual void setMusicalContextBlock(AUHostMusicalContextBlock /*block*/) {}
  virtual void setTransportStateBlock(AUHostTransportStateBlock /*block*/) {}

  /// Gives the plug-in's parameters, or null for a plug-in that is not known; once, on any thread.
  virtual void requestParameterTree(ParameterTreeHandler completionHandler) { completionHandler(nullptr); }

  /// What a parameter is, with what was set last, the plug-in's own changes and those by MIDI. Wait-free.
  [[nodiscard]] virtual float parameterValue(AUParameterAddress /*address*/) { return 0; }

  /// Sets a parameter from the next block on; the value is brought inside its bounds, and is part of the state at once.
  /// Wait-free; later values replace earlier ones.
  virtual void setParameterValue(AUParameterAddress /*address*/, float /*value*/) {}

  /// Gives the plug-in's own view, or none where it has none; once, on any thread, or never.
  virtual void requestViewController(ViewControllerHandler completionHandler) { completionHandler(nullptr); }
};

/// The low-level handle of a plug-in, for its host callbacks. Main thread.
class AudioUnitHandle {
 public:
  virtual ~AudioUnitHandle() = default;

  /// `AudioUnitSetProperty` with kAudioUnitProperty_HostCallbacks, global scope, element 0.
  [[nodiscard]] virtual OSStatus setHostCallbacks(const HostCallbackInfo& hostCallbackInfo) = 0;
};

/// A node that is a plug-in.
class AVAudioUnit : public AVAudioNode {
 public:
  [[nodiscard]] virtual AUAudioUnit& auAudioUnit() = 0;

  /// Null for a plug-in that has no low-level handle.
  [[nodiscard]] virtual AudioUnitHandle* audioUnit() { return nullptr; }

  /// Clears held notes, tails and delay lines. Settings stay.
  virtual void reset() = 0;

  /// Whether another strip may have it later; false once it has died or does not answer.
  [[nodiscard]] virtual bool isReusable() { return true; }
};

/// A plug-in that is played by MIDI.
class AVAudioUnitMIDIInstrument : public AVAudioUnit, public AVAudioMixing {
 public:
  /// Delivers one event in order and unchanged; the plug-in gets it with its next block. Wait-free, so
  /// it may be called for every message while audio runs. Main thread.
  virtual void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) = 0;

  /// The two-byte form; system messages of one byte give `data1` as 0.
  virtual void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) = 0;

  /// Events that found no room, since the node was made: blocks that are late leave them waiting.
  [[nodiscard]] virtual std::uint64_t droppedEvents() const { return 0; }
};

enum class AudioComponentInstantiationOptions : std::uint32_t {
  inProcess = 0,
  outOfProcess = 1,
};

/// Instantiates plug-in nodes, off the main thread.
class AudioUnitFactory {
 public:
  /// Receives a node, or an error, or neither. Called once, on any thread.
  using UnitHandler = std::function<void(std::shared_ptr<AVAudioUnit>, std::optional<Error>)>;

  virtual ~AudioUnitFactory() = default;

  /// `AVAudioUnit.instantiate(with:options:completionHandler:)`. Returns at once.
  virtual void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                           UnitHandler completionHandler) = 0;

  /// `AVAudioUnitMIDIInstrument.instantiate(...)`: the same for an instrument. The node may
  /// still not be an AVAudioUnitMIDIInstrument; the caller checks.
  virtual void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                         AudioComponentInstantiationOptions options, UnitHandler completionHandler) = 0;
};

}  // namespace vrel
