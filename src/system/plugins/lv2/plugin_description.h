// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/audio_component.h"

namespace vrel::lv2 {

enum class PortKind { audio, control, cv, atom, unsupported };

/// What the host sets on a control input in each block, by the port's designation.
enum class HostControl : std::uint8_t {
  none,          // it is the plug-in's own
  freeWheeling,  // 1 in a render, where nobody waits
  enabled,       // 1
  speed,         // 1 while the transport moves
  frame,         // position in the music, as in MusicalTime
  bar,
  barBeat,
  beat,
  beatUnit,
  beatsPerBar,
  beatsPerMinute,
};

/// What an audio port carries. A side chain is what an effect measures beside its signal: a compressor's key, say.
enum class AudioUse { main, sideChain, spare };

/// Which channel an audio port is, in the order in which a stream's channels are given to ports; ports of equal rank
/// keep their order.
enum class AudioChannelRank { left, unnamed, right, surround };

/// What a plug-in's data says about one port.
struct PortDescription {
  std::string symbol;
  PortKind kind = PortKind::unsupported;
  bool isInput = false;
  bool isOptional = false;    // may be left unconnected
  bool takesMidi = false;     // an atom input that wants MIDI events
  bool takesTime = false;     // an atom input that wants the position in the music
  bool isDesignated = false;  // the control port of the plug-in
  HostControl hostControl = HostControl::none;
  bool scalesWithRate = false;  // a control whose bounds are multiples of the sample rate
  float defaultValue = 0;       // as given: may be NaN or out of bounds
  float minimum = 0;            // NaN where there is none
  float maximum = 0;
  std::uint32_t minimumBytes = 0;  // of an atom port; 0 where nothing is asked for
  AudioUse use = AudioUse::main;   // of an audio port
  AudioChannelRank channelRank = AudioChannelRank::unnamed;

  bool operator==(const PortDescription&) const = default;

  /// A control input that belongs to the plug-in's state.
  [[nodiscard]] bool isSetting() const {
    return kind == PortKind::control && isInput && hostControl == HostControl::none;
  }
};

/// What is known of a plug-in before it is opened. A plain copy: it outlives the library's objects.
struct PluginDescription {
  std::string uri;
  std::string name;
  std::string manufacturerName;
  std::string bundlePath;   // with a separator at its end
  std::string libraryPath;  // empty when the data names none
  AudioComponentDescription codes;
  bool isInstrumentClass = false;
  bool wantsDefaultState = false;  // its data holds a state to begin with
  std::vector<std::string> requiredFeatures;
  std::vector<PortDescription> ports;  // by index

  bool operator==(const PluginDescription&) const = default;

  [[nodiscard]] std::uint32_t countPorts(PortKind kind, bool isInput) const {
    std::uint32_t count = 0;
    for (const auto& port : ports) {
      count += port.kind == kind && port.isInput == isInput ? 1U : 0U;
    }
    return count;
  }
};

/// The component type of a plug-in with these ports and this class; 0 for one with no audio output,
/// which can be neither played nor inserted.
[[nodiscard]] std::uint32_t componentTypeOf(const PluginDescription& description);

/// The names shown when a plug-in's data has none: from the last part of the URI, and from its host.
[[nodiscard]] std::string nameFromUri(const std::string& uri);
[[nodiscard]] std::string manufacturerFromUri(const std::string& uri);

}  // namespace vrel::lv2
