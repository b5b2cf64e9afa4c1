// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"
#include "console/window/setlist_page_view_models.h"

namespace vrel {
class ContentView;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the pages about the setlist comes from. Main thread. All is borrowed.
class SetlistPagesMirror {
 public:
  SetlistPagesMirror(MirrorSource& source, ContentView& content);

 private:
  void mirrorCheck(ContentView& content);
  void mirrorCopies(ContentView& content);

  MirrorPublisher<CheckViewModel> check_;
  MirrorPublisher<CopiesViewModel> copies_;
};

}  // namespace vrel::window
