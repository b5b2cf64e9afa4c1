// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>

#include "platform/audio_parameters.h"

namespace vrel {

/// Addresses from here on are of parameters without a port, which are set and reported by messages; those from the
/// second on are of files and those from the third on of text, and no numbers.
inline constexpr AUParameterAddress firstMessageParameter = 0x80000000U;
inline constexpr AUParameterAddress firstPathParameter = 0xC0000000U;
inline constexpr AUParameterAddress firstTextParameter = 0xE0000000U;

/// Bytes of a file's path or a text; plug-ins are given no longer one.
inline constexpr std::size_t longestParameterText = 4095;

[[nodiscard]] constexpr bool isPath(const AUParameter& parameter) {
  return parameter.address >= firstPathParameter && parameter.address < firstTextParameter;
}
[[nodiscard]] constexpr bool isText(const AUParameter& parameter) {
  return parameter.address >= firstTextParameter;
}
[[nodiscard]] constexpr bool isNumber(const AUParameter& parameter) {
  return parameter.address < firstPathParameter;
}

/// Of a plug-in that may have parameters without a port. Those that are numbers are moved as all others; until the
/// plug-in has reported one, it is not a number. Main thread.
class MessageParameters {
 public:
  virtual ~MessageParameters() = default;

  /// Has them reported from now on, beginning with what they are; each call with true needs one with false.
  virtual void watchMessageParameters(bool isWatched) = 0;

  /// The file or the text that a parameter is, and another for it, with the next block. Empty for none, and until it is
  /// reported.
  [[nodiscard]] virtual std::string parameterText(AUParameterAddress address) = 0;
  virtual void setParameterText(AUParameterAddress address, const std::string& text) = 0;
};

}  // namespace vrel
