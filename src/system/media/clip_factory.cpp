// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_factory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "system/media/clip_decoder.h"
#include "system/media/clip_decoder_pool.h"
#include "system/media/clip_stream.h"

namespace vrel::system {
namespace {

using Pool = std::shared_ptr<ClipDecoderPool>;

constexpr std::size_t posterWidth = 96;  // pixels
constexpr std::size_t posterHeight = 54;
constexpr std::size_t posterPixelBytes = 4;

/// Fits the picture into the size of a poster: each of its pixels is the mean of those that it covers.
void shrink(const VideoPicture& picture, const std::vector<std::uint8_t>& pixels, ClipSummary& summary) {
  const std::size_t width = picture.width();
  const std::size_t height = picture.height();
  const double scale = std::min({1.0, static_cast<double>(posterWidth) / static_cast<double>(width),
                                 static_cast<double>(posterHeight) / static_cast<double>(height)});
  summary.width = std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(width) * scale));
  summary.height = std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(height) * scale));
  summary.pixels.reserve(summary.width * summary.height * posterPixelBytes);
  for (std::size_t y = 0; y < summary.height; ++y) {
    const std::size_t top = y * height / summary.height;
    const std::size_t bottom = std::max(top + 1, (y + 1) * height / summary.height);
    for (std::size_t x = 0; x < summary.width; ++x) {
      const std::size_t left = x * width / summary.width;
      const std::size_t right = std::max(left + 1, (x + 1) * width / summary.width);
      std::array<std::size_t, posterPixelBytes> sums{};
      for (std::size_t row = top; row < bottom; ++row) {
        for (std::size_t column = left; column < right; ++column) {
          for (std::size_t part = 0; part < posterPixelBytes; ++part) {
            sums[part] += pixels[(row * width + column) * posterPixelBytes + part];
          }
        }
      }
      for (const std::size_t sum : sums) {
        summary.pixels.push_back(static_cast<std::uint8_t>(sum / ((bottom - top) * (right - left))));
      }
    }
  }
}

ClipSummary summaryOf(const std::string& path, const std::atomic<bool>& isOver) {
  ClipSummary summary;
  const auto opened = ClipDecoder::open(path, &isOver);
  summary.isStill = opened && opened.value()->isStill();
  summary.isTooLarge = opened && opened.value()->isTooLarge();
  const auto picture = opened ? opened.value()->next() : nullptr;
  if (picture == nullptr || picture->width() == 0 || picture->height() == 0) {
    return summary;
  }
  summary.isPlayable = true;
  summary.seconds = opened.value()->statedSeconds();
  std::vector<std::uint8_t> pixels(picture->width() * picture->height() * posterPixelBytes);
  if (picture->copyPixels(pixels)) {
    shrink(*picture, pixels, summary);
  }
  return summary;
}

class Asset final : public AVURLAsset {
 public:
  Asset(std::string filePath, std::weak_ptr<ClipDecoderPool> pool)
      : path(std::move(filePath)), pool_(std::move(pool)) {}

  // Opening reads all three, and leaves what was read in the system's cache.
  void loadValuesAsynchronouslyForKeys(const std::vector<std::string>& /*keys*/, Completion completion) override {
    const auto pool = pool_.lock();
    if (pool == nullptr) {
      completion();
      return;
    }
    pool->post(path, [filePath = path, completion = std::move(completion)](const std::atomic<bool>& isOver) {
      static_cast<void>(ClipDecoder::open(filePath, &isOver));
      completion();
    });
  }

  const std::string path;

 private:
  const std::weak_ptr<ClipDecoderPool> pool_;
};

class Item final : public AVPlayerItem {
 public:
  explicit Item(std::shared_ptr<AVURLAsset> itemAsset) : asset(std::move(itemAsset)) {}
  void setPreferredForwardBufferDuration(double seconds) override {
    if (stream != nullptr) {
      stream->setForwardBuffer(seconds);
    }
  }

  const std::shared_ptr<AVURLAsset> asset;
  std::shared_ptr<ClipStream> stream;  // null while it is in no queue
};

