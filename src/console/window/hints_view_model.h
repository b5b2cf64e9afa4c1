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
