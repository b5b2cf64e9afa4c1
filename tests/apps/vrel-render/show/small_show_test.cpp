// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using nlohmann::json;
using Events = std::vector<json>;

json midi(double seconds, int strip, int status, int data1, int data2) {
  return {{"t", seconds}, {"kind", "midi"}, {"channel", strip}, {"status", status}, {"data1", data1}, {"data2", data2}};
}
json status(double seconds, int strip, const std::string& text) {
  return {{"t", seconds}, {"kind", "status"}, {"channel", strip}, {"status", text}};
}
json song(double seconds, int index) {
  return {{"t", seconds}, {"kind", "song"}, {"index", index}};
}
json songSwitch(double seconds, int index, int pendingLoads) {
  return {{"t", seconds}, {"kind", "switch"}, {"index", index}, {"milliseconds", 0}, {"pendingLoads", pendingLoads}};
}
json dirty(double seconds, bool isDirty) {
  return {{"t", seconds}, {"kind", "dirty"}, {"dirty", isDirty}};
}
/// What MIDI clocks receive: stop before a song switch, stop and start after it.
json stopped(double seconds, int strip) {
  return midi(seconds, strip, 0xFC, 0, 0);
}
json started(double seconds, int strip) {
  return midi(seconds, strip, 0xFA, 0, 0);
}

class SmallShow : public ShowTest {
 protected:
  /// Renders to out.wav and events.jsonl and expects success.
  ProgramRun play(const SetlistFile& setlist, const MidiFileMaker& show, std::vector<std::string> options = {}) const {
    options.insert(options.end(), {"--out", at("out.wav"), "--events", at("events.jsonl"), write("show.vrel", setlist),
                                   write("show.mid", show.bytes())});
    auto run = renderOnZoo(options);
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    EXPECT_EQ(run.ownErrors(), "");
    return run;
  }

  [[nodiscard]] SoundFile sound() const { return soundIn(read("out.wav")); }
  [[nodiscard]] Events events() const { return ShowTest::events("events.jsonl"); }
  [[nodiscard]] Events eventsOfKind(const std::string& kind) const {
    Events found;
    for (const auto& event : events()) {
      if (event.at("kind") == kind) {
        found.push_back(event);
      }
    }
    return found;
  }

  const std::string sine = zooInstrument("sine");
};

TEST_F(SmallShow, EveryEventIsLoggedAsItsInstrumentReceivedIt) {
  auto bass = stripOf("Bass", sine);
  bass.maxNote = 59;
  bass.sendSustain = false;
  auto lead = stripOf("Lead", sine);
  lead.minNote = 60;
  lead.transpose = 12;
  auto rotor = stripOf("Rotor", sine);
  rotor.minNote = 127;
  rotor.sustainControlsRotor = true;
  MidiFileMaker show;
  show.message(100, {0x90, 59, 100}).message(100, {0x91, 60, 101});
  show.message(250, {0xB2, 64, 100}).message(375, {0xD0, 33}).message(500, {0xC0, 5});
  show.message(1000, {0x80, 59, 1}).message(1000, {0x90, 60, 0});
  play(setlistOf({songOf("One", {bass, lead, rotor})}), show, {"--tail", "0"});
  EXPECT_EQ(events(), (Events{song(0, 0),
                              status(0, 0, "Loading..."),
                              status(0, 1, "Loading..."),
                              status(0, 2, "Loading..."),
                              status(0, 0, "RUNNING"),
                              status(0, 1, "RUNNING"),
                              status(0, 2, "RUNNING"),
                              stopped(0, 0),
                              started(0, 0),
                              stopped(0, 1),
                              started(0, 1),
                              stopped(0, 2),
                              started(0, 2),
                              songSwitch(0, 0, 3),
                              midi(0.1, 0, 0x90, 59, 100),
                              midi(0.1, 1, 0x91, 72, 101),
                              dirty(0.25, true),
                              midi(0.25, 1, 0xB2, 64, 100),
                              midi(0.25, 2, 0xB2, 1, 127),
                              midi(0.375, 0, 0xD0, 33, 0),
                              midi(0.375, 1, 0xD0, 33, 0),
                              midi(0.375, 2, 0xD0, 33, 0),
                              midi(1, 0, 0x80, 59, 1),
                              midi(1, 1, 0x90, 72, 0)}));
}

