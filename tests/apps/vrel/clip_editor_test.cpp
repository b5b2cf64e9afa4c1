// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QString>
#include <filesystem>
#include <fstream>
#include <string>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

/// The console with one empty strip, and a film on the disk that is none.
class ClipWindow : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    file_ = driver.home() / "sea.mp4";
    std::ofstream(file_) << "no film";
    driver.click("stripInstrument0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("visualSource"); }));
    driver.click("visualSource");
    ASSERT_TRUE(isOpen(true));
  }

  bool isOpen(bool expected) {
    return driver.eventually([&] { return driver.isShown("clipPanel") == expected; });
  }

  [[nodiscard]] const window::ClipViewModel& clips() { return *driver.program().window.model().clips(); }

  bool hasRows(qsizetype count) {
    return driver.eventually([&] { return clips().rows().size() == count; });
  }

  std::filesystem::path file_;
};

TEST_F(ClipWindow, TwoClipsAreSetUpOnNotesAndApplied) {
  EXPECT_TRUE(driver.isShown("noClips"));
  driver.click("addClip");
  ASSERT_TRUE(hasRows(1));
  driver.click("addClip");
  ASSERT_TRUE(hasRows(2));
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("clipChoose1"); }));
  driver.click("clipChoose1");
  driver.answerPanel(file_);
  EXPECT_TRUE(
      driver.eventually([this] { return driver.value("clipFile1", "text").toString() == QStringLiteral("sea.mp4"); }));
  EXPECT_TRUE(driver.eventually([this] { return clips().rows()[1].isUnplayable; })) << "and its row says so";
  driver.click("clipOnce1");
  EXPECT_TRUE(driver.eventually([this] { return clips().rows()[1].holdsLastPicture; }));
  driver.click("clipTrigger1");
  EXPECT_TRUE(driver.eventually([this] { return clips().rows()[1].toggles; }));
  driver.click("clipNote1");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("noteKeys"); }));
  driver.click("noteKeys", {0.001, 0.9});
  EXPECT_TRUE(driver.eventually([this] { return clips().rows()[1].note == 0; }));
  driver.click("clipLearn0");
  ASSERT_TRUE(driver.eventually([this] { return clips().rows()[0].isLearning; }));
  driver.click("pianoKeys", {0.25, 0.9});
  EXPECT_TRUE(driver.eventually([this] { return !clips().rows()[0].isLearning && clips().rows()[0].note != 60; }));
  EXPECT_FALSE(driver.strip(0).hasInstrument()) << "before it is applied";
  driver.click("clipApply");
  ASSERT_TRUE(isOpen(false));
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).isVisual(); }));
  EXPECT_EQ(driver.fromLogic<std::size_t>(
                [](Session& session) { return session.engine().channels()[0]->visualClipMappings.get().size(); }),
            2U);
}

TEST_F(ClipWindow, AStillIsAClipThatNeedsNoEnd) {
  const auto logo = driver.home() / "logo.png";
  QImage picture(64, 36, QImage::Format_RGB32);
  picture.fill(QColor(0, 160, 200));
  ASSERT_TRUE(picture.save(QString::fromStdString(logo.string())));
  driver.click("addClip");
  ASSERT_TRUE(hasRows(1));
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("clipChoose0"); }));
  driver.click("clipChoose0");
  driver.answerPanel(logo);
  ASSERT_TRUE(driver.eventually([this] { return clips().rows()[0].isStill; }));
  EXPECT_FALSE(clips().rows()[0].isUnplayable);
  EXPECT_FALSE(clips().rows()[0].poster.image.isNull());
  EXPECT_TRUE(driver.eventually([this] { return !driver.value("clipOnce0", "enabled").toBool(); }));
  EXPECT_TRUE(driver.eventually([this] { return !driver.value("clipPreview", "isDark").toBool(); }));
}

TEST_F(ClipWindow, CancelAndEscapeLeaveTheStripEmpty) {
  driver.click("addClip");
  ASSERT_TRUE(hasRows(1));
  driver.click("clipCancel");
  ASSERT_TRUE(isOpen(false));
  EXPECT_FALSE(driver.strip(0).hasInstrument());
  EXPECT_FALSE(driver.session().isDirty());
}

TEST_F(ClipWindow, ADeletedRowIsGoneAndLiveModeCloses) {
  driver.click("addClip");
  ASSERT_TRUE(hasRows(1));
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("clipDelete0"); }));
  driver.click("clipDelete0");
  ASSERT_TRUE(hasRows(0));
  driver.click("liveButton");
  EXPECT_TRUE(isOpen(false));
}

}  // namespace
}  // namespace vrel::app::test
