// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/strip_rules.h"

#include "channel/audio_channel.h"

namespace vrel {

InstrumentRules rulesOf(const AudioChannel& channel) {
  return {.minNote = channel.minNote.get(),
          .maxNote = channel.maxNote.get(),
          .transpose = channel.transpose.get(),
          .sendSustain = channel.sendSustain.get(),
          .sendExpression = channel.sendExpression.get(),
          .sustainControlsRotor = channel.sustainControlsRotor.get(),
          .isVisual = channel.pluginKind() == PluginPathKind::visual,
          .isRinging = channel.isRinging.get()};
}

bool hasPlayedInstrument(const AudioChannel& channel) {
  return channel.pluginKind() != PluginPathKind::empty && channel.midiInstrument() != nullptr;
}

}  // namespace vrel
