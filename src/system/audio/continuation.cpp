// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/continuation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace vrel::audio {
namespace {

constexpr std::size_t order = 32;  // a tone takes two

// Below this share of the power nothing is left to predict but rounding.
constexpr double negligible = 1e-12;

// A prediction may swell before it decays. Further than this it is not followed.
constexpr double largestSwell = 1.5;

using History = std::array<double, continuationHistory>;
using Coefficients = std::array<double, order + 1>;  // of the prediction error; the first is 1

void addCoefficient(Coefficients& coefficients, std::size_t count, double reflection) noexcept {
  for (std::size_t low = 1, high = count; low <= high; ++low, --high) {
    const double lower = coefficients[low];
    const double higher = coefficients[high];
    coefficients[low] = lower + reflection * higher;
    coefficients[high] = higher + reflection * lower;
  }
  coefficients[count + 1] = reflection;
}

/// Burg's method: each step chooses the reflection that leaves the least error in both directions.
std::size_t findCoefficients(const History& samples, std::size_t length, Coefficients& coefficients) noexcept {
  History forward = samples;
  History backward = samples;
  coefficients = {1.0};
  double whole = 0;
  for (std::size_t count = 0; count < std::min(order, length / 2); ++count) {
    double product = 0;
    double power = 0;
    for (std::size_t at = count + 1; at < length; ++at) {
      product += forward[at] * backward[at - 1];
      power += forward[at] * forward[at] + backward[at - 1] * backward[at - 1];
    }
    whole = count == 0 ? power : whole;
    if (!(power > negligible * whole)) {
      return count;
    }
    const double reflection = -2 * product / power;
    addCoefficient(coefficients, count, reflection);
    for (std::size_t at = length - 1; at > count; --at) {
      const double error = forward[at];
      forward[at] = error + reflection * backward[at - 1];
      backward[at] = backward[at - 1] + reflection * error;
    }
  }
  return std::min(order, length / 2);
}

}  // namespace

void continueSignal(std::span<const float> history, std::span<float> continuation) noexcept {
  std::fill(continuation.begin(), continuation.end(), 0.0F);
  const std::size_t length = std::min<std::size_t>(history.size(), continuationHistory);
  History samples{};
  double largest = 0;
  for (std::size_t at = 0; at < length; ++at) {
    samples[at] = history[history.size() - length + at];
    largest = std::max(largest, std::abs(samples[at]));
    if (!std::isfinite(samples[at])) {
      return;
    }
  }
  if (largest == 0) {
    return;
  }
  Coefficients coefficients{};
  const std::size_t count = findCoefficients(samples, length, coefficients);
  std::array<double, 2 * order> recent{};  // the last `count` samples, twice, so that each run of them is contiguous
  for (std::size_t at = 0; at < count; ++at) {
    recent[at] = recent[at + count] = samples[length - count + at];
  }
  for (std::size_t frame = 0; frame < continuation.size() && count > 0; ++frame) {
    const std::size_t oldest = frame % count;
    double predicted = 0;
    for (std::size_t back = 1; back <= count; ++back) {
      predicted -= coefficients[back] * recent[oldest + count - back];
    }
    predicted = std::clamp(predicted, -largestSwell * largest, largestSwell * largest);
    recent[oldest] = recent[oldest + count] = predicted;
    continuation[frame] = static_cast<float>(predicted);
  }
}

float fadeInAt(std::uint32_t frame, std::uint32_t length) noexcept {
  const double position = std::numbers::pi * (frame + 1) / (length + 1);
  return static_cast<float>(0.5 - 0.5 * std::cos(position));
}

}  // namespace vrel::audio
