// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "document/setlist.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AVPlayerLooper;
class AVQueuePlayer;
class MainQueue;
class VideoFactory;

/// One clip file of one note of one channel, silent; it loops, or plays once and stays on its last picture. It knows no
/// view: views follow `opacity`, animate it themselves, and draw what `player` has to show.
///
/// Threads: made on any, used on the main one. Only the `id` distinguishes players.
class VrelVisualClipPlayer : public std::enable_shared_from_this<VrelVisualClipPlayer> {
 public:
  /// Null when the mapping has no path. A file that is missing or cannot be played is not a failure: nothing is looked
  /// for here. Factory and queue are borrowed; they outlive the player.
  [[nodiscard]] static std::shared_ptr<VrelVisualClipPlayer> make(const VisualClipMapping& mapping,
                                                                  VideoFactory& factory, MainQueue& mainQueue);

  VrelVisualClipPlayer(const VrelVisualClipPlayer&) = delete;
  VrelVisualClipPlayer& operator=(const VrelVisualClipPlayer&) = delete;

  const Uuid id = Uuid::fresh();
  const std::uint8_t note;
  const std::string filePath;
  const std::shared_ptr<AVQueuePlayer> player;
  const std::shared_ptr<AVPlayerLooper> looper;  // held, or the clip would not loop; null for one that plays once

  Observable<double> opacity{0.0};  // 0 or 1
  Observable<bool> isVisible{false};

  /// Reads ahead what the first start will need. The completion comes on the main queue, unless the program ends.
  void prepare(std::function<void()> completion);

  /// From the first picture, at once.
  void start();

  /// Hides the clip, and stops and rewinds it when the view's fade is over, unless it was started again.
  void fadeOut();

 private:
  VrelVisualClipPlayer(const VisualClipMapping& mapping, VideoFactory& factory, MainQueue& mainQueue,
                       std::shared_ptr<AVQueuePlayer> queuePlayer, std::shared_ptr<AVPlayerLooper> playerLooper);
  void stopAfterFade();

  VideoFactory& factory_;
  MainQueue& mainQueue_;
};

}  // namespace vrel
