// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "support/audio/measure.h"
#include "support/audio/test_nodes.h"
#include "system/audio/denormal_guard.h"
#include "system/audio/hall_reverb.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio::test {
namespace {

/// A reverb without a graph around it, fed with a formula.
class Hall {
 public:
  Hall(double sampleRate, std::uint32_t channelCount, float mixPercent)
      : rate(sampleRate), channels_(channelCount), processor_(node.processor()) {
    processor_->prepare(sampleRate);
    node.setWetDryMix(mixPercent);
    for (std::size_t channel = 0; channel < 2; ++channel) {
      input_[channel].resize(blockFrames);
      output_[channel].resize(blockFrames);
    }
  }

  /// What leaves the node for `seconds`, with the dry sound taken off again.
  std::array<std::vector<float>, 2> wet(const Wave& wave, double seconds) {
    std::array<std::vector<float>, 2> tape;
    const auto blocks = static_cast<std::size_t>(seconds * rate / blockFrames);
    for (std::size_t block = 0; block < blocks; ++block) {
      play(wave);
      for (std::size_t channel = 0; channel < channels_; ++channel) {
        for (std::size_t frame = 0; frame < blockFrames; ++frame) {
          tape[channel].push_back(output_[channel][frame] - input_[channel][frame]);
        }
      }
    }
    return tape;
  }

  /// One block. Its input and output stay to be looked at.
  void play(const Wave& wave) {
    for (std::uint32_t frame = 0; frame < blockFrames; ++frame, ++frame_) {
      for (std::uint32_t channel = 0; channel < channels_; ++channel) {
        input_[channel][frame] = wave(frame_, channel);
      }
    }
    const AudioThreadScope audioThread;
    const DenormalGuard denormals;
    const Stream input{.channels = {input_[0].data(), input_[1].data()}, .channelCount = channels_};
    const Stream output{.channels = {output_[0].data(), output_[1].data()}, .channelCount = channels_};
    processor_->process({.frameCount = blockFrames, .inputs = {&input, 1}, .output = output, .tap = nullptr});
  }

  [[nodiscard]] const std::vector<float>& input(std::size_t channel) const { return input_.at(channel); }
  [[nodiscard]] const std::vector<float>& output(std::size_t channel) const { return output_.at(channel); }

  static constexpr std::uint32_t blockFrames = 128;
  ReverbNode node;
  const double rate;

