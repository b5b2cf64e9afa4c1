// SPDX-License-Identifier: GPL-3.0-or-later
// The plug-in's own editor, in a process of its own, beside the console.
#include <gtest/gtest.h>

#include <QQuickWindow>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "apps/vrel/editor_fixture.h"
#include "platform/message_parameters.h"

namespace vrel::app::test {
namespace {

class OwnEditorWindow : public EditorWindow {};

TEST_F(OwnEditorWindow, APlugInsOwnEditorIsTurnedByPointerAndIsSavedWithTheSong) {
  addEffect("Zoo Window");
  openOwnEditor();
  driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
  driver.movePointer(driver.program().window.quickWindow()->geometry().center());
  EXPECT_TRUE(driver.eventually([this] {
    (void)holds("xdotool click 1");  // until the view is there
    return std::abs(effectValue(2) - 1.5F) < 0.1F;
  })) << effectValue(2);
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isDirty(); }));
  EXPECT_EQ(storedLevel(), effectValue(2)) << "captured with the song";
  driver.onLogic([](Session& session) {
    auto& channel = *session.engine().channels()[0];
    session.engine().effects().removeEffectSlot(channel, channel.effectSlots.get()[0].id);
  });
  EXPECT_TRUE(driver.eventually([] { return !isOwnEditorShown(); }));
}

TEST_F(OwnEditorWindow, AControlIsLearnedByTurningItInThePlugInsOwnEditor) {
  addEffect("Zoo Window");
  openOwnEditor();
  driver.onLogic([](Session& session) { session.content().midiLearn().toggleMidiLearnMode(); });
  driver.movePointer(driver.program().window.quickWindow()->geometry().center());
  EXPECT_TRUE(driver.eventually([this] {
    (void)holds("xdotool click 1");  // until the view is there
    return driver.fromLogic<bool>([](Session& session) {
      const auto& waiting = session.content().midiLearn().pendingPluginControl.get();
      return waiting && waiting->target.control == "level";
    });
  }));
  const auto turn = [this](std::uint8_t to) {
    driver.onLogic([to](Session& session) { session.engine().routeMIDI(0xB0, 20, to); });
  };
  turn(1);
  EXPECT_TRUE(driver.eventually([&] {
    turn(127);
    return effectValue(2) == 4.0F;
  }));
}

TEST_F(OwnEditorWindow, AFileThatThePlugInsOwnEditorAsksForIsChosenInTheConsoleAndNotInLiveMode) {
  const auto file = driver.home() / "a.wav";
  std::ofstream(file) << "a sample";
  addEffect("Zoo Window");
  openOwnEditor();
  driver.movePointer(driver.program().window.quickWindow()->geometry().center());
  ASSERT_TRUE(driver.eventually([this] {
    (void)holds("xdotool click 1");
    return std::abs(effectValue(2) - 1.5F) < 0.1F;
  }));
  const auto given = [this] {
    return driver.fromLogic<std::string>([this](Session& session) {
      auto& plugin = owner(session).effectNodes.get().begin()->second->auAudioUnit();
      std::promise<std::shared_ptr<const AUParameterTree>> answer;
      plugin.requestParameterTree([&answer](auto tree) { answer.set_value(std::move(tree)); });
      std::string text;
      for (const auto& each : answer.get_future().get()->allParameters) {
        text = isPath(each) ? dynamic_cast<MessageParameters&>(plugin).parameterText(each.address) : text;
      }
      return text;
    });
  };
  driver.movePointerBy(0, 80);
  driver.onLogic([](Session& session) { session.content().liveMode().setLiveMode(true); });
  (void)holds("xdotool click 1");
  ASSERT_TRUE(becomes(2, 0.25F)) << "the request was taken";
  EXPECT_FALSE(driver.isPanelShown());
  driver.onLogic([](Session& session) { session.content().liveMode().setLiveMode(false); });
  (void)holds("xdotool click 1");
  driver.answerPanel(file);
  EXPECT_TRUE(driver.eventually([&] { return given() == file.string(); })) << given();
  EXPECT_TRUE(driver.session().isDirty());
}

TEST_F(OwnEditorWindow, InLiveModeTheStageKeysAndPanicReachTheConsoleFromAPlugInsOwnEditor) {
  addEffect("Zoo Window");
  goLive();
  openOwnEditor();
  driver.onLogic([](Session& session) { session.state().noteActivity(60, true); });
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); }));
  driver.key("p");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
  }));
}

}  // namespace
}  // namespace vrel::app::test