TEST_F(SmallShow, TheBeatOfABlockIsThatOfItsFirstFrameWhateverItsSize) {
  for (const std::size_t block : {128U, 1024U}) {
    const std::vector<ChannelConfig> strips = {stripOf("Clock", zooInstrument("clock"))};
    MidiFileMaker show;
    show.marker(500, "song 1");
    play(setlistOf({songOf("One", strips), songOf("Two", strips)}), show,
         {"--block", std::to_string(block), "--tail", "0.5"});
    const auto audio = sound();
    // The plug-in writes the fields of the last position: the beat is the fifth, the beat unit the sixth.
    const auto field = [&](std::size_t index, std::size_t number) { return audio.left[index * block + number]; };
    EXPECT_EQ(field(0, 4), 0);
    EXPECT_GT(field(0, 5), 0);
    const auto gain = 0.25F * field(0, 5);
    const auto switched = 24000 / block;
    EXPECT_EQ(field(switched, 4), 0) << "the new song begins";
    const double secondsAfter = static_cast<double>((switched + 1) * block) / 48000 - 0.5;
    EXPECT_NEAR(field(switched + 1, 4) / gain, 2 * secondsAfter, 0.005);
  }
}

TEST_F(SmallShow, APlugInKnowsThatNobodyWaitsForTheRender) {
  play(setlistOf({songOf("One", {stripOf("Aware", zooInstrument("hostaware"))})}), {}, {"--tail", "0.1"});
  const auto audio = sound();
  // The plug-in writes its control inputs: a level of 0.5, lv2:freeWheeling, lv2:enabled, the tempo.
  ASSERT_GT(audio.left[0], 0);
  EXPECT_FLOAT_EQ(audio.left[1], 2 * audio.left[0]);
  EXPECT_FLOAT_EQ(audio.left[2], 2 * audio.left[0]);
  EXPECT_FLOAT_EQ(audio.left[3], 240 * audio.left[0]) << "120 beats a minute";
}

TEST_F(SmallShow, PanicSendsEveryInstrument192Events) {
  MidiFileMaker show;
  show.message(0, {0x90, 60, 100}).marker(500, "panic");
  play(setlistOf({songOf("One", {stripOf("A", sine), stripOf("B", sine)})}), show, {"--tail", "0.5"});
  Events expected;
  for (int strip = 0; strip < 2; ++strip) {
    for (int midiChannel = 0; midiChannel < 16; ++midiChannel) {
      for (const int controller : {64, 1, 121, 123}) {
        expected.push_back(midi(0.5, strip, 0xB0 + midiChannel, controller, 0));
      }
    }
    for (int note = 0; note < 128; ++note) {
      expected.push_back(midi(0.5, strip, 0x80, note, 0));
    }
  }
  auto got = eventsOfKind("midi");
  std::erase_if(got, [](const json& event) { return event.at("t") == 0; });
  EXPECT_EQ(got, expected);
  const auto played = sound();
  EXPECT_GT(played.rmsDecibels(4800, 19200), -20);
  EXPECT_LT(played.rmsDecibels(36000, 47000), -80);
}

