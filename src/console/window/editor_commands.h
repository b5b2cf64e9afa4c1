// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <functional>

namespace vrel {
class ContentView;
class ControlsEditor;
enum class PluginView;
}  // namespace vrel

namespace vrel::window {

class ConsoleCommands;

/// The windows of plug-ins, for QML to open, and the controls in them to move; a control is named by the role `control`
/// of ControlRows. As ConsoleCommands: posted, and nothing for a window that is closed. The window's thread.
class EditorCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  /// Borrowed, and outlives this.
  explicit EditorCommands(const ConsoleCommands& commands) : commands_(commands) {}

  /// Opens the window of a strip's instrument or of an effect in the open rack; another press closes it.
  Q_INVOKABLE void toggleInstrument(const QString& channelId);
  Q_INVOKABLE void toggleEffect(const QString& slotId);
  /// The same for the generic window, also of one that has a window of its own.
  Q_INVOKABLE void toggleInstrumentControls(const QString& channelId);
  Q_INVOKABLE void toggleEffectControls(const QString& slotId);
  Q_INVOKABLE void close(const QString& editorId);

  Q_INVOKABLE void setSearch(const QString& editorId, const QString& text);
  Q_INVOKABLE void set(const QString& editorId, int control, double value);
  Q_INVOKABLE void reset(const QString& editorId, int control);
  /// Typed text; one that the control has no value for changes nothing.
  Q_INVOKABLE void enter(const QString& editorId, int control, const QString& text);
  Q_INVOKABLE void trigger(const QString& editorId, int control);
  Q_INVOKABLE void chooseFile(const QString& editorId, int control);
  /// Lets a control wait for its hardware; nothing outside learn mode.
  Q_INVOKABLE void learn(const QString& editorId, int control);

  Q_INVOKABLE void setPresetSearch(const QString& editorId, const QString& text);
  Q_INVOKABLE void choosePreset(const QString& editorId, const QString& key);
  Q_INVOKABLE void stepPreset(const QString& editorId, int rowCount);
  /// See PresetChooser.
  Q_INVOKABLE void savePreset(const QString& editorId, const QString& name, bool mayReplace);
  Q_INVOKABLE void deletePreset(const QString& editorId);

 private:
  void openInstrument(const QString& channelId, PluginView view) const;
  void openEffect(const QString& slotId, PluginView view) const;
  void withEditor(const QString& editorId, std::function<void(ControlsEditor&)> action) const;

  const ConsoleCommands& commands_;
};

}  // namespace vrel::window
