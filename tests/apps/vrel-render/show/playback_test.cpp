// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using testing::HasSubstr;

void append(std::string& bytes, std::uint32_t value, int count) {
  for (int byte = 0; byte < count; ++byte) {
    bytes.push_back(static_cast<char>(value >> (8 * byte)));
  }
}

/// A mono WAV file of floats with `frameCount` frames, none of them silent.
std::string trackOf(std::uint32_t rate, std::uint32_t frameCount) {
  std::string bytes = "RIFF";
  append(bytes, 36 + frameCount * 4, 4);
  bytes += "WAVEfmt ";
  append(bytes, 16, 4);
  append(bytes, 3, 2);
  append(bytes, 1, 2);
  append(bytes, rate, 4);
  append(bytes, rate * 4, 4);
  append(bytes, 4, 2);
  append(bytes, 32, 2);
  bytes += "data";
  append(bytes, frameCount * 4, 4);
  for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
    append(bytes, std::bit_cast<std::uint32_t>(static_cast<float>(frame % 997 + 1) / 2000.0F), 4);
  }
  return bytes;
}

float trackAt(std::size_t frame) {
  return static_cast<float>(frame % 997 + 1) / 2000.0F;
}

class PlaybackShow : public ShowTest {
 protected:
  /// A strip that plays a file at unity gain, on one note.
  ChannelConfig track(const std::string& path, std::uint8_t note, bool loops, StopMode stopMode = StopMode::toggle) {
    auto strip = stripOf("Track", "internal:playback");
    strip.playbackFilePath = path;
    strip.playbackLoop = loops;
    strip.playbackStopMode = stopMode;
    strip.minNote = note;
    strip.maxNote = note;
    return strip;
  }

  SoundFile play(const SetlistFile& setlist, const MidiFileMaker& show, const std::string& out = "out.wav") {
    const auto run =
        renderOnZoo({"--tail", "0.5", "--out", at(out), write("show.vrel", setlist), write("show.mid", show.bytes())});
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    output = run.output;
    return soundIn(read(out));
  }

  std::string output;
};

TEST_F(PlaybackShow, ACollectedSetlistSoundsTheSameInAnotherPlaceWithoutItsOriginals) {
  std::filesystem::create_directory(at("other"));
  const auto setlist = setlistOf({songOf("One", {track(write("take.wav", trackOf(48000, 9000)), 60, true),
                                                 track(write("other/take.wav", trackOf(44100, 3000)), 62, true)})});
  MidiFileMaker show;
  show.message(500, {0x90, 60, 100}).message(700, {0x90, 62, 100}).message(1500, {0x80, 60, 0});
  const auto before = play(setlist, show);
  const auto collected = renderOnZoo({"--collect", at("Gig"), at("show.vrel")});
  EXPECT_EQ(collected.exitCode, 0) << collected.output << collected.errors;
  for (const auto* const original : {"take.wav", "other/take.wav", "show.vrel"}) {
    std::filesystem::remove(at(original));
  }
  std::filesystem::rename(at("Gig"), at("other/Saturday"));
  const auto run =
      renderOnZoo({"--tail", "0.5", "--out", at("after.wav"), at("other/Saturday/Gig.vrel"), at("show.mid")});
  EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
  EXPECT_THAT(run.output, HasSubstr("Problems: none"));
  const auto after = soundIn(read("after.wav"));
  EXPECT_GT(after.peak(), 0.1F);
  EXPECT_EQ(after.left, before.left);
  EXPECT_EQ(after.right, before.right);
}

TEST_F(PlaybackShow, ACollectedSetlistCanStillBeMovedWhenItIsSavedInItsFolder) {
  write("show.vrel", setlistOf({songOf("One", {track(write("take.wav", trackOf(48000, 100)), 60, false)})}));
  ASSERT_EQ(renderOnZoo({"--collect", at("Gig"), at("show.vrel")}).exitCode, 0);
  ASSERT_EQ(renderOnZoo({"--save", at("Gig/Gig.vrel"), at("Gig/Gig.vrel")}).exitCode, 0);
  const auto saved = readSetlist(read("Gig/Gig.vrel"));
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved.value().collectedFolder, std::filesystem::canonical(at("Gig")));
}

