// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

class Console : public ConsoleFixture {
 protected:
  void addSongs(const std::vector<std::string>& names) {
    for (const auto& name : names) {
      const int before = songCount();
      driver.click("newSongField");
      driver.type(name);
      driver.click("addSongButton");
      ASSERT_TRUE(driver.eventually([&] { return songCount() == before + 1; })) << name;
    }
  }

  [[nodiscard]] int songCount() { return driver.program().window.model().songs()->count(); }
  [[nodiscard]] int stripCount() { return driver.program().window.model().strips()->count(); }

  /// How much of the middle of an item's left edge is of a colour.
  [[nodiscard]] double paintedEdge(const std::string& name, bool (*isColoured)(const QColor&)) {
    const QQuickItem* const item = driver.find(name);
    const QImage image = driver.program().window.quickWindow()->grabWindow();
    const QPoint middle = item->mapToScene(QPointF(0, item->height() / 2)).toPoint();
    constexpr int reach = 14;  // four times a dash and the gap behind it
    int painted = 0;
    for (int y = middle.y() - reach; y < middle.y() + reach; ++y) {
      bool isPainted = false;
      for (int x = middle.x() - 1; x <= middle.x() + 1; ++x) {
        isPainted = isPainted || isColoured(image.pixelColor(x, y));
      }
      painted += isPainted ? 1 : 0;
    }
    return painted / (2.0 * reach);
  }

  bool becomesLive() {
    driver.click("liveButton");
    return driver.eventually([this] { return driver.session().isLive(); });
  }
};

using Names = std::vector<std::string>;

TEST_F(Console, OpensOverTheWholeScreenWithOneSongOnStage) {
  const auto* const window = driver.program().window.quickWindow();
  EXPECT_EQ(window->geometry(), window->screen()->availableGeometry());
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
  EXPECT_EQ(driver.session().selectedSongIndex(), 0);
  EXPECT_TRUE(driver.isShown("songRow0"));
  EXPECT_TRUE(driver.isShown("strip0"));
  EXPECT_FALSE(driver.isShown("strip1"));
  EXPECT_TRUE(driver.isShown("masterStrip"));
  EXPECT_FALSE(alertIsShown());
}

TEST_F(Console, ASongIsAddedByNameAndAClickPutsItOnStage) {
  addSongs({"Opener"});
  EXPECT_EQ(songNames(), (Names{"01. Untitled Song", "02. Opener"}));
  EXPECT_EQ(driver.session().selectedSongIndex(), 0);
  driver.click("songRow1");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 1; }));
  EXPECT_TRUE(
      driver.eventually([this] { return driver.session().switchText().startsWith(QStringLiteral("Switch: ")); }));
}

TEST_F(Console, ADoubleClickRenamesASong) {
  driver.doubleClick("songName0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songNameField"); }));
  driver.key("ctrl+a");
  driver.type("Ballad");
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return songNames() == Names{"Ballad"}; }));
  EXPECT_FALSE(driver.isShown("songNameField"));
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isDirty(); }));
}

TEST_F(Console, ASongIsDraggedToItsPlaceByItsHandle) {
  addSongs({"Two", "Three"});
  driver.drag("songHandle2", "songHandle0");
  EXPECT_TRUE(driver.eventually([this] {
    return songNames() == Names{"03. Three", "01. Untitled Song", "02. Two"};
  })) << testing::PrintToString(songNames());
  // The song on stage stays there, on its new row.
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 1; }));
}

TEST_F(Console, AStripIsAddedAndDraggedToItsPlace) {
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return stripCount() == 2; }));
  driver.drag("stripNumber1", "stripNumber0");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<std::string>(
               [](Session& session) { return session.engine().channels().front()->name.get(); }) == "Instrument 2";
  }));
}

TEST_F(Console, AFaderGoesToWhereItIsPressed) {
  const auto volume = [this] {
    return driver.fromLogic<float>([](Session& session) { return session.engine().channels()[0]->volume.get(); });
  };
  driver.click("fader0", {0.5, 0.75});
  EXPECT_TRUE(driver.eventually([&] { return std::abs(volume() - 0.25F) < 0.03F; })) << volume();
  EXPECT_FALSE(driver.session().isDirty());
  driver.click("masterFader", {0.5, 0.5});
  EXPECT_TRUE(driver.eventually([&] {
    return std::abs(driver.fromLogic<float>([](Session& session) {
             return session.engine().masterChannel()->volume.get();
           }) - 0.5F) < 0.03F;
  }));
}

