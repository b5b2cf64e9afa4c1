// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/main_queue_units.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"
#include "support/every_order.h"

namespace vrel::render {
namespace {

class UnitsInOrder : public testing::Test {
 protected:
  struct Fixture {
    void request(const std::string& name) {
      units.instantiate({}, AudioComponentInstantiationOptions::outOfProcess,
                        [this, name](const std::shared_ptr<AVAudioUnit>& node, const std::optional<Error>& /*error*/) {
                          answers.push_back(name + (node != nullptr ? "" : " failed"));
                        });
    }
    void reportAfterAnswers(const std::string& text) {
      units.afterAnswers([this, text] { answers.push_back(text); });
    }

    simulation::VirtualClock clock;
    simulation::CrankedMainQueue mainQueue{clock};
    simulation::ScriptedUnitFactory plugins;
    MainQueueUnits units{plugins, mainQueue};
    std::vector<std::string> answers;
  };
};

using Answers = std::vector<std::string>;

TEST_F(UnitsInOrder, AnswersArriveInTheOrderOfTheRequestsWhicheverIsReadyFirst) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    Fixture fixture;
    for (const auto* name : {"first", "second", "third"}) {
      fixture.request(name);
    }
    while (!fixture.plugins.requests.empty()) {
      const std::size_t next = order.choose(fixture.plugins.requests.size());
      fixture.plugins.answerWithUnit(next);
      if (order.choose(2) == 0) {
        fixture.mainQueue.runAll();
      }
    }
    fixture.mainQueue.runAll();
    EXPECT_EQ(fixture.answers, (Answers{"first", "second", "third"}));
  });
  EXPECT_EQ(runs, 6U * 8U);
}

TEST_F(UnitsInOrder, AnswersArriveOnTheMainQueueOnly) {
  Fixture fixture;
  fixture.request("first");
  fixture.plugins.answerWithUnit();
  EXPECT_TRUE(fixture.answers.empty());
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, Answers{"first"});
}

TEST_F(UnitsInOrder, AFailureBlocksNoLaterAnswer) {
  Fixture fixture;
  fixture.request("first");
  fixture.request("second");
  fixture.plugins.answer(0, nullptr, Error{"broken"});
  fixture.plugins.answerWithUnit();
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, (Answers{"first failed", "second"}));
}

TEST_F(UnitsInOrder, ASkippedRequestBlocksNoLaterAnswerAndStillDeliversItsOwn) {
  Fixture fixture;
  for (const auto* name : {"silent", "ready", "late"}) {
    fixture.request(name);
  }
  fixture.reportAfterAnswers("death");
  fixture.plugins.answerWithUnit(1);
  fixture.mainQueue.runAll();
  EXPECT_TRUE(fixture.answers.empty());
  fixture.units.skipUnanswered();
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, (Answers{"ready", "death"}));
  fixture.request("new");
  fixture.plugins.answerWithUnit(2);
  fixture.plugins.answerWithUnit(1);
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, (Answers{"ready", "death", "new", "late"})) << "the unanswered request blocks no other";
}

TEST_F(UnitsInOrder, ACrashIsReportedAfterTheAnswerThatBroughtThePlugin) {
  Fixture fixture;
  fixture.request("first");
  fixture.request("second");
  fixture.plugins.answerWithUnit(1);
  fixture.reportAfterAnswers("the second died");
  fixture.request("third");
  fixture.mainQueue.runAll();
  EXPECT_TRUE(fixture.answers.empty());
  fixture.plugins.answerWithUnit(0);
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, (Answers{"first", "second", "the second died"}))
      << "and it does not wait for later requests";
  fixture.plugins.answerWithUnit(0);
  fixture.reportAfterAnswers("the third died");
  fixture.mainQueue.runAll();
  EXPECT_EQ(fixture.answers, (Answers{"first", "second", "the second died", "third", "the third died"}));
}

}  // namespace
}  // namespace vrel::render