TEST_F(SmallShow, AMessageActsOnTheBlockThatHoldsItsTime) {
  struct Case {
    std::uint32_t milliseconds;
    const char* block;
    std::size_t firstFrame;
  };
  // At 48000 frames a second, 1000 ms are the start of block 375 of 128 frames.
  for (const Case& each : {Case{1000, "128", 48000}, Case{999, "128", 47872}, Case{1001, "128", 48000},
                           Case{1000, "1024", 47104}, Case{1003, "1024", 48128}, Case{1000, "32", 48000}}) {
    SCOPED_TRACE(std::to_string(each.milliseconds) + " ms, block of " + each.block);
    MidiFileMaker show;
    show.message(each.milliseconds, {0x90, 60, 127});
    play(setlistOf({songOf("One", {stripOf("Sine", sine)})}), show, {"--tail", "0.1", "--block", each.block});
    EXPECT_EQ(sound().firstSound(), each.firstFrame);
  }
}

TEST_F(SmallShow, RateAndBlockChangeTheFileButNotTheEvents) {
  MidiFileMaker show;
  show.message(10, {0x90, 69, 127}).message(333, {0x80, 69, 0});
  const auto setlist = setlistOf({songOf("One", {stripOf("Sine", sine)})});
  play(setlist, show);
  const auto expected = events();
  struct Case {
    const char* rate;
    const char* block;
  };
  for (const Case& each : {Case{"44100", "64"}, Case{"96000", "512"}, Case{"8000", "1024"}, Case{"192000", "32"}}) {
    SCOPED_TRACE(std::string(each.rate) + " " + each.block);
    play(setlist, show, {"--rate", each.rate, "--block", each.block, "--tail", "0.5"});
    EXPECT_EQ(events(), expected);
    const auto played = sound();
    const std::size_t rate = std::stoul(each.rate);
    const std::size_t block = std::stoul(each.block);
    EXPECT_EQ(played.rate, rate);
    EXPECT_EQ(played.frameCount() % block, 0U);
    const auto seconds = 0.333 + 0.5;
    EXPECT_NEAR(static_cast<double>(played.frameCount()), seconds * static_cast<double>(rate),
                static_cast<double>(block));
    EXPECT_NEAR(played.crossingsPerSecond(rate * 13 / 100, rate / 4), 880, 10);  // the A of 440 Hz at any rate
  }
}

TEST_F(SmallShow, TheTailIsTwoSecondsByDefault) {
  MidiFileMaker show;
  show.message(1000, {0x90, 60, 127});
  play(setlistOf({songOf("One", {stripOf("Sine", sine)})}), show);
  EXPECT_EQ(sound().frameCount(), 3 * 48000U);
}

TEST_F(SmallShow, ASongMarkerPutsThatSongOnStage) {
  auto high = stripOf("High", sine);
  high.transpose = 24;
  MidiFileMaker show;
  show.message(0, {0x90, 60, 100}).marker(500, "song 2").message(500, {0x90, 62, 90}).marker(750, "song 0");
  const auto run = play(setlistOf({songOf("One", {stripOf("Sine", sine)}), songOf("Two", {}), songOf("Three", {high})}),
                        show, {"--tail", "0.1"});
  EXPECT_EQ(eventsOfKind("song"), (Events{song(0, 0), song(0.5, 2), song(0.75, 0)}));
  EXPECT_EQ(events(),
            (Events{song(0, 0),       status(0, 0, "Loading..."),    status(0, 0, "RUNNING"),    stopped(0, 0),
                    started(0, 0),    songSwitch(0, 0, 1),           midi(0, 0, 0x90, 60, 100),  stopped(0.5, 0),
                    song(0.5, 2),     status(0.5, 0, "Loading..."),  status(0.5, 0, "RUNNING"),  stopped(0.5, 0),
                    started(0.5, 0),  songSwitch(0.5, 2, 1),         midi(0.5, 0, 0x90, 86, 90), stopped(0.75, 0),
                    song(0.75, 0),    status(0.75, 0, "Loading..."), status(0.75, 0, "RUNNING"), stopped(0.75, 0),
                    started(0.75, 0), songSwitch(0.75, 0, 1)}));
  EXPECT_NE(run.output.find("Played 3 songs: \"One\", \"Three\", \"One\"\n"), std::string::npos) << run.output;
}

