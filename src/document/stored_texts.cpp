// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/stored_texts.h"

#include <array>
#include <cstddef>

namespace vrel {
namespace {

template <typename Case>
struct Stored {
  Case value;
  std::string_view text;
};

constexpr std::array<Stored<VisualTriggerMode>, 2> triggerModes = {{
    {VisualTriggerMode::hold, "hold"},
    {VisualTriggerMode::toggle, "toggle"},
}};

constexpr std::array<Stored<MidiControlKind>, 13> controlKinds = {{
    {MidiControlKind::panic, "panic"},
    {MidiControlKind::tapTempo, "tap_tempo"},
    {MidiControlKind::channelVolume, "channel_volume"},
    {MidiControlKind::channelGain, "channel_gain"},
    {MidiControlKind::channelReverb, "channel_reverb"},
    {MidiControlKind::channelMute, "channel_mute"},
    {MidiControlKind::channelSolo, "channel_solo"},
    {MidiControlKind::masterVolume, "master_volume"},
    {MidiControlKind::masterMute, "master_mute"},
    {MidiControlKind::performancePitchBend, "performance_pitch_bend"},
    {MidiControlKind::performanceModulation, "performance_modulation"},
    {MidiControlKind::performanceSustain, "performance_sustain"},
    {MidiControlKind::performanceExpression, "performance_expression"},
}};

template <typename Case, std::size_t count>
std::string_view textOf(const std::array<Stored<Case>, count>& table, Case value) {
  for (const auto& entry : table) {
    if (entry.value == value) {
      return entry.text;
    }
  }
  return {};
}

template <typename Case, std::size_t count>
std::optional<Case> caseOf(const std::array<Stored<Case>, count>& table, std::string_view text) {
  for (const auto& entry : table) {
    if (entry.text == text) {
      return entry.value;
    }
  }
  return std::nullopt;
}

}  // namespace

std::string_view storedText(VisualTriggerMode mode) {
  return textOf(triggerModes, mode);
}

std::string_view storedText(MidiControlKind kind) {
  return textOf(controlKinds, kind);
}

std::optional<VisualTriggerMode> visualTriggerMode(std::string_view text) {
  return caseOf(triggerModes, text);
}

std::optional<MidiControlKind> midiControlKind(std::string_view text) {
  return caseOf(controlKinds, text);
}

}  // namespace vrel
