// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/setlist_contents.h"

#include "document/app_state.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

// Far more than are kept decoded, so that nothing depends on how many follow.
constexpr std::size_t mostTracksAhead = 256;

}  // namespace

SetlistContents::SetlistContents(AppState& state)
    : state_(state),
      songsFollowed_(state.songs.changed.connect([this](const auto&) { isCurrent_ = isCurrent_ && isChangingOne_; })) {}

std::vector<std::string> SetlistContents::instruments() {
  refresh();
  std::vector<std::string> paths;
  for (const auto& [path, count] : instruments_) {
    paths.push_back(path);
  }
  return paths;
}

std::vector<const ChannelConfig*> SetlistContents::tracksBehind(std::size_t current) {
  refresh();
  std::vector<const ChannelConfig*> tracks;
  const auto addSongs = [&](auto from, auto to) {
    for (auto song = from; song != to && tracks.size() < mostTracksAhead; ++song) {
      for (const auto& record : state_.songs.get()[*song].channels) {
        if (record.pluginPath == pathPlayback) {
          tracks.push_back(&record);
        }
      }
    }
  };
  const auto behind = songsWithTracks_.upper_bound(current);
  addSongs(behind, songsWithTracks_.end());
  addSongs(songsWithTracks_.begin(), behind);
  return tracks;
}

void SetlistContents::refresh() {
  if (isCurrent_) {
    return;
  }
  isCurrent_ = true;
  instruments_.clear();
  songsWithTracks_.clear();
  for (std::size_t index = 0; index < state_.songs.get().size(); ++index) {
    add(index);
  }
}

void SetlistContents::add(std::size_t index) {
  for (const auto& record : state_.songs.get()[index].channels) {
    if (!record.pluginPath.empty()) {
      ++instruments_[record.pluginPath];
    }
    if (record.pluginPath == pathPlayback) {
      songsWithTracks_.insert(index);
    }
  }
}

void SetlistContents::remove(std::size_t index) {
  for (const auto& record : state_.songs.get()[index].channels) {
    const auto counted = instruments_.find(record.pluginPath);
    if (counted != instruments_.end() && --counted->second == 0) {
      instruments_.erase(counted);
    }
  }
  songsWithTracks_.erase(index);
}

}  // namespace vrel
