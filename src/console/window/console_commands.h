// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QUrl>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "console/window/learn_kind.h"

namespace vrel {
class AudioChannel;
class ContentView;
class WindowSettings;
class EffectRack;
class Uuid;
}  // namespace vrel

namespace vrel::window {

/// What the window's commands are carried out on. Main thread.
struct ConsoleActions {
  ContentView& content;
  std::function<void(std::optional<std::size_t> button)> answerAlert;
  /// An item of the menus by its action and object, which also works when the menus have been rebuilt meanwhile.
  std::function<void(const std::string& action, const std::string& object)> activateMenuItem;
  WindowSettings& settings;
  std::function<void()> stopCollecting{};

  /// The strip that a view-model of this id shows; null when it is gone.
  [[nodiscard]] std::shared_ptr<AudioChannel> strip(const std::string& channelId) const;
};

/// What a person does at the window, for QML to call. Each command is posted to the main queue and returns at once;
/// its effect comes back by the mirror. Songs and strips are named by the ids of their view-models; for one that is
/// gone nothing happens. The window's thread.
class ConsoleCommands : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")

 public:
  using Action = std::function<void(ConsoleActions&)>;
  /// Runs an action on the main thread, or drops it when the logic is gone.
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
  Q_INVOKABLE void moveSong(const QString& songId, int by);

  Q_INVOKABLE void selectStrip(const QString& channelId);
  Q_INVOKABLE void setChannelName(const QString& channelId, const QString& name);
  Q_INVOKABLE void setVolume(const QString& channelId, double position);
  Q_INVOKABLE void toggleMute(const QString& channelId);
  Q_INVOKABLE void toggleSolo(const QString& channelId);
  Q_INVOKABLE void dragChannel(const QString& channelId);
  Q_INVOKABLE void channelDropEntered(const QString& channelId);
  Q_INVOKABLE void channelDropExited(const QString& channelId);
  Q_INVOKABLE void channelDropped(const QString& channelId);
  Q_INVOKABLE void moveChannel(const QString& channelId, int by);
  Q_INVOKABLE void addChannel();
  Q_INVOKABLE void cutChannel(const QString& channelId);
  Q_INVOKABLE void copyChannel(const QString& channelId);
  Q_INVOKABLE void pasteChannel(const QString& afterChannelId);
  Q_INVOKABLE void duplicateChannel(const QString& channelId);
  Q_INVOKABLE void deleteChannel(const QString& channelId);

  /// The panel that chooses what a strip plays; it closes when the strip leaves the stage.
  Q_INVOKABLE void openInstrumentSelector(const QString& channelId);
  Q_INVOKABLE void removeInstrument(const QString& channelId);
  /// Closes without a choice; what was tried out goes.
  Q_INVOKABLE void cancelInstrumentSelector();
  Q_INVOKABLE void setInstrumentSearch(const QString& text);
  Q_INVOKABLE void pickInstrument(const QString& key);
  Q_INVOKABLE void tryInstrument(const QString& key);
  Q_INVOKABLE void toggleFavourite(const QString& key);
  Q_INVOKABLE void pickPlayback();
  Q_INVOKABLE void pickVisual();

  /// The rack of a strip or, by its own id, of the master; another press closes it.
  Q_INVOKABLE void toggleEffectRack(const QString& channelId);
  Q_INVOKABLE void closeEffectRack();
  Q_INVOKABLE void setEffectSearch(const QString& text);
  Q_INVOKABLE void pickEffect(const QString& key);
  Q_INVOKABLE void toggleReplacedEffect(const QString& slotId);
  Q_INVOKABLE void removeEffect(const QString& slotId);
  Q_INVOKABLE void reviveEffect(const QString& slotId);
  Q_INVOKABLE void moveEffectUp(const QString& slotId);
  Q_INVOKABLE void moveEffectDown(const QString& slotId);

  Q_INVOKABLE void setMasterVolume(double position);
  Q_INVOKABLE void toggleMasterMute();

