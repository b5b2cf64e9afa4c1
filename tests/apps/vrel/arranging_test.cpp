// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QQuickItem>
#include <QQuickWindow>
#include <QUrl>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

using Names = std::vector<std::string>;

/// Songs and strips by their menus.
class Arranging : public ConsoleFixture {
 protected:
  [[nodiscard]] Names stripNames() {
    return driver.fromLogic<Names>([](Session& session) {
      Names names;
      for (const auto& channel : session.engine().channels()) {
        names.push_back(channel->name.get());
      }
      return names;
    });
  }

  bool hasStrips(const Names& names) {
    return driver.eventually([&] { return stripNames() == names; });
  }

  void choose(const std::string& line) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(line); })) << line;
    driver.click(line);
    ASSERT_TRUE(driver.eventually([&] { return !driver.isShown(line); })) << line;
  }

  /// As the desktop does with a file that is dragged from another program.
  void drop(const std::string& name, const std::string& file, Place at = {}) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(name); })) << name;
    const auto* const item = driver.find(name);
    const QPointF place = item->mapToScene(QPointF(item->width() * at.x, item->height() * at.y));
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file))});
    auto* const window = driver.program().window.quickWindow();
    QDragEnterEvent enter(place.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    QDragMoveEvent move(place.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &move);
    QDropEvent dropped(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &dropped);
  }

  void onStrip(const std::string& number, const std::string& line) {
    driver.rightClick("stripNumber" + number);
    choose(line);
  }
};

TEST_F(Arranging, AStripIsCopiedPastedDuplicatedCutAndDeletedByItsMenu) {
  driver.click("addChannelButton");
  ASSERT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
  driver.rightClick("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuPaste"); }));
  EXPECT_FALSE(driver.value("stripMenuPaste", "enabled").toBool()) << "nothing has been copied";
  choose("stripMenuCopy");
  onStrip("1", "stripMenuPaste");
  EXPECT_TRUE(hasStrips({"Piano Lead", "Instrument 2", "Piano Lead"}));
  onStrip("1", "stripMenuDuplicate");
  EXPECT_TRUE(hasStrips({"Piano Lead", "Instrument 2", "Instrument 2", "Piano Lead"}));
  onStrip("0", "stripMenuCut");
  EXPECT_TRUE(hasStrips({"Instrument 2", "Instrument 2", "Piano Lead"}));
  onStrip("2", "stripMenuDelete");
  EXPECT_TRUE(hasStrips({"Instrument 2", "Instrument 2"}));
}

TEST_F(Arranging, InLiveModeTheMenuOfAStripOffersNothing) {
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  driver.rightClick("stripNumber0");
  for (const auto* line : {"Cut", "Copy", "Paste", "Duplicate", "Left", "Right", "Delete"}) {
    const auto name = std::string("stripMenu") + line;
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(name); })) << line;
    EXPECT_FALSE(driver.value(name, "enabled").toBool()) << line;
  }
}

TEST_F(Arranging, ASongIsAddedWithReturnAndRenamedAndDeletedByItsMenu) {
  driver.click("newSongField");
  driver.type("Two");
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([this] { return songNames() == Names{"01. Untitled Song", "02. Two"}; }));
  driver.rightClick("songName1");
  choose("songMenuRename");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("songNameField", "activeFocus").toBool(); }));
  driver.key("ctrl+a");
  driver.type("Encore");
  driver.click("songRow0");  // ends the edit, too
  EXPECT_TRUE(driver.eventually([this] { return songNames() == Names{"01. Untitled Song", "Encore"}; }));
  driver.rightClick("songName0");
  choose("songMenuDelete");
  EXPECT_TRUE(driver.eventually([this] { return songNames() == Names{"Encore"}; }));
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 0; }));
}

