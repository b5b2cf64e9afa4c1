// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>

namespace vrel {
class AudioChannel;
class ContentView;
class StripControls;
}  // namespace vrel

namespace vrel::window {

class ConsoleCommands;

/// The controls of one strip, for QML to move. As ConsoleCommands: posted, and nothing for a strip that is gone. The
/// window's thread.
class StripCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  /// Borrowed, and outlives this.
  explicit StripCommands(const ConsoleCommands& commands) : commands_(commands) {}

  Q_INVOKABLE void setGain(const QString& channelId, double position);
  Q_INVOKABLE void setReverb(const QString& channelId, double position);
  /// To 0 dB, and to none.
  Q_INVOKABLE void resetGain(const QString& channelId);
  Q_INVOKABLE void resetReverb(const QString& channelId);

  Q_INVOKABLE void setColor(const QString& channelId, const QColor& color);
  Q_INVOKABLE void setMasterColor(const QColor& color);

  Q_INVOKABLE void setTranspose(const QString& channelId, int semitones);
  Q_INVOKABLE void setMinNote(const QString& channelId, int note);
  Q_INVOKABLE void setMaxNote(const QString& channelId, int note);
  /// Typed text; anything but a whole number changes nothing.
  Q_INVOKABLE void enterTranspose(const QString& channelId, const QString& draft);
  Q_INVOKABLE void enterMinNote(const QString& channelId, const QString& draft);
  Q_INVOKABLE void enterMaxNote(const QString& channelId, const QString& draft);

  Q_INVOKABLE void toggleSendSustain(const QString& channelId);
  Q_INVOKABLE void toggleSendExpression(const QString& channelId);
  Q_INVOKABLE void toggleSustainControlsRotor(const QString& channelId);

  Q_INVOKABLE void simulateCrash(const QString& channelId);
  Q_INVOKABLE void revive(const QString& channelId);

 private:
  void withChannel(const QString& channelId,
                   std::function<void(ContentView&, const std::shared_ptr<AudioChannel>&)> action) const;
  void withControls(const QString& channelId, std::function<void(StripControls&, AudioChannel&)> action) const;

  const ConsoleCommands& commands_;
};

}  // namespace vrel::window