TEST_F(SmallShow, ASongRingsOnUntilItsKeysAreReleasedOrItsTimeIsOver) {
  auto setlist = setlistOf({songOf("One", {stripOf("Sine", sine)}), songOf("Two", {})});
  MidiFileMaker show;
  show.message(0, {0x90, 60, 100}).marker(500, "song 1").message(700, {0x90, 72, 100}).message(1000, {0x80, 60, 0});
  play(setlist, show, {"--tail", "1"});
  EXPECT_LT(sound().rmsDecibels(26000, 47000), -80) << "it ends with its song until that is set";
  setlist.songControl.letRingSeconds = 5;
  play(setlist, show, {"--tail", "1"});
  const auto released = sound();
  EXPECT_GT(released.rmsDecibels(26000, 47000), -20);
  EXPECT_NEAR(released.crossingsPerSecond(38400, 47000), 523.25, 10) << "a key of the next song is not for it";
  EXPECT_LT(released.rmsDecibels(54000, 96000), -80);
  const auto bytes = read("out.wav");
  play(setlist, show, {"--tail", "1"});
  EXPECT_EQ(read("out.wav"), bytes);
  setlist.songControl.letRingSeconds = 1;
  MidiFileMaker held;
  held.message(0, {0x90, 60, 100}).marker(500, "song 1");
  play(setlist, held, {"--tail", "2"});
  EXPECT_GT(sound().rmsDecibels(26000, 47000), -20);
  EXPECT_LT(sound().rmsDecibels(73000, 110000), -80);
}

TEST_F(SmallShow, ALearnedControlActsAndIsLogged) {
  auto song = songOf("One", {stripOf("Sine", sine), stripOf("Other", sine)});
  song.midiControlAssignments = {{{MidiControlKind::channelMute, 0}, {0xB0, 2, 20}},
                                 {{MidiControlKind::panic, {}}, {0xB0, 9, 36}}};
  auto setlist = setlistOf({song});
  setlist.globalMidiControlAssignments = {{{MidiControlKind::channelVolume, 1}, {0xB0, 2, 20}}};
  MidiFileMaker show;
  show.message(0, {0x90, 60, 100}).message(200, {0xB2, 20, 127}).message(300, {0xB2, 21, 127});
  show.message(400, {0xB9, 36, 90});
  play(setlist, show, {"--tail", "0.5", "--save", at("saved.vrel")});
  const auto control = [](double seconds, const char* target, const json& strip, float value) {
    return json{{"t", seconds},     {"kind", "control"}, {"target", target},
                {"channel", strip}, {"value", value},    {"pressed", true}};
  };
  EXPECT_EQ(eventsOfKind("control"), (Events{control(0.2, "channel_volume", 1, 1), control(0.2, "channel_mute", 0, 1),
                                             control(0.4, "panic", nullptr, 90.0F / 127)}));
  const auto marks = eventsOfKind("dirty");
  ASSERT_EQ(marks.size(), 2U);
  EXPECT_EQ(marks[0], dirty(0.2, true));
  EXPECT_EQ(marks[1].at("dirty"), false) << "it is saved at the end";
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  EXPECT_TRUE(saved.value().songs[0].channels[0].mute);
  EXPECT_EQ(saved.value().songs[0].channels[1].volume, 1.0F);
  EXPECT_EQ(saved.value().globalMidiControlAssignments, setlist.globalMidiControlAssignments);
  const auto played = sound();
  EXPECT_GT(played.rmsDecibels(4800, 9600), -20);
  EXPECT_GT(played.rmsDecibels(12000, 18000), -20) << "the other strip plays on";
  EXPECT_LT(played.rmsDecibels(24000, 40000), -80);
}

