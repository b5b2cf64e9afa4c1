// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/gig/gig_show.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "apps/vrel-render/show/show_files.h"

namespace vrel {
namespace {

constexpr std::uint32_t slotMilliseconds = 24;  // of a song, once it is loaded
constexpr std::size_t keeperSong = 3;           // its third strip keeps the note that it is played
constexpr std::uint8_t keptNote = 95;

ChannelConfig splitStrip(const std::string& name, const std::string& plugin, std::uint8_t from, std::uint8_t to) {
  auto strip = stripOf(name, plugin);
  strip.minNote = from;
  strip.maxNote = to;
  return strip;
}

AudioPluginSlot gainSlot() {
  return {.pluginPath = zooEffect("gain"), .pluginName = "Zoo Gain", .manufacturerName = "The Zoo"};
}

ChannelConfig trackStrip(bool isConverted) {
  auto strip = splitStrip("Track", "internal:playback", 36, 36);
  strip.playbackFilePath = std::string(VREL_MEDIA_FOLDER) + (isConverted ? "/count-44100.wav" : "/count.flac");
  strip.playbackLoop = true;
  strip.playbackStartTime = 0.25;
  return strip;
}

ChannelConfig clipStrip() {
  auto strip = stripOf("Clips", "internal:visual");
  const auto clip = [](std::uint8_t note, const char* file, VisualTriggerMode mode) {
    VisualClipMapping mapping;
    mapping.note = note;
    mapping.filePath = std::string(VREL_CLIP_FOLDER) + "/" + file;
    mapping.triggerMode = mode;
    return mapping;
  };
  strip.visualClipMappings = {clip(48, "count-h264.mp4", VisualTriggerMode::hold),
                              clip(keptNote, "count-vp9.webm", VisualTriggerMode::toggle)};
  return strip;
}

bool hasTrack(std::size_t song) {
  return song % 4 == 1;
}

bool hasClips(std::size_t song) {
  return song % 5 == 2;
}

SongConfig gigSong(std::size_t index) {
  auto bass = splitStrip("Bass", zooInstrument("sine"), 0, 59);
  bass.transpose = static_cast<std::int8_t>(index % 25) - 12;
  bass.reverb = static_cast<float>(index % 5) / 5;
  auto lead = splitStrip("Lead", zooInstrument(index % 3 == 0 ? "worker" : "sine"), 60, 127);
  lead.effectSlots.resize(index % 3, gainSlot());
  const auto keeperNote = index == keeperSong ? keptNote : keeperNoteOf(index);
  auto song = songOf("Song " + std::to_string(index),
                     {bass, lead, splitStrip("Keeper", zooInstrument("state"), keeperNote, keeperNote)});
  if (hasTrack(index)) {
    song.channels.push_back(trackStrip(index % 8 == 1));
  }
  if (hasClips(index)) {
    song.channels.push_back(clipStrip());
  }
  if (index % 6 == 0) {
    song.masterEffectSlots = {gainSlot()};
  }
  song.songNotes = "Notes of song " + std::to_string(index);
  song.tempoBpm = static_cast<std::uint32_t>(80 + index);
  song.midiControlAssignments = {{{MidiControlKind::channelMute, 0}, {0xB0, 1, 30}}};
  return song;
}

/// Writes the performance and updates the expected setlist.
class Score {
 public:
  explicit Score(const SetlistFile& opened) : setlist(opened) {}

  void play(std::size_t slot) {
    start_ = static_cast<std::uint32_t>(slot) * slotMilliseconds;
    switchTo(slot * 7 % gigSongs);
    strikeKeys();
    moveControls(slot);
    if (slot % 20 == 7) {
      learn({MidiControlKind::channelGain, 1}, static_cast<std::uint8_t>(40 + slot / 20 % 8),
            setlist.globalMidiControlAssignments);
    }
    if (slot % 20 == 13) {
      learn({MidiControlKind::channelSolo, 0}, 60, setlist.songs[song_].midiControlAssignments);
    }
    if (slot % 16 == 5) {
      file.marker(at(8), "tap").marker(at(9), "tap");
      tapped.insert(song_);
    }
    file.message(at(9), {0x80, 48, 0}).message(at(9), {0x80, keptNote, 0});
    if (slot % 10 == 9) {
      file.marker(at(10), "panic");
      ++events.panics;
    }
    if (slot % 25 == 11) {
      useKeys();
    }
  }

