// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/parameter_files.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "platform/message_parameters.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

class SamplerCore final : public simulation::ScriptedUnitCore, public MessageParameters {
 public:
  void watchMessageParameters(bool /*isWatched*/) override {}
  [[nodiscard]] std::string parameterText(AUParameterAddress address) override { return texts[address]; }
  void setParameterText(AUParameterAddress address, const std::string& text) override { texts[address] = text; }

  std::map<AUParameterAddress, std::string> texts;
};

class Sampler final : public simulation::SimulatedNodeOf<AVAudioUnit> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  AUAudioUnit& auAudioUnit() override { return core; }
  void reset() override {}

  SamplerCore core;
};

/// A plug-in with a file, with another that it sets by itself, and with a text.
class FilesThatEditorsAskFor : public SimulatedSession {
 protected:
  FilesThatEditorsAskFor() {
    AUParameterTree tree;
    for (const auto& [address, name, isOutput] :
         {std::tuple(firstPathParameter, "urn:file", false), std::tuple(firstPathParameter + 1, "urn:found", true),
          std::tuple(firstTextParameter, "urn:words", false)}) {
      AUParameter parameter;
      parameter.address = address;
      parameter.identifier = name;
      parameter.isOutput = isOutput;
      tree.allParameters.push_back(parameter);
    }
    unit_->core.parameters = std::make_shared<const AUParameterTree>(tree);
    state.isDirty.set(false);
  }

  void request(const std::string& identifier) {
    files_.request(unit_, identifier);
    mainQueue.runAll();
  }
  [[nodiscard]] std::string file() { return unit_->core.texts[firstPathParameter]; }

  simulation::ScriptedDesktop desktop_;
  std::shared_ptr<Sampler> unit_ = std::make_shared<Sampler>("sampler");
  ParameterFiles files_{state, mainQueue, desktop_};
};

TEST_F(FilesThatEditorsAskFor, AreChosenByAPersonAndAreAnEdit) {
  unit_->core.texts[firstPathParameter] = "/samples/old.sfz";
  desktop_.openPanelAnswers = {"/samples/new.sfz"};
  request("urn:file");
  EXPECT_EQ(file(), "/samples/new.sfz");
  EXPECT_EQ(desktop_.openPanels.back().directory, "/samples") << "beside the last one";
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(FilesThatEditorsAskFor, StayWhenThePanelIsCancelledAndNothingElseIsAskedFor) {
  request("urn:file");
  EXPECT_EQ(desktop_.openPanels.size(), 1U);
  for (const auto* const name : {"urn:found", "urn:words", "urn:none", ""}) {
    request(name);
  }
  EXPECT_EQ(desktop_.openPanels.size(), 1U);
  EXPECT_EQ(file(), "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(FilesThatEditorsAskFor, AreRefusedInLiveModeAlsoWhenItBeginsMeanwhile) {
  desktop_.openPanelAnswers = {"/samples/new.sfz"};
  state.isLiveModeEnabled.set(true);
  request("urn:file");
  EXPECT_TRUE(desktop_.openPanels.empty());
  state.isLiveModeEnabled.set(false);
  desktop_.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
  request("urn:file");
  EXPECT_EQ(desktop_.openPanels.size(), 1U);
  EXPECT_EQ(file(), "");
}

TEST_F(FilesThatEditorsAskFor, OnePanelIsOpenAtATimeAndAPlugInMayGoMeanwhile) {
  desktop_.openPanelAnswers = {"/samples/new.sfz", "/samples/other.sfz"};
  desktop_.whileAsking = [this] {
    request("urn:file");
    unit_.reset();
  };
  request("urn:file");
  EXPECT_EQ(desktop_.openPanels.size(), 1U);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(FilesThatEditorsAskFor, OpenNoPanelWithinASecondOfTheLast) {
  request("urn:file");
  mainQueue.advance(0.9);
  request("urn:file");
  EXPECT_EQ(desktop_.openPanels.size(), 1U) << "an editor that asks without end leaves the console usable";
  mainQueue.advance(0.2);
  request("urn:file");
  EXPECT_EQ(desktop_.openPanels.size(), 2U);
}

TEST_F(FilesThatEditorsAskFor, AreForgottenWithTheConsole) {
  {
    ParameterFiles shortLived(state, mainQueue, desktop_);
    shortLived.request(unit_, "urn:file");
  }
  mainQueue.runAll();
  EXPECT_TRUE(desktop_.openPanels.empty());
}

}  // namespace
}  // namespace vrel
