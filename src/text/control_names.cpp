// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/control_names.h"

#include <cstdint>

#include "document/note_name.h"
#include "text/hints.h"
#include "text/text.h"

namespace vrel {
namespace {

constexpr std::uint8_t controllerStatus = 0xB0;
constexpr std::uint8_t pitchBendStatus = 0xE0;

std::string controlName(MidiControlKind kind, Language language) {
  const auto words = [language](TextKey key) { return std::string(text(key, language)); };
  switch (kind) {
    case MidiControlKind::panic:
      return words(TextKey::panic);
    case MidiControlKind::tapTempo:
      return "TAP";
    case MidiControlKind::channelVolume:
      return words(TextKey::volume);
    case MidiControlKind::channelGain:
      return "Gain";
    case MidiControlKind::channelReverb:
      return "Reverb";
    case MidiControlKind::channelMute:
      return words(TextKey::mute);
    case MidiControlKind::channelSolo:
      return words(TextKey::solo);
    case MidiControlKind::masterVolume:
      return words(TextKey::volume) + " MASTER";
    case MidiControlKind::masterMute:
      return words(TextKey::mute) + " MASTER";
    case MidiControlKind::performancePitchBend:
      return "Pitch Bend";
    case MidiControlKind::performanceModulation:
      return "Modulation";
    case MidiControlKind::performanceSustain:
      return "Sustain";
    case MidiControlKind::performanceExpression:
      return "Expression";
    case MidiControlKind::projectionBlackout:
      return words(TextKey::projectionBlackout);
    case MidiControlKind::nextSong:
      return words(TextKey::nextSong);
    case MidiControlKind::previousSong:
      return words(TextKey::previousSong);
    case MidiControlKind::notesPosition:
      return std::string(hintText(Hint::largeNotesTitle, language));
  }
  return {};
}

}  // namespace

std::string controlTargetName(const MidiControlTarget& target, Language language) {
  const auto strip = target.channelIndex;
  return controlName(target.kind, language) + (strip ? " " + std::to_string(*strip + 1) : "");
}

std::string controlSourceName(const MidiControlBinding& binding) {
  const std::string control = binding.statusType == pitchBendStatus    ? "Pitch Bend"
                              : binding.statusType == controllerStatus ? "CC " + std::to_string(int{binding.number})
                                                                       : "Note " + noteName(binding.number);
  return control + ", MIDI " + std::to_string(int{binding.midiChannel} + 1);
}

}  // namespace vrel
