// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window_layout.h"

#include <algorithm>

namespace vrel {
namespace {

constexpr double wholeWidth = 1366;
constexpr double wholeHeight = 768;
constexpr double smallestScale = 0.9;

constexpr int zoomStep = 10;
constexpr int smallestZoom = 50;
constexpr int largestZoom = 200;
constexpr int normalZoom = 100;

constexpr double narrowestSetlist = 220;
constexpr double widestSetlist = 440;
constexpr double betweenAreas = 30;  // margins, gaps and frames from the left edge of the window to its right

constexpr double barHeight = 8;
constexpr double smallestBand = 16;
constexpr int mostBars = 12;

}  // namespace

double windowScale(double width, double height, int zoomPercent) {
  const double fitting = std::min(width / wholeWidth, height / wholeHeight);
  const int zoom = zoomPercent > 0 ? zoomPercent : normalZoom;
  return std::max(smallestScale, std::max(smallestScale, fitting) * zoom / normalZoom);
}

int steppedZoom(int zoomPercent, int by) {
  return by == 0 ? normalZoom : std::clamp(zoomPercent + by * zoomStep, smallestZoom, largestZoom);
}

int storedZoom(long long zoomPercent) {
  const bool isStep = zoomPercent >= smallestZoom && zoomPercent <= largestZoom && zoomPercent % zoomStep == 0;
  return isStep ? static_cast<int>(zoomPercent) : normalZoom;
}

double setlistWidth(double windowWidth) {
  const double left = windowWidth - wholeStrips * stripWidth - masterWidth - betweenAreas;
  return std::clamp(left, narrowestSetlist, widestSetlist);
}

double splitBandHeight(int strips) {
  return std::max(smallestBand, (std::min(strips, mostBars) + 1) * barHeight);
}

}  // namespace vrel
