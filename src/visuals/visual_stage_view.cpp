// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_stage_view.h"

namespace vrel {
namespace {

LayerBlending blendingOf(VisualBlendMode mode) {
  switch (mode) {
    case VisualBlendMode::multiply:
      return LayerBlending::multiply;
    case VisualBlendMode::screen:
      return LayerBlending::screen;
    case VisualBlendMode::plusLighter:
      return LayerBlending::plusLighter;
    case VisualBlendMode::normal:
      break;
  }
  return LayerBlending::normal;
}

}  // namespace

std::vector<ProjectionLayer> VrelVisualStageView::layers() const {
  std::vector<ProjectionLayer> layers;
  layers.reserve(players.size());
  for (const auto& player : players) {
    const auto blending = layers.empty() ? LayerBlending::normal : blendingOf(blendMode);
    layers.push_back({player->id, player->player, blending, player->opacity.get()});
  }
  return layers;
}

}  // namespace vrel
