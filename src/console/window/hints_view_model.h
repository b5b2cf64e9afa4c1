// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

#include "console/window/texts_view_model.h"
#include "text/hints.h"

namespace vrel::window {

/// One hint, under the name of its case.
#define VREL_HINT(hint)                                           \
 public:                                                          \
  Q_PROPERTY(QString hint READ hint NOTIFY languageChanged FINAL) \
  [[nodiscard]] QString hint() const {                            \
    return textOf(Hint::hint);                                    \
  }

/// What the controls say of themselves, in the language of the texts.
class HintsViewModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  /// The texts are borrowed, and outlive this.
  explicit HintsViewModel(const TextsViewModel& texts) : texts_(texts) {
    connect(&texts, &TextsViewModel::languageChanged, this, &HintsViewModel::languageChanged);
  }

  VREL_HINT(playKeys)
  VREL_HINT(splitBand)
  VREL_HINT(keyCount)
  VREL_HINT(startNote)
  VREL_HINT(performanceItem)
  VREL_HINT(foldKeyboard)
  VREL_HINT(stage)
  VREL_HINT(foldStage)
  VREL_HINT(notProjected)
  VREL_HINT(stripColor)
  VREL_HINT(masterColor)
  VREL_HINT(notInLiveMode)
  VREL_HINT(crash)
  VREL_HINT(crashImpossible)
  VREL_HINT(revive)
  VREL_HINT(reviveImpossible)
  VREL_HINT(gain)
  VREL_HINT(reverb)
  VREL_HINT(mute)
  VREL_HINT(solo)
  VREL_HINT(transpose)
  VREL_HINT(split)
  VREL_HINT(lowestKey)
  VREL_HINT(highestKey)
  VREL_HINT(sendSustain)
  VREL_HINT(sendExpression)
  VREL_HINT(sustainControlsRotor)
  VREL_HINT(stripSetup)
  VREL_HINT(fader)
  VREL_HINT(meter)
  VREL_HINT(addChannel)
  VREL_HINT(addSong)
  VREL_HINT(tempoStep)
  VREL_HINT(tap)
  VREL_HINT(panic)
  VREL_HINT(learn)
  VREL_HINT(liveMode)
  VREL_HINT(dropouts)
  VREL_HINT(close)
  VREL_HINT(hue)
  VREL_HINT(saturation)
  VREL_HINT(brightness)
  VREL_HINT(instrument)
  VREL_HINT(instrumentWindow)
  VREL_HINT(openControls)
  VREL_HINT(pluginControl)
  VREL_HINT(typedControl)
  VREL_HINT(stepGuard)
  VREL_HINT(letRing)
  VREL_HINT(songMidiChannel)
  VREL_HINT(songsByProgramChange)
  VREL_HINT(numberSongs)
  VREL_HINT(learnPluginControl)
  VREL_HINT(pluginFile)
  VREL_HINT(changeInstrument)
  VREL_HINT(removeInstrument)
  VREL_HINT(editTrack)
  VREL_HINT(trackFile)
  VREL_HINT(trackWave)
  VREL_HINT(trackEntry)
  VREL_HINT(trackExit)
  VREL_HINT(trackPreview)
  VREL_HINT(trackLoop)
  VREL_HINT(trackStop)
  VREL_HINT(trackZero)
  VREL_HINT(trackApply)
  VREL_HINT(trackCancel)
  VREL_HINT(editClips)
  VREL_HINT(addClip)
  VREL_HINT(clipNote)
  VREL_HINT(clipLearn)
  VREL_HINT(clipTrigger)
  VREL_HINT(clipDelete)
  VREL_HINT(clipOnce)
  VREL_HINT(clipStill)
  VREL_HINT(clipStillStays)
  VREL_HINT(clipUnplayable)
  VREL_HINT(clipTooLarge)
  VREL_HINT(clipDark)
  VREL_HINT(rack)
  VREL_HINT(rackHasFailure)
  VREL_HINT(effectFailed)
  VREL_HINT(effectNotInstalled)
  VREL_HINT(effectLoading)
  VREL_HINT(reviveEffect)
  VREL_HINT(goToFailure)
  VREL_HINT(songRow)
  VREL_HINT(songName)
  VREL_HINT(newSongName)
  VREL_HINT(renameSong)
  VREL_HINT(deleteSong)
  VREL_HINT(stripName)
  VREL_HINT(tempo)
  VREL_HINT(notes)
  VREL_HINT(largeNotesTitle)
  VREL_HINT(noNotes)
  VREL_HINT(largerNotes)
  VREL_HINT(smallerNotes)
  VREL_HINT(notesOnDisplay)
  VREL_HINT(notesInConsole)
  VREL_HINT(collecting)
  VREL_HINT(stopCollecting)
  VREL_HINT(language)
  VREL_HINT(midiPort)
  VREL_HINT(noMidiPort)
  VREL_HINT(midiArrives)
  VREL_HINT(audioOutputMissing)
  VREL_HINT(dismissProblem)
  VREL_HINT(openNewestCopy)
  VREL_HINT(checkAgain)
  VREL_HINT(stopCheck)
  VREL_HINT(restoreCopy)
  VREL_HINT(copyDamaged)
  VREL_HINT(masterMute)
  VREL_HINT(search)
  VREL_HINT(swatch)
  VREL_HINT(octave)
  VREL_HINT(cutChannel)
  VREL_HINT(copyChannel)
  VREL_HINT(pasteChannel)
  VREL_HINT(nothingToPaste)
  VREL_HINT(duplicateChannel)
  VREL_HINT(deleteChannel)
  VREL_HINT(moveChannelLeft)
  VREL_HINT(moveChannelRight)
  VREL_HINT(moveSongUp)
  VREL_HINT(moveSongDown)
  VREL_HINT(alreadyFirst)
  VREL_HINT(alreadyLast)
  VREL_HINT(menuTitle)
  VREL_HINT(firstAnswer)
  VREL_HINT(otherAnswer)

 Q_SIGNALS:
  void languageChanged();

 private:
  [[nodiscard]] QString textOf(Hint hint) const {
    const auto words = hintText(hint, static_cast<Language>(texts_.language()));
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
  }

  const TextsViewModel& texts_;
};

}  // namespace vrel::window
