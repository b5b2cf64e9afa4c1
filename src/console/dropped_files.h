// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>

#include "document/setlist.h"

namespace vrel {

class AppState;
class AudioChannel;
class ChannelOperations;
class InstrumentSelector;
class SetlistFiles;

enum class DroppedFileKind { setlist, audio, clip, other };

/// By the extension alone, in any case.
[[nodiscard]] DroppedFileKind droppedFileKind(const std::filesystem::path& file);

/// Files that a person drops on the window. A setlist is opened wherever it is dropped, as by the menu. What a place
/// does not take, and what Live mode forbids, changes nothing. Main thread.
class DroppedFiles {
 public:
  struct Collaborators {
    AppState& state;
    SetlistFiles& setlists;
    InstrumentSelector& instruments;
    ChannelOperations& strips;
  };

  /// All are borrowed.
  explicit DroppedFiles(const Collaborators& collaborators)
      : state_(collaborators.state),
        setlists_(collaborators.setlists),
        instruments_(collaborators.instruments),
        strips_(collaborators.strips) {}

  /// Where no strip is.
  void dropOnWindow(const std::filesystem::path& file);

  /// The strip plays the audio file, or shows the video or picture on middle C; it keeps the clips that it has.
  void dropOnStrip(const std::shared_ptr<AudioChannel>& channel, const std::filesystem::path& file);

  /// The same on a new strip behind the last one, named after the file.
  void dropBehindStrips(const std::filesystem::path& file);

 private:
  AppState& state_;
  SetlistFiles& setlists_;
  InstrumentSelector& instruments_;
  ChannelOperations& strips_;
};

}  // namespace vrel
