// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

class SandboxShow : public ShowTest {
 protected:
  [[nodiscard]] std::vector<std::string> arguments(const std::string& name, const std::string& sandbox) const {
    return {"--sandbox", sandbox, "--out", at(name + ".wav"), "--events", at(name + ".jsonl")};
  }

  [[nodiscard]] std::vector<json> eventsOfKind(const std::string& name, const std::string& kind) const {
    auto events = allEvents(name + ".jsonl");
    std::erase_if(events, [&kind](const json& event) { return event.at("kind") != kind; });
    return events;
  }

  /// The strip's process with this number, counted from 0, as soon as the run has logged it.
  [[nodiscard]] int processOf(const std::string& name, std::size_t strip, int number = 0) const {
    for (int wait = 0; wait < 60000; ++wait) {
      std::ifstream file(at(name + ".jsonl"));
      int count = 0;
      for (std::string line; std::getline(file, line) && !file.eof();) {
        const json event = json::parse(line);
        if (event.at("kind") == "sandbox" && event.at("channel") == strip && count++ == number) {
          return event.at("pid");
        }
      }
      std::this_thread::sleep_for(1ms);
    }
    return -1;
  }
};

/// The demo without its electric piano: each instance of that changes the samples that all instances in a process
/// share, so its sound depends on how many there have been.
SetlistFile repeatableDemo() {
  std::ifstream file(VREL_DEMO_FOLDER "/demo.vrel", std::ios::binary);
  auto demo = readSetlist(std::string(std::istreambuf_iterator<char>(file), {})).value();
  for (auto& song : demo.songs) {
    std::erase_if(song.channels, [](const ChannelConfig& channel) {
      return channel.pluginPath == "aucd:1635085685:3486730106:2041230156";
    });
  }
  return demo;
}

TEST_F(SandboxShow, TheDemoSoundsTheSameWithAndWithout) {
  const std::string demo = write("demo.vrel", repeatableDemo());
  for (const std::string sandbox : {"on", "off"}) {
    auto command = arguments(sandbox, sandbox);
    command.insert(command.end(), {demo, VREL_DEMO_FOLDER "/demo.mid"});
    const auto run =
        runRender(command, {"LD_PRELOAD=" VREL_FIXED_TIME_LIBRARY, "ASAN_OPTIONS=verify_asan_link_order=0"});
    ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
    EXPECT_NE(run.output.find("Problems: none"), std::string::npos) << run.output;
  }
  EXPECT_GT(soundIn(read("on.wav")).peak(), 0.1F);
  EXPECT_TRUE(read("on.wav") == read("off.wav"));
  EXPECT_TRUE(events("on.jsonl") == events("off.jsonl"));
  EXPECT_EQ(eventsOfKind("on", "sandbox").size(), 6U) << "five instruments and an effect";
  EXPECT_TRUE(eventsOfKind("off", "sandbox").empty());
}

TEST_F(SandboxShow, EachInstrumentHasAProcessOfItsOwnWhichIsLogged) {
  const auto setlist =
      setlistOf({songOf("One", {stripOf("A", zooInstrument("sine")), stripOf("B", zooInstrument("sine")),
                                stripOf("C", zooInstrument("echo"))})});
  auto command = arguments("run", "on");
  command.push_back(write("show.vrel", setlist));
  const auto run = renderOnZoo(command);
  ASSERT_EQ(run.exitCode, 0) << run.errors;
  std::set<int> processes;
  std::set<int> strips;
  for (const json& event : eventsOfKind("run", "sandbox")) {
    EXPECT_EQ(event.at("t"), 0);
    strips.insert(event.at("channel").get<int>());
    processes.insert(event.at("pid").get<int>());
  }
  EXPECT_EQ(strips, (std::set<int>{0, 1, 2}));
  EXPECT_EQ(processes.size(), 3U);
  for (const int process : processes) {
    EXPECT_NE(kill(process, 0), 0) << "none outlives the run";
  }
}