TEST_F(PlaybackShow, ACollectionListsWhatIsMissingAndReplacesNothing) {
  write("show.vrel", setlistOf({songOf("One", {track(at("gone.wav"), 60, false)})}));
  const auto collected = renderOnZoo({"--collect", at("Gig"), at("show.vrel")});
  EXPECT_EQ(collected.exitCode, 1);
  EXPECT_THAT(collected.output, HasSubstr("Not collected: " + at("gone.wav") + ": No such file or directory"));
  EXPECT_TRUE(exists("Gig/Gig.vrel"));
  const auto again = renderOnZoo({"--collect", at("Gig"), at("show.vrel")});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.ownErrors(), HasSubstr("File exists"));
}

TEST_F(PlaybackShow, ATrackLoopsWithoutAGapAndStopsAtItsExit) {
  auto strip = track(write("track.wav", trackOf(48000, 24000)), 60, true, StopMode::rangeEnd);
  strip.playbackStartTime = 0.1;
  strip.playbackEndTime = 0.4;  // 14400 frames from 4800 on
  MidiFileMaker show;
  show.message(1000, {0x90, 60, 100}).message(1450, {0x90, 60, 100}).message(2500, {0x80, 60, 0});
  const auto sound = play(setlistOf({songOf("One", {strip})}), show);
  const std::size_t first = sound.firstSound();
  EXPECT_EQ(first, 48000U) << "the block that holds the note";
  const float level = sound.left[first] / trackAt(4800);
  for (std::size_t frame = 0; frame < 2 * 14400; ++frame) {
    ASSERT_NEAR(sound.left[first + frame], trackAt(4800 + frame % 14400) * level, 1e-6) << "frame " << frame;
  }
  for (std::size_t frame = first + 2 * 14400; frame < sound.frameCount(); ++frame) {
    ASSERT_EQ(sound.left[frame], 0.0F) << "frame " << frame;
  }
  EXPECT_EQ(sound.left, sound.right);
}

TEST_F(PlaybackShow, PlayToExitInTheLastMomentsOfAPassEndsAtThatExit) {
  auto strip = track(write("track.wav", trackOf(48000, 24000)), 60, true, StopMode::rangeEnd);
  strip.playbackEndTime = 0.3;  // 14400 frames
  MidiFileMaker show;
  show.message(1000, {0x90, 60, 100}).message(1580, {0x90, 60, 100}).message(2500, {0x80, 60, 0});
  const auto sound = play(setlistOf({songOf("One", {strip})}), show);
  EXPECT_EQ(sound.firstSound(), 48000U);
  EXPECT_NE(sound.left[48000 + 2 * 14400 - 1], 0.0F);
  for (std::size_t frame = 48000 + 2 * 14400; frame < sound.frameCount(); ++frame) {
    ASSERT_EQ(sound.left[frame], 0.0F) << "frame " << frame;
  }
}

TEST_F(PlaybackShow, ANoteInTheLastMomentsOfAFileStopsIt) {
  MidiFileMaker show;
  show.message(1000, {0x90, 60, 100}).message(1480, {0x90, 60, 100}).message(2500, {0x80, 60, 0});
  const auto sound =
      play(setlistOf({songOf("One", {track(write("half.wav", trackOf(48000, 24000)), 60, false)})}), show);
  for (std::size_t frame = 48000 + 480 * 48 + 64; frame < sound.frameCount(); ++frame) {
    ASSERT_EQ(sound.left[frame], 0.0F) << "frame " << frame;
  }
}

TEST_F(PlaybackShow, TwoQuickNotesOnAShortFileRenderTheSameEachTime) {
  const auto setlist = setlistOf({songOf("One", {track(write("short.wav", trackOf(48000, 700)), 60, false)})});
  MidiFileMaker show;
  for (std::uint32_t time = 100; time < 600; time += 50) {
    show.message(time, {0x90, 60, 100}).message(time, {0x90, 60, 100}).message(time, {0x90, 60, 100});
  }
  const auto first = play(setlist, show);
  EXPECT_TRUE(first.isFinite());
  for (int run = 0; run < 5; ++run) {
    ASSERT_EQ(play(setlist, show, "again.wav").left, first.left) << "run " << run;
  }
}

