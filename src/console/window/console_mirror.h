// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/window/clip_mirror.h"
#include "console/window/editors_mirror.h"
#include "console/window/help_mirror.h"
#include "console/window/menu_entry.h"
#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"
#include "console/window/panels_mirror.h"
#include "console/window/setlist_pages_mirror.h"
#include "console/window/texts_view_model.h"
#include "console/window/track_mirror.h"
#include "console/window/view_models.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/console_output.h"
#include "platform/desktop.h"

namespace vrel {
class AudioChannel;
class ContentView;
struct SongConfig;
class WindowSettings;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the view-models comes from, and decides nothing.
///
/// Main thread. All is borrowed, and must outlive this.
class ConsoleMirror {
 public:
  ConsoleMirror(MirrorSource& source, ContentView& content, Observable<std::optional<NSAlert>>& shownAlert);
  ~ConsoleMirror();
  ConsoleMirror(const ConsoleMirror&) = delete;
  ConsoleMirror& operator=(const ConsoleMirror&) = delete;

  void setMenus(const QList<MenuEntry>& menus);

  /// Borrowed, and outlives this.
  void mirrorSettings(WindowSettings& settings);

  /// What is collected; see SessionViewModel. Borrowed, and outlives this.
  void mirrorCollecting(Observable<std::optional<double>>& progress);

  /// Whether the projection is open.
  void setProjected(bool isProjected);

  /// How many blocks have been late or silent.
  void setDropouts(std::uint64_t count);

  /// What the output lacks, and the device that it waits for, by name; see SessionViewModel.
  void setAudioOutput(bool isMissing, const std::string& awaited);

  /// A line of the log that says what failed; it goes when that is mended.
  void addProblem(FailureKind kind, const std::string& line);

 private:
  struct Strip;

  void mirrorSession();
  void mirrorPerformance();
  void mirrorPolicy();
  void mirrorEditing();
  void mirrorMaster();
  void mirrorAlert(Observable<std::optional<NSAlert>>& shownAlert);
  void refresh();
  void mirrorProblems();
  void checkProblemSoon();
  void clearMendedProblem();
  void clearProblem();
  void refreshSongs();
  void refreshStrips();
  [[nodiscard]] std::unique_ptr<Strip> makeStrip(const std::shared_ptr<AudioChannel>& shared);
  static void mirrorControls(MirrorPublisher<StripViewModel>& view, AudioChannel& channel);

  MirrorSource& source_;
  ContentView& content_;
  MirrorPublisher<SessionViewModel> session_;
  MirrorPublisher<MasterViewModel> master_;
  MirrorPublisher<TextsViewModel> texts_;
  MirrorPublisher<AlertViewModel> alert_;
  MirrorPublisher<MenuBarViewModel> menuBar_;
  PanelsMirror panels_;
  EditorsMirror editors_;
  TrackMirror track_;
  ClipMirror clips_;
  HelpMirror help_;
  SetlistPagesMirror setlistPages_;
  std::map<Uuid, std::unique_ptr<MirrorPublisher<SongViewModel>>> songs_;
  std::map<Uuid, std::unique_ptr<Strip>> strips_;
  std::vector<MirrorId> songRows_;
  std::vector<MirrorId> stripRows_;
  int problemCount_ = 0;
  std::optional<FailureKind> shownProblem_;
  bool mayBeMended_ = false;  // an instrument or effect has changed in this turn, since the problem came
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
