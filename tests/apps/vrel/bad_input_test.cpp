// SPDX-License-Identifier: GPL-3.0-or-later
// Hands that do what no one expects: nothing is lost, nothing hangs, no note sticks.
#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

/// The console with the sine of the zoo installed, and two strips.
class BadInput : public ConsoleFixture {
 protected:
  BadInput() {
    std::filesystem::create_directory(bundles);
    std::filesystem::copy(std::filesystem::path(VREL_ZOO_PATH) / "sine.lv2", bundles / "sine.lv2");
    ::setenv("LV2_PATH", bundles.c_str(), 1);
  }
  ~BadInput() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  void SetUp() override {
    ConsoleFixture::SetUp();
    driver.click("addChannelButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1"); }));
  }

  /// The window and the logic both answer, and the sound of no key is left.
  void expectInOrder() {
    const int tempo = driver.session().tempoBpm();
    driver.click("tempoUp");
    EXPECT_TRUE(driver.eventually([&] { return driver.session().tempoBpm() == tempo + 1; }));
    EXPECT_TRUE(heldNotes().empty());
    EXPECT_FALSE(driver.session().isLoading());
    EXPECT_FALSE(driver.session().isLearning());
  }

  std::set<std::uint8_t> heldNotes() {
    return driver.fromLogic<std::set<std::uint8_t>>(
        [](Session& session) { return session.state().pressedNotes.get(); });
  }

  int stripCount() {
    return driver.fromLogic<int>([](Session& session) { return static_cast<int>(session.engine().channels().size()); });
  }

  void removeFirstStrip() {
    driver.onLogic([](Session& session) {
      const auto strip = session.engine().channels().front();
      session.content().channelOperations().removeChannelFromConsole(*strip);
    });
    ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("strip1"); }));
  }

  void switchSong() {
    driver.onLogic([](Session& session) { session.content().songSwitch().applySong(1); });
    ASSERT_TRUE(driver.eventually(
        [this] { return driver.session().selectedSongIndex() == 1 && !driver.session().isLoading(); }));
  }

  void addSong() {
    driver.onLogic([](Session& session) {
      session.state().newSongName.set("Two");
      session.content().songList().addSong();
    });
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow1"); }));
  }

  void openSelector() {
    driver.click("stripInstrument0");
    ASSERT_TRUE(driver.eventually([this] { return driver.value("instrumentSearch", "activeFocus").toBool(); }));
    driver.type("zoo sine");
    ASSERT_TRUE(driver.eventually([this] { return driver.value("plugin0", "name").toString() == "Zoo Sine"; }));
  }

  template <typename T>
  T ofStrip(std::size_t index, T (*get)(AudioChannel&)) {
    return driver.fromLogic<T>([=](Session& session) { return get(*session.engine().channels().at(index)); });
  }

  const std::filesystem::path bundles = driver.home() / "bundles";
};

TEST_F(BadInput, AnInstrumentThatVanishesBetweenListAndPickIsAFailedLoadAndTheWindowGoesOn) {
  openSelector();
  std::filesystem::remove_all(bundles / "sine.lv2");
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.strip(0).status() == window::StripViewModel::Status::LoadFailed && !driver.session().isLoading();
  })) << driver.strip(0).statusText().toStdString();
  EXPECT_FALSE(driver.isShown("instrumentPanel"));
  expectInOrder();
}

TEST_F(BadInput, ADragThatEndsOutsideOfTheWindowHoldsNothing) {
  auto* const window = driver.program().window.quickWindow();
  window->resize(1280, 720);
  ASSERT_TRUE(driver.eventually([&] { return window->size() == QSize(1280, 720); }));
  for (const auto* grip : {"fader0", "gain0", "reverb0", "transposeBar0", "splitBar0", "splitBand", "pianoKeys",
                           "stripNumber0", "songHandle0", "keyCountSlider", "masterFader"}) {
    SCOPED_TRACE(grip);
    driver.press(grip);
    driver.movePointerBy(12, 12);
    driver.movePointer({1400, 860});
    driver.release();
    EXPECT_TRUE(driver.eventually([&] { return window->mouseGrabberItem() == nullptr; }));
    EXPECT_TRUE(driver.eventually([this] { return heldNotes().empty(); }));
    EXPECT_FALSE(driver.value(grip, "isHeld").toBool());
    EXPECT_FALSE(driver.isShown("liftedSong"));
  }
  EXPECT_EQ(stripCount(), 2);
  expectInOrder();
}

TEST_F(BadInput, ADragThatLosesItsButtonStopsThere) {
  auto* const window = driver.program().window.quickWindow();
  for (const auto* grip : {"fader0", "gain0", "transposeBar0", "splitBar0", "splitBand", "pianoKeys", "stripNumber0",
                           "songHandle0", "masterFader"}) {
    SCOPED_TRACE(grip);
    driver.press(grip);
    driver.movePointerBy(12, -12);
    if (auto* const grabber = window->mouseGrabberItem()) {
      grabber->ungrabMouse();
    }
    EXPECT_TRUE(driver.eventually([this] { return heldNotes().empty(); }));
    const auto values = [this] {
      return driver.fromLogic<std::vector<float>>([](Session& session) {
        const auto& strip = *session.engine().channels().front();
        return std::vector<float>{strip.volume.get(),
                                  strip.gain.get(),
                                  static_cast<float>(strip.transpose.get()),
                                  static_cast<float>(strip.minNote.get()),
                                  static_cast<float>(strip.maxNote.get()),
                                  session.engine().masterChannel()->volume.get()};
      });
    };
    const auto before = values();
    driver.moveTo("masterStrip", {0.5, 0.9});
    driver.moveTo("strip1", {0.5, 0.2});
    driver.release();
    EXPECT_EQ(values(), before);
    EXPECT_FALSE(driver.value(grip, "isHeld").toBool());
    EXPECT_FALSE(driver.isShown("liftedSong"));
  }
  EXPECT_EQ(stripCount(), 2);
  expectInOrder();
}

TEST_F(BadInput, InAStormEveryClickOnAToggleCounts) {
  constexpr int clicks = 60;
  int changes = 0;
  std::shared_ptr<void> watches;
  const auto count = [&changes](auto& observable) {
    return observable.changed.connect([&changes](const auto&) { ++changes; });
  };
  const auto storm = [&](const std::string& button, auto observe) {
    SCOPED_TRACE(button);
    changes = 0;
    driver.onLogic([&](Session& session) { watches = observe(session); });
    driver.clickStorm(button, clicks);
    driver.eventually([&] { return driver.fromLogic<int>([&](Session& /*session*/) { return changes; }) >= clicks; });
    driver.onLogic([&](Session& /*session*/) { watches.reset(); });
    EXPECT_EQ(changes, clicks);
  };
  storm("mute0", [&](Session& session) { return count(session.engine().channels()[0]->mute); });
  storm("solo0", [&](Session& session) { return count(session.engine().channels()[0]->solo); });
  storm("masterMute", [&](Session& session) { return count(session.engine().masterChannel()->mute); });
  storm("sendSustain0", [&](Session& session) { return count(session.engine().channels()[0]->sendSustain); });
  storm("liveButton", [&](Session& session) { return count(session.state().isLiveModeEnabled); });
  storm("learnButton", [&](Session& session) { return count(session.state().isMidiLearnMode); });
  EXPECT_FALSE(driver.session().isLive());
  expectInOrder();
}

TEST_F(BadInput, AStormOnAnyOtherButtonLosesNothingAndEnds) {
  addSong();
  const std::map<std::string, Place> places{{"foldKeyboard", {0.5, 0.1}}};  // it gets lower when it folds
  const std::vector<std::string> buttons{
      "panicButton",    "tapButton",   "tempoDown", "foldKeyboard", "octaveUp",      "stripNumber0", "stripInstrument0",
      "rack0",          "masterRack",  "crash0",    "revive0",      "addSongButton", "songRow0",     "songName1",
      "languagePicker", "pitchPicker", "menu0",     "menu3",        "gain0",         "fader0",       "transpose0",
      "transposeBar0",  "splitBand",   "pianoKeys", "masterColor"};
  for (const auto& button : buttons) {
    SCOPED_TRACE(button);
    const auto place = places.find(button);
    driver.clickStorm(button, 30, place == places.end() ? Place{} : place->second);
    // What the clicks have opened.
    for (int escape = 0; escape < 2; ++escape) {
      driver.key("Escape");
    }
    driver.onLogic([](Session& session) { session.content().songList().clickSong(0); });
    EXPECT_TRUE(driver.eventually([this] {
      return driver.session().selectedSongIndex() == 0 && driver.isShown("strip1") && !driver.session().isSwitching() &&
             !driver.session().isLoading();
    }));
    for (const auto* opened : {"instrumentPanel", "rackPanel", "songNameField", "swatch0"}) {
      EXPECT_TRUE(driver.eventually([&] { return !driver.isShown(opened); })) << opened;
    }
    EXPECT_TRUE(driver.eventually([this] { return heldNotes().empty(); }));
    EXPECT_EQ(stripCount(), 2);
    EXPECT_EQ(songNames().size(), 2U);
  }
  expectInOrder();
}

TEST_F(BadInput, AStormOnTheButtonThatAddsStripsCanBeTakenBack) {
  driver.clickStorm("addChannelButton", 20, {0.2, 0.5});
  ASSERT_TRUE(driver.eventually([this] { return stripCount() > 2; }));
  for (int presses = 0; stripCount() > 2 && presses < 40; ++presses) {
    driver.key("ctrl+z");
  }
  EXPECT_EQ(stripCount(), 2);
  expectInOrder();
}

TEST_F(BadInput, AStripThatIsRemovedTakesItsOpenMenuAlong) {
  driver.rightClick("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuDelete"); }));
  removeFirstStrip();
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("stripMenuDelete"); }));
  EXPECT_EQ(stripCount(), 1);
  expectInOrder();
}

TEST_F(BadInput, AStripThatIsRemovedTakesTheMenuOfItsInstrumentAlong) {
  openSelector();
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).hasInstrument() && !driver.session().isLoading(); }));
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("changeInstrument"); }));
  removeFirstStrip();
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("changeInstrument"); }));
  expectInOrder();
}

TEST_F(BadInput, AStripThatIsRemovedClosesItsSelectorAndItsRack) {
  driver.click("rack0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("rackPanel"); }));
  openSelector();
  removeFirstStrip();
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("rackPanel") && !driver.isShown("instrumentPanel"); }));
  driver.key("Return");
  expectInOrder();
  EXPECT_FALSE(driver.strip(0).hasInstrument()) << "the strip that came in its place is not meant";
}

TEST_F(BadInput, AStripThatIsRemovedUnderADragLeavesTheOthersAlone) {
  for (const auto* grip : {"gain0", "fader0", "splitBar0", "stripNumber0"}) {
    SCOPED_TRACE(grip);
    const float volume = ofStrip<float>(1, [](AudioChannel& strip) { return strip.volume.get(); });
    driver.press(grip);
    driver.movePointerBy(0, 3);
    removeFirstStrip();
    driver.moveTo("strip0", {0.5, 0.2});
    driver.moveTo("masterStrip", {0.5, 0.5});
    driver.release();
    EXPECT_EQ(ofStrip<float>(0, [](AudioChannel& strip) { return strip.gain.get(); }), 0.5F);
    EXPECT_EQ(ofStrip<float>(0, [](AudioChannel& strip) { return strip.volume.get(); }), volume);
    EXPECT_EQ(ofStrip<int>(0, [](AudioChannel& strip) { return int{strip.minNote.get()}; }), 21);
    EXPECT_EQ(driver.value("stripList", "heldFaders").toInt(), 0) << "the row would not scroll any more";
    driver.click("addChannelButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1"); }));
  }
  expectInOrder();
}

TEST_F(BadInput, ASongSwitchClosesTheSelectorAndLoadsNothing) {
  addSong();
  openSelector();
  switchSong();
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("instrumentPanel"); }));
  driver.key("Return");
  expectInOrder();
  EXPECT_FALSE(driver.strip(0).hasInstrument());
}

TEST_F(BadInput, ASongSwitchUnderAMenuOrAHeldKeyLeavesNoneOfThem) {
  addSong();
  driver.press("pianoKeys");
  ASSERT_TRUE(driver.eventually([this] { return !heldNotes().empty(); }));
  switchSong();
  driver.release();
  EXPECT_TRUE(driver.eventually([this] { return heldNotes().empty(); }));
  driver.rightClick("stripNumber0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripMenuDelete"); }));
  driver.onLogic([](Session& session) { session.content().songSwitch().applySong(0); });
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("stripMenuDelete"); }));
  EXPECT_EQ(stripCount(), 2);
  expectInOrder();
}

TEST_F(BadInput, AKeyCountBeyondTheLastMidiNoteGivesKeysThatPlayNothing) {
  driver.onLogic([](Session& session) {
    session.state().keyboardStartNote.set(108);
    session.state().keyboardKeyCount.set(88);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.session().keyboardStartNote() == 108; }));
  driver.click("pianoKeys", {0.98, 0.9});
  driver.drag("pianoKeys", "pianoKeys", {0.99, 0.9}, {0.01, 0.9});
  EXPECT_TRUE(driver.eventually([this] { return heldNotes().empty(); }));
  expectInOrder();
}

}  // namespace
}  // namespace vrel::app::test