TEST_F(Console, MuteAndSoloArePressed) {
  driver.click("mute0");
  driver.click("solo0");
  driver.click("masterMute");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) {
      const auto& strip = *session.engine().channels()[0];
      return strip.mute.get() && strip.solo.get() && session.engine().masterChannel()->mute.get();
    });
  }));
  EXPECT_TRUE(driver.session().isDirty());
}

TEST_F(Console, TheTempoIsSteppedTypedAndTapped) {
  driver.click("tempoUp");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 121; }));
  driver.click("tempoDown");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 120; }));
  driver.click("tempoField");
  driver.key("ctrl+a");
  driver.type("93");
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 93; }));
  EXPECT_TRUE(driver.eventually([this] {  // the taps of a busy machine may be further apart
    driver.clickStorm("tapButton", 2);
    return driver.session().tempoBpm() > 93;
  }));
}

TEST_F(Console, NotesAreTyped) {
  driver.click("notesArea");
  driver.type("capo 2");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().songNotes() == QStringLiteral("capo 2"); }));
}

TEST_F(Console, LearnSelectsAControlInsteadOfMovingIt) {
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  const auto before = driver.value("fader0", "value");
  driver.click("fader0", {0.5, 0.9});
  EXPECT_TRUE(driver.eventually([this] { return driver.isWaitingFor(window::learn_kind::Kind::ChannelVolume, 0); }));
  EXPECT_EQ(driver.value("fader0", "value"), before);
  EXPECT_EQ(driver.session().learnLabel(), QStringLiteral("Move MIDI"));
  driver.onLogic([](Session& session) { session.content().midiLearn().handleMidiControlMessage(0xB0, 21, 64); });
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  driver.onLogic([](Session& session) { session.content().midiLearn().handleMidiControlMessage(0xB0, 21, 127); });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("fader0", "value").toDouble() == 1.0; }));
}

TEST_F(Console, WhatCanBeLearnedIsDashedInOrangeAndWhatWaitsIsSolidInCyan) {
  const auto isOrange = [](const QColor& color) {
    return color.red() > 150 && color.green() < 170 && color.blue() < 90;
  };
  const auto isCyan = [](const QColor& color) {
    return color.red() < 130 && color.green() > 150 && color.blue() > 150;
  };
  EXPECT_EQ(paintedEdge("solo0", isOrange), 0);
  driver.click("learnButton");
  driver.click("mute0");
  EXPECT_TRUE(driver.eventually([&] { return paintedEdge("mute0", isCyan) > 0.9; })) << paintedEdge("mute0", isCyan);
  EXPECT_TRUE(driver.eventually([&] { return paintedEdge("solo0", isOrange) > 0.4; }));
  EXPECT_LT(paintedEdge("solo0", isOrange), 0.8);
}

TEST_F(Console, LearnTakesAKeyAtAFaderAsItTakesAPress) {
  driver.find("fader0")->forceActiveFocus(Qt::TabFocusReason);
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  driver.find("fader0")->forceActiveFocus(Qt::TabFocusReason);
  const auto before = driver.value("fader0", "shownValue");
  driver.key("Up");
  EXPECT_TRUE(driver.eventually([this] { return driver.isWaitingFor(window::learn_kind::Kind::ChannelVolume, 0); }));
  EXPECT_EQ(driver.value("fader0", "shownValue"), before);
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  driver.find("fader0")->forceActiveFocus(Qt::TabFocusReason);
  driver.key("Up");
  EXPECT_TRUE(
      driver.eventually([&] { return driver.value("fader0", "shownValue").toDouble() > before.toDouble() + 0.01; }));
}

