// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/life_token.h"

namespace vrel {

class AVPlayerLooper;
class AVQueuePlayer;
class MainQueue;
class VideoFactory;

/// The video behind the clips, looping and silent from its appearance to its end. It has nothing in common with the
/// clips. Main thread.
class VrelVisualBackgroundVideoView {
 public:
  /// Factory and queue are borrowed; without a factory there is no video. `began` is called when `player` has come.
  VrelVisualBackgroundVideoView(VideoFactory* factory, MainQueue& mainQueue, std::function<void()> began);
  ~VrelVisualBackgroundVideoView() { disappear(); }
  VrelVisualBackgroundVideoView(const VrelVisualBackgroundVideoView&) = delete;
  VrelVisualBackgroundVideoView& operator=(const VrelVisualBackgroundVideoView&) = delete;

  /// Plays this file in place of the one before, once it is found. One that plays goes on; where there is no such file
  /// nothing plays.
  void appear(const std::string& filePath);
  void disappear();

  /// Null while nothing plays.
  [[nodiscard]] const std::shared_ptr<AVQueuePlayer>& player() const { return player_; }

 private:
  void play();

  VideoFactory* const factory_;
  MainQueue& mainQueue_;
  const std::function<void()> began_;
  std::string filePath_;  // empty while it is not there
  std::uint64_t search_ = 0;
  std::shared_ptr<AVQueuePlayer> player_;
  std::shared_ptr<AVPlayerLooper> looper_;  // held, or the video would not loop
  LifeToken life_;
};

}  // namespace vrel
