// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"
#include "console/unsaved_edits.h"

namespace vrel {

/// A session whose unsaved edits are kept on a simulated disk.
class UnsavedEditsStage : public SetlistFilesStage {
 protected:
  using Names = std::vector<std::string>;

  static constexpr double afterKeeping = UnsavedEdits::checkSeconds * UnsavedEdits::quietChecks + 0.1;
  static constexpr std::size_t openButton = 0;
  static constexpr std::size_t discardButton = 1;

  void openGig() {
    files.place(gig, setlistText({"One", "Two"}));
    setlistFiles.loadSetlist(gig);
    settle();
    console.lines.clear();
  }

  /// The gig with one song, whose strip has a piano with a chorus behind it.
  void openPlayedGig(const std::string& path = pianoKey) {
    SetlistFile setlist;
    auto& song = setlist.songs.emplace_back();
    song.name = "One";
    song.channels = {record("Keys", path, {chorusKey})};
    song.channels[0].pluginStateBase64 = song.channels[0].effectSlots[0].stateBase64 = storedState;
    files.place(gig, encodeSetlist(setlist).value());
    setlistFiles.loadSetlist(gig);
    settle();
    console.lines.clear();
  }

  [[nodiscard]] simulation::ScriptedUnitCore& piano0() {
    return dynamic_cast<simulation::ScriptedInstrument&>(*strip(0).instrumentNode.get()).core;
  }

  [[nodiscard]] simulation::ScriptedUnitCore& chorus0() {
    return dynamic_cast<simulation::ScriptedUnit&>(*strip(0).effectNodes.get().begin()->second).core;
  }

  [[nodiscard]] ChannelConfig keptStrip() const {
    return readSetlist(files.files.at(kept)).value().songs.at(0).channels.at(0);
  }

  [[nodiscard]] std::optional<PropertyListDictionary> stateIn(const std::optional<std::string>& text) {
    return engine->pluginState().decodePluginState(text);
  }

  void rename(const std::string& name) {
    changeSong(0, [&](SongConfig& song) { song.name = name; });
    state.markEdited();
  }

  void write() {
    queues.queue("vrel.unsaved.edits").runAll();
    settle();
  }

  void keep() {
    mainQueue.advance(afterKeeping);
    write();
  }

  /// The gig's first song is renamed "New".
  void keepEdits() {
    openGig();
    rename("New");
    keep();
  }

  /// What the next run of the program is asked with, and does.
  std::unique_ptr<UnsavedEdits> startAgain(const std::string& run = "next") {
    unsaved.reset();
    return std::make_unique<UnsavedEdits>(
        collaborators(), folder, UnsavedEdits::Runs{run, [this](const auto& name) { return running.contains(name); }});
  }

  UnsavedEdits::Collaborators collaborators() {
    return {state, songSwitch, setlistFiles, mainQueue, queues, files, desktop, console, &background};
  }

  static inline const PropertyListDictionary tone{{"cutoff", PropertyListValue{std::int64_t{7}}}};
  static inline const PropertyListDictionary newTone{{"cutoff", PropertyListValue{std::int64_t{8}}}};
  const std::string storedState = [this] {
    simulation::ScriptedUnitCore unit;
    unit.documentState = tone;
    return engine->pluginState().captureAudioUnitState(unit).value();
  }();
  const std::filesystem::path folder = "/home/me/state/unsaved";
  const std::filesystem::path kept = folder / "first.vrel";
  std::set<std::string> running;
  std::unique_ptr<UnsavedEdits> unsaved = std::make_unique<UnsavedEdits>(
      collaborators(), folder,
      UnsavedEdits::Runs{"first", [this](const auto& name) { return running.contains(name); }});
};

}  // namespace vrel
