// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_projection_view.h"

#include <utility>

#include "visuals/visual_stage_view.h"

namespace vrel {

VrelVisualProjectionView::VrelVisualProjectionView(VrelVisualEngine& visualEngine, MainQueue& mainQueue,
                                                   VideoFactory* videos, Content content, Show show)
    : visualEngine_(visualEngine),
      background_(videos, mainQueue, [this] { show_(scene()); }),
      show_(std::move(show)),
      playersFollowed_(visualEngine.activePlayers.changed.connect([this](const auto&) {
        followPlayers();
        show_(scene());
      })) {
  followPlayers();
  update(std::move(content));
}

void VrelVisualProjectionView::update(Content content) {
  content_ = std::move(content);
  if (hasBackground()) {
    background_.appear(*content_.backgroundVideoPath);
  } else {
    background_.disappear();
  }
  show_(scene());
}

bool VrelVisualProjectionView::hasBackground() const {
  return content_.backgroundVideoPath && !content_.backgroundVideoPath->empty();
}

void VrelVisualProjectionView::followPlayers() {
  opacitiesFollowed_.clear();
  for (const auto& player : visualEngine_.activePlayers.get()) {
    opacitiesFollowed_.push_back(player->opacity.changed.connect([this](double) { show_(scene()); }));
  }
}

ProjectionScene VrelVisualProjectionView::scene() const {
  const auto& players = visualEngine_.activePlayers.get();
  return {.background = background_.player(),
          .placeholder = players.empty() && !hasBackground() ? "VREL Stage" : "",
          .layers = VrelVisualStageView{players, content_.blendMode}.layers(),
          .testPicture = content_.testPicture,
          .isBlack = content_.isBlack};
}

}  // namespace vrel
