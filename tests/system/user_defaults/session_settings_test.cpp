// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "document/app_state.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_components.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/virtual_time.h"
#include "system/user_defaults/ini_user_defaults.h"

// The session on a real file of settings.

namespace vrel::system {
namespace {

namespace fs = std::filesystem;

/// One run of the program.
struct Program {
  explicit Program(const fs::path& path) : defaults(path, console) {}

  simulation::RecordingConsole console;
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::SimulatedComponentManager components;
  IniUserDefaults defaults;
  simulation::SimulatedFileManager files;
  AppState session{{defaults, components, mainQueue, console, files}, "/recent_setlists.json"};
};

class SessionSettings : public testing::Test {
 protected:
  SessionSettings() {
    std::string folder = testing::TempDir() + "vrel_session_XXXXXX";
    root = ::mkdtemp(folder.data());
    path = root / "defaults.ini";
  }
  ~SessionSettings() override { fs::remove_all(root); }

  fs::path root;
  fs::path path;
};

TEST_F(SessionSettings, OutliveTheProgram) {
  {
    Program program(path);
    program.session.visualBlendMode.set(VisualBlendMode::multiply);
    program.session.visualBackgroundVideoPath.set("/films/night = day.mov");
    program.session.audioIOBufferFrameSize.set(512);
    program.session.audioOutputDeviceUID.set("jack:system");
  }
  {
    Program program(path);
    EXPECT_EQ(program.session.visualBlendMode.get(), VisualBlendMode::multiply);
    EXPECT_EQ(program.session.visualBackgroundVideoPath.get(), "/films/night = day.mov");
    EXPECT_EQ(program.session.audioIOBufferFrameSize.get(), 512U);
    EXPECT_EQ(program.session.audioOutputDeviceUID.get(), "jack:system");
    program.session.visualBackgroundVideoPath.set("");
  }
  Program program(path);
  EXPECT_FALSE(program.session.visualBackgroundVideoPath.get().has_value());
  EXPECT_EQ(program.session.audioOutputDeviceUID.get(), "jack:system");
}

TEST_F(SessionSettings, OfADamagedFileTheRestIsInForce) {
  std::ofstream(path) << "vrel.audio.outputDeviceUID=jack:system\nvrel.audio.ioBufferFrameSize=\xFF\n"
                         "vrel.visual.blendMode=dissolve\n";
  Program program(path);
  EXPECT_EQ(program.session.audioOutputDeviceUID.get(), "jack:system");
  EXPECT_EQ(program.session.audioIOBufferFrameSize.get(), 128U);
  EXPECT_EQ(program.session.visualBlendMode.get(), VisualBlendMode::plusLighter);
  EXPECT_EQ(program.console.lines.size(), 1U);
  program.session.audioIOBufferFrameSize.set(64);
  EXPECT_EQ(Program(path).session.audioOutputDeviceUID.get(), "jack:system");
  EXPECT_EQ(Program(path).session.audioIOBufferFrameSize.get(), 64U);
}

TEST_F(SessionSettings, AreValidForTheRunWhereTheyCannotBeSaved) {
  std::ofstream(root / "blocked") << "a file where a folder should be";
  Program program(root / "blocked" / "defaults.ini");
  program.console.lines.clear();
  program.session.audioIOBufferFrameSize.set(256);
  program.session.audioOutputDeviceUID.set("jack:system");
  EXPECT_EQ(program.session.audioIOBufferFrameSize.get(), 256U);
  EXPECT_EQ(program.session.audioOutputDeviceUID.get(), "jack:system");
  EXPECT_EQ(program.console.lines.size(), 1U);
}

}  // namespace
}  // namespace vrel::system
