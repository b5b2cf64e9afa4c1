// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QColor>
#include <QQuickWindow>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

using Kind = window::learn_kind::Kind;

/// The controls of one strip, by pointer and keys.
class Strip : public ConsoleFixture {
 protected:
  template <typename T>
  [[nodiscard]] T read(T (*get)(AudioChannel&)) {
    return driver.fromLogic<T>([get](Session& session) { return get(*session.engine().channels().front()); });
  }

  [[nodiscard]] bool becomes(bool (*holds)(AudioChannel&)) {
    return driver.eventually([&] { return read(holds); });
  }

  void change(const std::function<void(AudioChannel&)>& action) {
    driver.onLogic([&](Session& session) { action(*session.engine().channels().front()); });
  }

  void becomeLive() {
    driver.click("liveButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  }
};

TEST_F(Strip, AKnobIsRaisedByAnUpwardDragAndResetByADoubleClick) {
  driver.drag("gain0", "stripStatus0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.gain.get() > 0.6F; }));
  EXPECT_TRUE(driver.session().isDirty());
  driver.doubleClick("gain0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.gain.get() == 0.5F; }));
  driver.drag("reverb0", "gain0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.reverb.get() > 0.2F; }));
  driver.doubleClick("reverb0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.reverb.get() == 0.0F; }));
}

TEST_F(Strip, AKnobFollowsTheKeys) {
  driver.click("reverb0");
  driver.key("Up");
  driver.key("Up");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return std::abs(channel.reverb.get() - 0.04F) < 0.001F; }));
  driver.key("Delete");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.reverb.get() == 0.0F; }));
}

TEST_F(Strip, ABadgeTakesWhatIsTypedWithReturnAndForgetsItWithEscape) {
  driver.doubleClick("transpose0");
  driver.type("999");
  driver.key("Return");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.transpose.get() == 48; }));
  driver.doubleClick("transpose0");
  driver.type("7");
  driver.key("Escape");
  EXPECT_FALSE(driver.isShown("transpose0Field"));
  driver.doubleClick("transpose0");
  driver.type("abc");
  driver.key("Return");
  EXPECT_FALSE(driver.isShown("transpose0Field"));
  EXPECT_EQ(read<int>([](AudioChannel& channel) { return int{channel.transpose.get()}; }), 48);
}

TEST_F(Strip, ABadgeTakesWhatIsTypedWhenTheCaretLeaves) {
  driver.doubleClick("splitHigh0");
  driver.type("72");
  driver.click("notesArea");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.maxNote.get() == 72; }));
  EXPECT_EQ(driver.value("splitHigh0", "valueText").toString(), QStringLiteral("C5"));
}

TEST_F(Strip, TheArrowsLeaveAValueThatIsBeingTyped) {
  driver.doubleClick("transpose0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("transpose0Field"); }));
  driver.key("Up");
  driver.key("Escape");
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("transpose0Field"); }));
  driver.key("Down");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).transpose() == -1; }));
}

TEST_F(Strip, InLiveModeABadgeIsTypedOverAndTheDigitsAreItsOwn) {
  becomeLive();
  driver.click("setup0");
  driver.doubleClick("transpose0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("transpose0Field"); }));
  driver.type("12");
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).transpose() == 12; }));
  EXPECT_FALSE(driver.strip(0).mute());
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); })) << "a command again";
}

TEST_F(Strip, ARightPressOnItsNameOpensItsMenu) {
  driver.rightClick("stripName0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuCut"); }));
}

TEST_F(Strip, ASongWithoutANameCannotBeAdded) {
  EXPECT_FALSE(driver.value("addSongButton", "enabled").toBool());
  driver.click("newSongField");
  driver.type("Blues");
  EXPECT_TRUE(driver.eventually([this] { return driver.value("addSongButton", "enabled").toBool(); }));
}

TEST_F(Strip, TheBarsFollowThePointerAndTheHandlesOfASplitDoNotCross) {
  driver.click("transposeBar0", {0.25, 0.5});
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return std::abs(channel.transpose.get() + 26) <= 1; }));
  driver.click("transposeBar0", {0.99, 0.5});
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.transpose.get() == 48; }));
  change([](AudioChannel& channel) {
    channel.minNote.set(0);
    channel.maxNote.set(64);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).maxNote() == 64; }));
  driver.click("splitBar0", {0.25, 0.5});
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.minNote.get() > 20 && channel.maxNote.get() == 64; }));
}

