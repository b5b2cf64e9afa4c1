// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVariantList>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "console/window/meter_board.h"
#include "console/window/mirror_source.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/desktop.h"

namespace vrel {
class AudioChannel;
class ContentView;
struct SongConfig;
}  // namespace vrel

namespace vrel::window {

/// The objects and lists that the window knows from the beginning.
namespace mirror_ids {
inline constexpr MirrorId session = 1;
inline constexpr MirrorId master = 2;
inline constexpr MirrorId texts = 3;
inline constexpr MirrorId alert = 4;
inline constexpr MirrorId menuBar = 5;
inline constexpr MirrorId songs = 6;
inline constexpr MirrorId strips = 7;
}  // namespace mirror_ids

/// What the window shows, told from the logic: names values and says where they come from, and decides nothing.
///
/// Main thread. All is borrowed, and must outlive this.
class ConsoleMirror {
 public:
  ConsoleMirror(MirrorSource& source, ContentView& content, Observable<std::optional<NSAlert>>& shownAlert,
                MeterBoard& meters);
  ~ConsoleMirror();
  ConsoleMirror(const ConsoleMirror&) = delete;
  ConsoleMirror& operator=(const ConsoleMirror&) = delete;

  /// The menus, as a list of maps; see `menuBar.menus` in MenuBarView.qml.
  void setMenus(const QVariantList& menus);

  /// How many blocks have not been what they should have been.
  void setDropouts(std::uint64_t count);

  /// A line that the program told its user.
  void setProblem(const std::string& line);

 private:
  struct Strip;

  void mirrorSession();
  void mirrorPerformance();
  void mirrorPolicy();
  void mirrorEditing();
  void mirrorTexts();
  void mirrorMaster();
  void mirrorAlert(Observable<std::optional<NSAlert>>& shownAlert);
  void showTexts();
  void refresh();
  void refreshSongs();
  void refreshStrips();
  [[nodiscard]] std::unique_ptr<Strip> makeStrip(const std::shared_ptr<AudioChannel>& shared);
  void connectMeter(AudioChannel& channel, const QString& key, std::vector<std::shared_ptr<void>>& connections,
                    std::shared_ptr<MeterCell>& cell);

  MirrorSource& source_;
  ContentView& content_;
  MeterBoard& meters_;
  MirrorPublisher session_;
  MirrorPublisher master_;
  MirrorPublisher texts_;
  MirrorPublisher alert_;
  MirrorPublisher menuBar_;
  std::map<Uuid, std::unique_ptr<MirrorPublisher>> songs_;
  std::map<Uuid, std::unique_ptr<Strip>> strips_;
  std::vector<MirrorId> songRows_;
  std::vector<MirrorId> stripRows_;
  std::shared_ptr<MeterCell> masterCell_;
  int problemCount_ = 0;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