  MidiFileMaker file;
  SetlistFile setlist;
  std::set<std::size_t> tapped;
  std::size_t switches = 0;
  GigEvents events;

 private:
  /// The position in this song's time slot, in twelfths.
  [[nodiscard]] std::uint32_t at(std::uint32_t twelfths) const { return start_ + twelfths * slotMilliseconds / 12; }

  void switchTo(std::size_t song) {
    song_ = song;
    ++switches;
    file.marker(at(0), "song " + std::to_string(song));
  }

  void strikeKeys() {
    for (const std::uint8_t note : {std::uint8_t{36}, std::uint8_t{48}, keptNote}) {
      file.message(at(2), {0x90, note, 100});
    }
    events.tracks += hasTrack(song_) ? 1 : 0;
    events.clips += hasClips(song_) ? 2 : 0;
    file.message(at(3), {0xE0, 0, 70}).message(at(3), {0xB0, 64, 127});
  }

  void moveControls(std::size_t slot) {
    const auto position = static_cast<std::uint8_t>(slot * 13 % 128);
    file.message(at(4), {0xB0, 20, position});
    setlist.songs[song_].channels[0].volume = static_cast<float>(position) / 127.0F;
    if (slot % 3 == 0) {
      file.message(at(5), {0xB1, 30, 127}).message(at(5), {0xB1, 30, 0});
      auto& mute = setlist.songs[song_].channels[0].mute;
      mute = !mute;
    }
  }

  void learn(const MidiControlTarget& target, std::uint8_t controller, std::vector<MidiControlAssignment>& list) {
    const bool isGain = target.kind == MidiControlKind::channelGain;
    file.marker(at(6), isGain ? "learn channel_gain 1" : "learn channel_solo 0");
    file.message(at(7), {0xB2, controller, 64});
    std::erase_if(list, [&](const MidiControlAssignment& each) { return each.target == target; });
    list.push_back({target, {0xB0, 2, controller}});
  }

  void useKeys() {
    file.marker(at(10), "live on").marker(at(10), "key 0").marker(at(10), "key 0");
    file.marker(at(10), "key down").marker(at(11), "live off");
    song_ = std::min(song_ + 1, gigSongs - 1);
    ++switches;
  }

  std::uint32_t start_ = 0;
  std::size_t song_ = 0;
};

}  // namespace

std::uint8_t keeperNoteOf(std::size_t song) {
  return static_cast<std::uint8_t>(50 + song);
}

SetlistFile gigSetlist() {
  SetlistFile setlist;
  for (std::size_t index = 0; index < gigSongs; ++index) {
    setlist.songs.push_back(gigSong(index));
  }
  setlist.globalMidiControlAssignments = {{{MidiControlKind::channelVolume, 0}, {0xB0, 0, 20}}};
  return setlist;
}

GigShow gigShow(const SetlistFile& opened, std::size_t switches) {
  Score score(opened);
  for (std::size_t slot = 0; score.switches < switches; ++slot) {
    score.play(slot);
  }
  return {score.file.bytes(), score.setlist, score.tapped, score.switches, score.events};
}

const std::optional<SharedText>& playedState(const SetlistFile& setlist) {
  return setlist.songs.at(keeperSong).channels.at(2).pluginStateBase64;
}

bool takeUnpredictable(GigShow& show, const SetlistFile& saved) {
  bool isAsItMust = saved.songs.size() == gigSongs;
  bool isAnyTempoNew = false;
  for (const std::size_t index : show.tapped) {
    const auto tempo = saved.songs.at(index).tempoBpm;
    isAsItMust = isAsItMust && tempo >= 20 && tempo <= 300;
    isAnyTempoNew = isAnyTempoNew || tempo != show.expected.songs.at(index).tempoBpm;
    show.expected.songs.at(index).tempoBpm = tempo;
  }
  show.expected.songs.at(keeperSong).channels.at(2).pluginStateBase64 = playedState(saved);
  return isAsItMust && isAnyTempoNew && playedState(saved);
}

}  // namespace vrel
