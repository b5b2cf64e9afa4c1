// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "console/parameter_laws.h"
#include "console/preset_chooser.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/audio_unit.h"

namespace vrel {

class AppState;
class Desktop;
class MainQueue;

/// Presses a control that goes back by itself.
void pressTrigger(const std::shared_ptr<AVAudioUnit>& unit, const AUParameter& parameter, MainQueue& mainQueue);

/// The generic view: all controls of a plug-in, in the console's own look. What it shows is read by `refresh`, so that
/// changes by the plug-in, by MIDI and by a restored state appear. It works in every mode. Main thread.
class ControlsEditor final : public NSViewController, public std::enable_shared_from_this<ControlsEditor> {
 public:
  /// The plug-in may go at any time; the state, the queue and the desktop are borrowed.
  ControlsEditor(const std::shared_ptr<AVAudioUnit>& unit, std::shared_ptr<PresetChooser::Loaded> loaded,
                 AppState& state, MainQueue& mainQueue, Desktop& desktop);
  ~ControlsEditor() override;
  ControlsEditor(const ControlsEditor&) = delete;
  ControlsEditor& operator=(const ControlsEditor&) = delete;

  /// Asks for the parameters; called once it is held by a shared pointer.
  void load();

  Observable<std::shared_ptr<const AUParameterTree>> tree;  // null until they are there
  Observable<std::string> searchText;
  Observable<std::vector<ControlRow>> rows;
  Observable<std::vector<float>> values;       // of allParameters
  Observable<std::vector<std::string>> texts;  // of allParameters that are files or text; the others are empty
  const std::shared_ptr<PresetChooser> presets;

  /// The plug-in that it shows; null once that has gone.
  [[nodiscard]] std::shared_ptr<AVAudioUnit> unit() const { return unit_.lock(); }

  /// Reads the values again. To be called as often as the window is drawn.
  void refresh();

  /// Moves a control, by its index in allParameters; the value is limited to what the control has. An edit of the
  /// setlist, unless the control has the value already. Nothing for a meter.
  void set(std::size_t index, float value);
  void reset(std::size_t index);
  /// What was typed: the text of a control that is one; nothing for what another has no value for.
  void enter(std::size_t index, const std::string& text);
  /// Presses a control that goes back by itself.
  void trigger(std::size_t index);
  /// Has a file chosen for a control that is one, and gives it to the plug-in: an edit. Nothing in Live mode.
  void chooseFile(std::size_t index);

  [[nodiscard]] NSSize measuredSize() override { return size_; }
  void setViewSize(const NSSize& size) override { size_ = size; }

 private:
  [[nodiscard]] const AUParameter* settable(std::size_t index) const;
  void setText(const AUParameter& parameter, const std::string& text);
  [[nodiscard]] std::vector<float> settings() const;
  void showRows();
  void watchMessages();

  const std::weak_ptr<AVAudioUnit> unit_;
  AppState& state_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  NSSize size_;
  bool watchesMessages_ = false;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel
