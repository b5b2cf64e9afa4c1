// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/uuid.h"
#include "platform/desktop.h"
#include "platform/plugin_editor.h"

// The window that shows the clips, and what it shows, as a value. Its pictures are drawn elsewhere, at the rate of its
// screen; the main thread only says what is to be seen.

namespace vrel {

class AVQueuePlayer;

/// How a layer is drawn over all that lies below it. `c` is its colour, `d` what is there, both 0 to 1; the result is
/// mixed with `d` by the layer's opacity.
enum class LayerBlending {
  normal,       // c
  multiply,     // c * d
  screen,       // c + d - c * d
  plusLighter,  // c + d, at most 1
};

/// One player on the whole stage: its picture as large as fits, never cropped, on black that is part of the layer.
///
/// A change of `opacity` is faded: linearly over `layerFadeSeconds`, from what is seen now, by the clock of whoever
/// draws. A layer that the scene before did not have starts from 0, except in a first scene.
struct ProjectionLayer {
  Uuid key;  // the same layer in two scenes has the same key, and fades from the one to the other
  std::shared_ptr<AVQueuePlayer> player;
  LayerBlending blending = LayerBlending::normal;
  double opacity = 1;  // 0 to 1; where the fade ends

  bool operator==(const ProjectionLayer&) const = default;
};

inline constexpr double layerFadeSeconds = 0.16;

/// All that the window shows, from back to front, on black.
struct ProjectionScene {
  std::shared_ptr<AVQueuePlayer> background;  // as large as fits, never cropped; null: black
  std::string placeholder;                    // white at an opacity of 0.2, 40 points, centred; empty: none
  std::vector<ProjectionLayer> layers;        // the first lies at the bottom
  std::string testPicture;                    // covers all above with a test picture that has these lines; empty: none
  bool isBlack = false;                       // covers everything with black, at once; the layers go on below

  bool operator==(const ProjectionScene&) const = default;
};

// NOLINTBEGIN(readability-identifier-naming): the platform's names

/// Bits of a window's style.
inline constexpr std::uint32_t NSWindowStyleMaskTitled = 1U << 0U;
inline constexpr std::uint32_t NSWindowStyleMaskClosable = 1U << 1U;
inline constexpr std::uint32_t NSWindowStyleMaskMiniaturizable = 1U << 2U;
inline constexpr std::uint32_t NSWindowStyleMaskResizable = 1U << 3U;
inline constexpr std::uint32_t NSWindowStyleMaskFullScreen = 1U << 14U;

/// Bits of what the window manager may do with a window.
inline constexpr std::uint32_t NSWindowCollectionBehaviorManaged = 1U << 2U;
inline constexpr std::uint32_t NSWindowCollectionBehaviorFullScreenPrimary = 1U << 7U;

// NOLINTEND(readability-identifier-naming)

/// The window of the projection: black, the pointer hidden over it. It never takes the keyboard, which stays with the
/// console on whatever screen the window is.
///
/// When its screen goes it hides itself at once, in full screen or not, and never moves to another by itself; who made
/// it decides when it comes back. When a person closes it, it hides, and can be shown again.
///
/// Main thread; no call waits. What a call has asked for is what the next call reads, whether or not it has been done
/// yet. Where nothing can be drawn, it logs one line each time it is shown, and counts as closed by a person.
class ProjectionWindow {
 public:
  /// The last reference closes it.
  virtual ~ProjectionWindow() = default;

  virtual void setTitle(const std::string& title) = 0;
  /// All bits but that of full screen, which only `toggleFullScreen` changes.
  virtual void setStyleMask(std::uint32_t mask) = 0;
  /// With `NSWindowStyleMaskFullScreen` while it is in full screen, also by a person's choice, or hidden from there.
  [[nodiscard]] virtual std::uint32_t styleMask() const = 0;
  virtual void setCollectionBehavior(std::uint32_t behavior) = 0;
  virtual void setContentMinSize(const NSSize& size) = 0;

  /// The screen it is on, or was on when it was hidden; none before it was shown.
  [[nodiscard]] virtual std::optional<NSScreen> screen() const = 0;
  /// Moves it; `frame` is in the coordinates of `NSScreen`. A window in full screen is then in full screen on the
  /// screen that `frame` is on. `display`: drawn at once.
  virtual void setFrame(const ScreenRect& frame, bool display) = 0;
  virtual void toggleFullScreen() = 0;

  /// Shows it, in front of all windows of its screen.
  virtual void orderFront() = 0;
  /// Hides it; all else stays as it is.
  virtual void orderOut() = 0;
  /// Whether it is shown. False once it was hidden, by whomever.
  [[nodiscard]] virtual bool isVisible() const = 0;
  /// Takes it from the screen for good.
  virtual void close() = 0;

  /// What it shows from its next picture on. Costs nothing when the scene is as before.
  virtual void setContent(const ProjectionScene& scene) = 0;
  /// It shows black; what is set next is a first scene again.
  virtual void clearContent() = 0;

  /// Called on the main thread after a person has closed it, that is, hidden it.
  virtual void onPersonClosed(std::function<void()> action) = 0;
};

/// Makes the window of the projection. Screens come from `Desktop::screens`. Main thread.
class ProjectionWindowFactory {
 public:
  virtual ~ProjectionWindowFactory() = default;
  /// Not yet on a screen.
  [[nodiscard]] virtual std::shared_ptr<ProjectionWindow> makeWindow() = 0;
};

}  // namespace vrel