class SandboxShowWithARebel : public SandboxShow {
 protected:
  /// Strip 0 is silent and takes half a second of real time for each of its keys; strip 1 sounds.
  void render(const std::string& name) {
    auto rebel = stripOf("Rebel", "");
    rebel.pluginPath = zooPlugin_;
    rebel.maxNote = 31;
    auto sine = stripOf("Sine", zooInstrument("sine"));
    sine.minNote = 32;
    sine.effectSlots = effects_;
    MidiFileMaker show;
    show.message(0, {0x90, 69, 100});
    for (std::uint32_t count = 1; count <= 6; ++count) {
      show.message(100 * count, {0x90, 10, 64})
          .message(100 * count + 50, {0x90, static_cast<std::uint8_t>(60 + count), 90});
    }
    auto command = arguments(name, "on");
    command.insert(command.end(), {write(name + ".vrel", setlistOf({songOf("One", {rebel, sine})})),
                                   write(name + ".mid", show.bytes())});
    run_ = std::async(std::launch::async, [command] { return renderOnZoo(command); });
  }

  std::future<ProgramRun> run_;
  std::vector<AudioPluginSlot> effects_;  // behind the sine
  const std::string zooPlugin_ = zooInstrument("rebel-kind");
};

TEST_F(SandboxShowWithARebel, AKilledProcessCrashesItsStripAndTheOthersSoundTheSameSampleForSample) {
  render("whole");
  const auto whole = run_.get();
  ASSERT_EQ(whole.exitCode, 0) << whole.errors;
  render("killed");
  const int process = processOf("killed", 0);
  ASSERT_GT(process, 0);
  std::this_thread::sleep_for(800ms);  // in the middle of a task of three seconds
  ASSERT_EQ(kill(process, SIGKILL), 0);
  const auto killed = run_.get();
  ASSERT_EQ(killed.exitCode, 0) << killed.errors;
  EXPECT_NE(killed.output.find("1 plug-ins crashed"), std::string::npos) << killed.output;
  EXPECT_GT(soundIn(read("whole.wav")).peak(), 0.1F);
  EXPECT_TRUE(read("killed.wav") == read("whole.wav"));

  const auto crashes = eventsOfKind("killed", "crash");
  ASSERT_EQ(crashes.size(), 1U);
  EXPECT_EQ(crashes[0].at("channel"), 0);
  EXPECT_EQ(crashes[0].at("pid"), process);
  const auto statuses = eventsOfKind("killed", "status");
  EXPECT_EQ(statuses.back().at("status"), "CRASHED");
  EXPECT_EQ(statuses.back().at("channel"), 0);
  EXPECT_TRUE(eventsOfKind("whole", "crash").empty());
}

TEST_F(SandboxShowWithARebel, ASuspendedProcessIsWaitedForAndNothingIsLost) {
  render("whole");
  ASSERT_EQ(run_.get().exitCode, 0);
  render("stopped");
  const int process = processOf("stopped", 0);
  ASSERT_GT(process, 0);
  std::this_thread::sleep_for(300ms);
  ASSERT_EQ(kill(process, SIGSTOP), 0);
  EXPECT_EQ(run_.wait_for(3500ms), std::future_status::timeout) << "the run continues without it";
  ASSERT_EQ(kill(process, SIGCONT), 0);
  ASSERT_EQ(run_.get().exitCode, 0);
  EXPECT_TRUE(read("stopped.wav") == read("whole.wav"));
}

TEST_F(SandboxShowWithARebel, AnEffectThatLosesItsProcessIsBypassed) {
  render("whole");
  ASSERT_EQ(run_.get().exitCode, 0);
  effects_ = {{.pluginPath = zooEffect("shy"), .pluginName = "Zoo Shy"}};
  render("killed");
  const int effect = processOf("killed", 1, 1);
  ASSERT_GT(effect, 0);
  std::this_thread::sleep_for(800ms);
  ASSERT_EQ(kill(effect, SIGKILL), 0);
  const auto killed = run_.get();
  ASSERT_EQ(killed.exitCode, 0) << killed.errors;
  const auto crashes = eventsOfKind("killed", "crash");
  ASSERT_EQ(crashes.size(), 1U);
  EXPECT_EQ(crashes[0].at("channel"), 1);
  EXPECT_EQ(crashes[0].at("pid"), effect);
  EXPECT_EQ(eventsOfKind("killed", "status"), eventsOfKind("whole", "status")) << "the strip runs on";
  EXPECT_GT(soundIn(read("killed.wav")).peak(), 0.1F);
}

