// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

// What the position of a control, 0.0 to 1.0, means in decibels and as a linear factor. The sound and
// the text under a control both use these, so a label cannot disagree with what is heard. Pure
// functions; any thread, though the texts allocate.

namespace vrel {

/// The fader: closed at the bottom, unity at three quarters of the travel, +6 dB at the top.
struct ChannelFaderScale {
  /// Nothing means minus infinity.
  [[nodiscard]] static std::optional<double> decibels(float position);
  [[nodiscard]] static float linearGain(float position);
  /// Such as "-6.0 dB", "6.0 dB" or "-inf dB".
  [[nodiscard]] static std::string text(float position);
};

/// The gain knob: straight in decibels, unity in the middle.
struct ChannelGainScale {
  static constexpr double minimumDecibels = -24.0;
  static constexpr double maximumDecibels = 24.0;

  [[nodiscard]] static double decibels(float position);
  [[nodiscard]] static float linearGain(float position);
  /// Such as "+6.0 dB", "-6.0 dB" or "0.0 dB".
  [[nodiscard]] static std::string text(float position);
};

/// The reverb knob: a plain proportion.
struct ChannelReverbScale {
  /// Such as "25%".
  [[nodiscard]] static std::string text(float position);
};

}  // namespace vrel