 private:
  std::uint32_t channels_;
  std::shared_ptr<NodeProcessor> processor_;
  std::array<std::vector<float>, 2> input_;
  std::array<std::vector<float>, 2> output_;
  std::uint64_t frame_ = 0;
};

std::span<const float> between(const std::vector<float>& samples, double rate, double begin, double end) {
  return std::span(samples).subspan(static_cast<std::size_t>(begin * rate),
                                    static_cast<std::size_t>((end - begin) * rate));
}

double decayInBand(const std::vector<float>& response, double rate, double hertz) {
  return decaySeconds(bandPass(response, rate, hertz / std::numbers::sqrt2, hertz * std::numbers::sqrt2), rate);
}

class ReverbAtRate : public testing::TestWithParam<double> {};

TEST_P(ReverbAtRate, DecaysInThreeSecondsAndFasterInTheHighs) {
  const double rate = GetParam();
  const std::vector<float> response = Hall(rate, 1, 100).wet(impulse(), 5)[0];
  EXPECT_NEAR(decayInBand(response, rate, 500), 3.0, 0.25);
  EXPECT_NEAR(decayInBand(response, rate, 1000), 3.0, 0.25);
  EXPECT_NEAR(decayInBand(response, rate, 4000), 2.05, 0.25);
  EXPECT_NEAR(decayInBand(response, rate, 8000), 1.22, 0.2);
}

TEST_P(ReverbAtRate, HasTheSameLevelAtEveryRate) {
  const double rate = GetParam();
  const std::vector<float> response = Hall(rate, 1, 100).wet(impulse(), 4)[0];
  const std::vector<float> band = bandPass(response, rate, 707, 1414);
  double energy = 0;
  for (const float sample : band) {
    energy += static_cast<double>(sample) * static_cast<double>(sample);
  }
  // A steady sound in this band comes back about 3 dB below itself.
  const double gain = energy / (2.0 * 707 / rate);
  EXPECT_NEAR(10.0 * std::log10(gain), -3.3, 1.0);
}

TEST_P(ReverbAtRate, IsDenseAfterATenthOfASecond) {
  const double rate = GetParam();
  const std::vector<float> response = Hall(rate, 1, 100).wet(impulse(), 2)[0];
  for (double begin = 0.12; begin < 1.5; begin += 0.03) {
    EXPECT_GT(echoDensity(between(response, rate, begin, begin + 0.03)), 0.82) << begin;
  }
}

// The normalised echo density of Abel and Huang, "A simple, robust measure of reverberation echo density" (AES
// convention paper 6985, 2006), in windows of 20 ms.
TEST_P(ReverbAtRate, IsDenseThirtyMillisecondsAfterTheFirstEcho) {
  const double rate = GetParam();
  const Wave onBoth = [](std::uint64_t frame, std::uint32_t) { return frame == 0 ? 1.0F : 0.0F; };
  for (const std::vector<float>& response : Hall(rate, 2, 100).wet(onBoth, 0.3)) {
    const auto audible = [least = peak(response) / 1000](float sample) { return std::abs(sample) > least; };
    const double first = static_cast<double>(std::ranges::find_if(response, audible) - response.begin()) / rate;
    EXPECT_NEAR(first, 0.02, 0.001);
    for (double middle = first + 0.03; middle < first + 0.1; middle += 0.002) {
      EXPECT_GT(echoDensity(between(response, rate, middle - 0.01, middle + 0.01)), 0.9) << middle - first;
    }
  }
}

TEST_P(ReverbAtRate, NoLineSticksOutOfTheLateTail) {
  const double rate = GetParam();
  const std::vector<float> response = Hall(rate, 1, 100).wet(impulse(), 4.6)[0];
  for (const double begin : {0.3, 1.0, 2.0, 3.0}) {
    EXPECT_LT(spectralPeakDecibels(between(response, rate, begin, begin + 1.5), rate, 100, 6000), 14.5) << begin;
  }
}

TEST_P(ReverbAtRate, TheTailDoesNotRepeatItself) {
  const double rate = GetParam();
  const std::vector<float> response = Hall(rate, 1, 100).wet(impulse(), 3)[0];
  for (const double begin : {0.2, 0.5, 1.0, 2.0}) {
    EXPECT_LT(strongestRepetition(between(response, rate, begin, begin + 0.8), rate, 0.002, 0.3), 0.16) << begin;
  }
}

TEST_P(ReverbAtRate, StaysStableAndLosesEverythingInAMinute) {
  const double rate = GetParam();
  Hall hall(rate, 2, 100);
  const Wave wave = noise(11);
  hall.wet(wave, 2);
  const double loud = rootMeanSquare(hall.wet(wave, 0.5)[0]);
  const auto tail = hall.wet(constant(0), 60);
  EXPECT_LT(rootMeanSquare(between(tail[0], rate, 3.0, 3.5)), loud * 0.004);
  EXPECT_LT(peak(between(tail[0], rate, 30, 59)), 1e-6);
  EXPECT_EQ(peak(between(tail[1], rate, 58, 59)), 0);
}

INSTANTIATE_TEST_SUITE_P(Rates, ReverbAtRate, testing::Values(44100.0, 48000.0, 96000.0),
                         [](const auto& tested) { return std::to_string(static_cast<int>(tested.param)); });

TEST(Reverb, TheFirstReflectionComesAfterThePreDelay) {
  const std::vector<float> response = Hall(48000, 1, 100).wet(impulse(), 0.2)[0];
  EXPECT_EQ(peak(between(response, 48000, 0, 0.0199)), 0);
  EXPECT_GT(peak(between(response, 48000, 0.0199, 0.05)), 0.01);
}

TEST(Reverb, TheSidesAreIndependent) {
  for (const bool oneSided : {false, true}) {
    const Wave wave = [oneSided](std::uint64_t frame, std::uint32_t channel) {
      return frame == 0 && (channel == 0 || !oneSided) ? 1.0F : 0.0F;
    };
    const auto response = Hall(48000, 2, 100).wet(wave, 3);
    for (const double begin : {0.1, 0.5, 1.0, 2.0}) {
      const auto left = between(response[0], 48000, begin, begin + 0.5);
      const auto right = between(response[1], 48000, begin, begin + 0.5);
      EXPECT_LT(std::abs(correlation(left, right)), 0.15) << begin;
      EXPECT_NEAR(rootMeanSquare(left) / rootMeanSquare(right), 1.0, 0.25) << begin;
    }
  }
}

TEST(Reverb, MonoInGivesMonoOutAndStereoStereo) {
  ReverbNode node;
  EXPECT_EQ(node.processor()->outputChannelCount(1), 1U);
  EXPECT_EQ(node.processor()->outputChannelCount(2), 2U);
}

TEST(Reverb, TheDrySoundIsNeverTouched) {
  // In the first 20 ms there is nothing but the dry sound.
  for (const float mix : {1.0F, 37.5F, 75.0F, 100.0F}) {
    Hall hall(48000, 2, mix);
    for (int block = 0; block < 7; ++block) {
      hall.play(noise(2));
      ASSERT_EQ(hall.output(0), hall.input(0)) << mix;
      ASSERT_EQ(hall.output(1), hall.input(1)) << mix;
    }
  }
}

TEST(Reverb, TheWetPartFollowsTheMix) {
  const auto full = Hall(48000, 2, 100).wet(impulse(), 0.5);
  const auto half = Hall(48000, 2, 50).wet(impulse(), 0.5);
  EXPECT_NEAR(rootMeanSquare(half[0]) / rootMeanSquare(full[0]), 0.5, 0.001);
  const auto beyond = Hall(48000, 2, 250).wet(impulse(), 0.5);
  EXPECT_EQ(beyond, full);
  EXPECT_EQ(peak(Hall(48000, 2, -20).wet(impulse(), 0.5)[0]), 0);
  EXPECT_EQ(peak(Hall(48000, 2, std::nanf("")).wet(impulse(), 0.5)[0]), 0);
}

TEST(Reverb, IsLinear) {
  const auto one = Hall(48000, 2, 100).wet(impulse(0.25F), 0.5);
  const auto four = Hall(48000, 2, 100).wet(impulse(1.0F), 0.5);
  for (std::size_t frame = 128; frame < one[0].size(); ++frame) {
    ASSERT_NEAR(one[0][frame] * 4.0F, four[0][frame], 1e-6);
  }
}

TEST(Reverb, AtZeroItPassesEverythingBitForBit) {
  Hall hall(48000, 2, 0);
  for (int block = 0; block < 100; ++block) {
    hall.play(noise(6));
    ASSERT_EQ(hall.output(0), hall.input(0));
    ASSERT_EQ(hall.output(1), hall.input(1));
  }
}

TEST(Reverb, TurnedUpAgainItHasForgotten) {
  for (const double rest : {0.01, 0.2, 3.0}) {
    Hall hall(48000, 2, 100);
    hall.wet(noise(8), 1);
    hall.node.setWetDryMix(0);
    hall.wet(constant(0), rest);
    hall.node.setWetDryMix(100);
    EXPECT_EQ(peak(hall.wet(constant(0), 1)[0]), 0) << rest;
  }
}

TEST(Reverb, TurningTheMixMakesNoStep) {
  Hall hall(48000, 1, 100);
  const Wave wave = sine(220, 48000, 0.5);
  hall.wet(wave, 1);
  const double steady = largestStep(hall.wet(wave, 1)[0]);
  std::vector<float> tape;
  for (const float mix : {0.0F, 100.0F, 30.0F, 80.0F, 0.0F, 60.0F, 100.0F}) {
    hall.node.setWetDryMix(mix);
    const std::vector<float> part = hall.wet(wave, 0.3)[0];
    tape.insert(tape.end(), part.begin(), part.end());
  }
  EXPECT_LT(largestStep(tape), 2.5 * steady);
}

TEST(Reverb, AnOffsetDoesNotPileUp) {
  Hall hall(48000, 2, 100);
  hall.wet(constant(1), 5);
  const auto later = hall.wet(constant(1), 2);
  EXPECT_LT(std::abs(mean(later[0])), 0.001);
  EXPECT_LT(peak(later[0]), 0.01);
}

/// Sound and silence of random lengths, given to a hall that rests and to one that does not, in blocks of random sizes.
TEST(RestingHall, SoundsToTheSampleLikeOneThatNeverRests) {
  constexpr double rate = 4000;
  HallReverb resting;
  HallReverb computed(false);
  resting.prepare(rate);
  computed.prepare(rate);
  const DenormalGuard denormals;
  std::mt19937 random(7);
  const auto any = [&](int least, int most) { return std::uniform_int_distribution<int>(least, most)(random); };
  using Block = std::array<std::array<float, maximumBlockFrames>, 2>;
  Block input{};
  Block heard{};
  Block expected{};
  std::size_t frames = 0;
  std::size_t restedFrames = 0;
  int rests = 0;
  bool isAtRest = false;
  const auto play = [&](bool isSilent, double seconds) {
    for (const std::size_t end = frames + static_cast<std::size_t>(seconds * rate); frames < end;) {
      const auto count = static_cast<std::uint32_t>(any(1, maximumBlockFrames));
      for (auto& channel : input) {
        std::ranges::generate(channel, [&] { return isSilent ? 0.0F : static_cast<float>(any(-100, 100)) / 100.0F; });
      }
      const bool isMono = any(0, 9) == 0;
      const float* const right = isMono ? input[0].data() : input[1].data();
      bool sounds = false;
      bool isComputed = false;
      {
        const AudioThreadScope audioThread;
        sounds = resting.process(input[0].data(), right, heard[0].data(), isMono ? nullptr : heard[1].data(), count);
        isComputed =
            computed.process(input[0].data(), right, expected[0].data(), isMono ? nullptr : expected[1].data(), count);
      }
      ASSERT_TRUE(isComputed);
      for (std::size_t channel = 0; channel < (isMono ? 1U : 2U); ++channel) {
        ASSERT_TRUE(std::equal(heard[channel].begin(), heard[channel].begin() + count, expected[channel].begin()))
            << "frame " << frames;
      }
      rests += !sounds && !isAtRest ? 1 : 0;
      isAtRest = !sounds;
      restedFrames += sounds ? 0 : count;
      frames += count;
    }
  };
  play(true, 2);
  EXPECT_EQ(restedFrames, frames) << "nothing has sounded yet";
  for (int round = 0; round < 3; ++round) {
    play(false, 0.1 * any(1, 10));
    play(true, 0.1 * any(1, 20));  // while it decays
    play(false, 0.1);
    play(true, 60);
  }
  EXPECT_EQ(rests, 4) << "each tail dies once";
  EXPECT_GT(restedFrames, frames / 4);
  play(false, 0.5);
  {
    const AudioThreadScope audioThread;
    while (!resting.clearPortion()) {
      static_cast<void>(computed.clearPortion());
    }
    resting.clearRest();
    computed.clearRest();
  }
  const std::size_t before = restedFrames;
  play(true, 1);
  EXPECT_GT(restedFrames, before) << "it was cleared";
  play(false, 1);
}

}  // namespace
}  // namespace vrel::audio::test
