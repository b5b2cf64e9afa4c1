// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"
#include "console/window/panel_view_models.h"

namespace vrel {
class AudioChannel;
class ContentView;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the panels that choose plug-ins comes from. Main thread. All is borrowed.
class PanelsMirror {
 public:
  PanelsMirror(MirrorSource& source, ContentView& content);

  /// To be called in each refresh of the mirror.
  void refresh();

 private:
  void mirrorSelector(MirrorSource& source);
  void mirrorRack(MirrorSource& source);
  void followOpenRack(MirrorSource& source);
  void refreshSelector();
  void refreshRack();
  void mirrorLearned(MirrorSource& source);
  void refreshLearned();
  void mirrorSongControl(MirrorSource& source);
  void refreshSongControl();

  ContentView& content_;
  MirrorPublisher<SelectorViewModel> selector_;
  MirrorPublisher<RackViewModel> rack_;
  MirrorPublisher<LearnedControlsViewModel> learned_;
  MirrorPublisher<SongControlViewModel> songControl_;
  bool areInstrumentsNew_ = true;
  bool areEffectsNew_ = true;
  std::vector<std::shared_ptr<void>> rackConnections_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
