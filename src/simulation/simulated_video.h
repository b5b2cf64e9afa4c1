// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/video_player.h"

namespace vrel::simulation {

/// The calls of one player and its parts, as text, in order.
using VideoCalls = std::vector<std::string>;

class SimulatedAsset : public AVURLAsset {
 public:
  SimulatedAsset(std::string filePath, std::vector<Completion>& pendingLoads)
      : path(std::move(filePath)), pendingLoads_(pendingLoads) {}
  void loadValuesAsynchronouslyForKeys(const std::vector<std::string>& keys, Completion completion) override {
    loadedKeys = keys;
    pendingLoads_.push_back(std::move(completion));
  }

  const std::string path;
  std::vector<std::string> loadedKeys;

 private:
  std::vector<Completion>& pendingLoads_;
};

class SimulatedItem : public AVPlayerItem {
 public:
  explicit SimulatedItem(std::shared_ptr<AVURLAsset> itemAsset) : asset(std::move(itemAsset)) {}
  void setPreferredForwardBufferDuration(double seconds) override { forwardBuffer = seconds; }

  const std::shared_ptr<AVURLAsset> asset;
  double forwardBuffer = 0;  // seconds; 0 is the platform's choice
};

/// Shows no pictures; records its calls.
class SimulatedQueuePlayer : public AVQueuePlayer {
 public:
  void setActionAtItemEnd(AVPlayerActionAtItemEnd action) override {
    calls.emplace_back(action == AVPlayerActionAtItemEnd::none    ? "at end none"
                       : action == AVPlayerActionAtItemEnd::pause ? "at end pause"
                                                                  : "at end advance");
  }
  void setMuted(bool muted) override { calls.emplace_back(muted ? "muted" : "not muted"); }
  void setAutomaticallyWaitsToMinimizeStalling(bool waits) override { calls.emplace_back(waits ? "waits" : "no wait"); }
  void insertItem(const std::shared_ptr<AVPlayerItem>& inserted) override {
    calls.emplace_back("insert");
    item = std::dynamic_pointer_cast<SimulatedItem>(inserted);
  }
  void seekToTime(double seconds, double toleranceBefore, double toleranceAfter) override {
    std::ostringstream words;
    words << "seek " << seconds << " " << toleranceBefore << " " << toleranceAfter;
    calls.push_back(words.str());
  }
  void play() override {
    calls.emplace_back("play");
    isPlaying = true;
  }
  void pause() override {
    calls.emplace_back("pause");
    isPlaying = false;
  }
  std::shared_ptr<AVPlayerItem> currentItem() const override { return item; }
  std::shared_ptr<const VideoPicture> copyPicture() override { return nullptr; }
  std::shared_ptr<const VideoPicture> copyPictureForTime(double /*mediaSeconds*/) override { return nullptr; }

  VideoCalls calls;
  bool isPlaying = false;
  std::shared_ptr<SimulatedItem> item;
};

/// Files that a test adds by path. Searches are answered and assets load when the test says so.
class SimulatedVideos : public VideoFactory {
 public:
  void findFile(const std::string& path, std::function<void(bool isThere)> completion) override {
    searches.push_back({path, std::move(completion)});
  }
  void summarise(const std::string& path, std::function<void(const ClipSummary&)> completion) override {
    summarised.push_back(path);
    const bool isPlayable = paths.count(path) > 0;
    ClipSummary summary;
    summary.isPlayable = isPlayable;
    summary.isStill = stills.count(path) > 0;
    summary.seconds = isPlayable && !summary.isStill ? 2.5 : 0;
    summary.width = isPlayable ? 1 : 0;
    summary.height = summary.width;
    summary.pixels.assign(isPlayable ? 4 : 0, 255);
    completion(summary);
  }
  std::shared_ptr<AVURLAsset> makeAsset(const std::string& path) override {
    lastAsset = std::make_shared<SimulatedAsset>(path, pendingLoads);
    return lastAsset;
  }
  std::shared_ptr<AVPlayerItem> makePlayerItem(const std::shared_ptr<AVURLAsset>& asset) override {
    return std::make_shared<SimulatedItem>(asset);
  }
  std::shared_ptr<AVQueuePlayer> makeQueuePlayer() override {
    ++playersMade;
    return std::make_shared<SimulatedQueuePlayer>();
  }
  std::shared_ptr<AVPlayerLooper> makePlayerLooper(const std::shared_ptr<AVQueuePlayer>& player,
                                                   const std::shared_ptr<AVPlayerItem>& templateItem) override {
    auto& queue = dynamic_cast<SimulatedQueuePlayer&>(*player);
    queue.calls.emplace_back("loop");
    queue.item = std::dynamic_pointer_cast<SimulatedItem>(templateItem);
    return std::make_shared<AVPlayerLooper>();
  }

  /// Answers the oldest search that can be; false when there is none.
  bool answerSearch() {
    const auto next = std::find_if(searches.begin(), searches.end(),
                                   [this](const Search& each) { return silentPaths.count(each.path) == 0; });
    if (next == searches.end()) {
      return false;
    }
    const Search search = std::move(*next);
    searches.erase(next);
    search.completion(paths.count(search.path) > 0);
    return true;
  }

  /// Completes all pending loads of assets.
  void finishLoads() {
    for (const auto& completion : std::exchange(pendingLoads, {})) {
      completion();
    }
  }

  struct Search {
    std::string path;
    std::function<void(bool isThere)> completion;
  };

  std::set<std::string> paths;
  std::set<std::string> silentPaths;  // in a folder that does not answer
  std::vector<Search> searches;
  std::set<std::string> stills;  // those of the paths that are pictures
  std::vector<std::string> summarised;
  std::vector<AVURLAsset::Completion> pendingLoads;
  std::shared_ptr<SimulatedAsset> lastAsset;
  int playersMade = 0;
};

}  // namespace vrel::simulation
