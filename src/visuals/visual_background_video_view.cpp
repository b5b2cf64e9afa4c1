// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_background_video_view.h"

#include <utility>

#include "platform/dispatch.h"
#include "platform/video_player.h"

namespace vrel {

VrelVisualBackgroundVideoView::VrelVisualBackgroundVideoView(VideoFactory* factory, MainQueue& mainQueue,
                                                             std::function<void()> began)
    : factory_(factory), mainQueue_(mainQueue), began_(std::move(began)) {}

void VrelVisualBackgroundVideoView::appear(const std::string& filePath) {
  if (filePath == filePath_) {
    return;
  }
  disappear();
  filePath_ = filePath;
  if (factory_ == nullptr) {
    return;
  }
  factory_->findFile(filePath, [this, life = life_.watch(), &mainQueue = mainQueue_, search = ++search_](bool isThere) {
    mainQueue.async([this, life, search, isThere] {
      if (life.isAlive() && search == search_ && isThere) {
        play();
        began_();
      }
    });
  });
}

void VrelVisualBackgroundVideoView::play() {
  const auto item = factory_->makePlayerItem(factory_->makeAsset(filePath_));
  player_ = factory_->makeQueuePlayer();
  player_->setActionAtItemEnd(AVPlayerActionAtItemEnd::none);
  player_->setMuted(true);
  player_->setAutomaticallyWaitsToMinimizeStalling(false);
  looper_ = factory_->makePlayerLooper(player_, item);
  player_->play();
}

void VrelVisualBackgroundVideoView::disappear() {
  ++search_;  // what is still looked for is not wanted any more
  if (player_ != nullptr) {
    player_->pause();
  }
  looper_.reset();
  player_.reset();
  filePath_.clear();
}

}  // namespace vrel