class Player final : public AVQueuePlayer {
 public:
  Player(const HostClock& clock, Pool pool) : clock_(clock), pool_(std::move(pool)) {}
  ~Player() override {
    if (item_ != nullptr) {
      pool_->retire(item_->stream);
    }
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  void setActionAtItemEnd(AVPlayerActionAtItemEnd /*action*/) override {}
  void setMuted(bool /*muted*/) override {}
  void setAutomaticallyWaitsToMinimizeStalling(bool /*waits*/) override {}

  void insertItem(const std::shared_ptr<AVPlayerItem>& item) override {
    take(dynamic_cast<Item&>(*item).asset);
    item_->stream->setLooping(false);
  }
  // Clips are played from the first picture only.
  void seekToTime(double /*seconds*/, double /*toleranceBefore*/, double /*toleranceAfter*/) override {
    if (item_ != nullptr) {
      item_->stream->rewind();
    }
  }
  void play() override {
    if (item_ != nullptr) {
      item_->stream->play(clock_.CACurrentMediaTime());
      pool_->wake();
    }
  }
  void pause() override {
    if (item_ != nullptr) {
      item_->stream->pause(clock_.CACurrentMediaTime());
      pool_->wake();
    }
  }
  [[nodiscard]] std::shared_ptr<AVPlayerItem> currentItem() const override { return item_; }
  [[nodiscard]] std::shared_ptr<const VideoPicture> copyPicture() override {
    return copyPictureForTime(clock_.CACurrentMediaTime());
  }
  [[nodiscard]] std::shared_ptr<const VideoPicture> copyPictureForTime(double mediaSeconds) override {
    if (item_ == nullptr) {
      return nullptr;
    }
    auto picture = item_->stream->picture(mediaSeconds);
    if (item_->stream->request() != ClipStream::Request::nothing) {
      pool_->wake();
    }
    return picture;
  }

  /// Once, before anybody takes a picture: preparation of the item begins.
  void take(const std::shared_ptr<AVURLAsset>& asset) {
    item_ = std::make_shared<Item>(asset);
    item_->stream = pool_->open(dynamic_cast<Asset&>(*asset).path);
  }
  [[nodiscard]] const std::shared_ptr<Item>& item() const { return item_; }

 private:
  const HostClock& clock_;
  const Pool pool_;
  std::shared_ptr<Item> item_;
};

class Looper final : public AVPlayerLooper {
 public:
  explicit Looper(std::shared_ptr<ClipStream> stream) : stream_(std::move(stream)) {}
  ~Looper() override { stream_->setLooping(false); }
  Looper(const Looper&) = delete;
  Looper& operator=(const Looper&) = delete;

 private:
  const std::shared_ptr<ClipStream> stream_;
};

}  // namespace

ClipFactory::ClipFactory(const HostClock& clock) : clock_(clock), pool_(std::make_shared<ClipDecoderPool>()) {}
ClipFactory::~ClipFactory() = default;

void ClipFactory::findFile(const std::string& path, std::function<void(bool isThere)> completion) {
  finder_.find(path, std::move(completion));
}

void ClipFactory::summarise(const std::string& path, std::function<void(const ClipSummary&)> completion) {
  pool_->post(path, [path, completion = std::move(completion)](const std::atomic<bool>& isOver) {
    completion(summaryOf(path, isOver));
  });
}

std::shared_ptr<AVURLAsset> ClipFactory::makeAsset(const std::string& path) {
  return std::make_shared<Asset>(path, pool_);
}

std::shared_ptr<AVPlayerItem> ClipFactory::makePlayerItem(const std::shared_ptr<AVURLAsset>& asset) {
  return std::make_shared<Item>(asset);
}

std::shared_ptr<AVQueuePlayer> ClipFactory::makeQueuePlayer() {
  return std::make_shared<Player>(clock_, pool_);
}

std::shared_ptr<AVPlayerLooper> ClipFactory::makePlayerLooper(const std::shared_ptr<AVQueuePlayer>& player,
                                                              const std::shared_ptr<AVPlayerItem>& templateItem) {
  auto& queue = dynamic_cast<Player&>(*player);
  queue.take(dynamic_cast<Item&>(*templateItem).asset);
  return std::make_shared<Looper>(queue.item()->stream);
}

}  // namespace vrel::system