TEST_F(Arranging, ASongMovesByAltAndArrowsAndTheCursorGoesWithIt) {
  driver.click("newSongField");
  driver.type("Two");
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([this] { return songNames() == Names{"01. Untitled Song", "02. Two"}; }));
  const auto isAt = [this](int row, const Names& names) {
    return driver.eventually([&] { return songNames() == names && driver.value("songList", "cursor").toInt() == row; });
  };
  driver.click("songRow0");
  driver.key("Down");  // to one that is not on stage
  driver.key("alt+Up");
  EXPECT_TRUE(isAt(0, {"02. Two", "01. Untitled Song"}));
  EXPECT_EQ(driver.session().selectedSongIndex(), 1);
  driver.key("alt+Up");
  driver.key("alt+Down");
  EXPECT_TRUE(isAt(1, {"01. Untitled Song", "02. Two"})) << "the first stays where it is";
  driver.key("Up");
  driver.key("alt+Down");  // the one on stage
  EXPECT_TRUE(isAt(1, {"02. Two", "01. Untitled Song"}));
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 1; }));
  driver.key("ctrl+z");
  EXPECT_TRUE(driver.eventually([this] { return songNames() == Names{"01. Untitled Song", "02. Two"}; }));
}

TEST_F(Arranging, AStripMovesByAltAndArrowsWhicheverOfItsControlsHasTheFocus) {
  driver.click("addChannelButton");
  ASSERT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
  driver.click("gain0");
  const double gain = driver.strip(0).gain();
  driver.key("alt+Right");
  EXPECT_TRUE(hasStrips({"Instrument 2", "Piano Lead"}));
  driver.key("alt+Right");
  driver.key("alt+Left");
  EXPECT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
  EXPECT_EQ(driver.strip(0).gain(), gain);
  EXPECT_TRUE(driver.value("gain0", "activeFocus").toBool());
  driver.key("ctrl+z");
  EXPECT_TRUE(hasStrips({"Instrument 2", "Piano Lead"}));
}

TEST_F(Arranging, AStripThatIsMovedOutOfSightIsFollowed) {
  driver.onLogic([](Session& session) {
    for (int strip = 1; strip < 12; ++strip) {
      session.content().channelOperations().addChannelFromButton();
    }
    session.content().selection().selectedChannelId.set(session.engine().channels().front()->id);
  });
  driver.click("gain0");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("gain0", "activeFocus").toBool(); }));
  for (int step = 0; step < 11; ++step) {
    driver.key("alt+Right");
    ASSERT_TRUE(driver.eventually([this, step] {
      return driver.strip(step + 1).name() == QLatin1String("Piano Lead") &&
             driver.value("gain" + std::to_string(step + 1), "activeFocus").toBool();
    })) << step;
  }
  EXPECT_TRUE(driver.eventually([this] {
    const auto* const strip = driver.find("strip11");
    const auto* const list = driver.find("stripList");
    const double left = strip == nullptr ? -1 : strip->mapToItem(list, {}).x();
    return left >= 0 && left + strip->width() <= list->width() &&
           driver.strip(11).name() == QLatin1String("Piano Lead");
  }));
}

TEST_F(Arranging, SongsAndStripsMoveByTheirMenusWhichOfferNothingBeyondAnEnd) {
  driver.click("addChannelButton");
  ASSERT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
  driver.rightClick("stripNumber1");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuRight"); }));
  EXPECT_FALSE(driver.value("stripMenuRight", "enabled").toBool());
  choose("stripMenuLeft");
  EXPECT_TRUE(hasStrips({"Instrument 2", "Piano Lead"}));
  driver.onLogic([](Session& session) {
    session.state().newSongName.set("Two");
    session.content().songList().addSong();
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songName1"); }));
  driver.rightClick("songName1");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songMenuDown"); }));
  EXPECT_FALSE(driver.value("songMenuDown", "enabled").toBool());
  choose("songMenuUp");
  EXPECT_TRUE(driver.eventually([this] { return songNames() == Names{"02. Two", "01. Untitled Song"}; }));
}

TEST_F(Arranging, PanicIsPressed) {
  driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
  driver.click("panicButton");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
  }));
}

TEST_F(Arranging, ReturnGivesTheAnswerThatTheKeysHaveMovedTo) {
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.key("Tab");
  driver.key("Tab");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("alertButton2", "activeFocus").toBool(); }));
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  EXPECT_FALSE(driver.isPanelShown()) << "the first answer would have asked for a file";
  EXPECT_FALSE(driver.hasQuit());
}

