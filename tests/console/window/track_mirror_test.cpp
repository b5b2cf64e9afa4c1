// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/track_mirror.h"

#include <gtest/gtest.h>

#include <QString>
#include <QUrl>
#include <optional>
#include <string>

#include "console/track_stage.h"
#include "console/window/console_model.h"
#include "console/window_settings.h"

namespace vrel::window {
namespace {

/// The editor of tracks, moved by commands as QML calls them.
class TrackPanel : public TrackStage {
 protected:
  void open() {
    commands.open(QString::fromStdString(strip(0).id.text()));
    commands.dropFile(QUrl::fromLocalFile(QStringLiteral("/ten.wav")));
    run();
  }

  WindowSettings settings{defaults};
  ConsoleActions actions{content, [](std::optional<std::size_t>) {}, [](const std::string&, const std::string&) {},
                         settings};
  ConsoleModel model{[this](const ConsoleCommands::Action& action) {
    mainQueue.async([this, action] {
      action(actions);
      source.schedule();
    });
  }};
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        model.apply(batch);
                        source.delivered();
                      }};
  ConsoleMirror mirror{source, content, shownAlert};
  TrackCommands& commands = *model.trackCommands();
  TrackViewModel& track = *model.track();
};

TEST_F(TrackPanel, ShowsWhatIsSetUp) {
  open();
  EXPECT_TRUE(track.isOpen());
  EXPECT_EQ(track.stripName(), QStringLiteral("1  A"));
  EXPECT_EQ(track.fileName(), QStringLiteral("ten.wav"));
  EXPECT_EQ(track.durationText(), QStringLiteral("0:10.00"));
  EXPECT_EQ(track.tempoText(), QStringLiteral("Tempo 120 BPM"));
  EXPECT_EQ(track.columns().size(), 360);
  EXPECT_EQ(track.beats().size(), 21);
  EXPECT_EQ(track.viewLength(), 10);
  EXPECT_FALSE(track.isReading());
  EXPECT_FALSE(track.playsToExit());
}

TEST_F(TrackPanel, CommandsMoveThePoints) {
  open();
  commands.beginDrag(1.0);
  commands.drag(0.34);
  commands.endDrag();
  commands.movePoint(true, 1.25);
  commands.nudge(true, 1, 0);
  commands.nudge(true, 1, 1);
  commands.nudge(true, -1, -1);
  run();
  EXPECT_DOUBLE_EQ(track.startTime(), 2.259);
  EXPECT_EQ(track.startText(), QStringLiteral("0:02.26"));
  EXPECT_EQ(track.endTime(), 3.5);
  EXPECT_EQ(track.endText(), QStringLiteral("0:03.50"));
}

TEST_F(TrackPanel, CommandsZoomAndScroll) {
  open();
  commands.zoom(2, 0);
  commands.scroll(0.5);
  run();
  EXPECT_EQ(track.viewLength(), 5);
  EXPECT_EQ(track.viewFrom(), 2.5);
}

TEST_F(TrackPanel, CommandsChooseWhatEndsItAndApply) {
  open();
  commands.setLooping(true);
  commands.setPlaysToExit(true);
  commands.togglePreview();
  run();
  EXPECT_TRUE(track.isLooping());
  EXPECT_TRUE(track.playsToExit());
  EXPECT_TRUE(track.isPreviewing());
  commands.apply();
  run();
  EXPECT_FALSE(track.isOpen());
  EXPECT_FALSE(track.isPreviewing());
  EXPECT_EQ(track.stripName(), QStringLiteral("1  A")) << "until the panel has gone";
  EXPECT_TRUE(strip(0).playbackLoop.get());
}

TEST_F(TrackPanel, AnErrorIsInTheLanguageOfTheSession) {
  open();
  desktop.openPanelAnswers = {"/none.wav"};
  commands.chooseFile();
  run();
  EXPECT_EQ(track.errorText(), QStringLiteral("Could not read this audio file."));
  state.language.set(Language::german);
  run();
  EXPECT_EQ(track.errorText(), QStringLiteral("Diese Audiodatei konnte nicht gelesen werden."));
  commands.cancel();
  run();
  EXPECT_FALSE(track.isOpen());
}

}  // namespace
}  // namespace vrel::window
