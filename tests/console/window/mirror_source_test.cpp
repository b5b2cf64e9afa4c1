// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_source.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "console/window/mirror_publisher.h"
#include "console/window/view_models.h"
#include "simulation/virtual_time.h"

namespace vrel::window {
namespace {

class Mirror : public testing::Test {
 protected:
  [[nodiscard]] QVariant sent(std::size_t batch, const MirrorPublisher<StripViewModel>& object,
                              const AnyMirrorKey& key) const {
    const auto values = batches.at(batch).values.find(object.id);
    if (values == batches[batch].values.end()) {
      return {};
    }
    const auto value = values->second.find(&key);
    return value != values->second.end() ? value->second : QVariant();
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  std::vector<MirrorBatch> batches;
  std::optional<MirrorSource> source{std::in_place, mainQueue,
                                     [this](MirrorBatch batch) { batches.push_back(std::move(batch)); }};
};

TEST_F(Mirror, ChangesOfOneTurnGoInOneBatchWithTheirLastState) {
  MirrorPublisher<StripViewModel> strip(*source);
  strip.set(StripViewModel::volumeKey, 0.1F);
  strip.set(StripViewModel::volumeKey, 0.25F);
  strip.set(StripViewModel::nameKey, QStringLiteral("Lead"));
  EXPECT_TRUE(batches.empty());
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(sent(0, strip, StripViewModel::volumeKey), QVariant(0.25));
  EXPECT_EQ(sent(0, strip, StripViewModel::nameKey), QVariant(QStringLiteral("Lead")));
}

TEST_F(Mirror, WhileTheWindowIsBusyChangesGatherInTheNextBatch) {
  MirrorPublisher<StripViewModel> strip(*source);
  strip.set(StripViewModel::volumeKey, 1.0F);
  mainQueue.runAll();
  for (int step = 0; step < 1000; ++step) {
    strip.set(StripViewModel::volumeKey, static_cast<float>(step) / 1024);
    mainQueue.runAll();
  }
  EXPECT_EQ(batches.size(), 1U);
  source->delivered();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, StripViewModel::volumeKey), QVariant(999.0 / 1024));
  source->delivered();
  EXPECT_EQ(batches.size(), 2U);
}

TEST_F(Mirror, AValueThatIsTheSameAsBeforeIsNotSentAgain) {
  MirrorPublisher<StripViewModel> strip(*source);
  strip.set(StripViewModel::muteKey, true);
  mainQueue.runAll();
  source->delivered();
  strip.set(StripViewModel::muteKey, true);
  mainQueue.runAll();
  EXPECT_EQ(batches.size(), 1U);
  strip.set(StripViewModel::muteKey, false);
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, StripViewModel::muteKey), QVariant(false));
}

TEST_F(Mirror, WhatWasStillToBeSentOfAnObjectGoesWithIt) {
  MirrorId gone = 0;
  {
    MirrorPublisher<StripViewModel> strip(*source);
    gone = strip.id;
    mainQueue.runAll();
    source->delivered();
    strip.set(StripViewModel::nameKey, QStringLiteral("Lead"));
  }
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(batches[0].added.count(gone), 1U);
  EXPECT_TRUE(batches[1].values.empty());
  EXPECT_EQ(batches[1].gone, std::vector{gone});
}

TEST_F(Mirror, AnObjectThatGoesBeforeItWasSentIsNeverSent) {
  {
    MirrorPublisher<StripViewModel> strip(*source);
    strip.set(StripViewModel::nameKey, QStringLiteral("Lead"));
  }
  mainQueue.runAll();
  EXPECT_TRUE(batches.empty());
}

TEST_F(Mirror, NoIdIsUsedTwiceNorAFixedOne) {
  MirrorId first = 0;
  {
    const MirrorPublisher<StripViewModel> strip(*source);
    first = strip.id;
  }
  const MirrorPublisher<StripViewModel> next(*source);
  EXPECT_GT(first, MirrorSource::lastFixedId);
  EXPECT_NE(next.id, first);
}

TEST_F(Mirror, RowsAreSentAsTheyAreInTheEnd) {
  source->setRows(7, {1, 2});
  source->setRows(7, {2});
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].lists.at(7), std::vector<MirrorId>{2});
}

TEST_F(Mirror, BeforeABatchIsMadeUpTheRefreshAddsToIt) {
  MirrorPublisher<StripViewModel> strip(*source);
  int refreshes = 0;
  source->refresh = [&] { strip.set(StripViewModel::numberKey, ++refreshes); };
  strip.set(StripViewModel::nameKey, QStringLiteral("Lead"));
  strip.set(StripViewModel::muteKey, false);
  mainQueue.runAll();
  EXPECT_EQ(refreshes, 1);
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(sent(0, strip, StripViewModel::numberKey), QVariant(1));
}

TEST_F(Mirror, AFollowedValueIsShownNowAndAfterEachChange) {
  Observable<float> volume{0.5F};
  Observable<int> rows{3};
  MirrorPublisher<StripViewModel> strip(*source);
  strip.follow(StripViewModel::volumeKey, volume);
  strip.derive(
      StripViewModel::volumeTextKey, [&rows] { return std::to_string(rows.get()) + " rows"; }, rows);
  mainQueue.runAll();
  source->delivered();
  EXPECT_EQ(sent(0, strip, StripViewModel::volumeKey), QVariant(0.5));
  EXPECT_EQ(sent(0, strip, StripViewModel::volumeTextKey), QVariant(QStringLiteral("3 rows")));
  rows.set(4);
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, StripViewModel::volumeTextKey), QVariant(QStringLiteral("4 rows")));
  EXPECT_FALSE(sent(1, strip, StripViewModel::volumeKey).isValid());
}

TEST_F(Mirror, AFollowedValueIsNotFollowedAfterItsObject) {
  Observable<float> volume{0.5F};
  {
    MirrorPublisher<StripViewModel> strip(*source);
    strip.follow(StripViewModel::volumeKey, volume);
    mainQueue.runAll();
    source->delivered();
  }
  mainQueue.runAll();
  source->delivered();
  volume.set(0.75F);
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U) << "that it was there, and that it is gone";
  EXPECT_TRUE(batches[1].values.empty());
}

TEST_F(Mirror, ATurnThatComesAfterTheSourceIsGoneDoesNothing) {
  source->setRows(7, {1});
  source.reset();
  mainQueue.runAll();
  EXPECT_TRUE(batches.empty());
}

TEST_F(Mirror, LookingForChangesWhereThereAreNoneSendsNothing) {
  source->schedule();
  mainQueue.runAll();
  EXPECT_TRUE(batches.empty());
}

}  // namespace
}  // namespace vrel::window