TEST_F(Strip, EachSendIsAPress) {
  driver.click("sendSustain0");
  driver.click("sendExpression0");
  driver.click("sustainRotor0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) {
    return !channel.sendSustain.get() && !channel.sendExpression.get() && channel.sustainControlsRotor.get();
  }));
}

TEST_F(Strip, ItsNumberOpensAChooserWhoseEveryChangeIsItsColour) {
  driver.click("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("swatch0"); }));
  driver.click("swatch0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) {
    return channel.color.get() == std::vector<float>{1.0F, 0.0F, 0.0F};
  }));
  driver.click("brightness", {0.5, 0.5});
  EXPECT_TRUE(becomes([](AudioChannel& channel) {
    const auto& color = channel.color.get();
    return color[0] > 0.4F && color[0] < 0.6F && color[1] == 0.0F;
  }));
  EXPECT_TRUE(driver.isShown("swatch0")) << "it stays open";
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("swatch0"); }));
}

TEST_F(Strip, InLiveModeTheMasterKeepsItsColourAndAStripDoesNot) {
  becomeLive();
  driver.click("masterColor");
  driver.click("stripNumber0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("swatch0"); }));
  driver.click("swatch0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.color.get()[1] == 0.0F; }));
  EXPECT_FALSE(driver.value("masterColor", "enabled").toBool());
}

TEST_F(Strip, APressOnAnyOfItsControlsSelectsIt) {
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1") && driver.strip(1).isSelected(); }));
  for (const auto* control : {"fader0", "gain0", "mute0", "stripStatus0", "transpose0", "transposeBar0", "splitBar0",
                              "stripName0", "sendSustain0", "crash0", "rack0"}) {
    driver.click("strip1", {0.5, 0.99});
    ASSERT_TRUE(driver.eventually([this] { return driver.strip(1).isSelected(); }));
    driver.click(control);
    EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).isSelected(); })) << control;
  }
}

TEST_F(Strip, APressSelectsItAgainAfterTheBandChoseAnother) {
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1") && driver.strip(1).isSelected(); }));
  for (const auto* control : {"fader0", "stripStatus0", "transposeBar0"}) {
    driver.click(control);
    ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).isSelected(); })) << control;
    driver.click("splitBand", {0.5, 0.9});
    ASSERT_TRUE(driver.eventually([this] { return driver.strip(1).isSelected(); })) << control;
    driver.click(control);
    EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).isSelected(); })) << control;
  }
}

TEST_F(Strip, WhatItsMenuHasMadeIsSelectedAlsoWhenTheMenuIsGone) {
  driver.click("stripStatus0");
  driver.rightClick("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuDuplicate"); }));
  driver.click("stripMenuDuplicate");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1") && !driver.isShown("stripMenuDuplicate"); }));
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(1).isSelected(); }));
  driver.click("strip1", {0.5, 0.99});
  driver.onLogic([](Session& /*session*/) {});  // behind all that the window has asked for
  EXPECT_TRUE(driver.strip(1).isSelected());
}

TEST_F(Strip, ASelectedOneThatHasCrashedShowsBoth) {
  driver.click("stripStatus0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("selection0"); }));
  change([](AudioChannel& channel) {
    channel.pluginPath.set("aucd:1:2:3");
    channel.status.set(ChannelStatus::crashed);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.value("strip0", "isFailed").toBool(); }));
  EXPECT_TRUE(driver.isShown("selection0"));
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("selection1"); }));
  EXPECT_FALSE(driver.isShown("selection0"));
}

TEST_F(Strip, APressOnTheLowerEdgeOfABadgeIsTheBadges) {
  for (const auto* badge : {"transpose0", "splitLow0", "splitHigh0"}) {
    driver.click("notesArea");
    driver.click(badge, {0.5, 0.92});
    EXPECT_TRUE(driver.value(badge, "activeFocus").toBool()) << badge;
  }
  EXPECT_TRUE(read<bool>([](AudioChannel& channel) {
    return channel.transpose.get() == 0 && channel.minNote.get() == 21 && channel.maxNote.get() == 108;
  }));
}

TEST_F(Strip, AFaderSaysWhatItIsWhenThePointerRestsOnIt) {
  driver.click("fader0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("hintWords"); }));
  EXPECT_EQ(driver.value("hintWords", "text"), driver.value("fader0", "hint"));
}

TEST_F(Strip, ItsColourChooserGivesWayToAQuestion) {
  driver.click("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("swatch0"); }));
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("swatch0"); }));
}

