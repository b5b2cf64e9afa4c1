// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/layer_fades.h"

#include <algorithm>
#include <utility>

namespace vrel::system {

double LayerFades::Fade::at(double instant) const {
  const double done = std::clamp((instant - since) / layerFadeSeconds, 0.0, 1.0);
  return from + (to - from) * done;
}

void LayerFades::follow(const std::vector<ProjectionLayer>& layers, double now, bool areThereAtOnce) {
  std::map<Uuid, Fade> fades;
  for (const auto& layer : layers) {
    const auto before = fades_.find(layer.key);
    if (before == fades_.end()) {
      fades[layer.key] = {areThereAtOnce ? layer.opacity : 0, layer.opacity, now};
    } else if (before->second.to == layer.opacity) {
      fades[layer.key] = before->second;
    } else {
      fades[layer.key] = {before->second.at(now), layer.opacity, now};
    }
  }
  fades_ = std::move(fades);
}

double LayerFades::opacity(const Uuid& key, double instant) const {
  const auto found = fades_.find(key);
  return found == fades_.end() ? 0 : found->second.at(instant);
}

bool LayerFades::isMoving(double instant) const {
  return std::any_of(fades_.begin(), fades_.end(), [&](const auto& each) {
    return each.second.from != each.second.to && instant < each.second.since + layerFadeSeconds;
  });
}

}  // namespace vrel::system
