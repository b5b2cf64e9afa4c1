// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "document/app_state.h"
#include "platform/projection.h"
#include "visuals/visual_engine.h"

namespace vrel {

/// The clips of the projection, each over the whole stage, the first at the bottom. A value.
struct VrelVisualStageView {
  VrelVisualEngine::Players players;
  VisualBlendMode blendMode = VisualBlendMode::plusLighter;

  /// The first is always drawn as it is, the others with the blend mode. A clip that is not visible is drawn all the
  /// same, by its opacity.
  [[nodiscard]] std::vector<ProjectionLayer> layers() const;
};

}  // namespace vrel