TEST_F(Strip, InLiveModeItsSetupIsBehindOnePressAndWorks) {
  becomeLive();
  EXPECT_FALSE(driver.isShown("transpose0"));
  driver.click("setup0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("transpose0"); }));
  driver.click("sendSustain0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return !channel.sendSustain.get(); }));
  driver.click("setup0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("fader0"); }));
}

TEST_F(Strip, CrashAndReviveAreOfferedWhereTheyHaveAMeaning) {
  EXPECT_FALSE(driver.value("crash0", "enabled").toBool());
  EXPECT_FALSE(driver.value("revive0", "enabled").toBool());
  change([](AudioChannel& channel) {
    channel.pluginPath.set("aucd:1:2:3");
    channel.status.set(ChannelStatus::crashed);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.value("revive0", "enabled").toBool(); }));
  EXPECT_FALSE(driver.value("crash0", "enabled").toBool());
  driver.click("revive0");
  EXPECT_TRUE(becomes([](AudioChannel& channel) { return channel.status.get() == ChannelStatus::loadFailed; }));
}

TEST_F(Strip, EveryControlThatCanBeLearnedWaitsForItsHardware) {
  const std::vector<std::pair<std::string, Kind>> learnable{{"fader0", Kind::ChannelVolume},
                                                            {"gain0", Kind::ChannelGain},
                                                            {"reverb0", Kind::ChannelReverb},
                                                            {"mute0", Kind::ChannelMute},
                                                            {"solo0", Kind::ChannelSolo}};
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  for (const auto& [name, kind] : learnable) {
    driver.click(name);
    EXPECT_TRUE(driver.eventually([&, wanted = kind] { return driver.isWaitingFor(wanted, 0); })) << name;
  }
  for (const auto& [name, kind] : {std::pair("masterFader", Kind::MasterVolume), {"masterMute", Kind::MasterMute}}) {
    driver.click(name);
    EXPECT_TRUE(driver.eventually([&, wanted = kind] { return driver.isWaitingFor(wanted, -1); })) << name;
  }
  EXPECT_EQ(read<float>([](AudioChannel& channel) { return channel.gain.get(); }), 0.5F);
}

TEST_F(Strip, TheArrowsSelectTheStripBeside) {
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1") && driver.strip(1).isSelected(); }));
  driver.click("strip1", {0.5, 0.99});
  driver.key("Left");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).isSelected(); }));
  driver.key("Right");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(1).isSelected(); }));
}

TEST_F(Strip, ACrashedOneOnASpanishConsoleReadsItsWordAndKeepsItsStatus) {
  driver.onLogic([](Session& session) { session.content().setLanguage(Language::spanish); });
  change([](AudioChannel& channel) { channel.status.set(ChannelStatus::crashed); });
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).statusText() == QStringLiteral("CAÍDO"); }));
  EXPECT_EQ(read<std::string>([](AudioChannel& channel) { return std::string(statusText(channel.status.get())); }),
            "CRASHED");
  change([](AudioChannel& channel) { channel.status.set(ChannelStatus::loadFailed); });
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).statusText() == QStringLiteral("Load failed"); }));
}

TEST_F(Strip, ASongIsDraggedByItsWholeRow) {
  driver.onLogic([](Session& session) {
    for (const auto* name : {"Two", "Three"}) {
      session.state().newSongName.set(name);
      session.content().songList().addSong();
    }
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow2"); }));
  driver.drag("songName2", "songName0");
  EXPECT_TRUE(driver.eventually([this] { return songNames().front() == "03. Three"; }));
  EXPECT_EQ(driver.session().stageSong(), QStringLiteral("01. Untitled Song")) << "a drag is not a click";
}

TEST_F(Strip, TheNameOfASongStaysAFieldWhenAnotherSongIsDraggedPastIt) {
  driver.onLogic([](Session& session) {
    for (const auto* name : {"Two", "Three"}) {
      session.state().newSongName.set(name);
      session.content().songList().addSong();
    }
    session.content().songList().beginSongRename(session.state().songs.get()[1].id);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songNameField") && driver.isShown("songRow2"); }));
  driver.drag("songName2", "songName0");
  ASSERT_TRUE(driver.eventually([this] { return songNames().front() == "03. Three"; }));
  driver.click("songNameField");
  driver.type("Encore");
  EXPECT_TRUE(driver.isShown("songNameField"));
  EXPECT_EQ(driver.session().stageSong(), QStringLiteral("01. Untitled Song")) << "it was no click on a row";
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return songNames().back().find("Encore") != std::string::npos; }));
}

}  // namespace
}  // namespace vrel::app::test
