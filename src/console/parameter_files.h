// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "foundation/life_token.h"
#include "platform/audio_unit.h"

namespace vrel {

class AppState;
class Desktop;
class MainQueue;

/// Has a file chosen for a parameter of a plug-in that is one, and gives it to the plug-in: an edit. Nothing in Live
/// mode, also when that begins while the panel is open. Returns whether one was given. Main thread.
bool chooseParameterFile(const std::weak_ptr<AVAudioUnit>& unit, AUParameterAddress address, AppState& state,
                         Desktop& desktop);

/// The files that plug-ins' own editors ask the console for. One panel at a time, and none for a second after it, so
/// that an editor which asks without end can be closed; what is asked for meanwhile is not answered. Main thread.
class ParameterFiles {
 public:
  /// All are borrowed.
  ParameterFiles(AppState& state, MainQueue& mainQueue, Desktop& desktop)
      : state_(state), mainQueue_(mainQueue), desktop_(desktop) {}

  /// Has one chosen for the parameter of this identifier. Nothing for one that is not a file or that the plug-in sets.
  void request(const std::shared_ptr<AVAudioUnit>& unit, const std::string& identifier);

 private:
  void choose(const std::weak_ptr<AVAudioUnit>& unit, const AUParameterTree& tree, const std::string& identifier);

  AppState& state_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  bool isBusy_ = false;  // with a request
  LifeToken life_;
};

}  // namespace vrel
