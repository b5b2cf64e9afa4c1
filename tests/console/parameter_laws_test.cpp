// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/parameter_laws.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "platform/message_parameters.h"

namespace vrel {
namespace {

AUParameter control(float minimum, float maximum, const std::string& unit = "") {
  AUParameter parameter;
  parameter.minValue = minimum;
  parameter.maxValue = maximum;
  parameter.unitName = unit;
  return parameter;
}

AUParameter cutoff() {
  auto parameter = control(20, 20000, "Hz");
  parameter.isLogarithmic = true;
  return parameter;
}

AUParameter shape() {
  auto parameter = control(0, 4);
  parameter.isEnumeration = true;
  parameter.valueNames = {{0, "Sine"}, {1, "Saw"}, {4, "Square"}};
  return parameter;
}

AUParameter note() {
  auto parameter = control(0, 127);
  parameter.isMIDINote = true;
  return parameter;
}

AUParameter voices() {
  auto parameter = control(1, 8);
  parameter.isInteger = true;
  return parameter;
}

AUParameter named(const std::string& name, const std::string& group = "", int priority = 0) {
  AUParameter parameter;
  parameter.displayName = name;
  parameter.groupName = group;
  parameter.displayPriority = priority;
  return parameter;
}

std::vector<std::string> shown(const AUParameterTree& tree, const std::string& search = "") {
  std::vector<std::string> names;
  for (const auto& row : controlRows(tree, search)) {
    names.push_back(tree.allParameters[row.index].displayName);
  }
  return names;
}

TEST(ParameterLaws, AControlLooksLikeWhatItIs) {
  EXPECT_EQ(controlLook(cutoff()), ControlLook::slider);
  EXPECT_EQ(controlLook(voices()), ControlLook::slider);
  EXPECT_EQ(controlLook(shape()), ControlLook::choice);
  AUParameter toggle;
  toggle.isToggle = true;
  EXPECT_EQ(controlLook(toggle), ControlLook::toggle);
  toggle.isTrigger = true;
  EXPECT_EQ(controlLook(toggle), ControlLook::trigger);
  toggle.isOutput = true;
  EXPECT_EQ(controlLook(toggle), ControlLook::meter);
}

TEST(ParameterLaws, ALinearTravelGoesFromBoundToBound) {
  const auto level = control(-10, 30);
  EXPECT_DOUBLE_EQ(controlPosition(level, 0), 0.25);
  EXPECT_FLOAT_EQ(controlValue(level, 0.75), 20);
  EXPECT_FLOAT_EQ(controlValue(level, -1), -10);
  EXPECT_FLOAT_EQ(controlValue(level, 2), 30);
  EXPECT_DOUBLE_EQ(controlPosition(level, 99), 1);
  EXPECT_DOUBLE_EQ(controlPosition(level, std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(ParameterLaws, ALogarithmicTravelGoesByOctaves) {
  EXPECT_NEAR(controlValue(cutoff(), 1.0 / 3), 200, 0.01);
  EXPECT_NEAR(controlValue(cutoff(), 2.0 / 3), 2000, 0.1);
  EXPECT_NEAR(controlPosition(cutoff(), 2000), 2.0 / 3, 1e-6);
  auto fromZero = control(0, 100);
  fromZero.isLogarithmic = true;
  EXPECT_DOUBLE_EQ(controlPosition(fromZero, 50), 0.5) << "there are no octaves above nothing";
}

TEST(ParameterLaws, WholeNumbersTogglesAndChoicesTakeTheirOwnValuesOnly) {
  EXPECT_FLOAT_EQ(controlValue(voices(), 0.5), 5);
  EXPECT_FLOAT_EQ(controlValue(shape(), 0.9), 4);
  EXPECT_FLOAT_EQ(controlValue(shape(), 0.3), 1);
  AUParameter toggle;
  toggle.isToggle = true;
  EXPECT_FLOAT_EQ(settledControl(toggle, 0.4), 0);
  EXPECT_FLOAT_EQ(settledControl(toggle, 0.6), 1);
}

TEST(ParameterLaws, AStepIsAWholeNumberANameOrAPartOfTheTravel) {
  EXPECT_FLOAT_EQ(steppedControl(voices(), 4, 1, false), 5);
  EXPECT_FLOAT_EQ(steppedControl(voices(), 8, 1, false), 8);
  EXPECT_FLOAT_EQ(steppedControl(shape(), 1, 1, true), 4);
  EXPECT_FLOAT_EQ(steppedControl(shape(), 0, -1, false), 0);
  EXPECT_FLOAT_EQ(steppedControl(control(0, 100), 50, -2, false), 48);
  EXPECT_FLOAT_EQ(steppedControl(control(0, 100), 50, 1, true), 50.1F);
}

TEST(ParameterLaws, AFineDragGoesATenthOfTheWay) {
  EXPECT_DOUBLE_EQ(draggedControl(0.5, 50, 200, false), 0.75);
  EXPECT_DOUBLE_EQ(draggedControl(0.5, 50, 200, true), 0.525);
  EXPECT_DOUBLE_EQ(draggedControl(0.5, 500, 200, false), 1);
  EXPECT_DOUBLE_EQ(draggedControl(0.5, 50, 0, false), 0.5);
}

TEST(ParameterLaws, AValueReadsInItsUnitWithDigitsThatMeanSomething) {
  EXPECT_EQ(controlText(cutoff(), 12345.6F), "12346 Hz");
  EXPECT_EQ(controlText(cutoff(), 20.5F), "20.5 Hz");
  EXPECT_EQ(controlText(control(-60, 6, "dB"), -12.34F), "-12.3 dB");
  EXPECT_EQ(controlText(control(-60, 6, "dB"), -0.001F), "0.00 dB") << "not minus zero";
  EXPECT_EQ(controlText(control(0, 100, "%"), 50), "50.0%");
  EXPECT_EQ(controlText(control(0, 1), 0.5F), "0.500");
  EXPECT_EQ(controlText(control(0, 0.001F, "s"), 0.00025F), "0.000250 s");
  EXPECT_EQ(controlText(voices(), 4), "4");
  EXPECT_EQ(controlText(note(), 61), "C#4");
  EXPECT_EQ(controlText(shape(), 3.9F), "Square");
  auto level = control(-90, 0, "dB");
  level.valueNames = {{-90, "off"}};
  EXPECT_EQ(controlText(level, -90), "off");
  EXPECT_EQ(controlText(level, -89), "-89.0 dB");
}

TEST(ParameterLaws, ATypedValueIsANumberANameOrANote) {
  EXPECT_EQ(enteredControl(cutoff(), " 440 "), 440.0F);
  EXPECT_EQ(enteredControl(cutoff(), "440,5 hz"), 440.5F);
  EXPECT_EQ(enteredControl(cutoff(), "+1e3Hz"), 1000.0F);
  EXPECT_EQ(enteredControl(cutoff(), "99999"), 20000.0F);
  EXPECT_EQ(enteredControl(cutoff(), "1e300"), 20000.0F);
  EXPECT_EQ(enteredControl(voices(), "3.6"), 4.0F);
  EXPECT_EQ(enteredControl(shape(), "saw"), 1.0F);
  EXPECT_EQ(enteredControl(note(), "c#4"), 61.0F);
  EXPECT_EQ(enteredControl(note(), "62"), 62.0F);
  for (const auto* text : {"", "loud", "12 dB", "nan", "inf", "1 2", "--3"}) {
    EXPECT_EQ(enteredControl(cutoff(), text), std::nullopt) << text;
  }
}

TEST(ParameterLaws, GroupsStayTogetherAndWhatIsImportantComesFirst) {
  AUParameterTree tree;
  auto meter = named("Peak");
  meter.isOutput = true;
  auto hidden = named("Hidden");
  hidden.isHidden = true;
  tree.allParameters = {meter,  named("A1", "A"), named("Plain"),      named("B1", "B"),
                        hidden, named("A2", "A"), named("B2", "B", 5), named("Other")};
  EXPECT_EQ(shown(tree), (std::vector<std::string>{"B2", "B1", "A1", "A2", "Plain", "Other", "Peak"}));
}

TEST(ParameterLaws, ASearchFindsNamesAndGroupsInAnyCase) {
  AUParameterTree tree;
  tree.allParameters = {named("Cutoff", "Filter"), named("Resonance", "Filter"), named("Volume")};
  EXPECT_EQ(shown(tree, "FILT"), (std::vector<std::string>{"Cutoff", "Resonance"}));
  EXPECT_EQ(shown(tree, "vol"), (std::vector<std::string>{"Volume"}));
  EXPECT_TRUE(shown(tree, "zzz").empty());
}

TEST(ParameterLaws, WithoutBoundsANumberIsTypedAndNothingLimitsIt) {
  AUParameter seed = control(-std::numeric_limits<float>::max(), std::numeric_limits<float>::max());
  seed.isUnbounded = true;
  seed.valueNames = {{0, "Off"}};
  EXPECT_EQ(controlLook(seed), ControlLook::number);
  EXPECT_FALSE(isLearnable(seed));
  EXPECT_EQ(settledControl(seed, 123456), 123456.0F);
  EXPECT_EQ(enteredControl(seed, "-2000,5"), -2000.5F);
  EXPECT_EQ(controlText(seed, -2000.5F), "-2000");
  EXPECT_EQ(controlText(seed, 0.25F), "0.250");
  EXPECT_EQ(controlText(seed, 0), "Off");
  EXPECT_EQ(controlPosition(seed, 7), 0.0);
  EXPECT_EQ(steppedControl(seed, 7, 1, false), 7.0F);
  seed.isOutput = true;
  EXPECT_EQ(controlLook(seed), ControlLook::reading) << "a meter has two ends";
}

TEST(ParameterLaws, TextIsTypedOrOnlyReadAndHardwareCannotMoveIt) {
  AUParameter words;
  words.address = firstTextParameter;
  EXPECT_EQ(controlLook(words), ControlLook::text);
  EXPECT_FALSE(isLearnable(words));
  words.isOutput = true;
  EXPECT_EQ(controlLook(words), ControlLook::reading);
  EXPECT_TRUE(isLearnable(control(0, 1)));
}

}  // namespace
}  // namespace vrel
