// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <concepts>
#include <limits>
#include <optional>

namespace vrel {

/// `number` as an Integer; none if it has a fraction or does not fit. None either at -2^63, to which numbers beyond it
/// are rounded.
template <std::integral Integer>
[[nodiscard]] std::optional<Integer> wholeNumber(double number) {
  using Limits = std::numeric_limits<Integer>;
  const bool fits =
      number >= static_cast<double>(Limits::min()) && number < std::ldexp(1.0, Limits::digits) && number > -0x1p63;
  return fits && std::trunc(number) == number ? std::optional(static_cast<Integer>(number)) : std::nullopt;
}

/// The float nearest to `number`; none if that would be infinite.
[[nodiscard]] inline std::optional<float> nearestFloat(double number) {
  constexpr float largest = std::numeric_limits<float>::max();
  constexpr double roundsToInfinity = 0x1.ffffffp127;
  if (!(std::abs(number) < roundsToInfinity)) {
    return std::nullopt;
  }
  return std::abs(number) > static_cast<double>(largest) ? (number < 0 ? -largest : largest)
                                                         : static_cast<float>(number);
}

}  // namespace vrel
