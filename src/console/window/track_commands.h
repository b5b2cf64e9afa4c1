// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QUrl>
#include <functional>

namespace vrel {
class TrackEditor;
}  // namespace vrel

namespace vrel::window {

class ConsoleCommands;

/// What a person does in the editor of tracks; see track_editor.h. As ConsoleCommands: posted, and nothing while the
/// editor is closed. The window's thread.
class TrackCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  /// Borrowed, and outlives this.
  explicit TrackCommands(const ConsoleCommands& commands) : commands_(commands) {}

  Q_INVOKABLE void open(const QString& channelId);
  Q_INVOKABLE void cancel();
  Q_INVOKABLE void apply();
  Q_INVOKABLE void chooseFile();
  Q_INVOKABLE void dropFile(const QUrl& file);
  Q_INVOKABLE void setLooping(bool loops);
  Q_INVOKABLE void setPlaysToExit(bool playsToExit);
  Q_INVOKABLE void togglePreview();

  /// Positions are proportions of the waveform's width.
  Q_INVOKABLE void beginDrag(double position);
  Q_INVOKABLE void drag(double position);
  Q_INVOKABLE void endDrag();
  Q_INVOKABLE void zoom(double factor, double position);
  Q_INVOKABLE void scroll(double widths);

  Q_INVOKABLE void movePoint(bool isEntry, double seconds);
  /// The usual step, a fine one for a `size` below 0, and a coarse one for one above.
  Q_INVOKABLE void nudge(bool isEntry, int steps, int size);
  Q_INVOKABLE void moveEntryToZeroCrossing();

 private:
  void withEditor(std::function<void(TrackEditor&)> action) const;

  const ConsoleCommands& commands_;
};

}  // namespace vrel::window
