// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/audio_device_settings.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "platform/desktop.h"
#include "platform/notification_center.h"
#include "shell/menu_item.h"

namespace vrel {

class AppState;
class AudioEngine;
class LiveMode;
class MainQueue;
class MidiLearn;
class VrelVisualProjectionWindowController;
enum class MenuAction;
struct MenuCommand;

/// The menu bar as data, in the language of the session, and what its items do.
///
/// The whole bar is built again after each command and after each change of the session that it shows; never
/// inside either, but in a turn of the main queue, so that a menu is not replaced while its own item is carried out.
/// Several requests for a rebuild make one. Commands that belong to the main view are passed on as notifications. In
/// Live mode the list of output devices stays as it was when the mode began, unless an audio setting is chosen.
///
/// Nothing happens before the first `rebuildMenus`, nor once the engine is gone. Main thread.
class VrelMenuController {
 public:
  struct Collaborators {
    NSNotificationCenter& notifications;
    MainQueue& mainQueue;
    Desktop& desktop;
    LiveMode& liveMode;
    MidiLearn& midiLearn;
    VrelVisualProjectionWindowController& projection;
  };

  /// What the menus set off elsewhere; without one, the command does nothing.
  struct Hooks {
    std::function<void()> terminate;
    std::function<void()> showHelp;
    std::function<void()> showLiveKeys;
    std::function<void()> openStateFolder;
    std::function<void()> collectSetlist;
  };

  /// All are borrowed. `mainMenu` is the bar that the system has given the program, if it has.
  explicit VrelMenuController(const Collaborators& collaborators, MenuBar mainMenu = {});

  Hooks hooks;

  /// The bar was built again.
  Signal<> menusRebuilt;

  [[nodiscard]] const MenuBar& mainMenu() const { return mainMenu_; }

  /// Makes the bar for these two, from now on. The session is borrowed, and the engine not kept alive.
  void rebuildMenus(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine);

  /// The same in a turn of the main queue.
  void rebuildMenusSoon(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine);

  /// For a change that is not the session's: screens or devices that have come or gone.
  void rebuildMenusSoon();

  /// Carries out an item by what it does and to what, whether or not the bar still has it. Nothing where an item with
  /// this action would be disabled now. The table in menu_commands.cpp has what each action does.
  void perform(MenuAction action, const std::string& representedObject = {});
  /// The same by the name of the action; nothing for a name that is not in the table.
  void perform(const std::string& action, const std::string& representedObject = {});

 private:
  friend struct MenuCommandTable;

  // The handlers of the table, called while session and engine are there.
  void terminate();
  void modeEdit();
  void modeLive();
  void toggleLearn();
  /// By the text of the defaults; no effect for an unknown mode.
  void selectVisualBlendMode(const std::string& mode);
  void chooseVisualBackgroundVideo();
  void clearVisualBackgroundVideo();
  /// By the place in the list of screens; the main screen for one that is not there. In full screen.
  void openVisualProjection(const std::string& screenIndex);
  /// Nothing while the projection is closed.
  void toggleVisualProjectionFullscreen();
  void closeVisualProjection();
  /// In learn mode, what the hardware is tied to.
  void toggleProjectionBlackout();
  void toggleProjectionTestPicture();
  /// In frames; nothing for a size that the menu does not have.
  void selectAudioBufferSize(const std::string& frames);
  void selectSystemAudioOutput();
  void selectAudioOutput(const std::string& uid);
  void showHelp();
  void showLiveKeys();
  void openStateFolder();
  void collectSetlist();

  /// The session and the engine, while both are there.
  struct Session {
    AppState& state;
    std::shared_ptr<AudioEngine> engine;
  };
  [[nodiscard]] std::optional<Session> session() const;

  void take(AppState& appState, const std::shared_ptr<AudioEngine>& audioEngine);
  void observe(AppState& appState);
  void rebuild();
  void post(const MenuCommand& command, std::string_view notification, const std::string& object);
  void setLiveMode(bool isWanted);
  void setBackgroundVideo(AppState& state, const std::optional<std::string>& path);
  void setOutput(const std::optional<std::string>& uid);

  NSNotificationCenter& notifications_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  LiveMode& liveMode_;
  MidiLearn& midiLearn_;
  VrelVisualProjectionWindowController& projection_;
  MenuBar mainMenu_;
  std::shared_ptr<void> blackoutFollowed_;
  AppState* appState_ = nullptr;
  std::weak_ptr<AudioEngine> audioEngine_;
  std::vector<std::shared_ptr<void>> connections_;
  bool isRebuildQueued_ = false;
  std::vector<AudioOutputDevice> outputDevices_;
  bool hasOutputList_ = false;
  bool showsMidiAssignments_ = false;
  LifeToken life_;
};

}  // namespace vrel
