// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QString>

#include "channel/channel_status.h"
#include "console/status_words.h"
#include "console/window/learn_kind.h"
#include "console/window/menu_entry.h"
#include "console/window/view_model.h"

// All that QML reads, one view-model for each object of the logic. Types are named in full, for moc to find them. A
// property that no QML file reads fails the lint `view_models`; where the values come from is in console_mirror.cpp.

namespace vrel::window {

/// The setlist, its song on stage, and the state of the program.
class SessionViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = SessionViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(QString, fileName)  // empty before the first save
  VREL_SHOWN(bool, isDirty)
  VREL_SHOWN(int, selectedSongIndex)  // -1 for none
  VREL_SHOWN(QString, stageSong)      // its name; empty without one
  VREL_SHOWN(QString, nextSong)
  VREL_SHOWN(bool, isSwitching)
  VREL_SHOWN(QString, switchText)
  VREL_SHOWN(int, tempoBpm)
  VREL_SHOWN(QString, songNotes)
  VREL_SHOWN(int, keyboardStartNote)
  VREL_SHOWN(int, keyboardKeyCount)
  VREL_SHOWN(QString, midiPortName)
  VREL_SHOWN(bool, hasMidiPort)
  VREL_SHOWN(bool, isAudioOutputMissing)
  VREL_SHOWN(QString, awaitedAudioOutput)  // what the sound moves to when it appears; empty when any will do

  VREL_SHOWN(bool, isLoading)
  VREL_SHOWN(QString, loadingMessage)
  VREL_SHOWN(int, remainingLoads)
  VREL_SHOWN(int, totalLoads)
  VREL_SHOWN(double, loadingProgress)  // 0 to 1; below 0 without one
  VREL_SHOWN(bool, isLookingForPlugins)

  VREL_SHOWN(QString, problem)   // the last line of the log
  VREL_SHOWN(int, problemCount)  // how many there have been
  VREL_SHOWN(int, dropouts)      // blocks that were late or silent

  VREL_SHOWN(int, zoomPercent)
  VREL_SHOWN(bool, isKeyboardFolded)
  VREL_SHOWN(bool, isStageFolded)
  VREL_SHOWN(bool, isProjected)  // the projection is open

  VREL_SHOWN(double, collected)      // of the setlist, up to 1; 0 while none is collected
  VREL_SHOWN(bool, hasLargeNotes)    // they are shown
  VREL_SHOWN(double, notesPosition)  // as a learned control moved them: 0 at the top, 1 at the end
  VREL_SHOWN(int, notesTextSize)     // points
  VREL_SHOWN(QString, notesDisplay)  // the name of the screen for them; empty for the console

  VREL_SHOWN(bool, isLive)
  // What the mode allows now; see live_mode_policy.h.
  VREL_SHOWN(bool, mayRenameSong)
  VREL_SHOWN(bool, mayTypeText)
  VREL_SHOWN(bool, mayMoveChannels)
  VREL_SHOWN(bool, mayAddChannel)
  VREL_SHOWN(bool, mayCutChannel)
  VREL_SHOWN(bool, mayCopyChannel)
  VREL_SHOWN(bool, mayPasteChannel)
  VREL_SHOWN(bool, mayDuplicateChannel)
  VREL_SHOWN(bool, mayDeleteChannel)
  VREL_SHOWN(bool, mayChooseMasterColor)
  VREL_SHOWN(bool, mayChangeInstrument)

  VREL_SHOWN(bool, isLearning)
  VREL_SHOWN(QString, learnLabel)
  VREL_SHOWN(vrel::window::learn_kind::Kind, pendingLearnKind)
  VREL_SHOWN(int, pendingLearnChannel)  // -1 for none

  VREL_SHOWN(bool, canOpenNewestCopy)  // of a setlist that could not be opened
  VREL_SHOWN(QString, editingSongId)   // whose name is being edited
  VREL_SHOWN(QString, songNameDraft)
  VREL_SHOWN(bool, canPaste)
};

/// One row of the setlist.
class SongViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = SongViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(QString, songId)
  VREL_SHOWN(QString, name)
};

/// One channel strip of the song on stage.
class StripViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = StripViewModel;

 public:
  using MirrorItem::MirrorItem;

  // NOLINTBEGIN(readability-identifier-naming) QML wants capitals
  enum class Status {
    NoPlugin = static_cast<int>(ChannelStatus::noPlugin),
    Loading = static_cast<int>(ChannelStatus::loading),
    LoadFailed = static_cast<int>(ChannelStatus::loadFailed),
    Running = static_cast<int>(ChannelStatus::running),
    Crashed = static_cast<int>(ChannelStatus::crashed),
  };
  enum class Instrument {
    Empty = static_cast<int>(InstrumentState::empty),
    Present = static_cast<int>(InstrumentState::present),
    Failed = static_cast<int>(InstrumentState::failed),
  };
  // NOLINTEND(readability-identifier-naming)
  Q_ENUM(Status)
  Q_ENUM(Instrument)

  VREL_SHOWN(QString, channelId)
  VREL_SHOWN(int, index)
  VREL_SHOWN(int, number)
  VREL_SHOWN(QString, name)
  VREL_SHOWN(QColor, color)
  VREL_SHOWN(bool, isSelected)
  VREL_SHOWN(vrel::window::StripViewModel::Status, status)
  VREL_SHOWN(QString, statusText)
  VREL_SHOWN(vrel::window::StripViewModel::Instrument, instrument)
  VREL_SHOWN(QString, instrumentText)
  VREL_SHOWN(bool, hasInstrument)
  VREL_SHOWN(bool, isPlayback)  // of a sound file
  VREL_SHOWN(bool, isVisual)    // clips on notes
  VREL_SHOWN(int, effectCount)
  VREL_SHOWN(bool, hasFailedEffect)
  VREL_SHOWN(bool, isPlaying)
  VREL_SHOWN(double, volume)  // 0 to 1
  VREL_SHOWN(QString, volumeText)
  VREL_SHOWN(double, gain)  // 0 to 1
  VREL_SHOWN(QString, gainText)
  VREL_SHOWN(double, reverb)  // 0 to 1
  VREL_SHOWN(QString, reverbText)
  VREL_SHOWN(bool, mute)
  VREL_SHOWN(bool, solo)
  VREL_SHOWN(bool, canCrash)
  VREL_SHOWN(bool, canRevive)
  VREL_SHOWN(int, transpose)
  VREL_SHOWN(QString, transposeText)
  VREL_SHOWN(int, minNote)
  VREL_SHOWN(QString, minNoteName)
  VREL_SHOWN(int, maxNote)
  VREL_SHOWN(QString, maxNoteName)
  VREL_SHOWN(bool, sendSustain)
  VREL_SHOWN(bool, sendExpression)
  VREL_SHOWN(bool, sustainControlsRotor)
};

/// The master strip.
class MasterViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = MasterViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(QColor, color)
  VREL_SHOWN(double, volume)  // 0 to 1
  VREL_SHOWN(QString, volumeText)
  VREL_SHOWN(bool, mute)
  VREL_SHOWN(QString, channelId)
  VREL_SHOWN(int, effectCount)
  VREL_SHOWN(bool, hasFailedEffect)
};

/// The question or message that is open.
class AlertViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = AlertViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isShown)
  VREL_SHOWN(bool, isWarning)
  VREL_SHOWN(QString, message)
  VREL_SHOWN(QString, informative)
  VREL_SHOWN(QList<QString>, buttons)
};

/// The menu bar.
class MenuBarViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = MenuBarViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(QList<vrel::window::MenuEntry>, menus)
};

}  // namespace vrel::window
