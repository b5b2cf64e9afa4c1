// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/plugin_editor.h"

namespace vrel::simulation {

/// A view whose sizes a test sets.
class ScriptedView : public NSViewController {
 public:
  explicit ScriptedView(NSSize size = {}, NSSize preferredSize = {}) : measured(size), preferred(preferredSize) {}
  /// As of a real view, its frame is part of it.
  [[nodiscard]] NSSize measuredSize() override {
    const NSSize frame = sizes.empty() ? NSSize{} : sizes.back();
    return {std::max(measured.width, frame.width), std::max(measured.height, frame.height)};
  }
  [[nodiscard]] NSSize preferredContentSize() override { return preferred; }
  void setViewSize(const NSSize& size) override { sizes.push_back(size); }

  NSSize measured;
  NSSize preferred;
  std::vector<NSSize> sizes;  // that the view was given
};

/// A panel that records what is done with it.
class ScriptedPanel : public NSPanel {
 public:
  explicit ScriptedPanel(std::shared_ptr<NSViewController> content) : view(std::move(content)) {}
  void setTitle(const std::string& text) override { title = text; }
  void setContentSize(const NSSize& size) override { contentSizes.push_back(size); }
  void center() override { ++centerings; }
  void makeKeyAndOrderFront() override { isShown = true; }
  void orderFrontRegardless() override { ++raises; }
  void orderAboveMainWindow() override { ++reassertions; }
  [[nodiscard]] bool isVisible() const override { return isShown; }
  void close() override {
    isShown = false;
    ++closings;
  }

  const std::shared_ptr<NSViewController> view;
  std::string title;
  std::vector<NSSize> contentSizes;
  int centerings = 0;
  int raises = 0;
  int reassertions = 0;
  int closings = 0;
  bool isShown = false;
};

/// A view of another process, with a panel of its own.
class ScriptedRemoteView : public ScriptedView {
 public:
  using ScriptedView::ScriptedView;
  [[nodiscard]] std::shared_ptr<NSPanel> ownPanel() override { return panel; }
  void setEvents(NSViewEvents handlers) override { events = std::move(handlers); }

  const std::shared_ptr<ScriptedPanel> panel = std::make_shared<ScriptedPanel>(nullptr);
  NSViewEvents events;
};

/// Keeps every panel and generic view that it has made.
class ScriptedEditorFactory : public PluginEditorFactory {
 public:
  [[nodiscard]] std::shared_ptr<NSViewController> makeGenericView(
      const std::shared_ptr<AVAudioUnit>& /*unit*/) override {
    return genericViews.emplace_back(std::make_shared<ScriptedView>());
  }
  [[nodiscard]] std::shared_ptr<NSPanel> makePanel(const std::shared_ptr<NSViewController>& view) override {
    return panels.emplace_back(std::make_shared<ScriptedPanel>(view));
  }
  [[nodiscard]] std::optional<NSSize> visibleFrame() override { return screen; }

  std::vector<std::shared_ptr<ScriptedView>> genericViews;
  std::vector<std::shared_ptr<ScriptedPanel>> panels;
  std::optional<NSSize> screen = NSSize{1920, 1080};
};

}  // namespace vrel::simulation