  /// A key of the on-screen keyboard, as if it came from MIDI.
  Q_INVOKABLE void pressNote(int note);
  Q_INVOKABLE void releaseNote(int note);
  Q_INVOKABLE void setSplitMin(const QString& channelId, int note);
  Q_INVOKABLE void setSplitMax(const QString& channelId, int note);
  Q_INVOKABLE void setKeyCount(int keys);
  Q_INVOKABLE void setStartPitchClass(int pitchClass);
  Q_INVOKABLE void stepStartOctave(int by);

  /// Typed text; what is not a whole number changes nothing.
  Q_INVOKABLE void enterTempo(const QString& text);
  /// From the tempo as it is when the command runs; nothing at the end of the range.
  Q_INVOKABLE void stepTempo(int by);
  Q_INVOKABLE void tapTempo();
  Q_INVOKABLE void setSongNotes(const QString& notes);
  Q_INVOKABLE void setLanguage(int index);
  Q_INVOKABLE void toggleLiveMode();
  Q_INVOKABLE void toggleLearn();
  /// An index below 0 means no strip.
  Q_INVOKABLE void selectLearnTarget(vrel::window::learn_kind::Kind kind, int channelIndex);
  Q_INVOKABLE void closeLearnedControls();
  Q_INVOKABLE void closeSongControl();
  Q_INVOKABLE void learnSongStep(vrel::window::learn_kind::Kind kind);
  Q_INVOKABLE void toggleSongsByProgramChange();
  Q_INVOKABLE void moveSongMidiChannel(int by);
  Q_INVOKABLE void moveStepGuard(int by);
  Q_INVOKABLE void moveLetRing(int by);
  Q_INVOKABLE void enterSongProgram(const QString& songId, const QString& text);
  Q_INVOKABLE void numberSongs();
  Q_INVOKABLE void startCheck();
  Q_INVOKABLE void stopCheck();
  Q_INVOKABLE void closeCheck();
  /// A kept version of the setlist, by its path.
  Q_INVOKABLE void restoreCopy(const QString& path);
  Q_INVOKABLE void closeCopies();
  Q_INVOKABLE void closeHelp();
  Q_INVOKABLE void closeLiveKeys();
  /// Files from outside: on the window, on a strip, behind the last strip. What a place does not take does nothing.
  Q_INVOKABLE void dropOnWindow(const QUrl& file);
  Q_INVOKABLE void dropOnStrip(const QString& channelId, const QUrl& file);
  Q_INVOKABLE void dropBehindStrips(const QUrl& file);
  Q_INVOKABLE void removeLearnedControl(const QString& controlId);
  Q_INVOKABLE void panic();

  /// 1 for a larger console, -1 for a smaller one, 0 for the normal size.
  Q_INVOKABLE void zoom(int by);
  /// Folds the keyboard panel to its bars, or back.
  Q_INVOKABLE void toggleKeyboard();
  /// Folds the preview of the stage away, or back.
  Q_INVOKABLE void toggleStage();
  Q_INVOKABLE void toggleLargeNotes();
  /// 1 for larger, -1 for smaller.
  Q_INVOKABLE void stepNotesText(int by);
  /// By the name of the screen; an empty one for the console.
  Q_INVOKABLE void showNotesOn(const QString& display);
  Q_INVOKABLE void openNewestCopy();
  Q_INVOKABLE void stopCollecting();

  /// Both from the item's MenuEntry.
  Q_INVOKABLE void activateMenuItem(const QString& action, const QString& object);
  /// An index below 0 means that the alert was dismissed.
  Q_INVOKABLE void answerAlert(int button);

  /// Posts what is not a command of QML, such as a key.
  void post(Action action) const { post_(std::move(action)); }

 private:
  void withContent(std::function<void(ContentView&)> action) const;
  void withSong(const QString& songId, std::function<void(ContentView&, std::size_t row)> action) const;
  void withEffect(const QString& slotId, void (EffectRack::*action)(const Uuid&)) const;
  void withChannel(const QString& channelId, std::function<void(ContentView&, AudioChannel&)> action) const;

  Post post_;
};

}  // namespace vrel::window
