// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_clip_player.h"

#include <utility>

#include "platform/dispatch.h"
#include "platform/video_player.h"

namespace vrel {
namespace {

constexpr double stopDelay = 0.18;     // seconds; a little longer than the view's fade
constexpr double forwardBuffer = 0.1;  // seconds; small, so that many clips can be ready

}  // namespace

std::shared_ptr<VrelVisualClipPlayer> VrelVisualClipPlayer::make(const VisualClipMapping& mapping,
                                                                 VideoFactory& factory, MainQueue& mainQueue) {
  if (mapping.filePath.empty()) {
    return nullptr;
  }
  const auto item = factory.makePlayerItem(factory.makeAsset(mapping.filePath));
  auto player = factory.makeQueuePlayer();
  player->setActionAtItemEnd(mapping.holdsLastPicture ? AVPlayerActionAtItemEnd::pause : AVPlayerActionAtItemEnd::none);
  player->setMuted(true);
  player->setAutomaticallyWaitsToMinimizeStalling(false);
  std::shared_ptr<AVPlayerLooper> looper;
  if (mapping.holdsLastPicture) {
    player->insertItem(item);
  } else {
    looper = factory.makePlayerLooper(player, item);
  }
  return std::shared_ptr<VrelVisualClipPlayer>(
      new VrelVisualClipPlayer(mapping, factory, mainQueue, std::move(player), std::move(looper)));
}

VrelVisualClipPlayer::VrelVisualClipPlayer(const VisualClipMapping& mapping, VideoFactory& factory,
                                           MainQueue& mainQueue, std::shared_ptr<AVQueuePlayer> queuePlayer,
                                           std::shared_ptr<AVPlayerLooper> playerLooper)
    : note(mapping.note),
      filePath(mapping.filePath),
      player(std::move(queuePlayer)),
      looper(std::move(playerLooper)),
      factory_(factory),
      mainQueue_(mainQueue) {}

void VrelVisualClipPlayer::prepare(std::function<void()> completion) {
  const auto asset = factory_.makeAsset(filePath);
  asset->loadValuesAsynchronouslyForKeys(
      {"playable", "duration", "tracks"},
      [weak = weak_from_this(), &mainQueue = mainQueue_, completion = std::move(completion)] {
        mainQueue.async([weak, completion] {
          const auto self = weak.lock();
          const auto item = self != nullptr ? self->player->currentItem() : nullptr;
          if (item != nullptr) {
            item->setPreferredForwardBufferDuration(forwardBuffer);
          }
          if (completion) {
            completion();
          }
        });
      });
}

void VrelVisualClipPlayer::start() {
  player->seekToTime(0, 0, 0);
  isVisible.set(true);
  opacity.set(1.0);
  player->play();
}

void VrelVisualClipPlayer::fadeOut() {
  opacity.set(0.0);
  mainQueue_.asyncAfter(stopDelay, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->stopAfterFade();
    }
  });
}

void VrelVisualClipPlayer::stopAfterFade() {
  if (opacity.get() != 0.0) {
    return;
  }
  player->pause();
  player->seekToTime(0, 0, 0);
  isVisible.set(false);
}

}  // namespace vrel
