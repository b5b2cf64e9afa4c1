// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QUrl>
#include <functional>

namespace vrel {
class ClipEditor;
class Uuid;
}  // namespace vrel

namespace vrel::window {

class ConsoleCommands;

/// What a person does in the editor of clips; see clip_editor.h. As ConsoleCommands: posted, and nothing for a row that
/// is gone. The window's thread.
class ClipCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  /// Borrowed, and outlives this.
  explicit ClipCommands(const ConsoleCommands& commands) : commands_(commands) {}

  Q_INVOKABLE void open(const QString& channelId);
  Q_INVOKABLE void cancel();
  Q_INVOKABLE void apply();
  Q_INVOKABLE void add();
  Q_INVOKABLE void remove(const QString& mappingId);
  Q_INVOKABLE void select(const QString& mappingId);
  Q_INVOKABLE void chooseFile(const QString& mappingId);
  Q_INVOKABLE void setToggles(const QString& mappingId, bool toggles);
  Q_INVOKABLE void setHoldsLastPicture(const QString& mappingId, bool holds);
  Q_INVOKABLE void toggleNotePicker(const QString& mappingId);
  Q_INVOKABLE void setNote(const QString& mappingId, int note);
  Q_INVOKABLE void toggleLearn(const QString& mappingId);
  Q_INVOKABLE void dropFile(const QUrl& file);
  /// What a row that is in sight shows of its file.
  Q_INVOKABLE void wantSummary(const QString& filePath);

 private:
  void withEditor(std::function<void(ClipEditor&)> action) const;
  void withRow(const QString& mappingId, std::function<void(ClipEditor&, const Uuid&)> action) const;

  const ConsoleCommands& commands_;
};

}  // namespace vrel::window
