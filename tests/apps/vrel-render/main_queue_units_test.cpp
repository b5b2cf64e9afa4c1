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
  struct Machine {
    void request(const std::string& name) {
      units.instantiate({}, AudioComponentInstantiationOptions::outOfProcess,
                        [this, name](const std::shared_ptr<AVAudioUnit>& node, const std::optional<Error>& /*error*/) {
                          told.push_back(name + (node != nullptr ? "" : " failed"));
                        });
    }
    void tellBehind(const std::string& text) {
      units.behindAnswers([this, text] { told.push_back(text); });
    }

    simulation::VirtualClock clock;
    simulation::CrankedMainQueue mainQueue{clock};
    simulation::ScriptedUnitFactory plugins;
    MainQueueUnits units{plugins, mainQueue};
    std::vector<std::string> told;
  };
};

using Told = std::vector<std::string>;

TEST_F(UnitsInOrder, AnswersAreHeardInTheOrderOfTheRequestsWhicheverIsReadyFirst) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    Machine machine;
    for (const auto* name : {"first", "second", "third"}) {
      machine.request(name);
    }
    while (!machine.plugins.requests.empty()) {
      const std::size_t next = order.choose(machine.plugins.requests.size());
      machine.plugins.answerWithUnit(next);
      if (order.choose(2) == 0) {
        machine.mainQueue.runAll();
      }
    }
    machine.mainQueue.runAll();
    EXPECT_EQ(machine.told, (Told{"first", "second", "third"}));
  });
  EXPECT_EQ(runs, 6U * 8U);
}

TEST_F(UnitsInOrder, NothingIsHeardButOnTheMainQueue) {
  Machine machine;
  machine.request("first");
  machine.plugins.answerWithUnit();
  EXPECT_TRUE(machine.told.empty());
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, Told{"first"});
}

TEST_F(UnitsInOrder, AFailureHoldsUpNobody) {
  Machine machine;
  machine.request("first");
  machine.request("second");
  machine.plugins.answer(0, nullptr, Error{"broken"});
  machine.plugins.answerWithUnit();
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, (Told{"first failed", "second"}));
}

TEST_F(UnitsInOrder, WhoeverIsPassedOverHoldsUpNobodyAndIsHeardWhenItAnswers) {
  Machine machine;
  for (const auto* name : {"silent", "ready", "late"}) {
    machine.request(name);
  }
  machine.tellBehind("death");
  machine.plugins.answerWithUnit(1);
  machine.mainQueue.runAll();
  EXPECT_TRUE(machine.told.empty());
  machine.units.passOverUnanswered();
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, (Told{"ready", "death"}));
  machine.request("new");
  machine.plugins.answerWithUnit(2);
  machine.plugins.answerWithUnit(1);
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, (Told{"ready", "death", "new", "late"})) << "the silent one keeps nobody";
}

TEST_F(UnitsInOrder, NobodyHearsOfADeathBeforeTheAnswerThatBroughtThePlugin) {
  Machine machine;
  machine.request("first");
  machine.request("second");
  machine.plugins.answerWithUnit(1);
  machine.tellBehind("the second died");
  machine.request("third");
  machine.mainQueue.runAll();
  EXPECT_TRUE(machine.told.empty());
  machine.plugins.answerWithUnit(0);
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, (Told{"first", "second", "the second died"})) << "and it does not wait for later requests";
  machine.plugins.answerWithUnit(0);
  machine.tellBehind("the third died");
  machine.mainQueue.runAll();
  EXPECT_EQ(machine.told, (Told{"first", "second", "the second died", "third", "the third died"}));
}

}  // namespace
}  // namespace vrel::render
