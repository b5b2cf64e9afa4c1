// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/value_scales.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace vrel {
namespace {

struct Breakpoint {
  float position;
  double decibels;
};

constexpr std::array<Breakpoint, 9> faderLaw = {{
    {0.0F, -60.0},
    {0.03F, -48.0},
    {0.1F, -30.0},
    {0.22F, -18.0},
    {0.35F, -12.0},
    {0.5F, -6.0},
    {0.65F, -3.0},
    {0.75F, 0.0},
    {1.0F, 6.0},
}};

// A fader at or below this is closed.
constexpr float closedPosition = 0.0001F;
static_assert(std::bit_cast<std::uint32_t>(closedPosition) == 0x38D1B717);

// Written so that a NaN gives 0.
float limitedToUnit(float position) {
  return position > 0.0F ? std::min(position, 1.0F) : 0.0F;
}

float linear(double decibels) {
  return static_cast<float>(std::pow(10.0, decibels / 20.0));
}

// printf would follow the decimal point of the process's locale.
std::string oneDecimal(double value) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 1);
  return {text.begin(), written.ptr};
}

}  // namespace

std::optional<double> ChannelFaderScale::decibels(float position) {
  if (!(position > closedPosition)) {
    return std::nullopt;
  }
  const float found = std::min(position, 1.0F);
  std::size_t upper = 1;
  while (upper + 1 < faderLaw.size() && faderLaw[upper].position < found) {
    ++upper;
  }
  const Breakpoint& low = faderLaw[upper - 1];
  const Breakpoint& high = faderLaw[upper];
  const float width = high.position - low.position;
  const float proportion = width > 0.0F ? (found - low.position) / width : 0.0F;
  return low.decibels + (high.decibels - low.decibels) * static_cast<double>(proportion);
}

float ChannelFaderScale::linearGain(float position) {
  const std::optional<double> level = decibels(position);
  return level ? linear(*level) : 0.0F;
}

std::string ChannelFaderScale::text(float position) {
  const std::optional<double> level = decibels(position);
  return level ? oneDecimal(*level) + " dB" : "-inf dB";
}

double ChannelGainScale::decibels(float position) {
  constexpr double range = maximumDecibels - minimumDecibels;
  return static_cast<double>(limitedToUnit(position)) * range + minimumDecibels;
}

float ChannelGainScale::linearGain(float position) {
  return linear(decibels(position));
}

std::string ChannelGainScale::text(float position) {
  const double level = decibels(position);
  if (std::abs(level) < 0.05) {
    return "0.0 dB";
  }
  return (level > 0.0 ? "+" : "") + oneDecimal(level) + " dB";
}

std::string ChannelReverbScale::text(float position) {
  return std::to_string(static_cast<int>(std::round(limitedToUnit(position) * 100.0F))) + "%";
}

}  // namespace vrel
