// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <vector>

#include "foundation/uuid.h"
#include "platform/projection.h"

namespace vrel::system {

/// The opacity of each layer at an instant: linear over `layerFadeSeconds` from what was seen when it was changed. A
/// value; times are the media clock's, in seconds.
class LayerFades {
 public:
  /// The layers of a scene that is set at `now`. Those that the scene before did not have start from 0, unless
  /// `areThereAtOnce`.
  void follow(const std::vector<ProjectionLayer>& layers, double now, bool areThereAtOnce);

  /// 0 for a layer that the scene does not have.
  [[nodiscard]] double opacity(const Uuid& key, double instant) const;

  /// Whether any layer fades at that instant.
  [[nodiscard]] bool isMoving(double instant) const;

 private:
  struct Fade {
    double from = 0;
    double to = 0;
    double since = 0;
    [[nodiscard]] double at(double instant) const;
  };
  std::map<Uuid, Fade> fades_;
};

}  // namespace vrel::system
