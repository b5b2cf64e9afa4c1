// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/audio_parameters.h"

namespace vrel {

class AVAudioUnit;
class NSPanel;

/// Points on a screen.
struct NSSize {
  double width = 0;
  double height = 0;

  bool operator==(const NSSize&) const = default;
};

/// What happens to a view after it was given. Called on the main thread.
struct NSViewEvents {
  std::function<void()> arrived;                          // it is on the screen; before that it has no size of its own
  std::function<void()> resized;                          // by itself
  std::function<void()> failed;                           // there will be none; at most once, and never after `arrived`
  std::function<void(AUParameterAddress)> controlTurned;  // in it, by a person
  std::function<void(const std::string& identifier)> fileRequested;  // for the parameter of this identifier
};

/// The view of a plug-in. Main thread.
class NSViewController {
 public:
  virtual ~NSViewController() = default;

  /// Lays the view out. In each dimension the largest of what fits, what the view asks for and what it has.
  [[nodiscard]] virtual NSSize measuredSize() = 0;
  [[nodiscard]] virtual NSSize preferredContentSize() { return {}; }
  virtual void setViewSize(const NSSize& size) = 0;

  /// The panel that it brings along; null for a view that is put into one.
  [[nodiscard]] virtual std::shared_ptr<NSPanel> ownPanel() { return nullptr; }
  /// Only a view of its own process has any.
  virtual void setEvents(NSViewEvents /*events*/) {}
};

/// A window beside the main one. It takes keys, and the main window stays the main one. Main thread.
class NSPanel {
 public:
  virtual ~NSPanel() = default;

  virtual void setTitle(const std::string& title) = 0;
  virtual void setContentSize(const NSSize& size) = 0;
  virtual void center() = 0;

  /// Shows it, with the keyboard focus.
  virtual void makeKeyAndOrderFront() = 0;
  /// In front of all other windows, whatever program is active.
  virtual void orderFrontRegardless() = 0;
  /// Above the main window, wherever that has gone. Costs nothing while it is.
  virtual void orderAboveMainWindow() = 0;

  /// False once a person or the program has closed it.
  [[nodiscard]] virtual bool isVisible() const = 0;
  virtual void close() = 0;
};

/// Makes the windows of plug-ins, and the view of a plug-in that has none of its own. Main thread.
class PluginEditorFactory {
 public:
  virtual ~PluginEditorFactory() = default;

  /// `AUGenericView(audioUnit:)`: a view of the plug-in's parameters.
  [[nodiscard]] virtual std::shared_ptr<NSViewController> makeGenericView(const std::shared_ptr<AVAudioUnit>& unit) = 0;

  /// A panel around a view; not yet on the screen.
  [[nodiscard]] virtual std::shared_ptr<NSPanel> makePanel(const std::shared_ptr<NSViewController>& view) = 0;

  /// What may be used of the screen that editors open on; none without a screen.
  [[nodiscard]] virtual std::optional<NSSize> visibleFrame() = 0;
};

}  // namespace vrel