TEST_F(SandboxShow, AnEffectOfTheMasterIsLoggedWithoutAStrip) {
  auto song = songOf("One", {stripOf("A", zooInstrument("sine"))});
  song.masterEffectSlots = {{.pluginPath = zooEffect("shy"), .pluginName = "Zoo Shy"}};
  auto command = arguments("run", "on");
  command.push_back(write("show.vrel", setlistOf({song})));
  ASSERT_EQ(renderOnZoo(command).exitCode, 0);
  const auto processes = eventsOfKind("run", "sandbox");
  ASSERT_EQ(processes.size(), 2U);
  EXPECT_TRUE(processes[0].at("channel").is_null() != processes[1].at("channel").is_null());
}

/// An effect that writes to nothing, calls exit(0) or aborts in its run, by the velocity that makes it.
class SandboxShowWithAnEffectThatEnds : public SandboxShow {
 protected:
  static constexpr std::array faults{2, 3, 4};

  ProgramRun render(int velocity, const std::string& sandbox) {
    auto strip = stripOf("Rebel", zooInstrument("rebel-kind"));
    strip.effectSlots = {{.pluginPath = zooEffect("effectrebel"), .pluginName = "Zoo Effect Rebel"}};
    MidiFileMaker show;
    show.message(0, {0x90, 60, 100});
    show.message(960, {0x90, 60, static_cast<std::uint8_t>(velocity)});
    show.message(980, {0x90, 60, 100});
    show.message(1920, {0x80, 60, 0});
    auto command = arguments("run", sandbox);
    command.insert(command.end(),
                   {write("show.vrel", setlistOf({songOf("One", {strip})})), write("show.mid", show.bytes())});
    return renderOnZoo(command);
  }
};

TEST_F(SandboxShowWithAnEffectThatEnds, TheRenderGoesOnToItsEndWithTheStripDry) {
  for (const int fault : faults) {
    const auto run = render(fault, "on");
    ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
    EXPECT_NE(run.output.find("1 plug-ins crashed"), std::string::npos) << run.output;
    EXPECT_EQ(eventsOfKind("run", "crash").size(), 1U);
    const SoundFile sound = soundIn(read("run.wav"));
    ASSERT_GT(sound.frameCount(), sound.firstSound() + 2000);
    const float halved = sound.left[sound.firstSound() + 1000];
    EXPECT_GT(halved, 0.1F);
    EXPECT_FLOAT_EQ(sound.left[sound.frameCount() - 1000], 2 * halved) << "dry to its end";
  }
}

TEST_F(SandboxShowWithAnEffectThatEnds, WithoutTheSandboxTheRenderNeverSaysThatAllIsWell) {
  for (const int fault : faults) {
    EXPECT_NE(render(fault, "off").exitCode, 0);
  }
  EXPECT_NE(render(3, "off").errors.find("a plug-in has ended the program"), std::string::npos);
}

TEST_F(SandboxShow, AnEffectThatEndsItsProcessAsItIsMadeIsReportedAndTheRenderIsWhole) {
  for (const std::string name : {"exit", "crash"}) {
    auto strip = stripOf("A", zooInstrument("sine"));
    strip.effectSlots = {{.pluginPath = zooEffect("effectrebel-" + name), .pluginName = "Zoo Effect Rebel"}};
    MidiFileMaker show;
    show.message(0, {0x90, 69, 100});
    show.message(960, {0x80, 69, 0});
    auto command = arguments(name, "on");
    command.insert(command.end(),
                   {write("show.vrel", setlistOf({songOf("One", {strip})})), write("show.mid", show.bytes())});
    const auto run = renderOnZoo(command);
    ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
    EXPECT_NE(run.output.find("no effect \"Zoo Effect Rebel\""), std::string::npos) << run.output;
    EXPECT_GT(soundIn(read(name + ".wav")).peak(), 0.1F);
  }
}

TEST_F(SandboxShow, WithoutTheHostProgramEveryStripFailsToLoadAndTheRunReportsWhy) {
  auto command = arguments("run", "on");
  command.push_back(write("show.vrel", setlistOf({songOf("One", {stripOf("A", zooInstrument("sine"))})})));
  command.insert(command.begin(), VREL_RENDER_PROGRAM);
  const auto run = runProgram(command, {"VREL_PLUGIN_HOST=/no/such/program", "LV2_PATH=" VREL_ZOO_PATH});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.output.find("Failed to load plugin: cannot start /no/such/program"), std::string::npos) << run.output;
}

}  // namespace
}  // namespace vrel
