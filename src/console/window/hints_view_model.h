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

  VREL_HINT(foldKeyboard)

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