TEST_F(Arranging, AProblemIsDismissedByAPressAndTheNextOneIsShown) {
  const auto fail = [](Session& session) { session.content().setlistFiles().loadSetlist("/nowhere/at-all.vrel"); };
  for (int time = 0; time < 2; ++time) {
    driver.onLogic(fail);
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("problems"); })) << time;
    driver.click("problems");
    EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("problems"); })) << time;
  }
}

TEST_F(Arranging, AnEditIsTakenBackAndDoneAgainByKeys) {
  driver.click("addChannelButton");
  ASSERT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
  driver.key("ctrl+z");
  EXPECT_TRUE(hasStrips({"Piano Lead"}));
  driver.key("ctrl+shift+z");
  EXPECT_TRUE(hasStrips({"Piano Lead", "Instrument 2"}));
}

TEST_F(Arranging, TheLearnedControlsAreListedAndOneIsRemovedByAPress) {
  driver.onLogic([](Session& session) {
    session.state().globalMidiControlAssignments.set({{{MidiControlKind::channelVolume, 0}, {0xB0, 0, 20}}});
  });
  driver.click("menu3");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("Learned Controls"); }));
  driver.click("Learned Controls");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("learned0"); }));
  driver.click("forgetLearned0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("nothingLearned"); }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("learnedPanel"); }));
}

TEST_F(Arranging, SongsAreChangedByALearnedPedalAndByATypedProgramChange) {
  driver.onLogic([](Session& session) {
    session.state().newSongName.set("Second");
    session.content().songList().addSong();
  });
  const auto onStage = [this] {
    return driver.fromLogic<std::size_t>(
        [](Session& session) { return session.state().selectedSongIndex.get().value_or(99); });
  };
  driver.click("menu3");
  choose("Songs by MIDI");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("learnNextSongButton"); }));
  driver.click("learnNextSongButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isWaitingFor(window::learn_kind::Kind::NextSong, -1); }));
  driver.onLogic([](Session& session) { session.content().midiLearn().handleMidiControlMessage(0xB0, 66, 0); });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("learnNextSong", "source") == "CC 66, MIDI 1"; }));
  driver.onLogic([](Session& session) { session.content().midiLearn().handleMidiControlMessage(0xB0, 66, 127); });
  EXPECT_TRUE(driver.eventually([&] { return onStage() == 1; }));
  EXPECT_EQ(driver.value("letRingValue", "text").toString().toStdString(), "Off");
  driver.click("letRingUp");
  EXPECT_TRUE(driver.eventually([this] { return driver.value("letRingValue", "text") == "1 s"; }));
  driver.click("songsByProgramChange");
  driver.click("songProgramField0");
  driver.type("12");
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) {
      return session.state().songControl.get().byProgramChange && session.state().songs.get()[0].program;
    });
  }));
  driver.onLogic([](Session& session) { session.content().songRequests().handleProgramMessage({0xC3, 11, 0}); });
  EXPECT_TRUE(driver.eventually([&] { return onStage() == 0; }));
  EXPECT_EQ(driver.value("receivedProgram", "text").toString().toStdString(), "Received: 0:12");
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("songControlPanel"); }));
}

TEST_F(Arranging, FilesThatAreDroppedOnAStripAndBehindTheLastOneArePlayedThere) {
  drop("stripNumber0", "/nowhere/sea.mp4");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).instrumentText() == QLatin1String("Vrel Visual"); }));
  drop("addChannelButton", "/nowhere/sky.mp4");
  EXPECT_TRUE(hasStrips({"Piano Lead", "sky"}));
  drop("stripList", "/nowhere/rain.mp4", {0.95, 0.5});
  EXPECT_TRUE(hasStrips({"Piano Lead", "sky", "rain"})) << "far behind the last one";
}

TEST_F(Arranging, ASetlistThatIsDroppedAnywhereIsOpened) {
  const auto setlist = driver.home() / "example.vrel";
  std::filesystem::copy_file(VREL_EXAMPLE_SETLIST, setlist);
  drop("notesArea", setlist.string());
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().fileName() == QLatin1String("example.vrel"); }));
}

}  // namespace
}  // namespace vrel::app::test
