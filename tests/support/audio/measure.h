// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace vrel::audio::test {

/// Measurements of recordings for the sound tests. Simple, exact and slow; not for use in a block.

/// The largest absolute sample, and the largest difference of consecutive samples.
double peak(std::span<const float> samples);
double largestStep(std::span<const float> samples);

double rootMeanSquare(std::span<const float> samples);
double mean(std::span<const float> samples);

/// Between -1 and 1.
double correlation(std::span<const float> left, std::span<const float> right);

/// Power per bin of the Hann-windowed samples, bins 0 to size/2; the size is a power of two.
std::vector<double> powerSpectrum(std::span<const float> samples);

/// The part of the response between two frequencies, an octave for example. Hertz.
std::vector<float> bandPass(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz);

/// The largest sample above a frequency relative to a level, decibels: what a click adds to a tone that is lower. The
/// ends of the recording are faded first, 2048 frames each.
double splatterDecibels(std::vector<float> samples, double sampleRate, double level, double aboveHertz = 4000);

/// Seconds to a decay of 60 dB, from the slope between -5 and -35 dB of the backward-integrated energy.
double decaySeconds(std::span<const float> impulseResponse, double sampleRate);

/// How noise-like a range of a response is: the share of samples outside one standard deviation,
/// over the share that Gaussian noise has. Near 1 when echoes are dense; small when they are sparse.
double echoDensity(std::span<const float> samples);

/// The level of the strongest bin in the band over its surroundings, decibels of power. For Gaussian
/// noise 10 to 12; higher for a resonance.
double spectralPeakDecibels(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz);

/// How much a range repeats after any time between the two, in seconds: the maximum autocorrelation, 0 to 1. Small
/// for noise, large for flutter or the beat of equal delays.
double strongestRepetition(std::span<const float> samples, double sampleRate, double shortest, double longest);

}  // namespace vrel::audio::test
