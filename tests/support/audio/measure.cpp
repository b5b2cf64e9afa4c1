// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/audio/measure.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <utility>

namespace vrel::audio::test {
namespace {

using Spectrum = std::vector<std::complex<double>>;

/// In place; the inverse without its factor.
void transform(Spectrum& data, bool inverse) {
  const std::size_t size = data.size();
  for (std::size_t index = 1, mirrored = 0; index < size; ++index) {
    std::size_t bit = size / 2;
    for (; (mirrored & bit) != 0; bit /= 2) {
      mirrored ^= bit;
    }
    mirrored ^= bit;
    if (index < mirrored) {
      std::swap(data[index], data[mirrored]);
    }
  }
  for (std::size_t length = 2; length <= size; length *= 2) {
    const double angle = (inverse ? 2.0 : -2.0) * std::numbers::pi / static_cast<double>(length);
    std::vector<std::complex<double>> turns(length / 2);
    for (std::size_t index = 0; index < turns.size(); ++index) {
      turns[index] = std::polar(1.0, angle * static_cast<double>(index));
    }
    for (std::size_t begin = 0; begin < size; begin += length) {
      for (std::size_t index = 0; index < length / 2; ++index) {
        const std::complex<double> even = data[begin + index];
        const std::complex<double> odd = data[begin + index + length / 2] * turns[index];
        data[begin + index] = even + odd;
        data[begin + index + length / 2] = even - odd;
      }
    }
  }
}

}  // namespace

double peak(std::span<const float> samples) {
  double largest = 0;
  for (const float sample : samples) {
    largest = std::max(largest, std::abs(static_cast<double>(sample)));
  }
  return largest;
}

double largestStep(std::span<const float> samples) {
  double largest = 0;
  for (std::size_t index = 1; index < samples.size(); ++index) {
    largest =
        std::max(largest, std::abs(static_cast<double>(samples[index]) - static_cast<double>(samples[index - 1])));
  }
  return largest;
}

double rootMeanSquare(std::span<const float> samples) {
  double sum = 0;
  for (const float sample : samples) {
    sum += static_cast<double>(sample) * static_cast<double>(sample);
  }
  return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

double mean(std::span<const float> samples) {
  double sum = 0;
  for (const float sample : samples) {
    sum += static_cast<double>(sample);
  }
  return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

double correlation(std::span<const float> left, std::span<const float> right) {
  double product = 0;
  for (std::size_t index = 0; index < std::min(left.size(), right.size()); ++index) {
    product += static_cast<double>(left[index]) * static_cast<double>(right[index]);
  }
  const double scale = rootMeanSquare(left) * rootMeanSquare(right) * static_cast<double>(left.size());
  return scale > 0 ? product / scale : 0;
}

std::vector<double> powerSpectrum(std::span<const float> samples) {
  Spectrum data(std::bit_floor(samples.size()));
  for (std::size_t index = 0; index < data.size(); ++index) {
    const double phase = 2.0 * std::numbers::pi * static_cast<double>(index) / static_cast<double>(data.size());
    data[index] = static_cast<double>(samples[index]) * (0.5 - 0.5 * std::cos(phase));
  }
  transform(data, false);
  std::vector<double> power(data.size() / 2 + 1);
  for (std::size_t bin = 0; bin < power.size(); ++bin) {
    power[bin] = std::norm(data[bin]);
  }
  return power;
}

std::vector<float> bandPass(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz) {
  Spectrum data(std::bit_ceil(samples.size() * 2));
  std::copy(samples.begin(), samples.end(), data.begin());
  transform(data, false);
  for (std::size_t bin = 0; bin < data.size(); ++bin) {
    const std::size_t folded = std::min(bin, data.size() - bin);
    const double hertz = static_cast<double>(folded) * sampleRate / static_cast<double>(data.size());
    // Soft flanks a third of an octave wide, so that the filter's own ringing stays short.
    const double below = std::clamp(3.0 * std::log2(std::max(hertz, 1.0) / lowHertz) + 0.5, 0.0, 1.0);
    const double above = std::clamp(3.0 * std::log2(highHertz / std::max(hertz, 1.0)) + 0.5, 0.0, 1.0);
    data[bin] *= below * above;
  }
  transform(data, true);
  std::vector<float> band(samples.size());
  for (std::size_t index = 0; index < band.size(); ++index) {
    band[index] = static_cast<float>(data[index].real() / static_cast<double>(data.size()));
  }
  return band;
}

double splatterDecibels(std::vector<float> samples, double sampleRate, double level, double aboveHertz) {
  constexpr std::size_t edge = 2048;
  for (std::size_t frame = 0; frame < edge; ++frame) {
    const auto weight = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(frame) / edge));
    samples[frame] *= weight;
    samples[samples.size() - 1 - frame] *= weight;
  }
  return 20 * std::log10(peak(bandPass(samples, sampleRate, aboveHertz, sampleRate / 2)) / level);
}

double decaySeconds(std::span<const float> impulseResponse, double sampleRate) {
  std::vector<double> energy(impulseResponse.size() + 1);
  for (std::size_t index = impulseResponse.size(); index-- > 0;) {
    const auto sample = static_cast<double>(impulseResponse[index]);
    energy[index] = energy[index + 1] + sample * sample;
  }
  const auto fallenTo = [&energy](double decibels) {
    const double limit = energy.front() * std::pow(10.0, decibels / 10.0);
    return static_cast<double>(std::ranges::find_if(energy, [limit](double left) { return left <= limit; }) -
                               energy.begin());
  };
  return 2.0 * (fallenTo(-35) - fallenTo(-5)) / sampleRate;
}

double echoDensity(std::span<const float> samples) {
  constexpr double gaussianShare = 0.317310508;
  const double deviation = rootMeanSquare(samples);
  const auto outside = std::ranges::count_if(
      samples, [deviation](float sample) { return std::abs(static_cast<double>(sample)) > deviation; });
  return static_cast<double>(outside) / static_cast<double>(samples.size()) / gaussianShare;
}

double spectralPeakDecibels(std::span<const float> samples, double sampleRate, double lowHertz, double highHertz) {
  const std::vector<double> power = powerSpectrum(samples);
  const double hertzPerBin = sampleRate / 2.0 / static_cast<double>(power.size() - 1);
  constexpr std::size_t reach = 100;
  const auto first = std::max(static_cast<std::size_t>(lowHertz / hertzPerBin), reach);
  const auto last = std::min(static_cast<std::size_t>(highHertz / hertzPerBin), power.size() - 1 - reach);
  double largest = 0;
  for (std::size_t bin = first; bin <= last; ++bin) {
    double around = 0;
    for (std::size_t neighbour = bin - reach; neighbour <= bin + reach; ++neighbour) {
      around += power[neighbour];
    }
    around = (around - power[bin]) / (2.0 * reach);
    largest = std::max(largest, power[bin] / around);
  }
  return 10.0 * std::log10(largest);
}

double strongestRepetition(std::span<const float> samples, double sampleRate, double shortest, double longest) {
  Spectrum data(std::bit_ceil(samples.size() * 2));
  // The difference from sample to sample, so that the lows do not hide the rest.
  for (std::size_t index = 1; index < samples.size(); ++index) {
    data[index] = static_cast<double>(samples[index]) - static_cast<double>(samples[index - 1]);
  }
  transform(data, false);
  for (std::complex<double>& bin : data) {
    bin = std::norm(bin);
  }
  transform(data, true);
  double strongest = 0;
  for (auto lag = static_cast<std::size_t>(shortest * sampleRate);
       lag <= static_cast<std::size_t>(longest * sampleRate); ++lag) {
    strongest = std::max(strongest, std::abs(data[lag].real()) / data[0].real());
  }
  return strongest;
}

}  // namespace vrel::audio::test
