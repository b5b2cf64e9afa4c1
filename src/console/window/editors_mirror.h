// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "console/window/mirror_ids.h"
#include "console/window/mirror_publisher.h"
#include "console/window/mirror_source.h"
#include "foundation/uuid.h"

namespace vrel {
class ContentView;
class ControlsEditor;
class EditorPanel;
}  // namespace vrel

namespace vrel::window {

/// Says where each property of the plug-ins' windows comes from. Main thread. All is borrowed.
class EditorsMirror {
 public:
  EditorsMirror(MirrorSource& source, ContentView& content);
  ~EditorsMirror();
  EditorsMirror(const EditorsMirror&) = delete;
  EditorsMirror& operator=(const EditorsMirror&) = delete;

 private:
  struct Shown;

  void refresh();
  [[nodiscard]] std::unique_ptr<Shown> makeShown(EditorPanel& panel);
  [[nodiscard]] int pendingControl(const ControlsEditor& controls) const;

  MirrorSource& source_;
  ContentView& content_;
  std::map<Uuid, std::unique_ptr<Shown>> editors_;
  std::shared_ptr<void> connection_;
};

}  // namespace vrel::window
