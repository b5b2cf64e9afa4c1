// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "document/setlist.h"

namespace vrel::window {

/// The controls that MIDI Learn ties to hardware, for QML.
namespace learn_kind {
Q_NAMESPACE
QML_NAMED_ELEMENT(LearnKind)
// NOLINTBEGIN(readability-identifier-naming) QML wants capitals
enum class Kind {
  None = -1,
  Panic = static_cast<int>(MidiControlKind::panic),
  TapTempo = static_cast<int>(MidiControlKind::tapTempo),
  ChannelVolume = static_cast<int>(MidiControlKind::channelVolume),
  ChannelGain = static_cast<int>(MidiControlKind::channelGain),
  ChannelReverb = static_cast<int>(MidiControlKind::channelReverb),
  ChannelMute = static_cast<int>(MidiControlKind::channelMute),
  ChannelSolo = static_cast<int>(MidiControlKind::channelSolo),
  MasterVolume = static_cast<int>(MidiControlKind::masterVolume),
  MasterMute = static_cast<int>(MidiControlKind::masterMute),
  PerformancePitchBend = static_cast<int>(MidiControlKind::performancePitchBend),
  PerformanceModulation = static_cast<int>(MidiControlKind::performanceModulation),
  PerformanceSustain = static_cast<int>(MidiControlKind::performanceSustain),
  PerformanceExpression = static_cast<int>(MidiControlKind::performanceExpression),
  NextSong = static_cast<int>(MidiControlKind::nextSong),
  PreviousSong = static_cast<int>(MidiControlKind::previousSong),
  NotesPosition = static_cast<int>(MidiControlKind::notesPosition),
};
// NOLINTEND(readability-identifier-naming)
Q_ENUM_NS(Kind)
}  // namespace learn_kind

}  // namespace vrel::window
