// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/link_fades.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <span>
#include <string>
#include <vector>

#include "support/audio/graph_stage.h"
#include "support/audio/measure.h"

namespace vrel::audio::test {
namespace {

constexpr double toneRate = 48000;
constexpr double toneLevel = 0.287;
constexpr std::size_t halfFrames = 8192;
constexpr auto fadeFrames = LinkFades::fadeFrames;

/// A tone on one channel only, so that another one can be looked at on its own.
Wave toneOn(std::uint32_t channel, double hertz) {
  const Wave wave = sine(hertz, toneRate, toneLevel);
  return [=](std::uint64_t frame, std::uint32_t asked) { return asked == channel ? wave(frame, asked) : 0.0F; };
}

double splatter(const std::vector<float>& heard) {
  const double decibels = splatterDecibels(heard, toneRate, toneLevel);
  testing::Test::RecordProperty("splatterDecibels", std::to_string(decibels));
  return decibels;
}

/// A strip that changes on the left, beside one on the right that must not.
class LinkFade : public testing::TestWithParam<double> {
 protected:
  LinkFade() {
    stage.addStrip(2, toneOn(1, 330));
    strip = stage.addStrip(2, toneOn(0, GetParam()));
    EXPECT_FALSE(stage.engine->start());
  }

  /// What is heard on the left around a change; on the right nothing may be.
  std::vector<float> heardAround(const std::function<void()>& change) {
    Recording tape = stage.record(halfFrames);
    stage.engine->stop();
    change();
    EXPECT_FALSE(stage.engine->start());
    const Recording after = stage.record(halfFrames);
    tape.left.insert(tape.left.end(), after.left.begin(), after.left.end());
    tape.right.insert(tape.right.end(), after.right.begin(), after.right.end());
    const Wave other = toneOn(1, 330);
    for (const float sample : tape.right) {
      EXPECT_EQ(sample, other(frame_++, 1));
    }
    return tape.left;
  }

  void remove() {
    stage.unwire(strip);
    stage.engine->detach(strip.source);
    stage.engine->detach(strip.reverb);
    stage.engine->detach(strip.meter);
  }

  OfflineStage stage{toneRate};
  Strip strip;

