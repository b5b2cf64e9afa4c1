// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/window/help_view_model.h"
#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"

namespace vrel {
class ContentView;
class VrelHelpWindowController;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the help windows comes from. Main thread. All is borrowed.
class HelpMirror {
 public:
  HelpMirror(MirrorSource& source, ContentView& content);

 private:
  static void mirror(MirrorPublisher<HelpViewModel>& view, VrelHelpWindowController& window);

  MirrorPublisher<HelpViewModel> help_;
  MirrorPublisher<HelpViewModel> liveKeys_;
};

}  // namespace vrel::window
