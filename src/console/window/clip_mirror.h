// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "console/window/clip_view_model.h"
#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"

namespace vrel {
class ContentView;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the editor of clips comes from. Main thread. All is borrowed.
class ClipMirror {
 public:
  ClipMirror(MirrorSource& source, ContentView& content);

  /// To be called in each refresh of the mirror.
  void refresh();

 private:
  void showRows();

  ContentView& content_;
  MirrorPublisher<ClipViewModel> view_;
  bool areRowsNew_ = true;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
