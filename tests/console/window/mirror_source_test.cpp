// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_source.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "simulation/virtual_time.h"

namespace vrel::window {
namespace {

class Mirror : public testing::Test {
 protected:
  [[nodiscard]] QVariant sent(std::size_t batch, const MirrorPublisher& object, const char* name) const {
    const auto values = batches.at(batch).values.find(object.id);
    if (values == batches[batch].values.end()) {
      return {};
    }
    const auto value = values->second.find(QString::fromLatin1(name));
    return value != values->second.end() ? value->second : QVariant();
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  std::vector<MirrorBatch> batches;
  std::optional<MirrorSource> source{std::in_place, mainQueue,
                                     [this](MirrorBatch batch) { batches.push_back(std::move(batch)); }};
};

TEST_F(Mirror, ChangesOfOneTurnGoInOneBatchWithTheirLastState) {
  MirrorPublisher strip(*source);
  strip.set("volume", 0.1F);
  strip.set("volume", 0.25F);
  strip.set("name", QStringLiteral("Lead"));
  EXPECT_TRUE(batches.empty());
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(sent(0, strip, "volume"), QVariant(0.25));
  EXPECT_EQ(sent(0, strip, "name"), QVariant(QStringLiteral("Lead")));
}

TEST_F(Mirror, WhileTheWindowIsBusyChangesGatherInTheNextBatch) {
  MirrorPublisher strip(*source);
  strip.set("volume", 1.0F);
  mainQueue.runAll();
  for (int step = 0; step < 1000; ++step) {
    strip.set("volume", static_cast<float>(step) / 1024);
    mainQueue.runAll();
  }
  EXPECT_EQ(batches.size(), 1U);
  source->delivered();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, "volume"), QVariant(999.0 / 1024));
  source->delivered();
  EXPECT_EQ(batches.size(), 2U);
}

TEST_F(Mirror, AValueThatIsTheSameAsBeforeIsNotSentAgain) {
  MirrorPublisher strip(*source);
  strip.set("mute", true);
  mainQueue.runAll();
  source->delivered();
  strip.set("mute", true);
  mainQueue.runAll();
  EXPECT_EQ(batches.size(), 1U);
  strip.set("mute", false);
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, "mute"), QVariant(false));
}

TEST_F(Mirror, WhatWasStillToBeSentOfAnObjectGoesWithIt) {
  MirrorId gone = 0;
  {
    MirrorPublisher strip(*source);
    gone = strip.id;
    strip.set("name", QStringLiteral("Lead"));
  }
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_TRUE(batches[0].values.empty());
  EXPECT_EQ(batches[0].gone, std::vector{gone});
}

TEST_F(Mirror, NoIdIsUsedTwiceNorOneThatBothSidesKnow) {
  MirrorId first = 0;
  {
    const MirrorPublisher strip(*source);
    first = strip.id;
  }
  const MirrorPublisher next(*source);
  EXPECT_GT(first, MirrorSource::lastFixedId);
  EXPECT_NE(next.id, first);
}

TEST_F(Mirror, RowsAreSentAsTheyStandInTheEnd) {
  source->setRows(7, {1, 2});
  source->setRows(7, {2});
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].lists.at(7), std::vector<MirrorId>{2});
}

TEST_F(Mirror, BeforeABatchIsMadeUpTheRefreshAddsToIt) {
  MirrorPublisher strip(*source);
  int refreshes = 0;
  source->refresh = [&] { strip.set("number", ++refreshes); };
  strip.set("name", QStringLiteral("Lead"));
  strip.set("mute", false);
  mainQueue.runAll();
  EXPECT_EQ(refreshes, 1);
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(sent(0, strip, "number"), QVariant(1));
}

TEST_F(Mirror, AFollowedValueIsShownNowAndAfterEachChange) {
  Observable<float> volume{0.5F};
  Observable<int> rows{3};
  MirrorPublisher strip(*source);
  strip.follow("volume", volume);
  strip.derive(
      "text", [&rows] { return std::to_string(rows.get()) + " rows"; }, rows);
  mainQueue.runAll();
  source->delivered();
  EXPECT_EQ(sent(0, strip, "volume"), QVariant(0.5));
  EXPECT_EQ(sent(0, strip, "text"), QVariant(QStringLiteral("3 rows")));
  rows.set(4);
  mainQueue.runAll();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(sent(1, strip, "text"), QVariant(QStringLiteral("4 rows")));
  EXPECT_FALSE(sent(1, strip, "volume").isValid());
}

TEST_F(Mirror, AFollowedValueIsLetGoOfWithItsObject) {
  Observable<float> volume{0.5F};
  {
    MirrorPublisher strip(*source);
    strip.follow("volume", volume);
  }
  mainQueue.runAll();
  source->delivered();
  volume.set(0.75F);
  mainQueue.runAll();
  EXPECT_EQ(batches.size(), 1U);
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
