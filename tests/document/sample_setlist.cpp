// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/sample_setlist.h"

#include <vector>

namespace vrel {
namespace {

AudioPluginSlot sampleSlot() {
  return {.pluginPath = "aucd:1635083896:7:8",
          .pluginName = "Hall \"B\"",
          .manufacturerName = "Öhm / Söhne",
          .stateBase64 = "AAEC"};
}

ChannelConfig sampleChannel() {
  return {.name = "Piano",
          .volume = 0.1F,
          .gain = 0.7F,
          .reverb = 0.3F,
          .mute = true,
          .solo = true,
          .pluginPath = "aucd:1635085685:1:2",
          .pluginStateBase64 = "YnBsaXN0MDA=",
          .color = {0.25F, 0.2F, 0.6F},
          .minNote = 36,
          .maxNote = 96,
          .transpose = -12,
          .sendSustain = false,
          .sendExpression = false,
          .sustainControlsRotor = true,
          .effectSlots = {sampleSlot(), AudioPluginSlot{.pluginPath = "aucd:1635083896:9:9"}},
          .playbackFilePath = "/music/intro.wav",
          .playbackLoop = true,
          .playbackStartTime = 1.25,
          .playbackEndTime = 61.1,
          .playbackStopMode = PlaybackStopMode::fromText("hold"),
          .visualClipMappings = {
              {.note = 48, .filePath = "/clips/a.mov", .triggerMode = VisualTriggerMode::toggle},
              {.note = 49, .filePath = "/clips/b.mov", .triggerMode = VisualTriggerMode::hold},
          }};
}

SongConfig sampleSong() {
  return {.name = "Première",
          .tempoBpm = 97,
          .songNotes = "Line one\nLine two\t\u266B",
          .keyboardStartNote = 36,
          .keyboardKeyCount = 61,
          .channels = {sampleChannel(), ChannelConfig{}},
          .masterChannelColor = {0.1F, 0.9F, 0.4F},
          .masterEffectSlots = {sampleSlot()},
          .midiControlAssignments = {
              {.target = {.kind = MidiControlKind::channelVolume, .channelIndex = 3},
               .binding = {.statusType = 0xB0, .midiChannel = 15, .number = 7}},
          }};
}

void clearIds(std::vector<AudioPluginSlot>& slots) {
  for (AudioPluginSlot& slot : slots) {
    slot.id = Uuid();
  }
}

void clearIds(ChannelConfig& channel) {
  channel.id = Uuid();
  clearIds(channel.effectSlots);
  for (VisualClipMapping& mapping : channel.visualClipMappings) {
    mapping.id = Uuid();
  }
}

}  // namespace

SetlistFile sampleSetlist() {
  return {.version = 3,
          .songs = {sampleSong(), SongConfig{}},
          .globalMidiControlAssignments = {
              {.target = {.kind = MidiControlKind::panic},
               .binding = {.statusType = 0x90, .midiChannel = 1, .number = 127}},
          }};
}

SetlistFile withoutIds(SetlistFile setlist) {
  for (SongConfig& song : setlist.songs) {
    song.id = Uuid();
    clearIds(song.masterEffectSlots);
    for (ChannelConfig& channel : song.channels) {
      clearIds(channel);
    }
  }
  return setlist;
}

}  // namespace vrel
