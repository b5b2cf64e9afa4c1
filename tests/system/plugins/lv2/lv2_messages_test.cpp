// SPDX-License-Identifier: GPL-3.0-or-later
// The parameters of a plug-in that have no port: described, set and reported by messages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/message_parameters.h"
#include "system/plugins/lv2/lv2_stage.h"

namespace vrel::lv2 {
namespace {

using MessageTree = std::shared_ptr<const AUParameterTree>;

class ParametersWithoutPort : public testing::Test {
 protected:
  ParametersWithoutPort() {
    std::promise<MessageTree> answer;
    plugin().requestParameterTree([&answer](MessageTree tree) { answer.set_value(std::move(tree)); });
    tree_ = answer.get_future().get();
  }

  [[nodiscard]] AUAudioUnit& plugin() { return unit_->auAudioUnit(); }
  [[nodiscard]] MessageParameters& messages() { return dynamic_cast<MessageParameters&>(plugin()); }

  [[nodiscard]] const AUParameter& parameter(const std::string& name) const {
    const auto& all = tree_->allParameters;
    return *std::find_if(all.begin(), all.end(),
                         [&](const auto& each) { return each.identifier == "urn:vrel:zoo:patched#" + name; });
  }
  [[nodiscard]] float value(const std::string& name) { return plugin().parameterValue(parameter(name).address); }
  void set(const std::string& name, float value) { plugin().setParameterValue(parameter(name).address, value); }
  [[nodiscard]] std::string file() { return messages().parameterText(parameter("file").address); }

  /// What comes of ones.
  [[nodiscard]] float heard() { return player_.block(16, {std::vector<float>(16, 0.125F)}).left.back() * 8; }

  Stage stage_;
  std::shared_ptr<AVAudioUnit> unit_ = stage_.make("urn:vrel:zoo:patched").unit;
  Player player_{unit_};
  MessageTree tree_;
};

TEST_F(ParametersWithoutPort, AreDescribedBehindThePortsByName) {
  std::vector<std::string> names;
  for (const auto& each : tree_->allParameters) {
    names.push_back(each.displayName);
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"Level", "Amount", "File", "Kind", "On", "Said", "Seed", "Steps", "Words"}));
  EXPECT_TRUE(isText(parameter("words")) && isText(parameter("kind")));
  EXPECT_FALSE(isPath(parameter("words")) || isNumber(parameter("words")));
  EXPECT_TRUE(parameter("seed").isUnbounded);
  EXPECT_FALSE(parameter("amount").isUnbounded);
  EXPECT_EQ(parameter("amount").maxValue, 4.0F);
  EXPECT_EQ(parameter("amount").defaultValue, 1.0F);
  EXPECT_FALSE(parameter("amount").isOutput) << "although it can be read, too";
  EXPECT_GE(parameter("amount").address, firstMessageParameter);
  EXPECT_TRUE(isPath(parameter("file")));
  EXPECT_FALSE(isPath(parameter("amount")));
  EXPECT_TRUE(parameter("on").isToggle);
  EXPECT_EQ(parameter("on").defaultValue, 1.0F);
  EXPECT_TRUE(parameter("steps").isInteger);
  EXPECT_EQ(parameter("steps").unitName, "beats");
  EXPECT_TRUE(parameter("said").isOutput);
}

TEST_F(ParametersWithoutPort, AreNotKnownUntilTheyAreWatched) {
  EXPECT_TRUE(std::isnan(value("amount")));
  EXPECT_EQ(heard(), 1.0F);
  EXPECT_TRUE(std::isnan(value("amount")));
  messages().watchMessageParameters(true);
  (void)heard();
  EXPECT_EQ(value("amount"), 1.0F);
  EXPECT_EQ(value("steps"), 4.0F);
  EXPECT_EQ(value("on"), 1.0F);
  EXPECT_EQ(value("said"), 1.0F);
  EXPECT_EQ(file(), "");
}

TEST_F(ParametersWithoutPort, AreSetInTheirOwnTypesWithinTheirBounds) {
  set("amount", 9);
  EXPECT_EQ(heard(), 4.0F);
  set("on", 0);
  EXPECT_EQ(heard(), 0.0F);
  set("steps", 6.4F);
  set("said", 50);
  set("amount", std::nanf(""));
  messages().watchMessageParameters(true);
  (void)heard();
  EXPECT_EQ(value("amount"), 4.0F);
  EXPECT_EQ(value("on"), 0.0F);
  EXPECT_EQ(value("steps"), 6.0F);
  EXPECT_NE(value("said"), 50.0F) << "is the plug-in's";
}

TEST_F(ParametersWithoutPort, WhatThePlugInSetsByItselfIsReported) {
  messages().watchMessageParameters(true);
  (void)heard();
  messages().setParameterText(parameter("file").address, "/samples/a.wav");
  EXPECT_EQ(heard(), 2.0F);
  EXPECT_EQ(value("amount"), 2.0F);
  EXPECT_EQ(file(), "/samples/a.wav");
}

TEST_F(ParametersWithoutPort, AFileTakesOnlyPathsAndANumberOnlyNumbers) {
  set("file", 1);
  messages().setParameterText(parameter("amount").address, "/samples/a.wav");
  messages().setParameterText(firstPathParameter, "/samples/a.wav");
  messages().setParameterText(parameter("file").address, std::string(100000, 'a'));
  messages().watchMessageParameters(true);
  EXPECT_EQ(heard(), 1.0F);
  EXPECT_EQ(value("said"), 1.0F) << "nothing but the question came";
}

TEST_F(ParametersWithoutPort, TextAndTheNamesOfThingsAreSetAndReported) {
  const auto text = [this](const std::string& name) { return messages().parameterText(parameter(name).address); };
  messages().setParameterText(parameter("words").address, "Grand Piano");
  messages().setParameterText(parameter("kind").address, "urn:kinds:organ");
  set("words", 1);
  (void)heard();
  messages().setParameterText(parameter("words").address, "Grand Piano, again");
  (void)heard();
  messages().watchMessageParameters(true);
  (void)heard();
  EXPECT_EQ(text("words"), "Grand Piano, again");
  EXPECT_EQ(text("kind"), "urn:kinds:organ");
  const auto state = *plugin().fullStateForDocument();
  messages().setParameterText(parameter("words").address, "");
  (void)heard();
  plugin().setFullStateForDocument(state);
  messages().watchMessageParameters(true);  // asks
  (void)heard();
  EXPECT_EQ(text("words"), "Grand Piano, again") << "as the plug-in's state has it";
  EXPECT_EQ(text("kind"), "urn:kinds:organ");
}

TEST_F(ParametersWithoutPort, ANumberWithoutBoundsIsNotLimited) {
  set("seed", -123456.5F);
  messages().watchMessageParameters(true);
  (void)heard();
  EXPECT_EQ(value("seed"), -123456.5F);
  set("seed", 3e30F);
  (void)heard();
  EXPECT_EQ(value("seed"), 3e30F);
}

TEST_F(ParametersWithoutPort, ThePlugInsStateKeepsTheFile) {
  messages().setParameterText(parameter("file").address, "/samples/a.wav");
  (void)heard();
  const auto state = *plugin().fullStateForDocument();
  const auto other = stage_.make("urn:vrel:zoo:patched").unit;
  other->auAudioUnit().setFullStateForDocument(state);
  auto& messages = dynamic_cast<MessageParameters&>(other->auAudioUnit());
  messages.watchMessageParameters(true);
  (void)Player(other).block(16);
  EXPECT_EQ(messages.parameterText(parameter("file").address), "/samples/a.wav");
}

}  // namespace
}  // namespace vrel::lv2
