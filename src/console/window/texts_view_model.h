// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QString>

#include "console/window/view_model.h"
#include "text/text.h"

namespace vrel::window {

/// One text of the table, under the name of its key.
#define VREL_TEXT(key)                                          \
 public:                                                        \
  Q_PROPERTY(QString key READ key NOTIFY languageChanged FINAL) \
  [[nodiscard]] QString key() const {                           \
    return textOf(TextKey::key);                                \
  }

/// The language of the session, and the texts of the window in it.
class TextsViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  Q_PROPERTY(QList<QString> languageCodes READ languageCodes CONSTANT FINAL)
  using Self = TextsViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(int, language)  // a `Language`

  VREL_TEXT(appTitle)
  VREL_TEXT(slogan)
  VREL_TEXT(setlist)
  VREL_TEXT(noSongs)
  VREL_TEXT(addSong)
  VREL_TEXT(channelStrips)
  VREL_TEXT(addChannel)
  VREL_TEXT(volume)
  VREL_TEXT(mute)
  VREL_TEXT(solo)
  VREL_TEXT(panic)
  VREL_TEXT(keyboard)
  VREL_TEXT(simulateCrash)
  VREL_TEXT(revive)
  VREL_TEXT(splitTranspose)
  VREL_TEXT(startNote)
  VREL_TEXT(keyCount)
  VREL_TEXT(level)
  VREL_TEXT(dropouts)
  VREL_TEXT(audioOutputMissing)
  VREL_TEXT(audioOutputAwaited)
  VREL_TEXT(openNewestCopy)
  VREL_TEXT(languageLabel)
  VREL_TEXT(tempoTitle)
  VREL_TEXT(notesTitle)
  VREL_TEXT(liveModeTitle)
  VREL_TEXT(livePanicCommand)
  VREL_TEXT(liveMuteChannelsCommand)
  VREL_TEXT(liveSoloChannelCommand)
  VREL_TEXT(liveMuteMasterCommand)
  VREL_TEXT(liveSongNavigationCommand)
  VREL_TEXT(cutChannel)
  VREL_TEXT(copyChannel)
  VREL_TEXT(pasteChannel)
  VREL_TEXT(duplicateChannel)
  VREL_TEXT(deleteChannel)
  VREL_TEXT(renameSong)
  VREL_TEXT(deleteSong)
  VREL_TEXT(modeEdit)
  VREL_TEXT(modeLive)
  VREL_TEXT(instruments)
  VREL_TEXT(pluginSearchPlaceholder)
  VREL_TEXT(noResults)
  VREL_TEXT(loadingAudioUnits)
  VREL_TEXT(tryDifferentSearch)
  VREL_TEXT(changeInstrument)
  VREL_TEXT(removeInstrument)
  VREL_TEXT(playbackTitle)
  VREL_TEXT(playbackSubtitle)
  VREL_TEXT(playbackNoFileSelected)
  VREL_TEXT(playbackSelectFile)
  VREL_TEXT(playbackEntry)
  VREL_TEXT(playbackExit)
  VREL_TEXT(playbackLoop)
  VREL_TEXT(playbackPlay)
  VREL_TEXT(playbackStop)
  VREL_TEXT(playbackCancel)
  VREL_TEXT(playbackApply)
  VREL_TEXT(playbackStopBehavior)
  VREL_TEXT(playbackStopOnKey)
  VREL_TEXT(playbackStopAtExit)
  VREL_TEXT(visualTitle)
  VREL_TEXT(visualSubtitle)
  VREL_TEXT(visualNoClips)
  VREL_TEXT(visualAddClip)
  VREL_TEXT(visualNote)
  VREL_TEXT(visualFile)
  VREL_TEXT(visualChooseVideo)
  VREL_TEXT(visualPreview)
  VREL_TEXT(visualTriggerMode)
  VREL_TEXT(visualHoldMode)
  VREL_TEXT(visualToggleMode)
  VREL_TEXT(closePanel)
  VREL_TEXT(loadHint)
  VREL_TEXT(notInLiveMode)
  VREL_TEXT(midiLearn)
  VREL_TEXT(learnedControls)
  VREL_TEXT(nothingLearned)
  VREL_TEXT(forgetLearned)
  VREL_TEXT(checkSetlist)
  VREL_TEXT(checkAgain)
  VREL_TEXT(stopCheck)
  VREL_TEXT(keptCopies)
  VREL_TEXT(restoreCopy)
  VREL_TEXT(moveSongUp)
  VREL_TEXT(moveSongDown)
  VREL_TEXT(moveChannelLeft)
  VREL_TEXT(moveChannelRight)
  VREL_TEXT(addFavourite)
  VREL_TEXT(removeFavourite)
  VREL_TEXT(tryInstrument)
  VREL_TEXT(audioEffectSearchPlaceholder)
  VREL_TEXT(noAudioEffects)
  VREL_TEXT(effectsTitle)
  VREL_TEXT(replaceEffect)
  VREL_TEXT(moveEffectUp)
  VREL_TEXT(moveEffectDown)
  VREL_TEXT(removeEffect)
  VREL_TEXT(openEffect)
  VREL_TEXT(controlSearch)
  VREL_TEXT(noControls)
  VREL_TEXT(noPreset)
  VREL_TEXT(previousPreset)
  VREL_TEXT(nextPreset)
  VREL_TEXT(choosePreset)
  VREL_TEXT(presetSearch)
  VREL_TEXT(noPresets)
  VREL_TEXT(presetChanged)
  VREL_TEXT(savePreset)
  VREL_TEXT(presetName)
  VREL_TEXT(replacePreset)
  VREL_TEXT(deletePreset)
  VREL_TEXT(reallyDelete)
  VREL_TEXT(songsByMidi)
  VREL_TEXT(nextSong)
  VREL_TEXT(previousSong)
  VREL_TEXT(songsByProgramChange)
  VREL_TEXT(midiChannel)
  VREL_TEXT(allMidiChannels)
  VREL_TEXT(stepGuard)
  VREL_TEXT(letRing)
  VREL_TEXT(letRingOff)
  VREL_TEXT(songProgram)
  VREL_TEXT(receivedProgram)
  VREL_TEXT(numberSongs)

  /// In the order in which a picker offers them.
  [[nodiscard]] static QList<QString> languageCodes();

 private:
  [[nodiscard]] QString textOf(TextKey key) const;
};

}  // namespace vrel::window
