// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"
#include "console/window/track_view_model.h"

namespace vrel {
class ContentView;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the editor of tracks comes from. Main thread. All is borrowed.
class TrackMirror {
 public:
  TrackMirror(MirrorSource& source, ContentView& content);

 private:
  void mirrorStrip(ContentView& content);
  void mirrorRange(ContentView& content);
  void mirrorWaveform(ContentView& content);

  MirrorPublisher<TrackViewModel> view_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
