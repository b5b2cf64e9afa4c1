// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/setlist_check.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "document/plugin_names.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

bool makesSound(const ChannelConfig& channel) {
  const auto kind = pluginPathKind(channel.pluginPath);
  return kind == PluginPathKind::component || kind == PluginPathKind::name ||
         (kind == PluginPathKind::playback && !channel.playbackFilePath.empty());
}

/// As the mixer has it: where a strip is soloed, the others are silent.
bool hasAudibleStrip(const SongConfig& song) {
  const auto& strips = song.channels;
  const bool isAnySoloed = std::any_of(strips.begin(), strips.end(), [](const auto& strip) { return strip.solo; });
  return std::any_of(strips.begin(), strips.end(), [isAnySoloed](const ChannelConfig& strip) {
    return makesSound(strip) && !strip.mute && (strip.solo || !isAnySoloed);
  });
}

FindingKind kindOf(MediaState::Kind state) {
  return state == MediaState::Kind::missing      ? FindingKind::fileMissing
         : state == MediaState::Kind::unreadable ? FindingKind::fileUnreadable
         : state == MediaState::Kind::incomplete ? FindingKind::fileIncomplete
                                                 : FindingKind::fileCrashes;
}

/// Goes through the strips of one song after the other.
class SongCheck {
 public:
  SongCheck(const SetlistFile& setlist, const CheckSources& sources) : setlist_(setlist), sources_(sources) {}

  std::vector<Finding> check(const SongConfig& song) {
    for (std::size_t index = 0; index < song.channels.size(); ++index) {
      const auto& channel = song.channels[index];
      strip_ = FindingStrip{index, channel.name};
      checkSource(channel);
      checkEffects(channel.effectSlots);
    }
    strip_.reset();
    checkEffects(song.masterEffectSlots);
    if (!hasAudibleStrip(song)) {
      add({.kind = FindingKind::noSound});
    }
    return std::exchange(findings_, {});
  }

 private:
  void add(Finding finding) {
    finding.strip = strip_;
    findings_.push_back(std::move(finding));
  }

  void checkSource(const ChannelConfig& channel) {
    switch (pluginPathKind(channel.pluginPath)) {
      case PluginPathKind::empty:
        return;
      case PluginPathKind::playback:
        checkFile(channel.playbackFilePath, sources_.audioFiles);
        return;
      case PluginPathKind::visual:
        for (const auto& clip : channel.visualClipMappings) {
          checkFile(clip.filePath, sources_.clips);
        }
        return;
      case PluginPathKind::reserved:
      case PluginPathKind::unknown:
        add({.kind = FindingKind::unknownSource, .subject = channel.pluginPath});
        return;
      case PluginPathKind::component:
      case PluginPathKind::name:
        checkPlugin(channel.pluginPath, {}, sources_.instruments);
    }
  }

  void checkEffects(const std::vector<AudioPluginSlot>& slots) {
    for (const auto& slot : slots) {
      if (!slot.pluginPath.empty()) {
        checkPlugin(slot.pluginPath, slot.pluginName, sources_.effects);
      }
    }
  }

  void checkPlugin(const std::string& path, std::string name, const std::vector<AVAudioUnitComponent>& installed) {
    if (resolvePluginPath(path, installed)) {
      return;
    }
    if (name.empty()) {
      name = nameOf(path);
    }
    add({.kind = FindingKind::pluginMissing, .subject = name.empty() ? path : name});
  }

  // A search through all racks of the setlist, so once for each plug-in.
  const std::string& nameOf(const std::string& path) {
    const auto [entry, isNew] = names_.try_emplace(path);
    if (isNew) {
      entry->second = knownPluginName(path, {sources_.instruments, sources_.effects, setlist_.songs});
    }
    return entry->second;
  }

  void checkFile(const std::string& path, const MediaStates& states) {
    if (path.empty()) {
      add({.kind = FindingKind::noFileChosen});
      return;
    }
    const auto found = states.find(path);
    if (found != states.end() && found->second.kind != MediaState::Kind::whole) {
      add({.kind = kindOf(found->second.kind), .subject = path, .reason = found->second.reason});
    }
  }

  const SetlistFile& setlist_;
  const CheckSources& sources_;
  std::vector<Finding> findings_;
  std::optional<FindingStrip> strip_;
  std::map<std::string, std::string> names_;  // of plug-ins that are not installed, by path
};

void append(std::vector<Finding>& findings, std::vector<Finding> more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

CheckReport checkSetlist(const SetlistFile& setlist, const CheckSources& sources) {
  CheckReport report;
  if (setlist.songs.empty()) {
    report.findings.push_back({.kind = FindingKind::noSongs});
  }
  append(report.findings, checkControls(setlist.globalMidiControlAssignments));
  SongCheck songCheck(setlist, sources);
  report.pages.reserve(setlist.songs.size());
  for (std::size_t index = 0; index < setlist.songs.size(); ++index) {
    const auto& song = setlist.songs[index];
    SongPage page{.song = index, .name = song.name, .findings = songCheck.check(song)};
    append(page.findings, checkSplits(song));
    append(page.findings, checkControls(setlist.globalMidiControlAssignments, song));
    report.pages.push_back(std::move(page));
  }
  return report;
}

}  // namespace vrel
