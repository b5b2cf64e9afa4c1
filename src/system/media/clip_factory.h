// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/video_player.h"
#include "system/media/file_finder.h"

namespace vrel {
class HostClock;
}  // namespace vrel

namespace vrel::system {

class ClipDecoderPool;

/// Plays movie files from the disk. Preparation of a clip begins when its looper is made. Audio is never read,
/// whether muted or not, and a start never waits, whatever is requested.
///
/// The clock is borrowed. Clips may outlive the factory, and then the threads live as long as the last clip.
class ClipFactory final : public VideoFactory {
 public:
  explicit ClipFactory(const HostClock& clock);
  ~ClipFactory() override;
  ClipFactory(const ClipFactory&) = delete;
  ClipFactory& operator=(const ClipFactory&) = delete;

  void findFile(const std::string& path, std::function<void(bool isThere)> completion) override;
  void summarise(const std::string& path, std::function<void(const ClipSummary&)> completion) override;
  [[nodiscard]] std::shared_ptr<AVURLAsset> makeAsset(const std::string& path) override;
  [[nodiscard]] std::shared_ptr<AVPlayerItem> makePlayerItem(const std::shared_ptr<AVURLAsset>& asset) override;
  [[nodiscard]] std::shared_ptr<AVQueuePlayer> makeQueuePlayer() override;
  /// Player and item must come from this factory.
  [[nodiscard]] std::shared_ptr<AVPlayerLooper> makePlayerLooper(
      const std::shared_ptr<AVQueuePlayer>& player, const std::shared_ptr<AVPlayerItem>& templateItem) override;

 private:
  const HostClock& clock_;
  const std::shared_ptr<ClipDecoderPool> pool_;
  FileFinder finder_;  // last: its completions make players
};

}  // namespace vrel::system
