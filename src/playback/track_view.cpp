// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/track_view.h"

#include <algorithm>
#include <cmath>

namespace vrel {
namespace {

TrackView within(TrackView view, double duration) {
  view.from = std::clamp(view.from, 0.0, std::max(0.0, duration - view.length));
  return view;
}

}  // namespace

TrackView wholeTrackView(double duration) {
  return {0, std::max(0.0, duration)};
}

TrackView zoomedTrackView(const TrackView& view, double factor, double position, double mostFine, double duration) {
  if (!std::isfinite(factor) || factor <= 0 || !std::isfinite(position) || duration <= 0) {
    return view;
  }
  TrackView zoomed;
  zoomed.length = std::clamp(view.length / factor, std::min(mostFine, duration), duration);
  zoomed.from = view.from + std::clamp(position, 0.0, 1.0) * (view.length - zoomed.length);
  return within(zoomed, duration);
}

TrackView scrolledTrackView(const TrackView& view, double widths, double duration) {
  return std::isfinite(widths) ? within({view.from + widths * view.length, view.length}, duration) : view;
}

}  // namespace vrel
