// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace vrel::audio::test {

/// What the sound tests read off a recording. Plain, exact and slow; not for use in a block.

/// The largest absolute sample, and the largest difference of two samples that follow each other.
double peak(std::span<const float> samples);
double largestStep(std::span<const float> samples);

double rootMeanSquare(std::span<const float> samples);
double mean(std::span<const float> samples);

/// Between -1 and 1.
double correlation(std::span<const float> left, std::span<const float> right);

/// Power per bin of the Hann-windowed samples, bins 0 to size/2; the size is a power of two.
std::vector<double> powerSpectrum(std::span<const float> samples);

/// The part of the response between two frequencies, one octave say. Hertz.
std::vector<float> bandPass(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz);

/// Seconds to a decay of 60 dB, from the slope between -5 and -35 dB of the backward-integrated energy.
double decaySeconds(std::span<const float> impulseResponse, double sampleRate);

/// How like noise a stretch of a response is: the share of samples outside one standard deviation,
/// over the share that Gaussian noise has. Near 1 when echoes are dense; small when they are sparse.
double echoDensity(std::span<const float> samples);

/// How far the strongest bin in the band is above its surroundings, decibels of power. For
/// Gaussian noise 10 to 12; a resonance is higher.
double spectralPeakDecibels(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz);

/// How much a stretch repeats itself after any time between the two: the strongest correlation with itself,
/// 0 to 1. Small for noise; a flutter or a beat of equal delays shows. Seconds.
double strongestRepetition(std::span<const float> samples, double sampleRate, double shortest, double longest);

}  // namespace vrel::audio::test
