// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <bitset>
#include <cstdint>
#include <memory>

#include "console/played_now.h"

namespace vrel::window {

/// What is played now, as QML sees it: taken once per frame, however fast MIDI changes it. The window's thread.
class PerformanceBoard : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")
  // Places of the bars, 0 to 1.
  Q_PROPERTY(double pitch READ pitch NOTIFY valuesChanged FINAL)
  Q_PROPERTY(double modulation READ modulation NOTIFY valuesChanged FINAL)
  Q_PROPERTY(double sustain READ sustain NOTIFY valuesChanged FINAL)
  Q_PROPERTY(double expression READ expression NOTIFY valuesChanged FINAL)
  Q_PROPERTY(bool isSustainActive READ isSustainActive NOTIFY valuesChanged FINAL)
  Q_PROPERTY(bool isExpressionActive READ isExpressionActive NOTIFY valuesChanged FINAL)
  Q_PROPERTY(double sustainFill READ sustainFill NOTIFY valuesChanged FINAL)
  Q_PROPERTY(double expressionFill READ expressionFill NOTIFY valuesChanged FINAL)
  /// Whether a message has come from a MIDI source in the last frames.
  Q_PROPERTY(bool isMidiArriving READ isMidiArriving NOTIFY midiChanged FINAL)
  /// The names of the notes that are held, for assistive technology.
  Q_PROPERTY(QString heldNotes READ heldNotes NOTIFY notesChanged FINAL)

 public:
  using Notes = std::bitset<256>;

  using QObject::QObject;

  /// What the logic writes to.
  [[nodiscard]] const std::shared_ptr<PlayedNow>& played() const { return played_; }
  /// Once per frame.
  void pull();

  [[nodiscard]] const Notes& notes() const { return notes_; }
  [[nodiscard]] double pitch() const { return PerformanceItem::pitchPlace(pitchBend_); }
  [[nodiscard]] double modulation() const { return modulation_; }
  [[nodiscard]] double sustain() const { return sustain_; }
  [[nodiscard]] double expression() const { return expression_; }
  [[nodiscard]] bool isSustainActive() const { return PerformanceItem::isSustainActive(sustain_); }
  [[nodiscard]] bool isExpressionActive() const { return PerformanceItem::isExpressionActive(expression_); }
  [[nodiscard]] double sustainFill() const { return PerformanceItem::fill(sustain_, isSustainActive()); }
  [[nodiscard]] double expressionFill() const { return PerformanceItem::fill(expression_, isExpressionActive()); }
  [[nodiscard]] QString heldNotes() const;
  [[nodiscard]] bool isMidiArriving() const { return litFrames_ > 0; }

  /// How long one message is shown: long enough to be seen from the corner of an eye.
  static constexpr int framesOfAMessage = 9;

 Q_SIGNALS:
  void notesChanged();
  void valuesChanged();
  void midiChanged();

 private:
  void pullMessages();

  std::shared_ptr<PlayedNow> played_ = std::make_shared<PlayedNow>();
  Notes notes_;
  float pitchBend_ = 0;
  float modulation_ = 0;
  float sustain_ = 0;
  float expression_ = 0;
  std::uint32_t messages_ = 0;
  int litFrames_ = 0;
};

}  // namespace vrel::window