TEST_F(Console, InLiveModeAMuteThatIsHeldDoesNotFlicker) {
  ASSERT_TRUE(becomesLive());
  int changes = 0;
  std::shared_ptr<void> watch;
  driver.onLogic([&](Session& session) {
    watch = session.engine().channels()[0]->mute.changed.connect([&](bool /*isMuted*/) { ++changes; });
  });
  driver.holdKey("1");
  driver.onLogic([&](Session& /*program*/) { watch.reset(); });
  EXPECT_EQ(changes, 1);
}

TEST_F(Console, InLiveModeTheKeysAreARemoteControlWhateverWasClickedLast) {
  addSongs({"Two"});
  driver.click("notesArea");
  ASSERT_TRUE(becomesLive());
  driver.click("songRow0");
  const auto isMuted = [this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().channels()[0]->mute.get(); });
  };
  driver.key("1");
  const auto focused = [this] {
    const auto* const item = driver.program().window.quickWindow()->activeFocusItem();
    return item == nullptr ? std::string("nothing")
                           : item->metaObject()->className() + item->objectName().toStdString();
  };
  EXPECT_TRUE(driver.eventually(isMuted)) << focused();
  driver.key("ctrl+1");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().channels()[0]->solo.get(); });
  }));
  driver.key("0");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().masterChannel()->mute.get(); });
  }));
  driver.key("Down");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 1; }));
  driver.key("Up");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 0; }));
  for (const auto* panic : {"p", "shift+p", "space"}) {
    driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
    driver.key(panic);
    EXPECT_TRUE(driver.eventually([this] {
      return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
    })) << panic;
  }
  EXPECT_EQ(driver.session().songNotes(), QString());
  EXPECT_EQ(driver.session().tempoBpm(), 120);
}

TEST_F(Console, InEditModeTheSameKeysAreLetters) {
  driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
  driver.click("notesArea");
  driver.type("p 1");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().songNotes() == QStringLiteral("p 1"); }));
  EXPECT_FALSE(driver.fromLogic<bool>([](Session& session) {
    return session.state().pressedNotes.get().empty() || session.engine().channels()[0]->mute.get();
  }));
}

TEST_F(Console, LiveModeRefusesWhatArrangesTheSetlist) {
  ASSERT_TRUE(becomesLive());
  driver.doubleClick("songName0");
  EXPECT_FALSE(driver.isShown("songNameField"));
  EXPECT_TRUE(driver.isShown("liveBanner"));
  EXPECT_EQ(driver.value("liveButton", "text").toString(), QStringLiteral("LIVE"));
}

TEST_F(Console, TheLanguagePickerChangesAllTextsAtOnce) {
  driver.click("languagePicker");
  driver.click("language1");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.value("panicButton", "text").toString() == QStringLiteral("PÁNICO");
  })) << driver.value("panicButton", "text").toString().toStdString();
}

TEST_F(Console, ClosingTheWindowAsksFirstAndCancelKeepsItOpen) {
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  EXPECT_EQ(driver.value("alertMessage", "text").toString(), QStringLiteral("Guardar el setlist antes de salir?"));
  // Nothing behind the question can be reached.
  driver.click("tempoUp");
  driver.click("alertButton2");
  EXPECT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  EXPECT_FALSE(driver.hasQuit());
  EXPECT_TRUE(driver.program().window.quickWindow()->isVisible());
  EXPECT_EQ(driver.session().tempoBpm(), 120);
}

TEST_F(Console, EscapeDismissesTheQuestionAndReturnPressesItsFirstButton) {
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  EXPECT_FALSE(driver.hasQuit());

  const auto file = driver.home() / "gig.vrel";
  driver.onLogic([&](Session& session) { session.content().setlistFiles().writeSetlist(file); });
  driver.click("mute0");
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  EXPECT_EQ(driver.value("alertMessage", "text").toString(), QStringLiteral("Guardar cambios en el setlist?"));
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
  std::ifstream saved(file);
  const std::string text(std::istreambuf_iterator<char>(saved), {});
  EXPECT_NE(text.find("\"mute\": true"), std::string::npos) << text;
}

TEST_F(Console, QuittingWithoutSavingEndsTheProgram) {
  driver.program().window.quickWindow()->close();
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
}

}  // namespace
}  // namespace vrel::app::test
