// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace vrel {
class AudioChannel;
class ContentView;
}  // namespace vrel

namespace vrel::window {

/// What the window's commands are carried out on. Main thread.
struct ConsoleActions {
  ContentView& content;
  std::function<void(std::optional<std::size_t> button)> answerAlert;
  /// An item of the menus by what it does and to what, which holds also when the menus have been built anew meanwhile.
  std::function<void(const std::string& action, const std::string& object)> activateMenuItem;
};

/// What a person does at the window, for QML to call. Each command is posted to the main queue and returns at once;
/// what comes of it is seen in the mirror. Songs and strips are named by the ids that the mirror shows; one that is
/// gone does nothing. The window's thread.
class ConsoleCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  using Action = std::function<void(ConsoleActions&)>;
  /// Runs an action on the main thread, or drops it when the logic has gone.
  using Post = std::function<void(Action)>;

  explicit ConsoleCommands(Post post, QObject* parent = nullptr) : QObject(parent), post_(std::move(post)) {}

  Q_INVOKABLE void clickSong(const QString& songId);
  Q_INVOKABLE void addSong(const QString& name);
  Q_INVOKABLE void beginSongRename(const QString& songId);
  Q_INVOKABLE void setSongNameDraft(const QString& draft);
  Q_INVOKABLE void commitSongRename();
  Q_INVOKABLE void deleteSong(const QString& songId);
  Q_INVOKABLE void dragSong(const QString& songId);
  Q_INVOKABLE void songDropEntered(const QString& songId);
  Q_INVOKABLE void songDropExited(const QString& songId);
  Q_INVOKABLE void songDropped(const QString& songId);

  Q_INVOKABLE void selectStrip(const QString& channelId);
  Q_INVOKABLE void setChannelName(const QString& channelId, const QString& name);
  Q_INVOKABLE void setVolume(const QString& channelId, double position);
  Q_INVOKABLE void toggleMute(const QString& channelId);
  Q_INVOKABLE void toggleSolo(const QString& channelId);
  Q_INVOKABLE void dragChannel(const QString& channelId);
  Q_INVOKABLE void channelDropEntered(const QString& channelId);
  Q_INVOKABLE void channelDropExited(const QString& channelId);
  Q_INVOKABLE void channelDropped(const QString& channelId);
  Q_INVOKABLE void addChannel();
  Q_INVOKABLE void cutChannel(const QString& channelId);
  Q_INVOKABLE void copyChannel(const QString& channelId);
  Q_INVOKABLE void pasteChannel(const QString& afterChannelId);
  Q_INVOKABLE void duplicateChannel(const QString& channelId);
  Q_INVOKABLE void deleteChannel(const QString& channelId);
  Q_INVOKABLE void setMasterVolume(double position);
  Q_INVOKABLE void toggleMasterMute();

  Q_INVOKABLE void enterTempo(const QString& text);
  Q_INVOKABLE void stepTempo(int by);
  Q_INVOKABLE void tapTempo();
  Q_INVOKABLE void setSongNotes(const QString& notes);
  Q_INVOKABLE void setLanguage(int index);
  Q_INVOKABLE void toggleLiveMode();
  Q_INVOKABLE void toggleLearn();
  /// `kind` is the word of the setlist file, such as "channel_volume"; an index below 0 means none.
  Q_INVOKABLE void selectLearnTarget(const QString& kind, int channelIndex);
  Q_INVOKABLE void panic();

  /// The `path` that the mirror shows with the item.
  Q_INVOKABLE void activateMenuItem(const QVariantList& path);
  /// An index below 0 means that the alert was sent away.
  Q_INVOKABLE void answerAlert(int button);

  /// Posts what is not a command of QML, such as a key.
  void post(Action action) const { post_(std::move(action)); }

 private:
  void withContent(std::function<void(ContentView&)> action) const;
  void withSong(const QString& songId, void (*action)(ContentView&, std::size_t row)) const;
  void withChannel(const QString& channelId, std::function<void(ContentView&, AudioChannel&)> action) const;

  Post post_;
};

}  // namespace vrel::window
