// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace vrel {

class AVPlayerLooper;
class AVQueuePlayer;
class VideoFactory;

/// The video behind the clips, looping and silent from its appearance to its end. It has nothing in common with the
/// clips. Main thread.
class VrelVisualBackgroundVideoView {
 public:
  /// The factory is borrowed; without one there is no video.
  explicit VrelVisualBackgroundVideoView(VideoFactory* factory) : factory_(factory) {}
  ~VrelVisualBackgroundVideoView() { disappear(); }
  VrelVisualBackgroundVideoView(const VrelVisualBackgroundVideoView&) = delete;
  VrelVisualBackgroundVideoView& operator=(const VrelVisualBackgroundVideoView&) = delete;

  /// Plays this file in place of the one before. One that plays goes on; where there is no such file nothing plays.
  void appear(const std::string& filePath);
  void disappear();

  /// Null while nothing plays.
  [[nodiscard]] const std::shared_ptr<AVQueuePlayer>& player() const { return player_; }

 private:
  VideoFactory* const factory_;
  std::string filePath_;  // empty while it is not there
  std::shared_ptr<AVQueuePlayer> player_;
  std::shared_ptr<AVPlayerLooper> looper_;  // held, or the video would not loop
};

}  // namespace vrel