TEST_F(SmallShow, AControlIsLearnedInTheShowAndKeptInTheSetlist) {
  MidiFileMaker show;
  show.marker(0, "learn channel_volume 0").message(10, {0xB3, 7, 5});
  show.message(100, {0xB3, 7, 127}).marker(200, "learn tap_tempo").marker(210, "panic").message(220, {0xB0, 50, 1});
  show.marker(300, "learn nothing").message(400, {0xB0, 50, 127});
  const auto run =
      play(setlistOf({songOf("One", {stripOf("Sine", sine)})}), show, {"--tail", "0", "--save", at("saved.vrel")});
  EXPECT_NE(run.output.find("'learn nothing': no such control"), std::string::npos) << run.output;
  const auto controls = eventsOfKind("control");
  ASSERT_EQ(controls.size(), 2U);
  EXPECT_EQ(controls[0].at("target"), "channel_volume");
  EXPECT_EQ(controls[1].at("target"), "panic") << "it was clicked last";
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  EXPECT_EQ(saved.value().songs[0].channels[0].volume, 1.0F);
  EXPECT_EQ(saved.value().globalMidiControlAssignments,
            (std::vector<MidiControlAssignment>{{{MidiControlKind::channelVolume, 0}, {0xB0, 3, 7}}}));
  EXPECT_EQ(saved.value().songs[0].midiControlAssignments,
            (std::vector<MidiControlAssignment>{{{MidiControlKind::panic, {}}, {0xB0, 0, 50}}}));
}

TEST_F(SmallShow, TapsSetTheTempoOfTheSong) {
  MidiFileMaker show;
  show.marker(100, "tap").marker(500, "tap").marker(700, "song 1").marker(1000, "song 0");
  play(setlistOf({songOf("One", {}), songOf("Two", {})}), show, {"--tail", "0", "--save", at("saved.vrel")});
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  EXPECT_EQ(saved.value().songs[0].tempoBpm, 150U);
  EXPECT_EQ(eventsOfKind("dirty"), (Events{dirty(0.5, true), dirty(0.7, false)}));
}

TEST_F(SmallShow, TheKeysOfLiveModeActOnlyWhileItIsOn) {
  const auto three = songOf("One", {stripOf("A", sine), stripOf("B", sine), stripOf("C", sine)});
  MidiFileMaker show;
  show.marker(100, "key 1").marker(100, "key down");
  show.marker(200, "live on").marker(300, "key 1").marker(400, "key cmd+2").marker(500, "key 0");
  show.message(600, {0x90, 60, 100}).marker(700, "key 0").marker(900, "key cmd+3");
  show.marker(1100, "key cmd+3").marker(1300, "key space").marker(1400, "key down").marker(1500, "key down");
  show.marker(1600, "live off").marker(1700, "key up");
  play(setlistOf({three, songOf("Two", {})}), show, {"--tail", "0.1", "--save", at("saved.vrel")});
  EXPECT_EQ(eventsOfKind("song"), (Events{song(0, 0), song(1.4, 1), song(1.5, 1)}));
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  const auto& channels = saved.value().songs[0].channels;
  EXPECT_TRUE(channels[0].mute);
  for (const auto& channel : channels) {
    EXPECT_FALSE(channel.solo) << "the second press has taken it back";
  }
  const auto played = sound();
  EXPECT_LT(played.rmsDecibels(30000, 33000), -80) << "the master is muted";
  EXPECT_GT(played.rmsDecibels(36000, 40000), -20);
  EXPECT_LT(played.rmsDecibels(64000, 66000), -80) << "panic";
}