 private:
  std::uint64_t frame_ = 0;
};

TEST_P(LinkFade, ARemovedStripFadesOutWithoutAClick) {
  const auto heard = heardAround([&] { remove(); });
  EXPECT_LE(splatter(heard), -50);
  EXPECT_GT(peak(std::span(heard).subspan(halfFrames, fadeFrames / 2)), toneLevel / 2) << "it is not cut";
  EXPECT_EQ(peak(std::span(heard).subspan(halfFrames + fadeFrames)), 0);
}

TEST_P(LinkFade, AnotherSongFadesInWhileTheEarlierOneFadesOut) {
  const auto heard = heardAround([&] {
    remove();
    strip = stage.addStrip(2, [tone = toneOn(0, 500)](std::uint64_t frame, std::uint32_t channel) {
      return tone(frame + 27, channel);  // in the middle of its sound
    });
  });
  EXPECT_LE(splatter(heard), -50);
  for (std::size_t frame = halfFrames; frame < halfFrames + 2 * fadeFrames; frame += 64) {
    EXPECT_GT(peak(std::span(heard).subspan(frame, 110)), toneLevel / 4) << "no silence is added";
  }
}

TEST_P(LinkFade, AnInstrumentThatIsUnloadedFadesOut) {
  EXPECT_LE(splatter(heardAround([&] { stage.engine->detach(strip.source); })), -50);
}

TEST_P(LinkFade, AnEffectIsPutInAndTakenOutWithoutAClick) {
  const auto effect = std::make_shared<FactorNode>(-0.5F);
  stage.engine->attach(effect);
  const auto in = heardAround([&] {
    stage.link(strip.source, effect);
    stage.link(effect, strip.reverb);
  });
  EXPECT_LE(splatter(in), -50);
  EXPECT_NEAR(peak(std::span(in).subspan(halfFrames + fadeFrames)), toneLevel / 2, 0.001);
  const auto out = heardAround([&] {
    stage.engine->detach(effect);
    stage.link(strip.source, strip.reverb);
  });
  EXPECT_LE(splatter(out), -50);
  EXPECT_NEAR(peak(std::span(out).subspan(halfFrames + fadeFrames)), toneLevel, 0.001);
}

TEST_P(LinkFade, AMonoEffectIsPutIntoAStereoStripWithoutAClick) {
  const auto mono = makeSource(1, sine(GetParam(), toneRate, toneLevel));
  stage.engine->attach(mono);
  const auto heard = heardAround([&] {
    stage.unwire(strip);
    strip.source = mono;
    stage.wire(strip);
    stage.engine->disconnectNodeOutput(strip.meter);
  });
  EXPECT_LE(splatter(heard), -50);
}

TEST_P(LinkFade, APluginThatDiesFadesOutAndComesBackSoftly) {
  EXPECT_LE(splatter(heardAround([&] { strip.source->log()->isMissing = true; })), -50);
  EXPECT_LE(splatter(heardAround([&] { strip.source->log()->isMissing = false; })), -50);
}

TEST_P(LinkFade, AnEffectThatIsBypassedAndComesBackMakesNoClick) {
  const auto effect = std::make_shared<FactorNode>(-0.5F);
  stage.engine->attach(effect);
  stage.link(strip.source, effect);
  stage.link(effect, strip.reverb);
  const auto out = heardAround([&] { effect->setBypassed(true); });
  EXPECT_LE(splatter(out), -50);
  EXPECT_NEAR(peak(std::span(out).subspan(halfFrames + fadeFrames)), toneLevel, 0.001);
  const auto in = heardAround([&] { effect->setBypassed(false); });
  EXPECT_LE(splatter(in), -50);
  EXPECT_NEAR(peak(std::span(in).subspan(halfFrames + fadeFrames)), toneLevel / 2, 0.001);
}

TEST_P(LinkFade, AHallFadesOutWithItsStrip) {
  strip.reverb->setWetDryMix(100);
  stage.engine->detach(strip.source);
  const auto source = makeSource(2, [tone = toneOn(0, GetParam())](std::uint64_t frame, std::uint32_t channel) {
    const double position = std::min(static_cast<double>(frame) / 4000, 1.0);  // an arch
    return tone(frame, channel) * static_cast<float>(0.5 - 0.5 * std::cos(2 * std::numbers::pi * position));
  });
  stage.engine->attach(source);
  stage.link(source, strip.reverb);
  std::vector<float> heard = stage.record(halfFrames).left;
  EXPECT_GT(peak(std::span(heard).subspan(halfFrames - 1000)), toneLevel / 100);
  remove();
  const auto after = stage.record(halfFrames).left;
  EXPECT_EQ(peak(std::span(after).subspan(fadeFrames)), 0);
  heard.insert(heard.end(), after.begin(), after.end());
  EXPECT_LE(splatter(heard), -50);
}

TEST_P(LinkFade, ChangesInARowFadeOutWhatWasHeardLast) {
  const auto effect = std::make_shared<FactorNode>(0.5F);
  stage.engine->attach(effect);
  const auto heard = heardAround([&] {
    stage.link(strip.source, effect);
    stage.link(effect, strip.reverb);
    EXPECT_FALSE(stage.engine->start());
    stage.engine->detach(effect);
    remove();
  });
  EXPECT_LE(splatter(heard), -50);
  EXPECT_GT(peak(std::span(heard).subspan(halfFrames, fadeFrames / 2)), toneLevel / 2);
}

TEST_P(LinkFade, ASilentBlockOfTheDeviceHasEdgesWithoutAClick) {
  Recording tape = stage.record(halfFrames);
  stage.engine->stop();
  Recording after = stage.record(128);
  EXPECT_FALSE(stage.engine->start());
  tape.left.insert(tape.left.end(), after.left.begin(), after.left.end());
  after = stage.record(halfFrames - 128);
  tape.left.insert(tape.left.end(), after.left.begin(), after.left.end());
  EXPECT_LE(splatter(tape.left), -50);
}

INSTANTIATE_TEST_SUITE_P(Tones, LinkFade, testing::Values(55.0, 219.0, 441.3, 1201.7, 3000.0));

TEST(LinkFades, AShowBeginsWithItsFirstSample) {
  OfflineStage stage(toneRate);
  stage.addStrip(2, constant(0.5F));
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(1).left[0], 0.5F);
}

TEST(LinkFades, TwoRunsOfTheSameChangesAreEqual) {
  const auto run = [] {
    OfflineStage stage(toneRate);
    stage.addStrip(2, noise(7));
    EXPECT_FALSE(stage.engine->start());
    std::vector<float> heard;
    for (std::uint32_t turn = 0; turn < 6; ++turn) {
      const Strip other = stage.addStrip(1 + turn % 2, noise(turn));
      const auto one = stage.record(333).left;
      stage.unwire(other);
      const auto two = stage.record(100).left;
      heard.insert(heard.end(), one.begin(), one.end());
      heard.insert(heard.end(), two.begin(), two.end());
    }
    return heard;
  };
  EXPECT_EQ(run(), run());
}

TEST(Continuation, AToneGoesOnAsItWas) {
  const Wave wave = sine(441, toneRate, 0.5);
  std::vector<float> past;
  for (std::uint64_t frame = 0; frame < continuationHistory; ++frame) {
    past.push_back(wave(frame, 0));
  }
  std::vector<float> next(256);
  continueSignal(past, next);
  for (std::uint64_t frame = 0; frame < next.size(); ++frame) {
    EXPECT_NEAR(next[frame], wave(continuationHistory + frame, 0), 0.01) << frame;
  }
}

TEST(Continuation, NoSignalGrowsOrBecomesSomethingElseThanANumber) {
  const float infinite = std::numeric_limits<float>::infinity();
  for (const float odd : {0.0F, 1e-30F, 1e30F, 1.0F, infinite, std::numeric_limits<float>::quiet_NaN()}) {
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
      std::vector<float> past(continuationHistory);
      for (std::uint64_t frame = seed * 25; frame < past.size(); ++frame) {
        past[frame] = noise(seed)(frame, 0) + (frame == 500 ? odd : 0.0F);
      }
      std::vector<float> next(256, 1.0F);
      continueSignal(past, next);
      const double most = std::isfinite(odd) ? 1.5 * peak(past) : 0;
      EXPECT_TRUE(std::ranges::all_of(next, [&](float sample) { return std::abs(sample) <= most * 1.001; }));
    }
  }
}

}  // namespace
}  // namespace vrel::audio::test
