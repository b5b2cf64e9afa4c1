// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/control_laws.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vrel {
namespace {

constexpr double knobTravel = 160;  // points for the whole range
constexpr float smallestKnobChange = 0.0001F;

constexpr double arcBegin = 0.125;
constexpr double arcMiddle = 0.5;
constexpr double arcEnd = 0.875;
constexpr double arcLength = arcEnd - arcBegin;
constexpr double pointerBegin = -135;
constexpr double pointerTravel = 270;

constexpr std::string_view blanks = " \t\n\v\f\r";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(blanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  const bool hasPlus = !text.empty() && text.front() == '+';
  const std::string_view digits = hasPlus ? text.substr(1) : text;
  if (digits.empty() || (hasPlus && digits.front() == '-')) {
    return std::nullopt;
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() && end == digits.data() + digits.size() ? std::optional(number) : std::nullopt;
}

}  // namespace

double faderPosition(double pointerFromTop, double height, double present) {
  return height > 0 ? std::clamp(1.0 - pointerFromTop / height, 0.0, 1.0) : present;
}

double draggedKnob(double start, double right, double down) {
  return start + (right - down) / knobTravel;
}

std::optional<float> knobChange(float present, double wanted) {
  const auto limited = static_cast<float>(std::clamp(wanted, 0.0, 1.0));
  return std::abs(limited - present) > smallestKnobChange ? std::optional(limited) : std::nullopt;
}

KnobArc gainKnobArc(double value) {
  const double end = arcMiddle + (value - arcMiddle) * arcLength;
  return value < arcMiddle ? KnobArc{std::max(end, arcBegin), arcMiddle} : KnobArc{arcMiddle, std::min(end, arcEnd)};
}

KnobArc reverbKnobArc(double value) {
  return {arcBegin, arcBegin + std::clamp(value, 0.0, 1.0) * arcLength};
}

double knobPointerDegrees(double value) {
  return pointerBegin + value * pointerTravel;
}

std::optional<int> badgeCommit(std::string_view draft, int present, int lower, int upper) {
  const auto number = wholeNumber(trimmed(draft));
  if (!number) {
    return std::nullopt;
  }
  const auto limited = static_cast<int>(std::clamp<std::int64_t>(*number, lower, upper));
  return limited != present ? std::optional(limited) : std::nullopt;
}

std::string transposeText(int semitones) {
  return (semitones >= 0 ? "+" : "") + std::to_string(semitones);
}

int nudgedStartNote(int startNote, int by) {
  const int octave = octaveOf(startNote);
  const bool isAtTheEnd = by < 0 ? octave <= 0 : octave >= highestOctave;
  constexpr int semitones = 12;
  return by == 0 || isAtTheEnd ? startNote
                               : (std::clamp(octave + by, 0, highestOctave) + 1) * semitones + startNote % semitones;
}

int barValue(double pointerFromLeft, double width, int lower, int upper) {
  if (width <= 0) {
    return lower;
  }
  return static_cast<int>(std::lround(std::clamp(pointerFromLeft, 0.0, width) / width * (upper - lower) + lower));
}

double barMarker(int value, int lower, int upper) {
  return upper > lower ? static_cast<double>(value - lower) / (upper - lower) : arcMiddle;
}

}  // namespace vrel