TEST_F(SmallShow, AMarkerWithAnUnknownKeyIsReportedAndTheShowContinues) {
  MidiFileMaker show;
  show.marker(0, "live maybe").marker(0, "key f5").marker(10, "tap").marker(20, "live on").marker(30, "key p");
  const auto run = play(setlistOf({songOf("One", {stripOf("Sine", sine)})}), show, {"--tail", "0.1"});
  EXPECT_NE(run.output.find("'live maybe': expected on or off"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("'key f5': no such key"), std::string::npos) << run.output;
  EXPECT_EQ(eventsOfKind("midi").size(), 2 + 192U);
}

TEST_F(SmallShow, AMarkerWithAnUnknownSongIsReportedAndTheShowContinues) {
  MidiFileMaker show;
  show.marker(0, "song 7").marker(10, "song x").marker(20, "Verse").message(30, {0x90, 60, 100});
  const auto run = play(setlistOf({songOf("One", {stripOf("Sine", sine)})}), show, {"--tail", "0.1"});
  EXPECT_NE(run.output.find("'song 7': no such song"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("'song x': no such song"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("Verse"), std::string::npos) << run.output;
  EXPECT_EQ(eventsOfKind("song"), (Events{song(0, 0)}));
  EXPECT_EQ(eventsOfKind("midi"), (Events{stopped(0, 0), started(0, 0), midi(0.03, 0, 0x90, 60, 100)}));
}

TEST_F(SmallShow, TheShowBeginsWithTheGivenSong) {
  play(setlistOf({songOf("One", {}), songOf("Two", {stripOf("Sine", sine)})}), MidiFileMaker(),
       {"--song", "1", "--tail", "0.1"});
  EXPECT_EQ(eventsOfKind("song"), (Events{song(0, 1)}));
}

TEST_F(SmallShow, AMissingPluginIsReportedAndTheOthersSound) {
  auto withEffect = stripOf("Sine", sine);
  withEffect.effectSlots = {{.pluginPath = zooEffect("nowhere"), .pluginName = "Nowhere"}};
  const auto setlist = setlistOf({songOf("Gig", {stripOf("Gone", zooInstrument("nowhere")), withEffect})});
  MidiFileMaker show;
  show.message(0, {0x90, 60, 127});
  const auto run = play(setlist, show, {"--tail", "0.2"});
  EXPECT_NE(run.output.find("song \"Gig\", channel \"Gone\": Load failed (" + zooInstrument("nowhere") +
                            " is not installed)"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("song \"Gig\", channel \"Sine\": no effect \"Nowhere\" (" + zooEffect("nowhere") +
                            " is not installed)"),
            std::string::npos)
      << run.output;
  EXPECT_EQ(eventsOfKind("status"),
            (Events{status(0, 0, "Load failed"), status(0, 1, "Loading..."), status(0, 1, "RUNNING")}));
  EXPECT_GT(sound().peak(), 0.5F);
}

TEST_F(SmallShow, APluginThatFailsToLoadIsReportedAndTheOthersSound) {
  MidiFileMaker show;
  show.message(0, {0x90, 60, 127});
  const auto run = play(setlistOf({songOf("Gig", {stripOf("Refuses", zooInstrument("refuses")),
                                                  stripOf("Needy", zooInstrument("needy")), stripOf("Sine", sine)})}),
                        show, {"--tail", "0.2"});
  for (const char* name : {"Refuses", "Needy"}) {
    EXPECT_NE(run.output.find(std::string("channel \"") + name + "\": Load failed ("), std::string::npos) << run.output;
  }
  EXPECT_NE(run.output.find("did not load)"), std::string::npos) << run.output;
  EXPECT_GT(sound().peak(), 0.5F);
}

TEST_F(SmallShow, APluginWithNonFiniteOutputIsSilencedAndCounted) {
  MidiFileMaker show;
  show.message(0, {0x90, 61, 127}).message(100, {0x90, 61, 127});
  auto broken = stripOf("Sine", sine);
  broken.effectSlots = {{.pluginPath = zooEffect("notanumber"), .pluginName = "Broken"}};
  const auto run =
      play(setlistOf({songOf("Gig", {stripOf("Fine", sine), stripOf("Broken", zooInstrument("notanumber")), broken})}),
           show, {"--tail", "0.2"});
  EXPECT_NE(run.output.find("not finite"), std::string::npos) << run.output;
  EXPECT_TRUE(sound().isFinite());
  EXPECT_GT(sound().peak(), 0.1F);
}

TEST_F(SmallShow, AnEmptySetlistRendersSilenceAndIsReported) {
  MidiFileMaker show;
  show.message(0, {0x90, 60, 127});
  const auto run = play(setlistOf({}), show, {"--tail", "0.5"});
  EXPECT_NE(run.output.find("the setlist is empty"), std::string::npos) << run.output;
  EXPECT_EQ(sound().frameCount(), 24064U);  // 188 blocks
  EXPECT_EQ(sound().peak(), 0);
  EXPECT_TRUE(events().empty());
}

TEST_F(SmallShow, WithoutOutputTheShowIsStillPerformed) {
  const auto run =
      renderOnZoo({write("show.vrel", setlistOf({songOf("One", {stripOf("Sine", sine)})})),
                   write("show.mid", MidiFileMaker().message(0, {0x90, 60, 127}).bytes()), "--tail", "0.1"});
  EXPECT_EQ(run.exitCode, 0) << run.errors;
  EXPECT_NE(run.output.find("Sound: not written, 0.10 s"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("silent"), std::string::npos) << run.output;
}

TEST_F(SmallShow, TwoRunsGiveTheSameBytes) {
  auto worker = stripOf("Worker", zooInstrument("worker"));
  auto reverberant = stripOf("Sine", sine);
  reverberant.reverb = 0.6F;
  reverberant.effectSlots = {{.pluginPath = zooEffect("gain"), .pluginName = "Gain"}};
  const auto setlist = setlistOf({songOf("One", {reverberant, worker}),
                                  songOf("Two", {worker, reverberant, reverberant}), songOf("Three", {reverberant})});
  MidiFileMaker show;
  for (std::uint32_t step = 0; step < 12; ++step) {
    const auto note = static_cast<std::uint8_t>(48 + step);
    show.marker(step * 200, "song " + std::to_string(step % 3));
    show.message(step * 200 + 3, {0x90, note, 100}).message(step * 200 + 150, {0x80, note, 0});
  }
  play(setlist, show);
  const std::string firstSound = read("out.wav");
  const Events firstEvents = events();
  EXPECT_GT(soundIn(firstSound).peak(), 0.1F);
  for (int run = 0; run < 3; ++run) {
    play(setlist, show);
    EXPECT_TRUE(read("out.wav") == firstSound);
    EXPECT_EQ(events(), firstEvents);
  }
}

TEST_F(SmallShow, PluginsAreListedInTheOrderOfTheScan) {
  const auto run = renderOnZoo({"--list-plugins"});
  EXPECT_EQ(run.exitCode, 0);
  std::istringstream lines(run.output);
  std::vector<std::string> instruments;
  bool effectsHaveBegun = false;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string key;
    std::string type;
    std::string manufacturer;
    std::string name;
    ASSERT_TRUE(std::getline(fields, key, '\t') && std::getline(fields, type, '\t') &&
                std::getline(fields, manufacturer, '\t') && std::getline(fields, name))
        << line;
    const bool isEffect = type == "aufx" || type == "aumf";
    EXPECT_TRUE(isEffect || type == "aumu" || type == "augn") << line;
    EXPECT_TRUE(isEffect || !effectsHaveBegun) << line;
    effectsHaveBegun = effectsHaveBegun || isEffect;
    if (name == "Zoo Sine") {
      EXPECT_EQ(line, sine + "\taumu\tThe Zoo\tZoo Sine");
      instruments.push_back(key);
    }
  }
  EXPECT_EQ(instruments.size(), 1U);
  EXPECT_TRUE(effectsHaveBegun);
}

}  // namespace
}  // namespace vrel
