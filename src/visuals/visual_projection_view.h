// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/app_state.h"
#include "platform/projection.h"
#include "visuals/visual_background_video_view.h"
#include "visuals/visual_engine.h"

namespace vrel {

class MainQueue;
class VideoFactory;

/// All that the projection shows: background video, clips, or words where there is neither. It is there from its
/// construction to its end, follows the clips by what they notify of, and hands on each new scene. Main thread.
class VrelVisualProjectionView {
 public:
  struct Content {
    VisualBlendMode blendMode = VisualBlendMode::plusLighter;
    std::optional<std::string> backgroundVideoPath;  // empty is as none
    std::string testPicture;                         // as of ProjectionScene
    bool isBlack = false;
  };
  using Show = std::function<void(const ProjectionScene& scene)>;

  /// Engine, queue and factory are borrowed; without a factory there is no background video. `show` gets every scene,
  /// the first from here.
  VrelVisualProjectionView(VrelVisualEngine& visualEngine, MainQueue& mainQueue, VideoFactory* videos, Content content,
                           Show show);

  void update(Content content);

 private:
  [[nodiscard]] bool hasBackground() const;
  [[nodiscard]] ProjectionScene scene() const;
  void followPlayers();

  VrelVisualEngine& visualEngine_;
  VrelVisualBackgroundVideoView background_;
  Content content_;
  Show show_;
  std::shared_ptr<void> playersFollowed_;
  std::vector<std::shared_ptr<void>> opacitiesFollowed_;
};

}  // namespace vrel
