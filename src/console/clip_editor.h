// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/video_player.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class Desktop;
class MainQueue;
class RepeatingTimer;
class VrelVisualClipPlayer;
struct ConsoleSelection;

/// Sets up which clips a strip shows on which notes, in a copy of its list. Nothing of the strip changes before
/// `apply`, and its clips go on answering to notes.
///
/// It is open for one strip at a time and closes when that strip leaves the stage. In Live mode it cannot be opened,
/// and is cancelled when the mode begins. Rows are named by the ids of their mappings; for one that is gone nothing
/// happens. Main thread.
class ClipEditor {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    Desktop& desktop;
    ConsoleSelection& selection;
    VideoFactory* videos;  // null where the program shows no clips
  };

  using Mappings = std::vector<VisualClipMapping>;
  using Summaries = std::map<std::string, ClipSummary>;  // by path

  /// All are borrowed.
  explicit ClipEditor(const Collaborators& collaborators);
  ~ClipEditor();
  ClipEditor(const ClipEditor&) = delete;
  ClipEditor& operator=(const ClipEditor&) = delete;

  Observable<std::optional<Uuid>> channelId;  // none while it is closed
  Observable<Mappings> mappings;              // the copy
  Observable<std::optional<Uuid>> selectedMappingId;
  Observable<std::optional<Uuid>> notePickerMappingId;  // the row whose keyboard is open
  Observable<std::optional<Uuid>> learningMappingId;    // the row that takes the next note that is played
  Observable<Summaries> summaries;                      // what is known of the files
  Observable<std::shared_ptr<const VideoPicture>> previewPicture;

  /// Opens for this strip, in place of any other; the strip is selected.
  void open(const AudioChannel& channel);

  /// Closes, and leaves the strip as it is.
  void cancel();

  /// Closes, and gives the strip the copy, in its order, with the rows that have no file.
  void apply();

  /// The strip that it is open for; null while it is closed.
  [[nodiscard]] std::shared_ptr<AudioChannel> channel() const;

  /// A row on middle C, without a file; it is selected. Another row may have that note.
  void add();
  void remove(const Uuid& mapping);
  void select(const Uuid& mapping);
  /// Asks for a file.
  void chooseFile(const Uuid& mapping);
  void setTriggerMode(const Uuid& mapping, VisualTriggerMode mode);
  /// Whether the clip plays once and stays on its last picture, or loops.
  void setHoldsLastPicture(const Uuid& mapping, bool holds);

  /// Opens the keyboard of a row, or closes it.
  void toggleNotePicker(const Uuid& mapping);
  void setNote(const Uuid& mapping, std::uint8_t note);
  /// The row takes the next note that is played; another press ends that.
  void toggleLearn(const Uuid& mapping);

  /// A row for each video or picture among them, on the next free notes from middle C upwards, as far as there are any.
  void dropFiles(const std::vector<std::filesystem::path>& files);

  /// Asks once for what a list shows of this file.
  void wantSummary(const std::string& path);

  /// What the preview shows: the selected row, or the first one.
  [[nodiscard]] const VisualClipMapping* previewed() const;

 private:
  void close();
  void closeForStripThatIsGone();
  void notesChanged();
  void followPreview();
  void showPicture();
  void change(const Uuid& mapping, const std::function<void(VisualClipMapping&)>& how);

  AppState& state_;
  AudioEngine& engine_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  ConsoleSelection& selection_;
  VideoFactory* const videos_;
  std::set<std::uint8_t> notes_;      // held at the last change
  std::set<std::string> askedFiles_;  // since it was opened
  std::string previewPath_;
  bool isPreviewHeld_ = false;
  std::shared_ptr<VrelVisualClipPlayer> preview_;
  std::unique_ptr<RepeatingTimer> pictureTimer_;
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
