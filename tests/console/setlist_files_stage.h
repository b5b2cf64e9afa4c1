// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/setlist_coding.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_background_work.h"
#include "support/simulated_session.h"

namespace vrel {

/// A session whose setlists lie on a simulated disk, with a person who answers.
class SetlistFilesStage : public SimulatedSession {
 protected:
  static constexpr std::size_t saveButton = 0;
  static constexpr std::size_t doNotSaveButton = 1;
  static constexpr std::size_t cancelButton = 2;

  /// A setlist with songs of these names, each with one empty strip, as a file.
  static std::string setlistText(const std::vector<std::string>& names) {
    SetlistFile setlist;
    for (const auto& name : names) {
      auto& song = setlist.songs.emplace_back();
      song.name = name;
      song.channels = {record("Strip of " + name, "")};
    }
    return encodeSetlist(setlist).value();
  }

  [[nodiscard]] std::vector<std::string> songNames() const { return namesIn(state.songs.get()); }

  /// Of the songs in a file; none when it cannot be opened.
  [[nodiscard]] std::optional<std::vector<std::string>> namesOnDisk(const std::filesystem::path& path) const {
    const auto file = files.files.find(path);
    const auto setlist = readSetlist(file == files.files.end() ? "" : file->second);
    return setlist ? std::optional(namesIn(setlist.value().songs)) : std::nullopt;
  }

  [[nodiscard]] std::vector<std::string> stripNames() const {
    std::vector<std::string> names;
    for (const auto& channel : engine->channels()) {
      names.push_back(channel->name.get());
    }
    return names;
  }

  simulation::ScriptedDesktop desktop;
  const std::filesystem::path gig = "/home/me/gig.vrel";
  const std::filesystem::path copiesFolder = "/home/me/state/copies";
  SetlistCopies copies{files, console, copiesFolder};
  simulation::SimulatedBackgroundWork background;
  SetlistFiles setlistFiles{{state, *engine, songSwitch, files, desktop, console, copies, &background}};

 private:
  static std::vector<std::string> namesIn(const std::vector<SongConfig>& songs) {
    std::vector<std::string> names;
    for (const auto& song : songs) {
      names.push_back(song.name);
    }
    return names;
  }
};

/// A test of what becomes of "the gig", a file with two songs.
class SetlistOnDisk : public SetlistFilesStage {
 protected:
  /// The gig with two songs, opened.
  void openGig() {
    files.place(gig, setlistText({"One", "Two"}));
    setlistFiles.loadSetlist(gig);
    settle();
    console.lines.clear();
  }

  void expectNothingChanged() {
    EXPECT_EQ(songNames(), (std::vector<std::string>{"One", "Two"}));
    EXPECT_EQ(stripNames(), std::vector<std::string>{"Strip of One"});
    EXPECT_EQ(state.selectedSongIndex.get(), 0U);
    EXPECT_EQ(state.currentFilePath.get(), gig);
    EXPECT_EQ(state.recentFiles.get(), std::vector<std::filesystem::path>{gig});
  }

  const std::filesystem::path other = "/home/me/other.vrel";
};

}  // namespace vrel
