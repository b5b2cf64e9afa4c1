// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_background_video_view.h"

#include "platform/video_player.h"

namespace vrel {

void VrelVisualBackgroundVideoView::appear(const std::string& filePath) {
  if (filePath == filePath_) {
    return;
  }
  disappear();
  filePath_ = filePath;
  if (factory_ == nullptr || !factory_->fileExistsAtPath(filePath)) {
    return;
  }
  const auto item = factory_->makePlayerItem(factory_->makeAsset(filePath));
  player_ = factory_->makeQueuePlayer();
  player_->setActionAtItemEnd(AVPlayerActionAtItemEnd::none);
  player_->setMuted(true);
  player_->setAutomaticallyWaitsToMinimizeStalling(false);
  looper_ = factory_->makePlayerLooper(player_, item);
  player_->play();
}

void VrelVisualBackgroundVideoView::disappear() {
  if (player_ != nullptr) {
    player_->pause();
  }
  looper_.reset();
  player_.reset();
  filePath_.clear();
}

}  // namespace vrel
