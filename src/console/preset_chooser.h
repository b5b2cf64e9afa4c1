// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/observable.h"
#include "foundation/result.h"
#include "platform/plugin_presets.h"
#include "text/text.h"

namespace vrel {

class AppState;
class AVAudioUnit;
class MainQueue;

/// A preset in the list that a person sees, and the heading it is under.
struct PresetRow {
  std::string identifier;
  std::string name;
  std::string section;  // empty for those without a bank

  bool operator==(const PresetRow&) const = default;
};

/// The presets of one plug-in: finds, loads, saves and deletes them.
///
/// One is loaded at a time; of those that are chosen meanwhile, the last one follows. One that is loaded is an edit of
/// the setlist. In Live mode presets are chosen, but neither saved nor deleted. Main thread.
class PresetChooser final : public std::enable_shared_from_this<PresetChooser> {
 public:
  /// What was loaded into a plug-in last. Outlives the windows of the plug-in.
  struct Loaded {
    AUAudioUnitPreset preset;
    std::vector<float> settings;  // just after it

    [[nodiscard]] bool isSome() const { return !preset.identifier.empty(); }
  };

  /// The plug-in may go at any time; the state and the queue are borrowed. `readControls` leads to `compare` where the
  /// plug-in's controls are no longer as they were at the last one.
  PresetChooser(const std::shared_ptr<AVAudioUnit>& unit, std::shared_ptr<Loaded> loaded, AppState& state,
                MainQueue& mainQueue, std::function<void()> readControls);

  /// Asks for the list; called once it is held by a shared pointer.
  void load();

  Observable<bool> isOffered{false};  // the plug-in can have presets
  Observable<std::string> searchText;
  Observable<std::vector<PresetRow>> rows;
  Observable<std::string> shown;      // the preset that is loaded, or on its way
  Observable<std::string> shownName;  // empty for none
  Observable<bool> isOwn{false};      // the loaded one can be deleted
  Observable<bool> isChanged{false};  // a control has been moved since it was loaded
  Observable<std::string> problem;    // why the last request failed; empty when it did not

  void choose(const std::string& identifier);

  /// The preset so many rows further down; the first or the last one where none of the list is loaded.
  void step(int rowCount);

  /// Saves the plug-in as it is. Nothing where the user has a preset of that name, unless it may be replaced.
  void save(const std::string& name, bool mayReplace);

  /// Deletes the loaded one; nothing for one that is not the user's.
  void removeLoaded();

  /// The names of the user's own, which a save would replace.
  [[nodiscard]] std::vector<std::string> ownNames() const;

  /// The plug-in's controls as they are now.
  void compare(std::vector<float> settings);

 private:
  void showRows();
  void show(const AUAudioUnitPreset& preset);
  void showLoaded();
  void showChange();
  void use(const AUAudioUnitPreset& preset);
  void used(const AUAudioUnitPreset& preset, const Outcome& failure);
  void report(TextKey what, const Error& why);
  [[nodiscard]] const AUAudioUnitPreset* find(const std::string& identifier) const;

  /// Calls `request` with the plug-in's presets, when it is still there and has any.
  void withPresets(const std::function<void(PluginPresets&)>& request) const;

  const std::weak_ptr<AVAudioUnit> unit_;
  const std::shared_ptr<Loaded> loaded_;
  AppState& state_;
  MainQueue& mainQueue_;
  const std::function<void()> readControls_;
  std::vector<float> settings_;  // at the last comparison; empty before
  std::vector<AUAudioUnitPreset> presets_;
  std::string loading_;  // the one that the plug-in works on
  std::string wanted_;   // the one chosen last; empty when it is loaded
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel
