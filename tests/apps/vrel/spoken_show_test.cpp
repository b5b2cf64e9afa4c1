// SPDX-License-Identifier: GPL-3.0-or-later

// A show is made in the window with assistive technology alone: by names, roles, actions, values and texts.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleValueInterface>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/made_show.h"
#include "apps/vrel/spoken_window.h"

namespace vrel::app::test {
namespace {

class SpokenShow : public ConsoleFixture {
 protected:
  SpokenShow() { ::setenv("LV2_PATH", VREL_ZOO_PATH, 1); }
  ~SpokenShow() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  bool eventually(const std::function<bool()>& holds) { return driver.eventually(holds); }

  QAccessibleInterface* await(const std::string& name, QAccessible::Role role) {
    QAccessibleInterface* item = nullptr;
    eventually([&] {
      item = SpokenWindow::find(name, role);
      return item != nullptr && !item->state().disabled;
    });
    return item;
  }

  static bool canBePressed(QAccessibleInterface& item) {
    auto* const actions = item.actionInterface();
    return actions != nullptr && actions->actionNames().contains(QAccessibleActionInterface::pressAction());
  }

  void press(const std::string& name, QAccessible::Role role = QAccessible::PushButton) {
    QAccessibleInterface* item = nullptr;
    ASSERT_TRUE(eventually([&] {
      item = SpokenWindow::find(name, role);
      return item != nullptr && !item->state().disabled && canBePressed(*item);
    })) << name
        << " is not among\n"
        << SpokenWindow::words();
    item->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  }

  void write(const std::string& name, const std::string& text) {
    auto* const field = await(name, QAccessible::EditableText);
    ASSERT_NE(field, nullptr) << name << " is not among\n" << SpokenWindow::words();
    field->setText(QAccessible::Value, QString::fromStdString(text));
  }

  void setNumber(const std::string& name, double number) {
    auto* const item = await(name, QAccessible::SpinBox);
    ASSERT_NE(item, nullptr) << name;
    ASSERT_NE(item->valueInterface(), nullptr) << name;
    item->valueInterface()->setCurrentValue(number);
  }

  void bringOnStage(std::size_t index) {
    const auto& made = madeSongs.at(index);
    if (index == 0) {
      press("Rename Song 01. Untitled Song");
      write("Rename Song", made.typedName);
      press("Rename Song", QAccessible::EditableText);
    } else {
      write("Add Song", made.typedName);
      press("Add Song");
    }
    press(made.name, QAccessible::ListItem);
    ASSERT_TRUE(eventually([&] {
      return driver.session().selectedSongIndex() == static_cast<int>(index) &&
             driver.session().stageSong().toStdString() == made.name && !driver.session().isLoading();
    }));
  }

  void chooseInstrument(int strip, const std::string& instrument) {
    press("Instruments " + std::to_string(strip + 1) + " Empty Slot (Built-in Synth)");
    write("Search plugin or manufacturer...", instrument);
    press(instrument, QAccessible::ListItem);
    ASSERT_TRUE(eventually([&] {
      return driver.strip(strip).status() == window::StripViewModel::Status::Running &&
             driver.strip(strip).instrumentText().toStdString() == instrument && !driver.session().isLoading();
    })) << instrument;
  }

  void makeSong(std::size_t index) {
    const auto& made = madeSongs.at(index);
    ASSERT_NO_FATAL_FAILURE(bringOnStage(index));
    ASSERT_NO_FATAL_FAILURE(write("TEMPO / METRONOME", std::to_string(made.tempoBpm)));
    ASSERT_NO_FATAL_FAILURE(press("TEMPO / METRONOME", QAccessible::EditableText));
    ASSERT_NO_FATAL_FAILURE(press("+ Add Channel"));
    ASSERT_TRUE(eventually([this] { return driver.isShown("strip1"); }));
    const std::string unnamed = driver.strip(0).name().toStdString();
    ASSERT_NO_FATAL_FAILURE(write("1 " + unnamed, madeStripName));
    ASSERT_TRUE(eventually([this] { return driver.strip(0).name() == QLatin1String(madeStripName); }));
    const std::string left = std::string(" 1 ") + madeStripName;
    const std::string right = " 2 " + driver.strip(1).name().toStdString();
    for (const int strip : {0, 1}) {
      ASSERT_NO_FATAL_FAILURE(chooseInstrument(strip, made.instruments.at(static_cast<std::size_t>(strip))));
    }
    ASSERT_NO_FATAL_FAILURE(setNumber("Split highest key" + left, splitNote));
    ASSERT_NO_FATAL_FAILURE(setNumber("Split lowest key" + right, splitNote + 1));
    ASSERT_NO_FATAL_FAILURE(press("EFFECTS" + left + " 0"));
    ASSERT_NO_FATAL_FAILURE(write("Search effect or manufacturer...", madeEffect));
    ASSERT_NO_FATAL_FAILURE(press(madeEffect, QAccessible::ListItem));
    ASSERT_TRUE(eventually([this] { return driver.strip(0).effectCount() == 1 && !driver.session().isLoading(); }));
    ASSERT_NO_FATAL_FAILURE(press("Close"));
    ASSERT_NO_FATAL_FAILURE(learn("Volume MASTER", made.masterFader));
    if (index == 0) {
      ASSERT_NO_FATAL_FAILURE(learn("Volume" + left, stripFader));
    }
  }

  void learn(const std::string& fader, std::uint8_t controller) {
    ASSERT_NO_FATAL_FAILURE(press("Learn"));
    ASSERT_TRUE(eventually([this] { return driver.session().isLearning(); }));
    ASSERT_NO_FATAL_FAILURE(press(fader, QAccessible::Slider));
    ASSERT_TRUE(eventually([this] { return driver.session().pendingLearnKind() != window::learn_kind::Kind::None; }));
    driver.onLogic([controller](Session& session) {
      session.content().midiLearn().handleMidiControlMessage(0xB0, controller, 64);
    });
    ASSERT_TRUE(eventually([this] { return !driver.session().isLearning(); }));
  }

  /// The panel is a window of its own.
  void saveAs() {
    ASSERT_NO_FATAL_FAILURE(press("File", QAccessible::NoRole));
    ASSERT_NO_FATAL_FAILURE(press("Save As...", QAccessible::MenuItem));
    ASSERT_NO_FATAL_FAILURE(write("Name:", file.string()));
    ASSERT_NO_FATAL_FAILURE(press("Save"));
    ASSERT_TRUE(eventually([this] { return driver.session().fileName().toStdString() == file.filename(); }));
  }

  SpokenWindow spoken;
  const std::filesystem::path file = driver.home() / "friday.vrel";
};

TEST_F(SpokenShow, ThreeSongsAreMadeAndSavedByAssistiveTechnologyAlone) {
  for (std::size_t index = 0; index < madeSongs.size(); ++index) {
    SCOPED_TRACE(madeSongs.at(index).name);
    ASSERT_NO_FATAL_FAILURE(makeSong(index));
  }
  ASSERT_NO_FATAL_FAILURE(saveAs());
  expectMadeShow(file);
}

}  // namespace
}  // namespace vrel::app::test
