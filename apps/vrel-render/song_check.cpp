// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/song_check.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "document/app_state.h"
#include "document/plugin_names.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"
#include "vrel-render/offline_stage.h"
#include "vrel-render/renderer.h"
#include "vrel-render/song_process.h"

namespace vrel::render {
namespace {

constexpr int chordCount = 8;
constexpr double firstChordSeconds = 0.05;
constexpr double chordSeconds = 0.25;  // from one to the next
constexpr double heldSeconds = 0.2;
constexpr double tailSeconds = 0.4;
constexpr std::array<int, 3> chordNotes = {0, 4, 7};
constexpr std::uint8_t statusNoteOn = 0x90;
constexpr std::uint8_t statusNoteOff = 0x80;
constexpr std::uint8_t velocity = 100;
constexpr int highestNote = 127;
constexpr std::chrono::seconds answerTimeout{8};
constexpr std::chrono::seconds blockTimeout{3};

class NoOutput final : public ConsoleOutput {
 public:
  void print(const std::string& /*line*/) override {}
};

/// The keys of a strip that the song's keyboard has, or all where it has none of them.
std::pair<int, int> playedKeys(const SongConfig& song, const ChannelConfig& channel) {
  const int lastKey = std::min(int{song.keyboardStartNote} + std::max(int{song.keyboardKeyCount}, 1) - 1, highestNote);
  const int first = std::max(int{channel.minNote}, int{song.keyboardStartNote});
  const int last = std::min(int{channel.maxNote}, lastKey);
  return first <= last ? std::pair(first, last)
                       : std::pair(int{channel.minNote}, std::min(int{channel.maxNote}, highestNote));
}

std::vector<ShowStep> stepsOf(const std::vector<CheckChord>& chords) {
  std::vector<ShowStep> steps;
  for (const auto& chord : chords) {
    for (const auto note : chord.notes) {
      steps.push_back({chord.start, MidiFileMessage{statusNoteOn, note, velocity}});
      steps.push_back({chord.end, MidiFileMessage{statusNoteOff, note, 0}});
    }
  }
  std::stable_sort(steps.begin(), steps.end(), [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
  return steps;
}

std::set<Uuid> failedEffectsOn(const OfflineStage& stage) {
  std::set<Uuid> failed = stage.engine().masterChannel()->failedEffects.get();
  for (const auto& channel : stage.engine().channels()) {
    const auto& ofStrip = channel->failedEffects.get();
    failed.insert(ofStrip.begin(), ofStrip.end());
  }
  return failed;
}

/// What the strips on stage say of their plug-ins. Those that are not installed are the static check's.
class StageFindings {
 public:
  StageFindings(const OfflineStage& stage, const SongConfig& song, std::set<Uuid> unloadedEffects)
      : stage_(stage), song_(song), unloadedEffects_(std::move(unloadedEffects)) {}

  std::vector<Finding> all() {
    const auto& channels = stage_.engine().channels();
    for (std::size_t index = 0; index < std::min(channels.size(), song_.channels.size()); ++index) {
      strip_ = FindingStrip{index, song_.channels[index].name};
      addInstrument(song_.channels[index].pluginPath, channels[index]->status.get());
      addEffects(*channels[index]);
    }
    strip_.reset();
    addEffects(*stage_.engine().masterChannel());
    return std::move(findings_);
  }

 private:
  void add(FindingKind kind, const std::string& path) {
    const std::string name = knownPluginName(path, knownPlugins(stage_.state()));
    findings_.push_back({.kind = kind, .strip = strip_, .subject = name.empty() ? path : name});
  }

  void addInstrument(const std::string& path, ChannelStatus status) {
    if (!resolvePluginPath(path, stage_.state().scannedPlugins.get())) {
      return;
    }
    if (status == ChannelStatus::loadFailed) {
      add(FindingKind::pluginFailed, path);
    } else if (status == ChannelStatus::loading) {
      add(FindingKind::pluginSilent, path);
    } else if (status == ChannelStatus::crashed) {
      add(FindingKind::pluginDied, path);
    }
  }

  void addEffects(const AudioChannel& channel) {
    const auto& nodes = channel.effectNodes.get();
    const auto& failed = channel.failedEffects.get();
    for (const auto& slot : channel.effectSlots.get()) {
      if (nodes.contains(slot.id) ||
          !resolvePluginPath(slot.pluginPath, stage_.state().scannedAudioEffectPlugins.get())) {
        continue;
      }
      const bool isUnloaded = unloadedEffects_.contains(slot.id);
      add(!failed.contains(slot.id) ? FindingKind::pluginSilent
          : isUnloaded              ? FindingKind::pluginFailed
                                    : FindingKind::pluginDied,
          slot.pluginPath);
    }
  }

  const OfflineStage& stage_;
  const SongConfig& song_;
  const std::set<Uuid> unloadedEffects_;  // those that failed before the song was played
  std::vector<Finding> findings_;
  std::optional<FindingStrip> strip_;
};

double secondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Plays the chords, and sets peak and shares.
void play(OfflineStage& stage, const SongConfig& song, const SongCheckSettings& settings, PlayedSong& played) {
  const auto steps = stepsOf(checkChords(song));
  ShowLength length{settings.rate, settings.block, firstChordSeconds + chordCount * chordSeconds, tailSeconds};
  const double blockSeconds = static_cast<double>(settings.block) / settings.rate;
  std::vector<double> shares;
  std::size_t next = 0;
  for (std::uint64_t index = 0; index < length.blockCount(); ++index) {
    const double end = length.blockEnd(index);
    for (; next < steps.size() && steps[next].seconds < end; ++next) {
      stage.perform(steps[next]);
    }
    const auto block = stage.renderBlockUntil(end);
    shares.push_back(std::chrono::duration<double>(stage.lastBlockTime()).count() / blockSeconds);
    for (const auto& samples : {block.left, block.right}) {
      for (const float sample : samples) {
        played.peak = std::max(played.peak, std::abs(double{sample}));
      }
    }
  }
  const auto middle = shares.begin() + static_cast<std::ptrdiff_t>(shares.size() / 2);
  std::nth_element(shares.begin(), middle, shares.end());
  played.medianShare = *middle;
  played.worstShare = *std::max_element(middle, shares.end());
}

}  // namespace

std::vector<CheckChord> checkChords(const SongConfig& song) {
  std::vector<CheckChord> chords;
  for (int number = 0; number < chordCount; ++number) {
    const double start = firstChordSeconds + number * chordSeconds;
    std::set<std::uint8_t> notes;
    for (const auto& channel : song.channels) {
      const auto [first, last] = playedKeys(song, channel);
      const int root = first + (last - first) * number / (chordCount - 1);
      for (const int above : chordNotes) {
        if (first <= last && !channel.pluginPath.empty()) {
          notes.insert(static_cast<std::uint8_t>(std::min(root + above, last)));
        }
      }
    }
    chords.push_back({start, start + heldSeconds, {notes.begin(), notes.end()}});
  }
  return chords;
}

SongPage playForCheck(const SetlistFile& setlist, std::size_t index, const SongCheckSettings& settings) {
  const SongConfig& song = setlist.songs.at(index);
  SongPage page{.song = index, .name = song.name};
  NoOutput console;
  OfflineStage stage({settings.rate, settings.block, settings.sandbox, answerTimeout, blockTimeout},
                     lv2::Lv2World::open(settings.scan), console, nullptr);
  if (const auto failure = stage.start({.songs = {song}, .globalMidiControlAssignments = {}, .songControl = {}})) {
    page.findings.push_back({.kind = FindingKind::notPlayed, .reason = failure->description});
    return page;
  }
  PlayedSong played;
  const auto begin = std::chrono::steady_clock::now();
  stage.applySong(0);
  played.loadSeconds = secondsSince(begin);
  auto unloadedEffects = failedEffectsOn(stage);
  play(stage, song, settings, played);
  played.memoryBytes = memoryOfDescendants();
  page.findings = StageFindings(stage, song, std::move(unloadedEffects)).all();
  if (const auto silenced = stage.silencedBlocks(); silenced > 0) {
    page.findings.push_back({.kind = FindingKind::invalidSound, .value = static_cast<double>(silenced)});
  }
  for (auto& finding : findingsOf(played)) {
    page.findings.push_back(std::move(finding));
  }
  page.played = played;
  return page;
}

}  // namespace vrel::render
