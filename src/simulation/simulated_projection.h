// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/projection.h"

namespace vrel::simulation {

/// Records what is done with it, and the scenes it was given.
class SimulatedProjectionWindow : public ProjectionWindow {
 public:
  void setTitle(const std::string& words) override { title = words; }
  void setStyleMask(std::uint32_t bits) override {
    calls.push_back("style " + std::to_string(bits));
    mask = bits | (mask & NSWindowStyleMaskFullScreen);
  }
  [[nodiscard]] std::uint32_t styleMask() const override { return mask; }
  void setCollectionBehavior(std::uint32_t behavior) override {
    calls.push_back("behavior " + std::to_string(behavior));
  }
  void setContentMinSize(const NSSize& size) override { minSize = size; }
  [[nodiscard]] std::optional<NSScreen> screen() const override { return isOn; }
  void setFrame(const ScreenRect& rect, bool display) override {
    frame = rect;
    calls.push_back("frame " + std::to_string(rect.x) + " " + std::to_string(rect.y) + " " +
                    std::to_string(rect.width) + " " + std::to_string(rect.height) + (display ? " drawn" : ""));
  }
  void toggleFullScreen() override {
    calls.emplace_back("toggle full screen");
    mask ^= NSWindowStyleMaskFullScreen;
  }
  void orderFront() override {
    calls.emplace_back("front");
    isShown = true;
  }
  void orderOut() override {
    calls.emplace_back("out");
    isShown = false;
  }
  [[nodiscard]] bool isVisible() const override { return isShown; }
  void close() override {
    calls.emplace_back("close");
    isShown = false;
  }
  void setContent(const ProjectionScene& scene) override {
    calls.emplace_back("content");
    scenes.push_back(scene);
  }
  void clearContent() override {
    calls.emplace_back("clear");
    scenes.emplace_back();
  }
  void onPersonClosed(std::function<void()> action) override { personClosed = std::move(action); }

  /// A person presses its close button.
  void pressCloseButton() {
    isShown = false;
    personClosed();
  }

  [[nodiscard]] bool isFullScreen() const { return (mask & NSWindowStyleMaskFullScreen) != 0; }
  [[nodiscard]] const ProjectionScene& scene() const { return scenes.back(); }

  std::vector<std::string> calls;
  std::vector<ProjectionScene> scenes;
  std::string title;
  std::uint32_t mask = 0;
  NSSize minSize;
  ScreenRect frame;
  std::optional<NSScreen> isOn;  // the screen it is on, set by the test
  bool isShown = false;
  std::function<void()> personClosed;
};

/// Keeps every window that it has made.
class SimulatedProjection : public ProjectionWindowFactory {
 public:
  [[nodiscard]] std::shared_ptr<ProjectionWindow> makeWindow() override {
    return windows.emplace_back(std::make_shared<SimulatedProjectionWindow>());
  }

  std::vector<std::shared_ptr<SimulatedProjectionWindow>> windows;
};

}  // namespace vrel::simulation