TEST_F(PlaybackShow, TracksAndPluginsTogetherRenderTheSameEachTime) {
  std::vector<ChannelConfig> strips{stripOf("Sine", zooInstrument("sine"))};
  strips[0].maxNote = 59;
  for (std::uint8_t index = 0; index < 6; ++index) {
    const std::string name = "track" + std::to_string(index) + ".wav";
    const auto path = write(name, trackOf(index % 3 == 0 ? 44100 : 48000, 10000U + 777U * index));
    strips.push_back(track(path, static_cast<std::uint8_t>(60 + index), index != 5));
  }
  MidiFileMaker show;
  show.message(100, {0x90, 40, 100});
  for (std::uint8_t index = 0; index < 6; ++index) {
    show.message(200U + index * 33U, {0x90, static_cast<std::uint8_t>(60 + index), 100});
  }
  show.message(2000, {0x90, 61, 100}).message(2100, {0x90, 61, 100}).message(2500, {0x80, 40, 0});
  const auto setlist = setlistOf({songOf("One", strips)});
  const auto sound = play(setlist, show);
  EXPECT_THAT(output, testing::Not(HasSubstr("in time")));
  EXPECT_TRUE(sound.isFinite());
  EXPECT_GT(sound.rmsDecibels(96000, 120000), -40);
  EXPECT_EQ(play(setlist, show, "again.wav").left, sound.left);
}

TEST_F(PlaybackShow, PluginsLoopedTracksAndClipsTogetherRenderWithNothingLate) {
  auto low = stripOf("Sine", zooInstrument("sine"));
  low.maxNote = 59;
  auto clips = stripOf("Clips", "internal:visual");
  for (const auto& [note, file] : {std::pair{80, "count-h264.mp4"}, {81, "count-vp9.webm"}}) {
    VisualClipMapping mapping;
    mapping.note = static_cast<std::uint8_t>(note);
    mapping.filePath = std::string(VREL_CLIP_FOLDER "/") + file;
    clips.visualClipMappings.push_back(mapping);
  }
  const auto drums = track(write("drums.wav", trackOf(48000, 9600)), 60, true);
  const auto click = track(write("click.wav", trackOf(44100, 4410)), 61, true);
  MidiFileMaker show;
  for (const auto note : std::array<std::uint8_t, 4>{40, 60, 61, 80}) {
    show.message(100, {0x90, note, 100});
  }
  show.message(900, {0x80, 80, 0}).message(900, {0x90, 81, 100}).message(1900, {0x80, 81, 0});
  show.message(2900, {0x80, 40, 0});
  const auto run = renderOnZoo({"--tail", "0", "--out", at("out.wav"), "--events", at("events"),
                                write("show.vrel", setlistOf({songOf("All", {low, drums, click, clips})})),
                                write("show.mid", show.bytes())});
  ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
  EXPECT_THAT(run.output, HasSubstr("Problems: none"));
  EXPECT_EQ(run.ownErrors(), "");
  const auto sound = soundIn(read("out.wav"));
  for (std::size_t frame = 4800; frame + 960 <= sound.frameCount(); frame += 960) {
    EXPECT_GT(sound.rmsDecibels(frame, frame + 960), -30) << "a gap at " << frame;
  }
  std::vector<double> opacities;
  for (const auto& line : allEvents("events")) {
    if (line.at("kind") == "clip") {
      opacities.push_back(line.at("opacity"));
    }
  }
  EXPECT_THAT(opacities, testing::ElementsAre(1, 0, 1, 0));
}

TEST_F(PlaybackShow, AMissingFileIsReportedAndTheOthersPlay) {
  const auto setlist = setlistOf(
      {songOf("One", {track(at("gone.wav"), 60, false), track(write("track.wav", trackOf(48000, 4800)), 62, false)})});
  MidiFileMaker show;
  show.message(100, {0x90, 60, 100}).message(500, {0x90, 62, 100}).message(700, {0x80, 62, 0});
  const auto run = renderOnZoo({"--out", at("out.wav"), write("show.vrel", setlist), write("show.mid", show.bytes())});
  EXPECT_THAT(run.output + run.errors, HasSubstr("Failed to load playback file: "));
  EXPECT_THAT(run.output + run.errors, HasSubstr(at("gone.wav")));
  EXPECT_EQ(soundIn(read("out.wav")).firstSound(), 23936U) << "the block that holds half a second";
}

}  // namespace
}  // namespace vrel
