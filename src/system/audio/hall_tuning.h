// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

/// The numbers that make the hall. They were chosen by measurement: the tests hold decay, density
/// of echoes from 30 ms after the first, evenness of the late spectrum and independence of the channels.
namespace vrel::audio::hall {

inline constexpr double decaySeconds = 3.1;       // to a thousandth of the amplitude, low and middle
inline constexpr double highDecaySeconds = 1.45;  // the same at highDecayHertz
inline constexpr double highDecayHertz = 6000;
inline constexpr double highPassHertz = 25;
inline constexpr double preDelaySeconds = 0.020;
inline constexpr double driftSeconds = 0.00018;
inline constexpr float allpassGain = 0.7F;

// Levels: wet at full mix is meant to be about 3 dB below a steady sound in the middle range.
inline constexpr float earlyLevel = 0.28F;
inline constexpr float lateLevel = 0.25F;

// No shorter than a slice at 44.1 kHz; many short ones, so that the onset is dense at once.
inline constexpr std::array<std::array<double, 7>, 2> allpassSeconds{{
    {0.00173, 0.00229, 0.00293, 0.00379, 0.00467, 0.00617, 0.00823},
    {0.00179, 0.00241, 0.00283, 0.00397, 0.00451, 0.00641, 0.00797},
}};

inline constexpr std::array<double, 16> lineSeconds{0.0291, 0.0617, 0.0347, 0.0533, 0.0743, 0.0409, 0.0671, 0.0311,
                                                    0.0487, 0.0787, 0.0379, 0.0571, 0.0443, 0.0709, 0.0327, 0.0641};

inline constexpr std::array<double, 16> driftHertz{0.31, 0.47, 0.73, 0.37, 0.59, 0.83, 0.41, 0.67,
                                                   0.53, 0.29, 0.79, 0.61, 0.43, 0.71, 0.34, 0.56};

// Even lines feed the left channel, odd ones the right, eight each with a total power of one.
inline constexpr float feed = 0.353553391F;
inline constexpr std::array<float, 16> inputSigns{feed, feed,  -feed, feed, feed, -feed, feed,  -feed,
                                                  feed, -feed, -feed, feed, feed, feed,  -feed, -feed};

inline constexpr std::array<float, 16> leftSigns{1, -1, 1, 1, -1, 1, -1, -1, 1, 1, 1, -1, -1, -1, 1, -1};
inline constexpr std::array<float, 16> rightSigns{1, 1, -1, 1, 1, -1, -1, -1, 1, -1, -1, -1, 1, 1, 1, -1};

}  // namespace vrel::audio::hall
