// SPDX-License-Identifier: GPL-3.0-or-later
// The time that plug-ins get, in this process and in their own.

#include "system/plugins/lv2/time_position.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

/// What a host would say.
struct HostTime {
  double tempo = 120;
  double beat = 0;
  bool isMoving = true;
  bool isThere = true;
};

class PluginTime : public SandboxStage, public testing::WithParamInterface<bool> {
 protected:
  PluginTime() : unit_((GetParam() ? make(uri_) : inProcess_.make(uri_)).unit), player_(unit_) {
    unit_->auAudioUnit().setMusicalContextBlock([this](double* tempo, double* numerator, std::int64_t* denominator,
                                                       double* beat, std::int64_t* /*offset*/, double* downbeat) {
      *tempo = host_.tempo;
      *numerator = 4;
      *denominator = 4;
      *beat = host_.beat;
      *downbeat = std::floor(host_.beat / 4) * 4;
      return host_.isThere;
    });
    unit_->auAudioUnit().setTransportStateBlock(
        [this](std::uint64_t* flags, double* samplePosition, double* /*start*/, double* /*end*/) {
          *flags = host_.isMoving ? transportStateMoving : 0;
          *samplePosition = host_.beat * 60 / host_.tempo * 48000;
          return host_.isThere;
        });
  }

  /// One block, with the time that has passed after it.
  void play() {
    const lv2::Sound sound = player_.block(frames);
    fields_.assign(sound.left.begin(), sound.left.begin() + 8);
    for (float& field : fields_) {
      field *= 0x1p24F;  // as the zoo scales its numbers
    }
    count_ = sound.right[0];
    host_.beat += frames / 48000.0 * host_.tempo / 60;
  }

  static constexpr std::uint32_t frames = 480;
  const std::string uri_ = "urn:vrel:zoo:clock";
  HostTime host_;
  std::shared_ptr<AVAudioUnit> unit_;
  lv2::Player player_;
  std::vector<float> fields_;
  float count_ = 0;
};

TEST_P(PluginTime, APluginThatTakesTheTimeGetsAllOfIt) {
  host_.beat = 7.5;
  host_.tempo = 90;
  play();
  EXPECT_EQ(fields_, (std::vector<float>{7.5F * 60 / 90 * 48000, 1, 1, 3.5, 7.5, 4, 4, 90}));
  EXPECT_EQ(count_, 1);
}

TEST_P(PluginTime, MusicThatJustGoesOnIsNotAChange) {
  for (int block = 0; block < 500; ++block) {
    play();
  }
  EXPECT_EQ(count_, 1);
}

TEST_P(PluginTime, AChangeOfTempoOfTransportOrPlaceArrivesInItsBlock) {
  play();
  host_.tempo = 140;
  play();
  EXPECT_EQ(fields_[7], 140);
  EXPECT_EQ(count_, 2);
  host_.isMoving = false;
  play();
  EXPECT_EQ(fields_[1], 0);
  EXPECT_EQ(count_, 3);
  host_.beat = 64;
  play();
  EXPECT_EQ(fields_[4], 64);
  EXPECT_EQ(count_, 4);
  play();
  EXPECT_EQ(count_, 4);
}

TEST_P(PluginTime, AHostThatIsGoneSendsNothing) {
  host_.isThere = false;
  play();
  EXPECT_EQ(count_, 0);
}

TEST_P(PluginTime, AfterAResetThePluginGetsTheTimeAgain) {
  play();
  unit_->reset();
  play();
  EXPECT_EQ(count_, 2);
}

INSTANTIATE_TEST_SUITE_P(Processes, PluginTime, testing::Bool(),
                         [](const auto& each) { return each.param ? "OfItsOwn" : "This"; });

TEST(TransportChangeDetector, AClockThatWaversByAMillisecondIsNoChangeAndOneThatDriftsByThreeIs) {
  lv2::TransportChangeDetector news;
  MusicalTime time;
  time.isKnown = 1;
  EXPECT_TRUE(news.hasChanged(time, 1024, 48000));
  for (int block = 1; block < 1000; ++block) {
    const double waver = block % 2 == 0 ? 0.001 : -0.001;  // seconds
    time.beat = 2 * (block * 1024 / 48000.0 + waver);
    EXPECT_FALSE(news.hasChanged(time, 1024, 48000));
  }
  time.beat = 2 * (1000 * 1024 / 48000.0 + 0.003);
  EXPECT_TRUE(news.hasChanged(time, 1024, 48000));
}

}  // namespace
}  // namespace vrel::sandbox
