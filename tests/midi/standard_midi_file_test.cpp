// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/standard_midi_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "midi/midi_file_writer.h"

namespace vrel {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

MidiFile read(const FileBytes& bytes) {
  const auto file = readStandardMidiFile(bytes);
  EXPECT_TRUE(file.ok()) << (file.ok() ? "" : file.error().description);
  return file.ok() ? file.value() : MidiFile{};
}

std::string failureOf(const FileBytes& bytes) {
  const auto file = readStandardMidiFile(bytes);
  EXPECT_FALSE(file.ok());
  return file.ok() ? "" : file.error().description;
}

MidiFileWriter oneTrack(const TrackWriter& track, std::uint16_t division = 480) {
  return MidiFileWriter(0, 1, division).track(track);
}

std::string trackFailure(const TrackWriter& track) {
  return failureOf(oneTrack(track).bytes());
}

/// Each event in one line: a message in its bytes, a text in quotes.
std::vector<std::string> contents(const MidiFile& file) {
  std::vector<std::string> lines;
  for (const auto& event : file.events) {
    if (const auto* message = std::get_if<MidiFileMessage>(&event.content)) {
      lines.push_back(std::to_string(message->status) + " " + std::to_string(message->data1) + " " +
                      std::to_string(message->data2));
    } else {
      const auto& text = std::get<MidiFileText>(event.content);
      lines.push_back((text.kind == MidiFileText::Kind::marker ? "marker '" : "text '") + text.text + "'");
    }
  }
  return lines;
}

std::vector<double> times(const MidiFile& file) {
  std::vector<double> seconds;
  for (const auto& event : file.events) {
    seconds.push_back(event.seconds);
  }
  return seconds;
}

using Lines = std::vector<std::string>;
using Times = std::vector<double>;

TEST(StandardMidiFile, WithoutATempoAQuarterIsHalfASecond) {
  const MidiFile file = read(oneTrack(TrackWriter().note(0, 60).note(480, 61).note(120, 62).end(360)).bytes());
  EXPECT_EQ(times(file), (Times{0.0, 0.5, 0.625}));
  EXPECT_EQ(file.lengthSeconds, 1.0);
}

TEST(StandardMidiFile, ATempoChangeActsFromItsTickOn) {
  const MidiFile file = read(oneTrack(TrackWriter()
                                          .note(0, 60)
                                          .tempo(480, 1'000'000)
                                          .note(0, 61)
                                          .note(480, 62)
                                          .tempo(240, 250'000)
                                          .note(240, 63)
                                          .end())
                                 .bytes());
  EXPECT_EQ(times(file), (Times{0.0, 0.5, 1.5, 2.125}));
}

TEST(StandardMidiFile, TheTempoMapOfOneTrackActsOnAll) {
  const MidiFile file = read(MidiFileWriter(1, 3, 480)
                                 .track(TrackWriter().note(960, 60).end())
                                 .track(TrackWriter().tempo(0, 250'000).tempo(480, 1'000'000).end())
                                 .track(TrackWriter().note(480, 61).end(960))
                                 .bytes());
  EXPECT_EQ(contents(file), (Lines{"144 61 100", "144 60 100"}));
  EXPECT_EQ(times(file), (Times{0.25, 1.25}));
  EXPECT_EQ(file.lengthSeconds, 2.25);
}

TEST(StandardMidiFile, TempoChangesInSeveralTracksAreMerged) {
  const MidiFile file = read(MidiFileWriter(1, 2, 100)
                                 .track(TrackWriter().tempo(200, 100'000).note(100, 60).end())
                                 .track(TrackWriter().tempo(100, 1'000'000).end())
                                 .bytes());
  EXPECT_EQ(times(file), (Times{0.5 + 1.0 + 0.1}));
}

TEST(StandardMidiFile, TheLastOfTwoTemposOfOneTickCounts) {
  const MidiFile file = read(oneTrack(TrackWriter().tempo(0, 1).tempo(0, 1'000'000).note(480, 60).end()).bytes());
  EXPECT_EQ(times(file), (Times{1.0}));
}

TEST(StandardMidiFile, TimesDoNotDrift) {
  TrackWriter track;
  track.tempo(0, 333'333);
  constexpr int count = 200'000;
  for (int index = 0; index < count; ++index) {
    track.note(1, 60);
  }
  const MidiFile file = read(oneTrack(track.end(), 997).bytes());
  ASSERT_EQ(file.events.size(), static_cast<std::size_t>(count));
  for (int index = 0; index < count; ++index) {
    const auto units = std::uint64_t{333'333} * static_cast<std::uint64_t>(index + 1);
    EXPECT_EQ(file.events[static_cast<std::size_t>(index)].seconds, static_cast<double>(units) / 997e6);
  }
}

TEST(StandardMidiFile, TheLongestTimesDoNotOverflow) {
  TrackWriter track;
  track.tempo(0, 0xFFFFFF);
  for (int index = 0; index < 5000; ++index) {
    track.note(0x0FFFFFFF, 60);
  }
  const MidiFile file = read(oneTrack(track.end(), 1).bytes());
  EXPECT_DOUBLE_EQ(file.events.back().seconds, 5000.0 * 0x0FFFFFFF * 16.777215);
}

TEST(StandardMidiFile, FilmFramesIgnoreTheTempo) {
  const TrackWriter track = TrackWriter().tempo(0, 100).note(1000, 60).end();
  EXPECT_EQ(times(read(oneTrack(track, 0xE728).bytes())), (Times{1.0}));
  EXPECT_EQ(times(read(oneTrack(track, 0xE832).bytes())), (Times{1000.0 / 1200.0}));
  EXPECT_EQ(times(read(oneTrack(track, 0xE264).bytes())), (Times{1000.0 / 3000.0}));
  EXPECT_EQ(times(read(oneTrack(track, 0xE364).bytes())), (Times{1'001'000.0 / 3'000'000.0}));
}

TEST(StandardMidiFile, EventsOfOneTimeAreOrderedByTrackAndThenAsInTheFile) {
  const MidiFile file = read(MidiFileWriter(1, 3, 480)
                                 .track(TrackWriter().note(10, 1).note(0, 2).end())
                                 .track(TrackWriter().note(0, 3).note(10, 4).end())
                                 .track(TrackWriter().note(10, 5).note(0, 6).end())
                                 .bytes());
  EXPECT_EQ(contents(file), (Lines{"144 3 100", "144 1 100", "144 2 100", "144 4 100", "144 5 100", "144 6 100"}));
}

TEST(StandardMidiFile, RunningStatusRepeatsTheLastStatus) {
  const MidiFile file =
      read(oneTrack(TrackWriter().raw(0, {0x93, 60, 1}).raw(1, {61, 2}).raw(1, {0xC2, 9}).raw(1, {10}).end()).bytes());
  EXPECT_EQ(contents(file), (Lines{"147 60 1", "147 61 2", "194 9 0", "194 10 0"}));
}

TEST(StandardMidiFile, MessagesHaveTwoOrThreeBytes) {
  const MidiFile file = read(oneTrack(TrackWriter()
                                          .raw(0, {0x80, 1, 2})
                                          .raw(0, {0x91, 1, 2})
                                          .raw(0, {0xA2, 1, 2})
                                          .raw(0, {0xB3, 1, 2})
                                          .raw(0, {0xC4, 1})
                                          .raw(0, {0xD5, 1})
                                          .raw(0, {0xEF, 1, 2})
                                          .end())
                                 .bytes());
  EXPECT_EQ(contents(file), (Lines{"128 1 2", "145 1 2", "162 1 2", "179 1 2", "196 1 0", "213 1 0", "239 1 2"}));
}

TEST(StandardMidiFile, TextsAndMarkersAreEventsAndOtherMetaEventsAreNot) {
  const MidiFile file = read(oneTrack(TrackWriter()
                                          .meta(0, 0x03, "name")
                                          .meta(0, 0x01, "song 2")
                                          .meta(480, 0x06, "panic")
                                          .meta(0, 0x05, "lyric")
                                          .meta(0, 0x06, std::string(200, 'x'))
                                          .meta(0, 0x01, "")
                                          .meta(0, 0x7F, "own")
                                          .end())
                                 .bytes());
  EXPECT_EQ(contents(file),
            (Lines{"text 'song 2'", "marker 'panic'", "marker '" + std::string(200, 'x') + "'", "text ''"}));
  EXPECT_EQ(times(file), (Times{0.0, 0.5, 0.5, 0.5}));
}

TEST(StandardMidiFile, SystemExclusiveIsPassedOver) {
  const MidiFile file = read(oneTrack(TrackWriter()
                                          .raw(0, {0xF0, 3, 0x7E, 0x09, 0xF7})
                                          .note(480, 60)
                                          .raw(480, {0xF7, 2, 0xF8, 0x90})
                                          .note(480, 61)
                                          .end())
                                 .bytes());
  EXPECT_EQ(contents(file), (Lines{"144 60 100", "144 61 100"}));
  EXPECT_EQ(times(file), (Times{0.5, 1.5}));
}

TEST(StandardMidiFile, SystemExclusiveAndMetaEventsEndTheRunningStatus) {
  EXPECT_EQ(trackFailure(TrackWriter().note(0, 60).raw(0, {0xF0, 1, 0xF7}).raw(0, {61, 2}).end()),
            "byte 31: data byte without a running status");
  EXPECT_THAT(trackFailure(TrackWriter().note(0, 60).meta(0, 0x05, "").raw(0, {61, 2}).end()),
              HasSubstr("data byte without a running status"));
}

TEST(StandardMidiFile, UnknownChunksAndALongerHeaderArePassedOver) {
  FileBytes bytes = {'M', 'T', 'h', 'd', 0, 0, 0, 8, 0, 1, 0, 2, 0, 96, 0xAA, 0xBB};
  const FileBytes rest = MidiFileWriter(0, 0, 0)
                             .chunk("JUNK", {1, 2, 3})
                             .track(TrackWriter().note(0, 60).end())
                             .chunk("MORE", {})
                             .track(TrackWriter().note(0, 61).end())
                             .bytes();
  bytes.insert(bytes.end(), rest.begin() + 14, rest.end());
  EXPECT_EQ(contents(read(bytes)), (Lines{"144 60 100", "144 61 100"}));
}

TEST(StandardMidiFile, WhatFollowsTheLastTrackIsIgnored) {
  FileBytes bytes = oneTrack(TrackWriter().note(0, 60).end()).bytes();
  bytes.insert(bytes.end(), {'M', 'T', 'r', 'k', 0xFF});
  EXPECT_EQ(read(bytes).events.size(), 1U);
}

TEST(StandardMidiFile, WhatFollowsTheEndOfATrackIsIgnored) {
  EXPECT_EQ(read(oneTrack(TrackWriter().note(0, 60).end().raw(0, {0xF4})).bytes()).events.size(), 1U);
}

TEST(StandardMidiFile, AFileWithoutTracksIsSilence) {
  const MidiFile file = read(MidiFileWriter(1, 0, 480).bytes());
  EXPECT_TRUE(file.events.empty());
  EXPECT_EQ(file.lengthSeconds, 0.0);
}

TEST(BadMidiFile, AFileCutAnywhereFails) {
  const FileBytes whole = MidiFileWriter(1, 2, 480)
                              .track(TrackWriter().tempo(0, 400'000).meta(0, 0x01, "song 1").end())
                              .chunk("JUNK", {1, 2})
                              .track(TrackWriter().note(300, 60).raw(5, {61, 0}).raw(5, {0xF0, 2, 1, 0xF7}).end())
                              .bytes();
  ASSERT_TRUE(readStandardMidiFile(whole).ok());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    // A copy of exactly this length, so that a sanitizer sees a read behind it.
    const FileBytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_THAT(failureOf(cut), StartsWith("byte ")) << length;
  }
}

TEST(BadMidiFile, ATrackCutAnywhereWithATrueLengthFails) {
  const FileBytes whole =
      TrackWriter().tempo(200, 400'000).meta(0, 0x01, "song 1").note(300, 60).raw(5, {0xF0, 2, 1, 0xF7}).end().bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const FileBytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_THAT(failureOf(MidiFileWriter(0, 1, 480).chunk("MTrk", cut).bytes()), StartsWith("byte ")) << length;
  }
}

TEST(BadMidiFile, LyingChunkLengthsFail) {
  const FileBytes track = TrackWriter().note(0, 60).end().bytes();
  for (const std::uint32_t length : {0U, 1U, 4U, 7U, 9U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_THAT(failureOf(MidiFileWriter(0, 1, 480).chunk("MTrk", track, length).bytes()), StartsWith("byte "))
        << length;
  }
  EXPECT_FALSE(readStandardMidiFile(MidiFileWriter(0, 1, 480).chunk("JUNK", {1}, 0xFFFFFFF0U).bytes()).ok());
}

TEST(BadMidiFile, ALengthThatHidesTheNextTrackFails) {
  const FileBytes second = MidiFileWriter(1, 2, 480).track(TrackWriter().end()).bytes();
  FileBytes first = TrackWriter().end().bytes();
  first.insert(first.end(), second.begin() + 14, second.end());
  EXPECT_THAT(failureOf(MidiFileWriter(1, 2, 480).chunk("MTrk", first).bytes()),
              HasSubstr("unexpected end of file after 1 of 2 tracks"));
}

TEST(BadMidiFile, LyingEventLengthsFail) {
  EXPECT_THAT(trackFailure(TrackWriter().raw(0, {0xF0, 0x7F, 1, 2, 0xF7}).end()), StartsWith("byte 25: "));
  EXPECT_THAT(trackFailure(TrackWriter().raw(0, {0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0x7F, 'a'}).end()),
              StartsWith("byte 29: "));
}

TEST(BadMidiFile, ALongVariableLengthNumberFails) {
  TrackWriter track;
  track.note(0, 60).raw(0, {0x90, 61, 1});
  FileBytes bytes = track.bytes();
  bytes.insert(bytes.end(), {0x80, 0x80, 0x80, 0x80, 0x00, 0x90, 60, 1, 0, 0xFF, 0x2F, 0});
  EXPECT_EQ(failureOf(MidiFileWriter(0, 1, 480).chunk("MTrk", bytes).bytes()),
            "byte 30: variable-length quantity of more than four bytes");
}

TEST(BadMidiFile, BytesOutOfPlaceFail) {
  EXPECT_EQ(trackFailure(TrackWriter().raw(0, {60, 1}).end()), "byte 23: data byte without a running status");
  EXPECT_EQ(trackFailure(TrackWriter().raw(0, {0x90, 0x90, 1}).end()), "byte 24: status byte where data is expected");
  EXPECT_EQ(trackFailure(TrackWriter().raw(0, {0x90, 1, 0x80}).end()), "byte 25: status byte where data is expected");
  for (const std::uint8_t status : FileBytes{0xF1, 0xF2, 0xF3, 0xF6, 0xF8, 0xFA, 0xFE}) {
    EXPECT_EQ(trackFailure(TrackWriter().raw(0, {status, 0}).end()), "byte 23: system message that a file cannot hold");
  }
}

TEST(BadMidiFile, ATrackNeedsItsEnd) {
  EXPECT_EQ(trackFailure(TrackWriter().note(0, 60)), "byte 26: track without an End of Track event");
}

TEST(BadMidiFile, ATempoMustMakeSense) {
  EXPECT_THAT(trackFailure(TrackWriter().tempo(0, 0).end()), StartsWith("byte 26: invalid tempo"));
  EXPECT_THAT(trackFailure(TrackWriter().meta(0, 0x51, "ab").end()), StartsWith("byte 26: invalid tempo"));
  EXPECT_THAT(trackFailure(TrackWriter().meta(0, 0x51, "abcd").end()), StartsWith("byte 26: invalid tempo"));
}

TEST(BadMidiFile, FormatTwoIsRefusedByName) {
  EXPECT_THAT(failureOf(MidiFileWriter(2, 1, 480).track(TrackWriter().end()).bytes()), StartsWith("byte 8: format 2"));
  EXPECT_THAT(failureOf(MidiFileWriter(3, 1, 480).track(TrackWriter().end()).bytes()), StartsWith("byte 8: "));
}

TEST(BadMidiFile, ADivisionMustMakeSense) {
  for (const std::uint16_t division : std::vector<std::uint16_t>{0x0000, 0xE700, 0x8000, 0xFF28, 0xE928}) {
    EXPECT_THAT(failureOf(oneTrack(TrackWriter().end(), division).bytes()), StartsWith("byte 12: ")) << division;
  }
}

TEST(BadMidiFile, AnotherKindOfFileFails) {
  for (const std::string text : {"", "M", "RIFFxxxxRMID", "{\"version\": 3, \"songs\": []}"}) {
    EXPECT_THAT(failureOf(FileBytes(text.begin(), text.end())), StartsWith("byte 0: ")) << text;
  }
  EXPECT_THAT(failureOf({'M', 'T', 'h', 'd', 0, 0, 0, 5, 0, 0, 0, 1, 0, 96}), StartsWith("byte 4: "));
}

TEST(BadMidiFile, MissingTracksAreCounted) {
  EXPECT_THAT(failureOf(MidiFileWriter(1, 3, 480).track(TrackWriter().end()).bytes()),
              HasSubstr("unexpected end of file after 1 of 3 tracks"));
}

// What the fuzzer started from, and what it once found, stays readable or refused without harm.
TEST(BadMidiFile, TheCorpusIsReadOrRefused) {
  int good = 0;
  int refused = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VREL_FUZZ_CORPUS "/standard_midi_file")) {
    std::ifstream stream(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto file = readStandardMidiFile(FileBytes(bytes.begin(), bytes.end()));
    if (!file) {
      ++refused;
      EXPECT_THAT(file.error().description, StartsWith("byte ")) << entry.path();
      continue;
    }
    ++good;
    double last = 0;
    for (const auto& event : file.value().events) {
      EXPECT_GE(event.seconds, last) << entry.path();
      last = event.seconds;
    }
    EXPECT_GE(file.value().lengthSeconds, last) << entry.path();
  }
  EXPECT_GT(good, 2);
  EXPECT_GT(refused, 2);
}

}  // namespace
}  // namespace vrel
